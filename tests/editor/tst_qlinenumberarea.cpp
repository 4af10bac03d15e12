#include "qcodeeditor.h"
#include "qlinenumberarea.h"
#include "qsyntaxstyle.h"
#include "testsupport.h"

#include <QApplication>
#include <QAbstractTextDocumentLayout>
#include <QScrollBar>
#include <QTest>
#include <QTextBlock>

#include <limits>

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

// The viewport's left margin, which the gutter covers.
static int margin(const QCodeEditor &editor)
{
    return editor.viewport()->geometry().left() - editor.contentsRect().left();
}

static QString lines(int count)
{
    QStringList list;
    for (int i = 0; i < count; ++i)
        list << QStringLiteral("line %1").arg(i + 1);
    return list.join(QLatin1Char('\n'));
}

void tst_QLineNumberArea::widthByDigitCount_data()
{
    QTest::addColumn<int>("lineCount");
    QTest::addColumn<int>("digits");

    QTest::newRow("empty document") << 0 << 1;
    QTest::newRow("one line") << 1 << 1;
    QTest::newRow("nine lines") << 9 << 1;
    QTest::newRow("ten lines") << 10 << 2;
    QTest::newRow("100 lines") << 100 << 3;
    QTest::newRow("1000 lines") << 1000 << 4;
}

void tst_QLineNumberArea::widthByDigitCount()
{
    QFETCH(int, lineCount);
    QFETCH(int, digits);

    QCodeEditor editor;
    editor.setPlainText(lines(lineCount));
    auto *gutter = editor.findChild<QLineNumberArea *>();
    QVERIFY(gutter);
    QCOMPARE(gutter->parentWidget(), &editor);

    const int digitWidth = editor.fontMetrics().horizontalAdvance(QLatin1Char('9'));
    QVERIFY(digitWidth > 0);
    QCOMPARE(gutter->sizeHint(), QSize(13 + digits * digitWidth, 0));

    // Once painted, the viewport leaves the gutter its room, also where the
    // line count never changed.
    editor.resize(300, 200);
    editor.show();
    QVERIFY(QTest::qWaitForWindowExposed(&editor));
    QTRY_COMPARE(margin(editor), gutter->sizeHint().width());
    QCOMPARE(gutter->geometry(), QRect(editor.contentsRect().topLeft(),
                                       QSize(gutter->sizeHint().width(), editor.contentsRect().height())));

    QLineNumberArea orphan(nullptr);
    QCOMPARE(orphan.sizeHint(), QWidget().sizeHint());
}

// Whether any pixel of the rows from top up to bottom has the colour.
static bool hasColour(const QImage &image, const char *colour, int top, int bottom)
{
    for (int y = qMax(0, top); y < qMin(image.height(), bottom); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (image.pixelColor(x, y) == QColor(colour))
                return true;
        }
    }
    return false;
}

void tst_QLineNumberArea::paintsBesideTheViewport()
{
    QSyntaxStyle scheme;
    QVERIFY(scheme.load(QStringLiteral("<style-scheme><style name='Text' foreground='#000000' background='#ffffff'/>"
                                       "<style name='LineNumber' foreground='#0000ff' background='#00ff00'/>"
                                       "<style name='CurrentLineNumber' foreground='#ff0000'/></style-scheme>")));
    QCodeEditor editor;
    editor.resize(300, 200);
    editor.setSyntaxStyle(&scheme);
    editor.setPlainText(lines(3));
    editor.setTextCursor(QTextCursor(editor.document()->findBlockByNumber(1)));
    editor.show();
    QVERIFY(QTest::qWaitForWindowExposed(&editor));

    auto *gutter = editor.findChild<QLineNumberArea *>();
    QTRY_COMPARE(margin(editor), gutter->sizeHint().width());

    const QImage image = gutter->grab().toImage();
    QVERIFY(!image.isNull());

    // Only the background of "Text" fills the gutter; "LineNumber" gives no fill.
    QCOMPARE(image.pixelColor(1, image.height() - 2), QColor("#ffffff"));
    QVERIFY(!hasColour(image, "#00ff00", 0, image.height()));

    // The cursor's line number in "CurrentLineNumber", the others in
    // "LineNumber". The gutter and the viewport share their top edge.
    const int h = editor.fontMetrics().height();
    const int top = editor.cursorRect(QTextCursor(editor.document()->firstBlock())).top();
    QVERIFY(hasColour(image, "#0000ff", top, top + h) && !hasColour(image, "#ff0000", top, top + h));
    QVERIFY(hasColour(image, "#ff0000", top + h, top + 2 * h) && !hasColour(image, "#0000ff", top + h, top + 2 * h));
    QVERIFY(hasColour(image, "#0000ff", top + 2 * h, top + 3 * h));

    // The numbers end 5 pixels left of the gutter's right edge: the ink of
    // the last digit ends where its glyph puts it within its advance.
    int inkRight = -1;
    for (int x = 0; x < image.width(); ++x) {
        for (int y = 0; y < image.height(); ++y) {
            if (image.pixelColor(x, y) != QColor("#ffffff"))
                inkRight = x;
        }
    }
    const QFontMetrics metrics(editor.font());
    int bearing = std::numeric_limits<int>::min();
    for (const char digit : {'1', '2', '3'})
        bearing = qMax(bearing, metrics.boundingRect(QLatin1Char(digit)).right() -
                                    metrics.horizontalAdvance(QLatin1Char(digit)));
    QCOMPARE(inkRight, gutter->width() - 5 + bearing);
}

void tst_QLineNumberArea::firstVisibleBlockFollowsScrolling()
{
    QCodeEditor editor;
    editor.resize(300, 200);
    editor.setPlainText(lines(200));
    editor.show();
    QVERIFY(QTest::qWaitForWindowExposed(&editor));

    QCOMPARE(editor.firstVisibleBlock(), 0);

    QScrollBar *bar = editor.verticalScrollBar();
    bar->setValue(bar->maximum());
    const int first = editor.firstVisibleBlock();
    QVERIFY(first > 100);
    const QRectF rect = editor.document()->documentLayout()->blockBoundingRect(
        editor.document()->findBlockByNumber(first));
    QVERIFY(rect.bottom() > bar->value());
    QVERIFY(rect.top() <= bar->value());
}

QTEST_MAIN(tst_QLineNumberArea)
#include "tst_qlinenumberarea.moc"
