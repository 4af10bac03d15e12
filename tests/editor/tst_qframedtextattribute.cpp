#include "qframedtextattribute.h"
#include "qsyntaxstyle.h"
#include "testsupport.h"

#include <QPainter>
#include <QTest>
#include <QTextBlock>
#include <QTextDocument>

class tst_QFramedTextAttribute : public QObject
{
    Q_OBJECT

private slots:
    void frameGoesInFrontOfSelection_data();
    void frameGoesInFrontOfSelection();
    void clearFramesRemovesAll_data();
    void clearFramesRemovesAll();
    void drawsAnUnfilledFrameOfNoSize();

private:
    SettingsSandbox sandbox;
};

static const QChar frameChar(QChar::ObjectReplacementCharacter);

void tst_QFramedTextAttribute::frameGoesInFrontOfSelection_data()
{
    QTest::addColumn<int>("anchor");
    QTest::addColumn<int>("position");

    QTest::newRow("selected forward") << 4 << 7;
    QTest::newRow("selected backward") << 7 << 4;
}

void tst_QFramedTextAttribute::frameGoesInFrontOfSelection()
{
    QFETCH(int, anchor);
    QFETCH(int, position);

    QTextDocument document(QStringLiteral("foo bar baz"));
    QTextCursor cursor(&document);
    cursor.setPosition(anchor);
    cursor.setPosition(position, QTextCursor::KeepAnchor);

    QFramedTextAttribute attribute;
    attribute.frame(cursor);

    QCOMPARE(document.toPlainText(), QStringLiteral("foo %1bar baz").arg(frameChar));
    // The caller's cursor was taken by value.
    QCOMPARE(cursor.selectedText(), QStringLiteral("bar"));

    QTextCursor probe(&document);
    probe.setPosition(5);
    const QTextCharFormat format = probe.charFormat();
    QCOMPARE(format.objectType(), int(QTextFormat::UserFormat) + 1);
    QCOMPARE(format.property(1).toString(), QStringLiteral("bar"));

    // Frames are edits like any other.
    document.undo();
    QCOMPARE(document.toPlainText(), QStringLiteral("foo bar baz"));
}

void tst_QFramedTextAttribute::clearFramesRemovesAll_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QList<int>>("frames"); // positions in the text, framed from the last one back

    QTest::newRow("none") << "foo bar" << QList<int>{};
    QTest::newRow("one") << "foo bar" << QList<int>{4};
    QTest::newRow("two neighbours in one block") << "foo foo" << QList<int>{4, 0};
    QTest::newRow("over blocks") << "a foo\nfoo\n\nx foo" << QList<int>{13, 6, 2};
}

void tst_QFramedTextAttribute::clearFramesRemovesAll()
{
    QFETCH(QString, text);
    QFETCH(QList<int>, frames);

    QTextDocument document(text);
    QFramedTextAttribute attribute;

    for (const int at : frames) {
        QTextCursor word(&document);
        word.setPosition(at);
        word.movePosition(QTextCursor::EndOfWord, QTextCursor::KeepAnchor);
        attribute.frame(word);
    }
    QCOMPARE(document.toPlainText().count(frameChar), frames.size());

    attribute.clearFrames(QTextCursor(&document));
    QCOMPARE(document.toPlainText(), text);
}

void tst_QFramedTextAttribute::drawsAnUnfilledFrameOfNoSize()
{
    QSyntaxStyle scheme;
    QVERIFY(scheme.load(QStringLiteral("<style-scheme><style name=\"Occurrences\" foreground=\"#00ff00\" "
                                       "background=\"#ff0000\"/></style-scheme>")));
    QFramedTextAttribute attribute;
    attribute.setSyntaxStyle(&scheme);
    QCOMPARE(attribute.syntaxStyle(), &scheme);

    QTextCharFormat format;
    format.setObjectType(QFramedTextAttribute::objectType());
    format.setProperty(1, QStringLiteral("occurrence"));
    QCOMPARE(attribute.intrinsicSize(nullptr, 0, format), QSizeF(0, 0));
    const QSize textSize = QFontMetrics(format.font()).boundingRect(QStringLiteral("occurrence")).size();

    QImage image(200, 100, QImage::Format_RGB32);
    image.fill(Qt::white);
    {
        QPainter painter(&image);
        attribute.drawObject(&painter, QRectF(20, 60, 0, 0), nullptr, 0, format);
    }

    // Drawn with the background colour of "Occurrences", as an outline only:
    // from the object's left, ending 4 pixels below the object's top.
    const int top = 60 - textSize.height() + 4;
    const QPoint centre(20 + textSize.width() / 2, top + textSize.height() / 2);
    QCOMPARE(image.pixelColor(centre), QColor(Qt::white));
    // The antialiased one-pixel pen may spread over two rows.
    const auto reddish = [&image](int x, int y) {
        const QColor c = image.pixelColor(x, y);
        const QColor above = image.pixelColor(x, y - 1);
        return (c.red() > 200 && c.green() < 160) || (above.red() > 200 && above.green() < 160);
    };
    QVERIFY(reddish(centre.x(), top));
    QVERIFY(reddish(centre.x(), top + textSize.height()));
    QCOMPARE(image.pixelColor(centre.x(), top - 3), QColor(Qt::white));
    QCOMPARE(image.pixelColor(10, centre.y()), QColor(Qt::white));
}

QTEST_MAIN(tst_QFramedTextAttribute)
#include "tst_qframedtextattribute.moc"
