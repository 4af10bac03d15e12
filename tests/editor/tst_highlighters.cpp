#include "qcxxhighlighter.h"
#include "qglslhighlighter.h"
#include "qjsonhighlighter.h"
#include "qluahighlighter.h"
#include "qpythonhighlighter.h"
#include "qsyntaxstyle.h"
#include "qxmlhighlighter.h"
#include "testsupport.h"

#include <QAbstractTextDocumentLayout>
#include <QTest>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextLayout>

#include <algorithm>
#include <functional>
#include <map>
#include <memory>

static const QStringList styleNames = {"Text",    "Number",        "String",   "Type",         "Function",
                                       "Keyword", "PrimitiveType", "Operator", "Preprocessor", "Comment"};

// A colour of its own per style name: the shipped schemes share colours.
static QSyntaxStyle *probeScheme()
{
    static QSyntaxStyle scheme;
    QString document;
    for (int i = 0; i < styleNames.size(); ++i)
        document += QStringLiteral("<style name='%1' foreground='#%2'/>").arg(styleNames[i]).arg(i + 1, 6, 16,
                                                                                                QChar('0'));
    if (!scheme.isLoaded())
        scheme.load(QStringLiteral("<style-scheme>%1</style-scheme>").arg(document));
    return &scheme;
}

static QStyleSyntaxHighlighter *makeHighlighter(const QString &language)
{
    const std::map<QString, std::function<QStyleSyntaxHighlighter *()>> made = {
        {"python", [] { return new QPythonHighlighter; }}, {"cpp", [] { return new QCXXHighlighter; }},
        {"glsl", [] { return new QGLSLHighlighter; }},     {"lua", [] { return new QLuaHighlighter; }},
        {"xml", [] { return new QXMLHighlighter; }},       {"json", [] { return new QJSONHighlighter; }}};
    return made.at(language)();
}

// Highlights a text as Qt does and reads back the formats it left in the layouts.
struct HighlighterProbe
{
    HighlighterProbe(const QString &language, const QString &text)
        : highlighter(makeHighlighter(language))
    {
        // Only a document with a layout reports its changes to a highlighter.
        document.documentLayout();
        highlighter->setSyntaxStyle(probeScheme());
        highlighter->setDocument(&document);
        document.setPlainText(text);
    }

    // The style name at a place; "-" for no format, "?" for one of no style.
    QString styleAt(int line, int column) const
    {
        const QTextBlock block = document.findBlockByNumber(line);
        if (!block.isValid() || column >= block.length())
            return QStringLiteral("<outside>");
        for (const QTextLayout::FormatRange &range : block.layout()->formats()) {
            if (column >= range.start && column < range.start + range.length) {
                const auto name = std::find_if(styleNames.begin(), styleNames.end(), [&](const QString &name) {
                    return probeScheme()->formatFor(name) == range.format;
                });
                return name == styleNames.end() ? QStringLiteral("?") : *name;
            }
        }
        return QStringLiteral("-");
    }

    QString states() const
    {
        QStringList result;
        for (QTextBlock block = document.begin(); block.isValid(); block = block.next())
            result << QString::number(block.userState());
        return QLatin1String("states=") + result.join(QLatin1Char(','));
    }

    QTextDocument document;
    std::unique_ptr<QStyleSyntaxHighlighter> highlighter;
};

class tst_Highlighters : public QObject
{
    Q_OBJECT

private slots:
    void formats_data();
    void formats();

private:
    SettingsSandbox sandbox;
};

// Rows from a golden file, one a highlighted text with the styles expected at its places.
void tst_Highlighters::formats_data()
{
    QTest::addColumn<QString>("language");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("styles");
    const QStringList rows = QString::fromUtf8(readLocalFile(QStringLiteral(MORVEX_SOURCE_DIR "/tests/editor/data/highlighting.txt")))
                                 .split(QStringLiteral("\n@@ "));
    QVERIFY(rows.size() > 1);
    for (const QString &row : rows.mid(1)) {
        const int text = row.indexOf(QLatin1Char('\n')) + 1, styles = row.lastIndexOf(QStringLiteral("\n=> "));
        QTest::newRow(qPrintable(row.left(text - 1))) << row.section(QLatin1Char(':'), 0, 0) << row.mid(text, styles - text)
                                                      << row.mid(styles + 4).trimmed();
    }
}

void tst_Highlighters::formats()
{
    QFETCH(QString, language);
    QFETCH(QString, text);
    QFETCH(QString, styles);

    // All places are compared at once, so that a failure shows each of them.
    HighlighterProbe probe(language, text);
    QStringList found;
    for (const QString &check : styles.split(QLatin1Char(' '))) {
        if (check.startsWith(QLatin1String("states="))) {
            found << probe.states();
            continue;
        }
        const QString place = check.section(QLatin1Char('='), 0, 0);
        const int line = place.contains(QLatin1Char(':')) ? place.section(QLatin1Char(':'), 0, 0).toInt() : 0;
        const int column = place.section(QLatin1Char(':'), -1).toInt();
        found << place + QLatin1Char('=') + probe.styleAt(line, column);
    }
    QCOMPARE(found.join(QLatin1Char(' ')), styles);
}

QTEST_MAIN(tst_Highlighters)
#include "tst_highlighters.moc"
