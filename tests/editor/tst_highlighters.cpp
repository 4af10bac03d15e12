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

// Style names the highlighters draw in.
static const QStringList &styleNames()
{
    static const QStringList names = {"Text",     "Number",        "String",   "Type",         "Function",
                                      "Keyword",  "PrimitiveType", "Operator", "Preprocessor", "Comment"};
    return names;
}

// A scheme with a colour of its own for each of those names, so that a format
// read back from a layout tells its style name without doubt (the shipped
// schemes share colours between names).
static QSyntaxStyle *probeScheme()
{
    static QSyntaxStyle scheme;
    if (!scheme.isLoaded()) {
        QString document = QStringLiteral("<style-scheme name=\"Probe\">");
        for (int i = 0; i < styleNames().size(); ++i)
            document += QStringLiteral("<style name=\"%1\" foreground=\"#%2\"/>")
                            .arg(styleNames().at(i))
                            .arg(i + 1, 6, 16, QLatin1Char('0'));
        document += QStringLiteral("</style-scheme>");
        scheme.load(document);
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

// Highlights a text, line by line as Qt does, and reads back the formats Qt
// applied to the document's layouts.
class HighlighterProbe
{
public:
    HighlighterProbe(const QString &language, const QString &text)
        : highlighter(makeHighlighter(language))
    {
        // A document reports its changes to a highlighter only once it has
        // a layout, as it always has inside an editor.
        document.documentLayout();
        highlighter->setSyntaxStyle(probeScheme());
        highlighter->setDocument(&document);
        document.setPlainText(text);
    }

    // The style name at a place; "" for no format, "?" for one of no style.
    QString styleAt(int line, int column) const
    {
        const QTextBlock block = document.findBlockByNumber(line);
        if (!block.isValid() || column >= block.length())
            return QStringLiteral("<outside>");

        const QVector<QTextLayout::FormatRange> ranges = block.layout()->formats();
        for (const QTextLayout::FormatRange &range : ranges) {
            if (column < range.start || column >= range.start + range.length)
                continue;
            for (const QString &name : styleNames()) {
                if (probeScheme()->formatFor(name) == range.format)
                    return name;
            }
            return QStringLiteral("?");
        }
        return QString();
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
    void blockStates_data();
    void blockStates();
    void editsCarryStateToLaterLines();
    void styleChangeNeedsRehighlight();

private:
    SettingsSandbox sandbox;
};

static QTestData &row(const char *language, const char *name)
{
    return QTest::addRow("%s: %s", language, name) << QString::fromLatin1(language);
}

// Rows: the text, a line and column in it, and the style expected there.
void tst_Highlighters::formats_data()
{
    QTest::addColumn<QString>("language");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("line");
    QTest::addColumn<int>("column");
    QTest::addColumn<QString>("style");

    // Words and calls.
    row("python", "def keyword") << "def f(x):" << 0 << 0 << "Keyword";
    row("python", "name behind def") << "def f(x):" << 0 << 4 << "Function";
    row("python", "argument plain") << "def f(x):" << 0 << 6 << "";
    row("python", "blank before bracket") << "foo (x)" << 0 << 0 << "";
    row("python", "print call") << "print(x)" << 0 << 0 << "Function";
    row("python", "qualifiers are Type") << "a.b.c(1)" << 0 << 2 << "Type";
    row("python", "qualified call name") << "a.b.c(1)" << 0 << 4 << "Function";
    row("python", "True") << "x = True" << 0 << 4 << "PrimitiveType";
    row("python", "None plain") << "x = None" << 0 << 4 << "";
    row("python", "keyword needs word bounds") << "formats = 1" << 0 << 0 << "";
    row("python", "import keyword") << "import os" << 0 << 0 << "Keyword";
    row("python", "imported name plain") << "import os" << 0 << 7 << "";
    row("python", "elif not a keyword") << "elif x:" << 0 << 0 << "";
    row("python", "listed function word") << "n = len" << 0 << 4 << "Function";
    row("python", "keyword rule runs after calls") << "if(x)" << 0 << 0 << "Keyword";
    row("python", "declared type not marked") << "int x = 5" << 0 << 4 << "";

    // Numbers.
    row("python", "hex letters") << "x = 0xFF" << 0 << 4 << "";
    row("python", "hex digits") << "x = 0x10" << 0 << 5 << "Number";
    row("python", "float") << "3.14" << 0 << 3 << "Number";
    row("python", "binary") << "0b101" << 0 << 1 << "Number";
    row("python", "digit separator") << "1'000" << 0 << 4 << "Number";
    row("python", "digits in a name") << "x1 = 2" << 0 << 1 << "";

    // Strings and comments.
    row("python", "double quoted") << "s = \"a b\"" << 0 << 5 << "String";
    row("python", "keyword in string") << "s = \"if\"" << 0 << 5 << "String";
    row("python", "two single-quoted are one match") << "s = 'a' 'b'" << 0 << 7 << "String";
    row("python", "single quotes around double") << "x = 'say \"hi\"'" << 0 << 5 << "";
    row("python", "inner double quotes") << "x = 'say \"hi\"'" << 0 << 10 << "String";
    row("python", "hash in string comments") << "s = \"a#b\"" << 0 << 8 << "Comment";
    row("python", "string before hash") << "s = \"a#b\"" << 0 << 4 << "String";
    row("python", "comment") << "x = 1 # note" << 0 << 8 << "Comment";
    row("python", "number before comment") << "x = 1 # note" << 0 << 4 << "Number";
    row("python", "keyword in comment") << "# for" << 0 << 2 << "Comment";

    // Triple quotes.
    row("python", "doc string on one line") << "'''doc'''\nx = 1" << 0 << 3 << "String";
    row("python", "after one-line doc string") << "'''doc'''\nx = 1" << 1 << 4 << "Number";
    row("python", "block wins over keyword") << "x = '''start\nmiddle if\nend''' + 1" << 1 << 7 << "String";
    row("python", "block start line") << "x = '''start\nmiddle if\nend''' + 1" << 0 << 7 << "String";
    row("python", "before block start") << "x = '''start\nmiddle if\nend''' + 1" << 0 << 0 << "";
    row("python", "closing line") << "x = '''start\nmiddle if\nend''' + 1" << 2 << 5 << "String";
    row("python", "behind closing delimiter") << "x = '''start\nmiddle if\nend''' + 1" << 2 << 9 << "Number";
    row("python", "closing at column 0 unseen") << "'''\n'''\nx = 1" << 2 << 4 << "String";
    row("python", "indented closing seen") << "'''\n '''\nx = 1" << 2 << 4 << "Number";
    row("python", "double triple quotes") << "\"\"\"\nif\n \"\"\"" << 1 << 0 << "String";
    row("python", "rule order, not position") << "\"\"\" and '''" << 0 << 4 << "Keyword";
    row("python", "span from the first rule's start") << "\"\"\" and '''" << 0 << 9 << "String";
    row("python", "opened behind a comment sign") << "# '''\nx = 1" << 1 << 4 << "String";
    row("python", "comment sign before block") << "# '''\nx = 1" << 0 << 0 << "Comment";
    row("python", "empty line inside block") << "'''\n\nx = 1" << 2 << 0 << "String";

    row("cpp", "include directive") << "#include <a.h>" << 0 << 2 << "Preprocessor";
    row("cpp", "include path bracket") << "#include <a.h>" << 0 << 9 << "String";
    row("cpp", "include path end") << "#include <a.h>" << 0 << 13 << "String";
    row("cpp", "include blank") << "#include <a.h>" << 0 << 8 << "Preprocessor";
    row("cpp", "quoted include") << "  # include \"b.h\"" << 0 << 12 << "String";
    row("cpp", "other directive") << "#define X 1" << 0 << 1 << "Preprocessor";
    row("cpp", "directive argument") << "#define X 1" << 0 << 8 << "";

    row("cpp", "return type of a call") << "Widget make(1);" << 0 << 0 << "Type";
    row("cpp", "called name") << "Widget make(1);" << 0 << 7 << "Function";
    row("cpp", "qualified call start") << "std::sort(v);" << 0 << 0 << "Function";
    row("cpp", "qualified call name") << "std::sort(v);" << 0 << 5 << "Function";
    row("cpp", "declared class type") << "Widget x;" << 0 << 0 << "Type";
    row("cpp", "declared name plain") << "Widget x;" << 0 << 7 << "";
    row("cpp", "primitive over declared") << "int x = 5;" << 0 << 0 << "PrimitiveType";
    row("cpp", "keyword") << "return x;" << 0 << 0 << "Keyword";
    row("cpp", "register(2) matches register2") << "register2 r;" << 0 << 0 << "Keyword";
    row("cpp", "register(2) misses register") << "register int r;" << 0 << 0 << "";

    row("cpp", "decimal") << "x = 42;" << 0 << 4 << "Number";
    row("cpp", "hex with letters") << "x = 0x1F;" << 0 << 7 << "Number";
    row("cpp", "separators and suffix") << "x = 1'000'000ul;" << 0 << 14 << "Number";
    row("cpp", "float suffix") << "x = 3.14f;" << 0 << 8 << "Number";
    row("cpp", "exponent") << "x = 1e10;" << 0 << 6 << "Number";
    row("cpp", "binary") << "x = 0b1010;" << 0 << 5 << "Number";
    row("cpp", "digits in a name") << "x2 = 1;" << 0 << 1 << "";

    row("cpp", "string") << "s = \"a b\";" << 0 << 6 << "String";
    row("cpp", "keyword in string") << "s = \"for\";" << 0 << 6 << "String";
    row("cpp", "line comment") << "x = 1; // note" << 0 << 10 << "Comment";
    row("cpp", "comment opened in a string") << "s = \"a /* b\";" << 0 << 12 << "Comment";
    row("cpp", "string before that comment") << "s = \"a /* b\";" << 0 << 4 << "String";

    row("cpp", "comment over lines, first") << "a /* b\nc\nd */ e" << 0 << 3 << "Comment";
    row("cpp", "comment over lines, before") << "a /* b\nc\nd */ e" << 0 << 0 << "";
    row("cpp", "comment over lines, middle") << "a /* b\nint c\nd */ e" << 1 << 0 << "Comment";
    row("cpp", "comment over lines, last") << "a /* b\nc\nd */ e" << 2 << 3 << "Comment";
    row("cpp", "behind the comment end") << "a /* b\nc\nd */ int" << 2 << 6 << "PrimitiveType";
    row("cpp", "closing at column 0") << "/*\n*/ x" << 1 << 0 << "Comment";
    row("cpp", "behind closing at column 0") << "/*\n*/ 1" << 1 << 3 << "Number";
    row("cpp", "slash star slash") << "/*/ 1" << 0 << 4 << "Number";
    row("cpp", "second comment on a line") << "/* a */ b /* c" << 0 << 8 << "";

    row("glsl", "include directive") << "#include <lib.glsl>" << 0 << 1 << "Preprocessor";
    row("glsl", "include path") << "#include <lib.glsl>" << 0 << 9 << "String";
    row("glsl", "version directive") << "#version 330" << 0 << 3 << "Preprocessor";
    row("glsl", "version number") << "#version 330" << 0 << 9 << "Number";

    row("glsl", "primitive type") << "vec3 c = normalize(v);" << 0 << 0 << "PrimitiveType";
    row("glsl", "builtin call") << "vec3 c = normalize(v);" << 0 << 9 << "Function";
    row("glsl", "own function name") << "float shade(int a)" << 0 << 6 << "Function";
    row("glsl", "type before own function") << "Light make(x)" << 0 << 0 << "Type";
    row("glsl", "primitive before own function") << "float shade(int a)" << 0 << 0 << "PrimitiveType";
    row("glsl", "declared type not marked") << "Light l;" << 0 << 0 << "";
    row("glsl", "qualifier keyword") << "uniform float t;" << 0 << 0 << "Keyword";
    row("glsl", "blank before bracket") << "shade (x)" << 0 << 0 << "";
    row("glsl", "duplicated list entry") << "EndStreamPrimitive();" << 0 << 3 << "Function";

    row("glsl", "no string rule") << "x = \"str\";" << 0 << 5 << "";
    row("glsl", "float") << "x = 1.5;" << 0 << 6 << "Number";
    row("glsl", "line comment") << "x = 1; // note" << 0 << 10 << "Comment";
    row("glsl", "keyword in comment") << "// uniform" << 0 << 4 << "Comment";

    row("glsl", "comment over lines, middle") << "/* a\nvec3 b\nc */ d" << 1 << 0 << "Comment";
    row("glsl", "behind the comment end") << "/* a\nb\nc */ vec3" << 2 << 6 << "PrimitiveType";
    row("glsl", "slash star slash") << "/*/ 1" << 0 << 4 << "Number";

    row("lua", "local") << "local x = 1" << 0 << 0 << "Type";
    row("lua", "blank behind a word") << "local x = 1" << 0 << 5 << "Type";
    row("lua", "number") << "local x = 1" << 0 << 10 << "Number";
    row("lua", "keyword") << "if a == b then" << 0 << 0 << "Keyword";
    row("lua", "comparison operator") << "if a == b then" << 0 << 5 << "Operator";
    row("lua", "blank before operator") << "if a == b then" << 0 << 4 << "Operator";
    row("lua", "escaped operator") << "a = b + c" << 0 << 6 << "Operator";
    row("lua", "concatenation") << "x = 10 .. y" << 0 << 8 << "Operator";
    row("lua", "function is a Type") << "function f(x)" << 0 << 0 << "Type";
    row("lua", "blank behind function") << "function f(x)" << 0 << 8 << "Type";
    row("lua", "defined name") << "function f(x)" << 0 << 9 << "Function";
    row("lua", "call") << "print(\"hi\")" << 0 << 0 << "Function";
    row("lua", "double quoted") << "print(\"hi\")" << 0 << 7 << "String";
    row("lua", "single quoted") << "s = 'it'" << 0 << 5 << "String";
    row("lua", "require") << "require \"mod\"" << 0 << 2 << "Preprocessor";
    row("lua", "required name") << "require \"mod\"" << 0 << 9 << "String";
    row("lua", "require as a call") << "require(\"mod\")" << 0 << 0 << "Function";
    row("lua", "shebang") << "#!lua" << 0 << 3 << "Preprocessor";
    row("lua", "line comment") << "x = 1 -- note" << 0 << 9 << "Comment";
    row("lua", "declared type") << "Vec vv = 1" << 0 << 0 << "Type";
    row("lua", "declared name of one letter") << "Vec v = 1" << 0 << 0 << "";

    row("lua", "comment block, first") << "--[[ a\nif b\n--]] c" << 0 << 5 << "Comment";
    row("lua", "comment block, middle") << "--[[ a\nif b\n--]] c" << 1 << 0 << "Comment";
    row("lua", "comment block, closing at column 0") << "--[[ a\nb\n--]]\nx = 1" << 3 << 4 << "Number";
    row("lua", "string block") << "x = [[\nif\n]] y" << 1 << 0 << "String";
    row("lua", "before string block") << "x = [[\nif\n]] y" << 0 << 0 << "";
    row("lua", "string block closing at column 0") << "x = [[\n]] 5" << 1 << 0 << "String";
    row("lua", "behind string block") << "x = [[\n]] 5" << 1 << 3 << "Number";
    row("lua", "comment rule tried first") << "--[[ a ]] b\nc" << 1 << 0 << "Comment";

    row("xml", "element opening") << "<tag attr=\"v\">" << 0 << 0 << "Keyword";
    row("xml", "element name") << "<tag attr=\"v\">" << 0 << 2 << "Keyword";
    row("xml", "attribute name") << "<tag attr=\"v\">" << 0 << 5 << "Text";
    row("xml", "equals sign") << "<tag attr=\"v\">" << 0 << 9 << "";
    row("xml", "value") << "<tag attr=\"v\">" << 0 << 11 << "String";
    row("xml", "closing bracket") << "<tag attr=\"v\">" << 0 << 13 << "Keyword";
    row("xml", "value needs a separator behind") << "<a x=\"v\"y>" << 0 << 6 << "";
    row("xml", "value before a slash") << "<a x=\"v\"/>" << 0 << 6 << "String";
    row("xml", "value before question mark") << "<?xml version=\"1.0\"?>" << 0 << 16 << "String";
    row("xml", "declaration opening") << "<?xml version=\"1.0\"?>" << 0 << 1 << "Keyword";
    row("xml", "declaration closing") << "<?xml version=\"1.0\"?>" << 0 << 19 << "Keyword";
    row("xml", "end tag") << "</tag>" << 0 << 1 << "Keyword";
    row("xml", "end tag name") << "</tag>" << 0 << 3 << "Keyword";
    row("xml", "empty element end") << "<br/>" << 0 << 3 << "Keyword";
    row("xml", "character data") << "<a>text</a>" << 0 << 4 << "";

    row("xml", "comment") << "<!-- <b attr=\"x\" > -->" << 0 << 8 << "Comment";
    row("xml", "value inside a comment") << "<!-- <b attr=\"x\" > -->" << 0 << 14 << "String";
    row("xml", "comment over lines") << "<!-- a\n<b>\nc --> <d>" << 1 << 1 << "Comment";
    row("xml", "behind comment end") << "<!-- a\nb\nc --> <d>" << 2 << 7 << "Keyword";
    row("xml", "comment end itself") << "<!-- a\nb\nc --> <d>" << 2 << 4 << "Comment";

    row("json", "key quote") << "{\"a\": \"b\"}" << 0 << 1 << "Keyword";
    row("json", "key closing quote") << "{\"a\": \"b\"}" << 0 << 3 << "Keyword";
    row("json", "colon") << "{\"a\": \"b\"}" << 0 << 4 << "";
    row("json", "value") << "{\"a\": \"b\"}" << 0 << 7 << "String";
    row("json", "string with a colon is no key") << "{\"x\": \"a:b\"}" << 0 << 7 << "String";
    row("json", "number inside a key") << "{\"n1\": 5}" << 0 << 3 << "Keyword";
    row("json", "number value") << "{\"n1\": 5}" << 0 << 7 << "Number";
    row("json", "true") << "[true, \"true\", null, false]" << 0 << 1 << "Keyword";
    row("json", "true inside a string") << "[true, \"true\", null, false]" << 0 << 8 << "String";
    row("json", "null") << "[true, \"true\", null, false]" << 0 << 15 << "Keyword";
    row("json", "false") << "[true, \"true\", null, false]" << 0 << 21 << "Keyword";
    row("json", "key on a later line") << "{\n  \"k\" : 1.5\n}" << 1 << 2 << "Keyword";
    row("json", "float on a later line") << "{\n  \"k\" : 1.5\n}" << 1 << 10 << "Number";
}

void tst_Highlighters::formats()
{
    QFETCH(QString, language);
    QFETCH(QString, text);
    QFETCH(int, line);
    QFETCH(int, column);
    QFETCH(QString, style);

    HighlighterProbe probe(language, text);
    QCOMPARE(probe.styleAt(line, column), style);
}

// Rows: the text and the block state of each of its lines.
void tst_Highlighters::blockStates_data()
{
    QTest::addColumn<QString>("language");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QList<int>>("states");

    row("python", "no block") << "x = 1\ny = 2" << QList<int>{0, 0};
    row("python", "open and close on one line") << "'''doc'''\nx" << QList<int>{0, 0};
    row("python", "four quotes open and close") << "''''\nx" << QList<int>{0, 0};
    row("python", "single quotes block") << "'''\na\n '''\nb" << QList<int>{1, 1, 0, 0};
    row("python", "double quotes block") << "\"\"\"\na\n \"\"\"\nb" << QList<int>{2, 2, 0, 0};
    row("python", "closing at column 0 unseen") << "'''\n'''\nx" << QList<int>{1, 1, 1};
    row("python", "other delimiter doesn't close") << "\"\"\" and '''\n \"\"\" x\n ''' y"
                                                  << QList<int>{1, 1, 0};
    row("python", "second opening unseen on its line") << "'''a''' \"\"\"b\nc" << QList<int>{0, 0};
    row("python", "reopened by the same rule") << "'''a''' '''b\nc" << QList<int>{1, 1};
    row("python", "behind a comment sign") << "# '''\nx" << QList<int>{1, 1};
    row("python", "empty line keeps state") << "'''\n\n '''" << QList<int>{1, 1, 0};

    row("cpp", "no comment") << "int a;\nint b;" << QList<int>{0, 0};
    row("cpp", "comment over lines") << "a /* b\nc\nd */ e\nf" << QList<int>{1, 1, 0, 0};
    row("cpp", "closing at column 0") << "/*\n*/\nx" << QList<int>{1, 0, 0};
    row("cpp", "slash star slash closes") << "/*/\nx" << QList<int>{0, 0};
    row("cpp", "reopened on the closing line") << "/* a */ b /* c\nd" << QList<int>{1, 1};
    row("cpp", "line comment doesn't hide an opening") << "// /*\nx" << QList<int>{1, 1};

    row("glsl", "no comment") << "float a;\nfloat b;" << QList<int>{0, 0};
    row("glsl", "comment over lines") << "/* a\nb\nc */ d\ne" << QList<int>{1, 1, 0, 0};
    row("glsl", "closing at column 0") << "/*\n*/\nx" << QList<int>{1, 0, 0};
    row("glsl", "slash star slash closes") << "/*/\nx" << QList<int>{0, 0};

    row("lua", "no block") << "a = 1\nb = 2" << QList<int>{0, 0};
    row("lua", "comment block") << "--[[ a\nb\n--]] c\nd" << QList<int>{1, 1, 0, 0};
    row("lua", "string block") << "x = [[\ny\n]]\nz" << QList<int>{2, 2, 0, 0};
    row("lua", "comment start holds a string start") << "--[[ a ]] b\nc" << QList<int>{1, 1};
    row("lua", "string end doesn't close a comment") << "--[[\n]]\n--]]" << QList<int>{1, 1, 0};
    row("lua", "reopened by the same rule") << "[[a]] [[b\nc" << QList<int>{2, 2};
    row("lua", "open and close on one line") << "s = [[a]]\nt" << QList<int>{0, 0};

    row("xml", "no comment") << "<a>\n</a>" << QList<int>{0, 0};
    row("xml", "comment over lines") << "<!-- a\nb\nc --> <d>\n<e/>" << QList<int>{1, 1, 0, 0};
    row("xml", "comment on one line") << "<!-- a -->\n<b/>" << QList<int>{0, 0};
    row("xml", "closing at column 0") << "<!--\n-->\nx" << QList<int>{1, 0, 0};

    row("json", "never set") << "{\n\"a\": \"/*\",\n\"b\": 1\n}" << QList<int>{-1, -1, -1, -1};
}

void tst_Highlighters::blockStates()
{
    QFETCH(QString, language);
    QFETCH(QString, text);
    QFETCH(QList<int>, states);

    HighlighterProbe probe(language, text);
    QCOMPARE(probe.states(), states);
}

void tst_Highlighters::editsCarryStateToLaterLines()
{
    HighlighterProbe probe(QStringLiteral("python"), QStringLiteral("x = 1\ny = 2\n z = 3 '''"));
    QCOMPARE(probe.states(), QList<int>({0, 0, 1}));
    QCOMPARE(probe.styleAt(1, 4), QStringLiteral("Number"));

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
    QCOMPARE(probe.highlighter->syntaxStyle(), probeScheme());

    QSyntaxStyle other;
    QVERIFY(other.load(QStringLiteral("<style-scheme><style name=\"Keyword\" bold=\"true\"/></style-scheme>")));
    probe.highlighter->setSyntaxStyle(&other);
    QCOMPARE(probe.styleAt(0, 0), QStringLiteral("Keyword"));

    probe.highlighter->rehighlight();
    QCOMPARE(probe.styleAt(0, 0), QStringLiteral("?"));
}

QTEST_MAIN(tst_Highlighters)
#include "tst_highlighters.moc"
