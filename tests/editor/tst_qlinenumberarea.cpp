#include "qcodeeditor.h"
#include "qlinenumberarea.h"
#include "qsyntaxstyle.h"
#include "testsupport.h"

#include <QAbstractTextDocumentLayout>
#include <QScrollBar>
#include <QTest>
#include <QTextBlock>

class tst_QLineNumberArea : public QObject
{
    Q_OBJECT

private slots:
    void widthByDigitCount_data();
    void widthByDigitCount();
    void paintsBesideTheViewport();
    void firstVisibleBlockFollowsScrolling();

private:
    SettingsSandbox sandbox;
};

// Shows an editor of so many lines and waits until the viewport leaves the gutter its room.
static bool showLines(QCodeEditor &editor, int lineCount)
{
    QStringList lines;
    for (int i = 0; i < lineCount; ++i)
        lines << QStringLiteral("line %1").arg(i + 1);
    editor.setPlainText(lines.join(QLatin1Char('\n')));
    editor.resize(300, 200);
    editor.show();
    auto *gutter = editor.findChild<QLineNumberArea *>();
    return QTest::qWaitForWindowExposed(&editor) && QTest::qWaitFor([&] {
        return editor.viewport()->geometry().left() - editor.contentsRect().left() == gutter->sizeHint().width();
    });
}

void tst_QLineNumberArea::widthByDigitCount_data()
{
    QTest::addColumn<int>("lineCount");
    QTest::addColumn<int>("digits");
    // Without a change of the line count only painting sets the margin.
    QTest::newRow("empty document") << 0 << 1;
    QTest::newRow("one line") << 1 << 1;
    QTest::newRow("nine lines") << 9 << 1;
    QTest::newRow("ten lines") << 10 << 2;
    QTest::newRow("1000 lines") << 1000 << 4;
}

void tst_QLineNumberArea::widthByDigitCount()
{
    QFETCH(int, lineCount);
    QFETCH(int, digits);
    QCodeEditor editor;
    QVERIFY(showLines(editor, lineCount));
    auto *gutter = editor.findChild<QLineNumberArea *>();
    QCOMPARE(gutter->sizeHint(), QSize(13 + digits * editor.fontMetrics().horizontalAdvance(QLatin1Char('9')), 0));
    QCOMPARE(gutter->geometry(), QRect(editor.contentsRect().topLeft(),
                                       QSize(gutter->sizeHint().width(), editor.contentsRect().height())));
}

void tst_QLineNumberArea::paintsBesideTheViewport()
{
    QSyntaxStyle scheme;
    QVERIFY(scheme.load(QStringLiteral("<style-scheme><style name='Text' foreground='#000000' background='#ffffff'/>"
                                       "<style name='LineNumber' foreground='#0000ff' background='#00ff00'/>"
                                       "<style name='CurrentLineNumber' foreground='#ff0000'/></style-scheme>")));
    QCodeEditor editor;
    editor.setSyntaxStyle(&scheme);
    QVERIFY(showLines(editor, 3));
    auto *gutter = editor.findChild<QLineNumberArea *>();
    editor.setTextCursor(QTextCursor(editor.document()->findBlockByNumber(1)));
    const QImage image = gutter->grab().toImage();

    // Per row of lines: which colours it shows. Only "Text" gives the fill; the cursor's line is in
    // "CurrentLineNumber". The numbers end 5 pixels left of the right edge, where the glyph puts its ink.
    const int h = editor.fontMetrics().height();
    const int top = editor.cursorRect(QTextCursor(editor.document()->firstBlock())).top();
    const QFontMetrics metrics(editor.font());
    int inkRight = -1;
    int bearing = INT_MIN;
    QStringList colours{"", "", "", ""};
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QString colour = image.pixelColor(x, y).name();
            if (colour == "#ffffff")
                continue;
            inkRight = qMax(inkRight, x);
            QString &seen = colours[y < top || y >= top + 3 * h ? 3 : (y - top) / h];
            if (QStringList({"#0000ff", "#ff0000", "#00ff00"}).contains(colour) && !seen.contains(colour))
                seen += colour;
        }
    }
    QCOMPARE(colours, QStringList({"#0000ff", "#ff0000", "#0000ff", ""}));
    QCOMPARE(image.pixelColor(1, image.height() - 2), QColor("#ffffff"));
    for (const char digit : {'1', '2', '3'})
        bearing = qMax(bearing, metrics.boundingRect(QLatin1Char(digit)).right() - metrics.horizontalAdvance(QLatin1Char(digit)));
    QCOMPARE(inkRight, gutter->width() - 5 + bearing);
}

void tst_QLineNumberArea::firstVisibleBlockFollowsScrolling()
{
    QCodeEditor editor;
    QVERIFY(showLines(editor, 200));
    QCOMPARE(editor.firstVisibleBlock(), 0);
    QScrollBar *bar = editor.verticalScrollBar();
    bar->setValue(bar->maximum());
    const int first = editor.firstVisibleBlock();
    const QRectF rect = editor.document()->documentLayout()->blockBoundingRect(editor.document()->findBlockByNumber(first));
    QVERIFY(first > 100 && rect.bottom() > bar->value() && rect.top() <= bar->value());
}

QTEST_MAIN(tst_QLineNumberArea)
#include "tst_qlinenumberarea.moc"
