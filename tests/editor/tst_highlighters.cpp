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

static QTestData &row(const char *language, const char *name)
{
    return QTest::addRow("%s: %s", language, name) << QString::fromLatin1(language);
}

// Rows: a text, styles expected as "[line:]column=Style" ("-" no format) and "states=" of the lines.
void tst_Highlighters::formats_data()
{
    QTest::addColumn<QString>("language");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("styles");
    row("python", "calls and words")
        << "def f(x):\nfoo (x)\nprint(x)\na.b.c(1)\nx = True\nx = None\nformats = 1"
        << "0=Keyword 4=Function 6=- 1:0=- 2:0=Function 3:2=Type 3:4=Function 4:4=PrimitiveType 5:4=- 6:0=-";
    row("python", "keywords and numbers")
        << "import os\nelif x:\nn = len\nif(x)\nint x = 5\nx = 0xFF\nx = 0x10\n3.14\n0b101\n1'000\nx1 = 2"
        << "0=Keyword 7=- 1:0=- 2:4=Function 3:0=Keyword 4:4=- 5:4=- 6:5=Number 7:3=Number 8:1=Number 9:4=Number "
           "10:1=-";
    row("python", "strings and comments")
        << "s = \"a b\"\ns = \"if\"\ns = 'a' 'b'\nx = 'say \"hi\"'\ns = \"a#b\"\nx = 1 # note\n# for"
        << "5=String 1:5=String 2:7=String 3:5=- 3:10=String 4:4=String 4:8=Comment 5:4=Number 5:8=Comment 6:2=Comment";
    row("python", "doc string on one line") << "'''doc'''\nx = 1" << "3=String 1:4=Number states=0,0";
    row("python", "block over lines")
        << "x = '''start\nmiddle if\nend''' + 1" << "0=- 7=String 1:7=String 2:5=String 2:9=Number states=1,1,0";
    row("python", "closing at column 0 unseen") << "'''\n'''\nx = 1" << "2:4=String states=1,1,1";
    row("python", "indented closing seen") << "'''\n '''\nx = 1" << "2:4=Number states=1,0,0";
    row("python", "double triple quotes") << "\"\"\"\nif\n \"\"\"" << "1:0=String states=2,2,0";
    row("cpp", "directives and a call")
        << "#include <a.h>\n  # include \"b.h\"\n#define X 1\nWidget make(1);"
        << "2=Preprocessor 8=Preprocessor 9=String 13=String 1:12=String 2:1=Preprocessor 2:8=- 3:0=Type 3:7=Function";
    row("cpp", "calls, types and keywords")
        << "std::sort(v);\nmake (1);\nWidget x;\nint x = 5;\nreturn x;\nregister2 r;\nregister int r;\nx = 42;"
        << "0=Function 5=Function 1:0=Function 2:0=Type 2:7=- 3:0=PrimitiveType 4:0=Keyword 5:0=Keyword 6:0=- "
           "7:4=Number";
    row("cpp", "numbers and strings")
        << "x = 0x1F;\nx = 1'000'000ul;\nx = 3.14f;\nx = 1e10;\nx = 0b1010;\nx2 = 1;\ns = \"a b\";\ns = \"for\";"
        << "7=Number 1:14=Number 2:8=Number 3:6=Number 4:5=Number 5:1=- 6:6=String 7:6=String";
    row("cpp", "line comment, comment opened in a string")
        << "x = 1; // note\ns = \"a /* b\";" << "10=Comment 1:4=String 1:12=Comment";
    row("cpp", "comment over lines")
        << "a /* b\nint c\nd */ int" << "0=- 3=Comment 1:0=Comment 2:3=Comment 2:6=PrimitiveType states=1,1,0";
    row("glsl", "include, version, builtin call")
        << "#include <lib.glsl>\n#version 330\nvec3 c = normalize(v);"
        << "1=Preprocessor 9=String 1:3=Preprocessor 1:9=Number 2:0=PrimitiveType 2:9=Function";
    row("glsl", "functions, types and keywords")
        << "float shade(int a)\nLight make(x)\nLight l;\nuniform float t;\nshade (x)\nEndStreamPrimitive();"
        << "0=PrimitiveType 6=Function 1:0=Type 2:0=- 3:0=Keyword 4:0=- 5:3=Function";
    row("glsl", "no strings, numbers and comments")
        << "x = \"str\";\nx = 1.5;\nx = 1; // note\n// uniform" << "5=- 1:6=Number 2:10=Comment 3:4=Comment";
    row("glsl", "comment over lines") << "/* a\nvec3 b\nc */ vec3" << "1:0=Comment 2:6=PrimitiveType states=1,1,0";
    row("lua", "types and operators")
        << "local x = 1\nif a == b then\na = b + c\nx = 10 .. y"
        << "0=Type 5=Type 10=Number 1:0=Keyword 1:4=Operator 1:5=Operator 2:6=Operator 3:8=Operator";
    row("lua", "calls, strings and require")
        << "function f(x)\nprint(\"hi\")\ns = 'it'\nrequire \"mod\"\nrequire(\"mod\")"
        << "0=Type 8=Type 9=Function 1:0=Function 1:7=String 2:5=String 3:2=Preprocessor 3:9=String 4:0=Function";
    row("lua", "shebang, comment and declared types")
        << "#!lua\nx = 1 -- note\nVec vv = 1\nVec v = 1\nVec vv;" << "3=Preprocessor 1:9=Comment 2:0=Type 3:0=- 4:0=-";
    row("lua", "comment block") << "--[[ a\nif b\n--]]\nx = 1" << "5=Comment 1:0=Comment 3:4=Number states=1,1,0,0";
    row("lua", "string block") << "x = [[\nif\n]] y" << "0=- 1:0=String states=2,2,0";
    row("xml", "elements and values")
        << "<tag attr=\"v\">\n<a x=\"v\"y>\n<a x=\"v\"/>\n<?xml version=\"1.0\"?>"
        << "0=Keyword 2=Keyword 5=Text 9=- 11=String 13=Keyword 1:6=- 2:6=String 3:1=Keyword 3:16=String 3:19=Keyword";
    row("xml", "end tags, data and comments")
        << "</tag>\n<br/>\n<a>text</a>\n<!-- <b attr=\"x\" > -->"
        << "1=Keyword 3=Keyword 1:3=Keyword 2:4=- 3:8=Comment 3:14=String";
    row("xml", "comment over lines") << "<!-- a\n<b>\nc --> <d>" << "1:1=Comment 2:4=Comment 2:7=Keyword states=1,1,0";
    row("json", "keys and values")
        << "{\"a\": \"b\"}\n{\"x\": \"a:b\"}\n{\"n1\": 5}"
        << "1=Keyword 3=Keyword 4=- 7=String 1:7=String 2:3=Keyword 2:7=Number";
    row("json", "words") << "[true, \"true\", null, false]" << "1=Keyword 8=String 15=Keyword 21=Keyword";
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
