#include "appresources.h"
#include "qsyntaxstyle.h"
#include "testsupport.h"

#include <QFile>
#include <QTest>
#include <QXmlStreamReader>

class tst_QSyntaxStyle : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void sharedSchemes();
    void askedForRowsAreExact_data();
    void askedForRowsAreExact();
    void lookupIsExact_data();
    void lookupIsExact();
    void attributeValues_data();
    void attributeValues();
    void entries();
    void loadMergesAndRewritesFlag();

private:
    SettingsSandbox sandbox;
};

// A format as "foreground on background", "-" for a brush that isn't set and
// "?" for one that isn't solid, then "bold", "italic", "underline N" when
// set; "none" for a format without any property.
static QString describe(const QTextCharFormat &format)
{
    if (format.properties().isEmpty())
        return QStringLiteral("none");
    const auto brush = [&format](QTextFormat::Property property) {
        if (!format.hasProperty(property))
            return QStringLiteral("-");
        const QBrush brush = format.brushProperty(property);
        return brush.style() == Qt::SolidPattern ? brush.color().name() : QStringLiteral("?");
    };
    QString text = brush(QTextFormat::ForegroundBrush) + QLatin1String(" on ") + brush(QTextFormat::BackgroundBrush);
    if (format.hasProperty(QTextFormat::FontWeight))
        text += format.fontWeight() == QFont::Bold ? QLatin1String(" bold") : QLatin1String(" weight");
    if (format.hasProperty(QTextFormat::FontItalic))
        text += format.fontItalic() ? QLatin1String(" italic") : QLatin1String(" upright");
    if (format.hasProperty(QTextFormat::TextUnderlineStyle))
        text += QStringLiteral(" underline %1").arg(format.underlineStyle());
    if (format.hasProperty(QTextFormat::TextUnderlineColor))
        text += QLatin1String(" underline colour");
    return text;
}

static bool loadStyles(QSyntaxStyle &style, const QString &styles)
{
    return style.load(QStringLiteral("<style-scheme name='T'>%1</style-scheme>").arg(styles));
}

static QStringList styleNamesOf(const QString &resource)
{
    QFile file(resource);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QStringList names;
    QXmlStreamReader reader(&file);
    while (!reader.atEnd()) {
        if (reader.readNext() == QXmlStreamReader::StartElement && reader.name() == QLatin1String("style"))
            names << reader.attributes().value(QLatin1String("name")).toString();
    }
    return reader.hasError() ? QStringList() : names;
}

// The rows that the code asks for, as both shipped schemes give them.
static const char *const askedRows[][3] = {
    {"Text", "#000000 on #ffffff", "#f8f8f2 on #282a36"},
    {"Selection", "#eff0f1 on #3daee9", "- on #44475a"},
    {"LineNumber", "#6272a4 on -", "#6272a4 on -"},
    {"CurrentLineNumber", "#808080 on - bold", "#f8f8f2 on -"},
    {"CurrentLine", "- on #eeeeee", "#000000 on #383b4c"},
    {"Parentheses", "#ff0000 on #b4eeb4", "#f8f8f2 on - bold"},
    {"Occurrences", "- on #b4b4b4", "#000000 on #f8f8f2"},
    {"Number", "#000080 on -", "#bd93f9 on -"},
    {"String", "#008000 on -", "#f1fa8c on -"},
    {"Type", "#800080 on -", "#7ce4fb on -"},
    {"Function", "#00677c on #ffffff", "#50fa7b on -"},
    {"Keyword", "#808000 on -", "#ff79c6 on - bold"},
    {"PrimitiveType", "#808000 on -", "#7ce4fb on - italic"},
    {"Operator", "none", "#ffffff on -"},
    {"Preprocessor", "#000080 on -", "#ff79c6 on -"},
    {"Comment", "#008000 on -", "#6272a4 on - bold"},
};

// The rows that both schemes carry and no code asks for.
static const QStringList unaskedRows = {
    "Link", "SearchResult", "SearchScope", "ParenthesesMismatch", "AutoComplete", "Occurrences.Unused",
    "Occurrences.Rename", "Local", "Global", "Field", "Static", "VirtualMethod", "Overloaded Operator", "Label",
    "Doxygen.Comment", "Doxygen.Tag", "VisualWhitespace", "QmlLocalId", "QmlExternalId", "QmlTypeId",
    "QmlRootObjectProperty", "QmlScopeObjectProperty", "QmlExternalObjectProperty", "JsScopeVar", "JsImportVar",
    "JsGlobalVar", "QmlStateName", "Binding", "DisabledCode", "AddedLine", "RemovedLine", "DiffFile", "DiffLocation",
    "DiffFileLine", "DiffContextLine", "DiffSourceLine", "DiffSourceChar", "DiffDestLine", "DiffDestChar",
    "LogChangeLine", "Warning", "WarningContext", "Error", "ErrorContext", "Declaration", "FunctionDefinition",
    "OutputArgument"};

// Name, loaded flag and "Text" of both shared schemes.
static QStringList sharedStates()
{
    QStringList states;
    for (QSyntaxStyle *scheme : {QSyntaxStyle::defaultScheme(), QSyntaxStyle::darkScheme()})
        states << QStringLiteral("%1 %2 %3")
                      .arg(scheme->name(), scheme->isLoaded() ? QLatin1String("loaded") : QLatin1String("unloaded"),
                           describe(scheme->formatFor(QStringLiteral("Text"))));
    return states;
}

// The shared schemes are first asked for while their resources are missing,
// then while they break off halfway: each failure is tried again next time.
void tst_QSyntaxStyle::initTestCase()
{
    initResources();
    Q_CLEANUP_RESOURCE(editor);
    Q_CLEANUP_RESOURCE(brokenschemes);
    QCOMPARE(sharedStates(), QStringList({" unloaded none", " unloaded none"}));

    Q_INIT_RESOURCE(brokenschemes);
    QCOMPARE(sharedStates(), QStringList({"Broken unloaded #123456 on -", "Broken unloaded #123456 on -"}));

    Q_CLEANUP_RESOURCE(brokenschemes);
    Q_INIT_RESOURCE(editor);
    QCOMPARE(sharedStates(), QStringList({"Default loaded #000000 on #ffffff", "Dracula loaded #f8f8f2 on #282a36"}));
}

void tst_QSyntaxStyle::sharedSchemes()
{
    QSyntaxStyle *light = QSyntaxStyle::defaultScheme();
    QSyntaxStyle *dark = QSyntaxStyle::darkScheme();
    QVERIFY(!light->parent() && !dark->parent());
    // One process-wide instance per scheme.
    QCOMPARE(QSyntaxStyle::defaultScheme(), light);
    QCOMPARE(QSyntaxStyle::darkScheme(), dark);
    QVERIFY(light != dark);

    // Both resources hold the same 63 names in the same order: the 16 that
    // are asked for and the 47 that aren't.
    const QStringList names = styleNamesOf(QStringLiteral(":/default_style.xml"));
    QCOMPARE(styleNamesOf(QStringLiteral(":/drakula.xml")), names);
    QStringList expected = unaskedRows;
    for (const auto &row : askedRows)
        expected << QString::fromLatin1(row[0]);
    expected.sort();
    QStringList sorted = names;
    sorted.sort();
    QCOMPARE(sorted, expected);
}

void tst_QSyntaxStyle::askedForRowsAreExact_data()
{
    QTest::addColumn<QString>("style");
    QTest::addColumn<QString>("light");
    QTest::addColumn<QString>("dark");

    for (const auto &row : askedRows)
        QTest::newRow(row[0]) << row[0] << row[1] << row[2];
}

void tst_QSyntaxStyle::askedForRowsAreExact()
{
    QFETCH(QString, style);
    QFETCH(QString, light);
    QFETCH(QString, dark);

    QCOMPARE(describe(QSyntaxStyle::defaultScheme()->formatFor(style)), light);
    QCOMPARE(describe(QSyntaxStyle::darkScheme()->formatFor(style)), dark);
}

void tst_QSyntaxStyle::lookupIsExact_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("format");

    QTest::newRow("exact") << "Keyword" << "#010203 on -";
    QTest::newRow("name with a blank") << "Overloaded Operator" << "- on - italic";
    QTest::newRow("dotted name") << "Occurrences.Unused" << "- on - bold";
    QTest::newRow("other case") << "keyword" << "none";
    QTest::newRow("trailing blank") << "Keyword " << "none";
    QTest::newRow("empty") << "" << "none";
}

void tst_QSyntaxStyle::lookupIsExact()
{
    QFETCH(QString, name);
    QFETCH(QString, format);

    QSyntaxStyle style;
    QVERIFY(loadStyles(style, QStringLiteral("<style name='Keyword' foreground='#010203'/>"
                                             "<style name='Overloaded Operator' italic='true'/>"
                                             "<style name='Occurrences.Unused' bold='true'/>")));
    QCOMPARE(describe(style.formatFor(name)), format);
}

void tst_QSyntaxStyle::attributeValues_data()
{
    QTest::addColumn<QString>("attributes");
    QTest::addColumn<QString>("format");

    QTest::newRow("bold true") << "bold='true'" << "- on - bold";
    QTest::newRow("bold True") << "bold='True'" << "none";
    QTest::newRow("bold false") << "bold='false'" << "none";
    QTest::newRow("italic true") << "italic='true'" << "- on - italic";
    QTest::newRow("italic TRUE") << "italic='TRUE'" << "none";
    const QPair<const char *, QTextCharFormat::UnderlineStyle> underlines[] = {
        {"SingleUnderline", QTextCharFormat::SingleUnderline}, {"DashUnderline", QTextCharFormat::DashUnderline},
        {"DotLine", QTextCharFormat::DotLine},                 {"DashDotLine", QTextCharFormat::DashDotLine},
        {"DashDotDotLine", QTextCharFormat::DashDotDotLine},   {"WaveUnderline", QTextCharFormat::WaveUnderline},
        {"SpellCheckUnderline", QTextCharFormat::SpellCheckUnderline},
        {"Wave", QTextCharFormat::NoUnderline},                {"singleunderline", QTextCharFormat::NoUnderline}};
    for (const auto &underline : underlines)
        QTest::newRow(underline.first) << QStringLiteral("underlineStyle='%1'").arg(underline.first)
                                       << QStringLiteral("- on - underline %1").arg(underline.second);
    QTest::newRow("all three") << "bold='true' italic='true' underlineStyle='DotLine'"
                               << QStringLiteral("- on - bold italic underline %1").arg(QTextCharFormat::DotLine);
    // The underline colour is never read: the underline keeps the text colour.
    QTest::newRow("underline colour") << "underlineColor='#ff0000'" << "none";
}

void tst_QSyntaxStyle::attributeValues()
{
    QFETCH(QString, attributes);
    QFETCH(QString, format);

    QSyntaxStyle style;
    QVERIFY(loadStyles(style, QStringLiteral("<style name='S' %1/>").arg(attributes)));
    QCOMPARE(describe(style.formatFor(QStringLiteral("S"))), format);
}

void tst_QSyntaxStyle::entries()
{
    // A later entry of one name replaces the earlier one whole.
    QSyntaxStyle style;
    QVERIFY(loadStyles(style, QStringLiteral("<style name='K' foreground='#ff0000' bold='true'/>"
                                             "<style name='K' background='#00ff00'/><style name='Bare'/>")));
    QCOMPARE(describe(style.formatFor(QStringLiteral("K"))), QStringLiteral("- on #00ff00"));
    QCOMPARE(describe(style.formatFor(QStringLiteral("Bare"))), QStringLiteral("none"));

    // The shipped rows the code never asks for behave the same way.
    QCOMPARE(describe(QSyntaxStyle::defaultScheme()->formatFor(QStringLiteral("FunctionDefinition"))),
             QStringLiteral("none"));
    QCOMPARE(QSyntaxStyle::darkScheme()->formatFor(QStringLiteral("Link")).underlineStyle(),
             QTextCharFormat::SingleUnderline);

    // The scheme name comes from any "style-scheme" element that has one.
    QSyntaxStyle nested;
    QVERIFY(nested.load(QStringLiteral("<root><style name='X'/><style-scheme name='Inner'/><style-scheme/></root>")));
    QCOMPARE(nested.name(), QStringLiteral("Inner"));
}

void tst_QSyntaxStyle::loadMergesAndRewritesFlag()
{
    QSyntaxStyle style;
    QVERIFY(!style.isLoaded());
    QVERIFY(style.name().isEmpty());

    // A broken document keeps what was read before the error.
    QVERIFY(!style.load(QStringLiteral("<style-scheme name='Half'><style name='A' foreground='#112233'/>"
                                       "<style name='B' foreground='#445566'/><style name='C' foreground")));
    QVERIFY(!style.isLoaded());
    QCOMPARE(style.name(), QStringLiteral("Half"));
    QCOMPARE(describe(style.formatFor(QStringLiteral("A"))), QStringLiteral("#112233 on -"));
    QCOMPARE(describe(style.formatFor(QStringLiteral("B"))), QStringLiteral("#445566 on -"));
    QCOMPARE(describe(style.formatFor(QStringLiteral("C"))), QStringLiteral("none"));

    // A later document merges in; one without a name keeps the earlier name.
    QVERIFY(style.load(QStringLiteral("<style-scheme><style name='D' italic='true'/></style-scheme>")));
    QVERIFY(style.isLoaded());
    QCOMPARE(style.name(), QStringLiteral("Half"));
    QVERIFY(style.formatFor(QStringLiteral("D")).fontItalic());

    QVERIFY(!style.load(QStringLiteral("<style-scheme name='Second'><oops")));
    QVERIFY(!style.isLoaded());
    QCOMPARE(style.name(), QStringLiteral("Second"));
    QCOMPARE(describe(style.formatFor(QStringLiteral("A"))), QStringLiteral("#112233 on -"));

    QVERIFY(!QSyntaxStyle().load(QString()));
}

QTEST_GUILESS_MAIN(tst_QSyntaxStyle)
#include "tst_qsyntaxstyle.moc"
