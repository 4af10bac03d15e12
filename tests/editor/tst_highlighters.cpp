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

#include <memory>

static const QStringList styleNames = {"Text",    "Number",        "String",   "Type",         "Function",
                                       "Keyword", "PrimitiveType", "Operator", "Preprocessor", "Comment"};

// A colour of its own for each style name, so that a format read back from a
// layout tells its style without doubt (the shipped schemes share colours).
static QSyntaxStyle *probeScheme()
{
    static QSyntaxStyle scheme;
    if (!scheme.isLoaded()) {
        QString document = QStringLiteral("<style-scheme>");
        for (int i = 0; i < styleNames.size(); ++i)
            document += QStringLiteral("<style name=\"%1\" foreground=\"#%2\"/>")
                            .arg(styleNames.at(i))
                            .arg(i + 1, 6, 16, QLatin1Char('0'));
        scheme.load(document + QStringLiteral("</style-scheme>"));
    }
    return &scheme;
}

static QStyleSyntaxHighlighter *makeHighlighter(const QString &language)
{
    if (language == QLatin1String("python"))
        return new QPythonHighlighter;
    if (language == QLatin1String("cpp"))
        return new QCXXHighlighter;
    if (language == QLatin1String("glsl"))
        return new QGLSLHighlighter;
    if (language == QLatin1String("lua"))
        return new QLuaHighlighter;
    if (language == QLatin1String("xml"))
        return new QXMLHighlighter;
    return new QJSONHighlighter;
}

// Highlights a text line by line as Qt does and reads back the formats Qt
// applied to the document's layouts.
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
            if (column < range.start || column >= range.start + range.length)
                continue;
            for (const QString &name : styleNames) {
                if (probeScheme()->formatFor(name) == range.format)
                    return name;
            }
            return QStringLiteral("?");
        }
        return QStringLiteral("-");
    }

    QList<int> states() const
    {
        QList<int> result;
        for (QTextBlock block = document.begin(); block.isValid(); block = block.next())
            result << block.userState();
        return result;
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
    void editsCarryStateToLaterLines();
    void styleChangeNeedsRehighlight();

private:
    SettingsSandbox sandbox;
};

static QTestData &row(const char *language, const char *name)
{
    return QTest::addRow("%s: %s", language, name) << QString::fromLatin1(language);
}

// Rows: a text and what is expected of it: styles as "column=Style" on the
// first line or "line:column=Style", "-" for no format, and "states=" the
// block state of each line.
void tst_Highlighters::formats_data()
{
    QTest::addColumn<QString>("language");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("styles");

    row("python", "def, defined name, argument") << "def f(x):" << "0=Keyword 4=Function 6=-";
    row("python", "blank before bracket") << "foo (x)" << "0=-";
    row("python", "print call") << "print(x)" << "0=Function";
    row("python", "qualified call") << "a.b.c(1)" << "2=Type 4=Function";
    row("python", "True") << "x = True" << "4=PrimitiveType";
    row("python", "None plain") << "x = None" << "4=-";
    row("python", "keyword needs word bounds") << "formats = 1" << "0=-";
    row("python", "import") << "import os" << "0=Keyword 7=-";
    row("python", "elif not a keyword") << "elif x:" << "0=-";
    row("python", "listed function word") << "n = len" << "4=Function";
    row("python", "keyword rule runs after calls") << "if(x)" << "0=Keyword";
    row("python", "declared type not marked") << "int x = 5" << "4=-";

    row("python", "hex letters") << "x = 0xFF" << "4=-";
    row("python", "hex digits") << "x = 0x10" << "5=Number";
    row("python", "float") << "3.14" << "3=Number";
    row("python", "binary") << "0b101" << "1=Number";
    row("python", "digit separator") << "1'000" << "4=Number";
    row("python", "digits in a name") << "x1 = 2" << "1=-";

    row("python", "double quoted") << "s = \"a b\"" << "5=String";
    row("python", "keyword in string") << "s = \"if\"" << "5=String";
    row("python", "two single-quoted are one match") << "s = 'a' 'b'" << "7=String";
    row("python", "single quotes around double") << "x = 'say \"hi\"'" << "5=- 10=String";
    row("python", "hash in string comments") << "s = \"a#b\"" << "4=String 8=Comment";
    row("python", "comment") << "x = 1 # note" << "4=Number 8=Comment";
    row("python", "keyword in comment") << "# for" << "2=Comment";

    row("python", "doc string on one line") << "'''doc'''\nx = 1" << "3=String 1:4=Number states=0,0";
    row("python", "four quotes open and close") << "''''\nx" << "states=0,0";
    row("python", "block over lines") << "x = '''start\nmiddle if\nend''' + 1"
                                      << "0=- 7=String 1:7=String 2:5=String 2:9=Number states=1,1,0";
    row("python", "closing at column 0 unseen") << "'''\n'''\nx = 1" << "2:4=String states=1,1,1";
    row("python", "indented closing seen") << "'''\n '''\nx = 1" << "2:4=Number states=1,0,0";
    row("python", "double triple quotes") << "\"\"\"\nif\n \"\"\"" << "1:0=String states=2,2,0";
    row("python", "rule order, not position") << "\"\"\" and '''" << "4=Keyword 9=String";
    row("python", "opened behind a comment sign") << "# '''\nx = 1" << "0=Comment 1:4=String states=1,1";
    row("python", "empty line inside block") << "'''\n\nx '''" << "2:0=String states=1,1,0";
    row("python", "other delimiter doesn't close") << "\"\"\" and '''\n \"\"\" x\n ''' y" << "states=1,1,0";
    row("python", "second opening unseen on its line") << "'''a''' \"\"\"b\nc" << "states=0,0";
    row("python", "reopened by the same rule") << "'''a''' '''b\nc" << "states=1,1";

    row("cpp", "include") << "#include <a.h>" << "2=Preprocessor 8=Preprocessor 9=String 13=String";
    row("cpp", "quoted include") << "  # include \"b.h\"" << "12=String";
    row("cpp", "other directive") << "#define X 1" << "1=Preprocessor 8=-";
    row("cpp", "return type of a call") << "Widget make(1);" << "0=Type 7=Function";
    row("cpp", "qualified call") << "std::sort(v);" << "0=Function 5=Function";
    row("cpp", "blank before bracket") << "make (1);" << "0=Function";
    row("cpp", "declared class type") << "Widget x;" << "0=Type 7=-";
    row("cpp", "primitive over declared") << "int x = 5;" << "0=PrimitiveType";
    row("cpp", "keyword") << "return x;" << "0=Keyword";
    row("cpp", "register(2) matches register2") << "register2 r;" << "0=Keyword";
    row("cpp", "register(2) misses register") << "register int r;" << "0=-";

    row("cpp", "decimal") << "x = 42;" << "4=Number";
    row("cpp", "hex with letters") << "x = 0x1F;" << "7=Number";
    row("cpp", "separators and suffix") << "x = 1'000'000ul;" << "14=Number";
    row("cpp", "float suffix") << "x = 3.14f;" << "8=Number";
    row("cpp", "exponent") << "x = 1e10;" << "6=Number";
    row("cpp", "binary") << "x = 0b1010;" << "5=Number";
    row("cpp", "digits in a name") << "x2 = 1;" << "1=-";

    row("cpp", "string") << "s = \"a b\";" << "6=String";
    row("cpp", "keyword in string") << "s = \"for\";" << "6=String";
    row("cpp", "line comment") << "x = 1; // note" << "10=Comment";
    row("cpp", "comment opened in a string") << "s = \"a /* b\";" << "4=String 12=Comment";
    row("cpp", "comment over lines") << "a /* b\nint c\nd */ int"
                                     << "0=- 3=Comment 1:0=Comment 2:3=Comment 2:6=PrimitiveType states=1,1,0";
    row("cpp", "closing at column 0") << "/*\n*/ 1" << "1:0=Comment 1:3=Number states=1,0";
    row("cpp", "slash star slash") << "/*/ 1" << "4=Number states=0";
    row("cpp", "second comment on a line") << "/* a */ b /* c\nd" << "8=- states=1,1";
    row("cpp", "line comment doesn't hide an opening") << "// /*\nx" << "states=1,1";

    row("glsl", "include") << "#include <lib.glsl>" << "1=Preprocessor 9=String";
    row("glsl", "version") << "#version 330" << "3=Preprocessor 9=Number";
    row("glsl", "builtin call") << "vec3 c = normalize(v);" << "0=PrimitiveType 9=Function";
    row("glsl", "own function") << "float shade(int a)" << "0=PrimitiveType 6=Function";
    row("glsl", "type before own function") << "Light make(x)" << "0=Type";
    row("glsl", "declared type not marked") << "Light l;" << "0=-";
    row("glsl", "qualifier keyword") << "uniform float t;" << "0=Keyword";
    row("glsl", "blank before bracket") << "shade (x)" << "0=-";
    row("glsl", "duplicated list entry") << "EndStreamPrimitive();" << "3=Function";

    row("glsl", "no string rule") << "x = \"str\";" << "5=-";
    row("glsl", "float") << "x = 1.5;" << "6=Number";
    row("glsl", "line comment") << "x = 1; // note" << "10=Comment";
    row("glsl", "keyword in comment") << "// uniform" << "4=Comment";
    row("glsl", "comment over lines") << "/* a\nvec3 b\nc */ vec3" << "1:0=Comment 2:6=PrimitiveType states=1,1,0";
    row("glsl", "closing at column 0") << "/*\n*/\nx" << "states=1,0,0";
    row("glsl", "slash star slash") << "/*/ 1" << "4=Number states=0";

    row("lua", "local, blank behind a word") << "local x = 1" << "0=Type 5=Type 10=Number";
    row("lua", "comparison operator") << "if a == b then" << "0=Keyword 4=Operator 5=Operator";
    row("lua", "escaped operator") << "a = b + c" << "6=Operator";
    row("lua", "concatenation") << "x = 10 .. y" << "8=Operator";
    row("lua", "function is a Type") << "function f(x)" << "0=Type 8=Type 9=Function";
    row("lua", "call, double quoted") << "print(\"hi\")" << "0=Function 7=String";
    row("lua", "single quoted") << "s = 'it'" << "5=String";
    row("lua", "require") << "require \"mod\"" << "2=Preprocessor 9=String";
    row("lua", "require as a call") << "require(\"mod\")" << "0=Function";
    row("lua", "shebang") << "#!lua" << "3=Preprocessor";
    row("lua", "line comment") << "x = 1 -- note" << "9=Comment";
    row("lua", "declared type") << "Vec vv = 1" << "0=Type";
    row("lua", "declared name of one letter") << "Vec v = 1" << "0=-";
    row("lua", "declared type wants =") << "Vec vv;" << "0=-";

    row("lua", "comment block") << "--[[ a\nif b\n--]]\nx = 1" << "5=Comment 1:0=Comment 3:4=Number states=1,1,0,0";
    row("lua", "string block") << "x = [[\nif\n]] y" << "0=- 1:0=String states=2,2,0";
    row("lua", "string block closing at column 0") << "x = [[\n]] 5" << "1:0=String 1:3=Number states=2,0";
    row("lua", "comment rule tried first") << "--[[ a ]] b\nc" << "1:0=Comment states=1,1";
    row("lua", "string end doesn't close a comment") << "--[[\n]]\n--]]" << "states=1,1,0";
    row("lua", "reopened by the same rule") << "[[a]] [[b\nc" << "states=2,2";
    row("lua", "open and close on one line") << "s = [[a]]\nt" << "states=0,0";

    row("xml", "element") << "<tag attr=\"v\">" << "0=Keyword 2=Keyword 5=Text 9=- 11=String 13=Keyword";
    row("xml", "value needs a separator behind") << "<a x=\"v\"y>" << "6=-";
    row("xml", "value before a slash") << "<a x=\"v\"/>" << "6=String";
    row("xml", "declaration") << "<?xml version=\"1.0\"?>" << "1=Keyword 16=String 19=Keyword";
    row("xml", "end tag") << "</tag>" << "1=Keyword 3=Keyword";
    row("xml", "empty element end") << "<br/>" << "3=Keyword";
    row("xml", "character data") << "<a>text</a>" << "4=-";
    row("xml", "value inside a comment") << "<!-- <b attr=\"x\" > -->" << "8=Comment 14=String";
    row("xml", "comment over lines") << "<!-- a\n<b>\nc --> <d>" << "1:1=Comment 2:4=Comment 2:7=Keyword states=1,1,0";
    row("xml", "comment on one line") << "<!-- a -->\n<b/>" << "states=0,0";
    row("xml", "closing at column 0") << "<!--\n-->\nx" << "states=1,0,0";

    row("json", "key and value") << "{\"a\": \"b\"}" << "1=Keyword 3=Keyword 4=- 7=String";
    row("json", "string with a colon is no key") << "{\"x\": \"a:b\"}" << "7=String";
    row("json", "number inside a key") << "{\"n1\": 5}" << "3=Keyword 7=Number";
    row("json", "words") << "[true, \"true\", null, false]" << "1=Keyword 8=String 15=Keyword 21=Keyword";
    row("json", "key on a later line") << "{\n  \"k\" : 1.5\n}" << "1:2=Keyword 1:10=Number";
    row("json", "block state never set") << "{\n\"a\": \"/*\",\n\"b\": 1\n}" << "states=-1,-1,-1,-1";
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
            QStringList states;
            for (const int state : probe.states())
                states << QString::number(state);
            found << QLatin1String("states=") + states.join(QLatin1Char(','));
            continue;
        }
        const QString place = check.section(QLatin1Char('='), 0, 0);
        const int line = place.contains(QLatin1Char(':')) ? place.section(QLatin1Char(':'), 0, 0).toInt() : 0;
        const int column = place.section(QLatin1Char(':'), -1).toInt();
        found << place + QLatin1Char('=') + probe.styleAt(line, column);
    }
    QCOMPARE(found.join(QLatin1Char(' ')), styles);
}

void tst_Highlighters::editsCarryStateToLaterLines()
{
    HighlighterProbe probe(QStringLiteral("python"), QStringLiteral("x = 1\ny = 2\n z = 3 '''"));
    QCOMPARE(probe.states(), QList<int>({0, 0, 1}));

    QTextCursor cursor(&probe.document);
    cursor.insertText(QStringLiteral("'''"));
    QCOMPARE(probe.states(), QList<int>({1, 1, 0}));
    QCOMPARE(probe.styleAt(1, 4), QStringLiteral("String"));
    QCOMPARE(probe.styleAt(2, 4), QStringLiteral("String"));

    cursor.deletePreviousChar();
    QCOMPARE(probe.states(), QList<int>({0, 0, 1}));
    QCOMPARE(probe.styleAt(1, 4), QStringLiteral("Number"));
}

void tst_Highlighters::styleChangeNeedsRehighlight()
{
    HighlighterProbe probe(QStringLiteral("python"), QStringLiteral("def f():"));
    QSyntaxStyle other;
    QVERIFY(other.load(QStringLiteral("<style-scheme><style name=\"Keyword\" bold=\"true\"/></style-scheme>")));
    probe.highlighter->setSyntaxStyle(&other);
    QCOMPARE(probe.highlighter->syntaxStyle(), &other);
    QCOMPARE(probe.styleAt(0, 0), QStringLiteral("Keyword"));

    probe.highlighter->rehighlight();
    QCOMPARE(probe.styleAt(0, 0), QStringLiteral("?"));
}

QTEST_MAIN(tst_Highlighters)
#include "tst_highlighters.moc"
