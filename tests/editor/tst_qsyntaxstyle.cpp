#include "qsyntaxstyle.h"
#include "testsupport.h"

#include <QFile>
#include <QTest>
#include <QXmlStreamReader>

class tst_QSyntaxStyle : public QObject
{
    Q_OBJECT

private slots:
    void sharedSchemesAreLoaded_data();
    void sharedSchemesAreLoaded();
    void schemesHoldTheSameNamesInOrder();
    void askedForRowsAreExact_data();
    void askedForRowsAreExact();
    void lookupIsExact_data();
    void lookupIsExact();
    void attributeValues_data();
    void attributeValues();
    void absentAttributeStaysUnset();
    void laterStyleReplacesEarlierWhole();
    void loadMergesAndRewritesFlag();
    void brokenDocumentKeepsPartialTable();
    void schemeNameComesFromAnyStyleSchemeElement();

private:
    SettingsSandbox sandbox;
};

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

void tst_QSyntaxStyle::sharedSchemesAreLoaded_data()
{
    QTest::addColumn<bool>("dark");
    QTest::addColumn<QString>("name");

    QTest::newRow("default") << false << "Default";
    QTest::newRow("dark") << true << "Dracula";
}

void tst_QSyntaxStyle::sharedSchemesAreLoaded()
{
    QFETCH(bool, dark);
    QFETCH(QString, name);

    QSyntaxStyle *scheme = dark ? QSyntaxStyle::darkScheme() : QSyntaxStyle::defaultScheme();
    QVERIFY(scheme);
    QVERIFY(scheme->isLoaded());
    QCOMPARE(scheme->name(), name);
    QVERIFY(!scheme->parent());
    // One process-wide instance per scheme.
    QCOMPARE(dark ? QSyntaxStyle::darkScheme() : QSyntaxStyle::defaultScheme(), scheme);
    QVERIFY(QSyntaxStyle::darkScheme() != QSyntaxStyle::defaultScheme());
}

void tst_QSyntaxStyle::schemesHoldTheSameNamesInOrder()
{
    QSyntaxStyle::defaultScheme(); // registers the resources

    const QStringList light = styleNamesOf(QStringLiteral(":/default_style.xml"));
    const QStringList dark = styleNamesOf(QStringLiteral(":/drakula.xml"));
    QCOMPARE(light.size(), 63);
    QCOMPARE(dark, light);
    QCOMPARE(QSet<QString>(light.begin(), light.end()).size(), 63);
}

void tst_QSyntaxStyle::askedForRowsAreExact_data()
{
    QTest::addColumn<bool>("dark");
    QTest::addColumn<QString>("style");
    QTest::addColumn<QString>("foreground"); // empty: no foreground property
    QTest::addColumn<QString>("background");
    QTest::addColumn<bool>("bold");
    QTest::addColumn<bool>("italic");

    struct Row {
        const char *style;
        const char *fg, *bg;
        bool bold, italic;
        const char *darkFg, *darkBg;
        bool darkBold, darkItalic;
    };
    const Row rows[] = {
        {"Text", "#000000", "#ffffff", false, false, "#f8f8f2", "#282a36", false, false},
        {"Selection", "#eff0f1", "#3daee9", false, false, "", "#44475a", false, false},
        {"LineNumber", "#6272a4", "", false, false, "#6272a4", "", false, false},
        {"CurrentLineNumber", "#808080", "", true, false, "#f8f8f2", "", false, false},
        {"CurrentLine", "", "#eeeeee", false, false, "#000000", "#383b4c", false, false},
        {"Parentheses", "#ff0000", "#b4eeb4", false, false, "#f8f8f2", "", true, false},
        {"Occurrences", "", "#b4b4b4", false, false, "#000000", "#f8f8f2", false, false},
        {"Number", "#000080", "", false, false, "#bd93f9", "", false, false},
        {"String", "#008000", "", false, false, "#f1fa8c", "", false, false},
        {"Type", "#800080", "", false, false, "#7ce4fb", "", false, false},
        {"Function", "#00677c", "#ffffff", false, false, "#50fa7b", "", false, false},
        {"Keyword", "#808000", "", false, false, "#ff79c6", "", true, false},
        {"PrimitiveType", "#808000", "", false, false, "#7ce4fb", "", false, true},
        {"Operator", "", "", false, false, "#ffffff", "", false, false},
        {"Preprocessor", "#000080", "", false, false, "#ff79c6", "", false, false},
        {"Comment", "#008000", "", false, false, "#6272a4", "", true, false},
    };
    for (const Row &r : rows) {
        QTest::addRow("Default %s", r.style) << false << r.style << r.fg << r.bg << r.bold << r.italic;
        QTest::addRow("Dracula %s", r.style) << true << r.style << r.darkFg << r.darkBg << r.darkBold
                                             << r.darkItalic;
    }
}

void tst_QSyntaxStyle::askedForRowsAreExact()
{
    QFETCH(bool, dark);
    QFETCH(QString, style);
    QFETCH(QString, foreground);
    QFETCH(QString, background);
    QFETCH(bool, bold);
    QFETCH(bool, italic);

    const QTextCharFormat format = (dark ? QSyntaxStyle::darkScheme() : QSyntaxStyle::defaultScheme())->formatFor(style);

    QCOMPARE(format.hasProperty(QTextFormat::ForegroundBrush), !foreground.isEmpty());
    if (!foreground.isEmpty()) {
        QCOMPARE(format.foreground().color(), QColor(foreground));
        QCOMPARE(format.foreground().style(), Qt::SolidPattern);
    }
    QCOMPARE(format.hasProperty(QTextFormat::BackgroundBrush), !background.isEmpty());
    if (!background.isEmpty()) {
        QCOMPARE(format.background().color(), QColor(background));
        QCOMPARE(format.background().style(), Qt::SolidPattern);
    }
    QCOMPARE(format.fontWeight() == QFont::Bold, bold);
    QCOMPARE(format.fontItalic(), italic);
}

void tst_QSyntaxStyle::lookupIsExact_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("found");

    QTest::newRow("exact") << "Keyword" << true;
    QTest::newRow("name with a blank") << "Overloaded Operator" << true;
    QTest::newRow("dotted name") << "Occurrences.Unused" << true;
    QTest::newRow("other case") << "keyword" << false;
    QTest::newRow("unknown") << "NoSuchStyle" << false;
    QTest::newRow("trailing blank") << "Keyword " << false;
    QTest::newRow("empty") << "" << false;
}

void tst_QSyntaxStyle::lookupIsExact()
{
    QFETCH(QString, name);
    QFETCH(bool, found);

    QSyntaxStyle style;
    QVERIFY(style.load(QStringLiteral("<style-scheme name=\"T\">"
                                      "<style name=\"Keyword\" foreground=\"#010203\"/>"
                                      "<style name=\"Overloaded Operator\" italic=\"true\"/>"
                                      "<style name=\"Occurrences.Unused\" bold=\"true\"/>"
                                      "</style-scheme>")));

    const QTextCharFormat format = style.formatFor(name);
    QCOMPARE(format != QTextCharFormat(), found);
    // Nothing is inherited from any other row for a miss.
    if (!found)
        QCOMPARE(format.properties().size(), 0);
}

void tst_QSyntaxStyle::attributeValues_data()
{
    QTest::addColumn<QString>("attributes");
    QTest::addColumn<int>("weight");
    QTest::addColumn<bool>("italic");
    QTest::addColumn<int>("underline");

    const int normal = QTextCharFormat().fontWeight();
    const int none = QTextCharFormat::NoUnderline;

    QTest::newRow("bold true") << "bold=\"true\"" << int(QFont::Bold) << false << none;
    QTest::newRow("bold True") << "bold=\"True\"" << normal << false << none;
    QTest::newRow("bold false") << "bold=\"false\"" << normal << false << none;
    QTest::newRow("italic true") << "italic=\"true\"" << normal << true << none;
    QTest::newRow("italic TRUE") << "italic=\"TRUE\"" << normal << false << none;
    QTest::newRow("SingleUnderline") << "underlineStyle=\"SingleUnderline\"" << normal << false
                                     << int(QTextCharFormat::SingleUnderline);
    QTest::newRow("DashUnderline") << "underlineStyle=\"DashUnderline\"" << normal << false
                                   << int(QTextCharFormat::DashUnderline);
    QTest::newRow("DotLine") << "underlineStyle=\"DotLine\"" << normal << false << int(QTextCharFormat::DotLine);
    QTest::newRow("DashDotLine") << "underlineStyle=\"DashDotLine\"" << normal << false
                                 << int(QTextCharFormat::DashDotLine);
    QTest::newRow("DashDotDotLine") << "underlineStyle=\"DashDotDotLine\"" << normal << false
                                    << int(QTextCharFormat::DashDotDotLine);
    QTest::newRow("WaveUnderline") << "underlineStyle=\"WaveUnderline\"" << normal << false
                                   << int(QTextCharFormat::WaveUnderline);
    QTest::newRow("SpellCheckUnderline") << "underlineStyle=\"SpellCheckUnderline\"" << normal << false
                                         << int(QTextCharFormat::SpellCheckUnderline);
    QTest::newRow("Wave") << "underlineStyle=\"Wave\"" << normal << false << none;
    QTest::newRow("singleunderline") << "underlineStyle=\"singleunderline\"" << normal << false << none;
    QTest::newRow("all three") << "bold=\"true\" italic=\"true\" underlineStyle=\"DotLine\"" << int(QFont::Bold)
                               << true << int(QTextCharFormat::DotLine);
}

void tst_QSyntaxStyle::attributeValues()
{
    QFETCH(QString, attributes);
    QFETCH(int, weight);
    QFETCH(bool, italic);
    QFETCH(int, underline);

    QSyntaxStyle style;
    QVERIFY(style.load(QStringLiteral("<style-scheme><style name=\"S\" %1/></style-scheme>").arg(attributes)));

    const QTextCharFormat format = style.formatFor(QStringLiteral("S"));
    QCOMPARE(format.fontWeight(), weight);
    QCOMPARE(format.fontItalic(), italic);
    QCOMPARE(int(format.underlineStyle()), underline);
}

void tst_QSyntaxStyle::absentAttributeStaysUnset()
{
    QSyntaxStyle style;
    QVERIFY(style.load(QStringLiteral("<style-scheme><style name=\"Warning\" underlineColor=\"#ff0000\" "
                                      "underlineStyle=\"SingleUnderline\"/><style name=\"Bare\"/></style-scheme>")));

    const QTextCharFormat warning = style.formatFor(QStringLiteral("Warning"));
    QVERIFY(!warning.hasProperty(QTextFormat::ForegroundBrush));
    QVERIFY(!warning.hasProperty(QTextFormat::BackgroundBrush));
    QVERIFY(!warning.hasProperty(QTextFormat::FontWeight));
    // The underline colour is never read: the underline keeps the text colour.
    QVERIFY(!warning.hasProperty(QTextFormat::TextUnderlineColor));

    QCOMPARE(style.formatFor(QStringLiteral("Bare")), QTextCharFormat());

    // The shipped rows the code never asks for behave the same way.
    QCOMPARE(QSyntaxStyle::defaultScheme()->formatFor(QStringLiteral("FunctionDefinition")), QTextCharFormat());
    QCOMPARE(QSyntaxStyle::darkScheme()->formatFor(QStringLiteral("Link")).underlineStyle(),
             QTextCharFormat::SingleUnderline);
    QVERIFY(!QSyntaxStyle::darkScheme()->formatFor(QStringLiteral("Error")).hasProperty(
        QTextFormat::TextUnderlineColor));
}

void tst_QSyntaxStyle::laterStyleReplacesEarlierWhole()
{
    QSyntaxStyle style;
    QVERIFY(style.load(QStringLiteral("<style-scheme>"
                                      "<style name=\"K\" foreground=\"#ff0000\" bold=\"true\"/>"
                                      "<style name=\"K\" background=\"#00ff00\"/>"
                                      "</style-scheme>")));

    const QTextCharFormat format = style.formatFor(QStringLiteral("K"));
    QCOMPARE(format.background().color(), QColor(0, 255, 0));
    QVERIFY(!format.hasProperty(QTextFormat::ForegroundBrush));
    QVERIFY(!format.hasProperty(QTextFormat::FontWeight));
}

void tst_QSyntaxStyle::loadMergesAndRewritesFlag()
{
    QSyntaxStyle style;
    QVERIFY(!style.isLoaded());
    QVERIFY(style.name().isEmpty());

    QVERIFY(style.load(QStringLiteral("<style-scheme name=\"First\"><style name=\"A\" bold=\"true\"/></style-scheme>")));
    QVERIFY(!style.load(QStringLiteral("<style-scheme><style name=\"B\" italic=\"true\"/><oops")));
    QVERIFY(!style.isLoaded());
    // A document without a name keeps the earlier one.
    QCOMPARE(style.name(), QStringLiteral("First"));
    QCOMPARE(style.formatFor(QStringLiteral("A")).fontWeight(), int(QFont::Bold));
    QVERIFY(style.formatFor(QStringLiteral("B")).fontItalic());

    QVERIFY(style.load(QStringLiteral("<style-scheme name=\"Second\"/>")));
    QVERIFY(style.isLoaded());
    QCOMPARE(style.name(), QStringLiteral("Second"));
    QCOMPARE(style.formatFor(QStringLiteral("A")).fontWeight(), int(QFont::Bold));
}

void tst_QSyntaxStyle::brokenDocumentKeepsPartialTable()
{
    QSyntaxStyle style;
    QVERIFY(!style.load(QStringLiteral("<style-scheme name=\"Half\">"
                                       "<style name=\"A\" foreground=\"#112233\"/>"
                                       "<style name=\"B\" foreground=\"#445566\"/>"
                                       "<style name=\"C\" foreground")));
    QVERIFY(!style.isLoaded());
    QCOMPARE(style.name(), QStringLiteral("Half"));
    QCOMPARE(style.formatFor(QStringLiteral("A")).foreground().color(), QColor(0x11, 0x22, 0x33));
    QCOMPARE(style.formatFor(QStringLiteral("B")).foreground().color(), QColor(0x44, 0x55, 0x66));
    QCOMPARE(style.formatFor(QStringLiteral("C")), QTextCharFormat());

    QVERIFY(!QSyntaxStyle().load(QString()));
}

void tst_QSyntaxStyle::schemeNameComesFromAnyStyleSchemeElement()
{
    QSyntaxStyle style;
    QVERIFY(style.load(QStringLiteral("<root><style name=\"X\"/><style-scheme name=\"Inner\"/>"
                                      "<style-scheme/></root>")));
    QCOMPARE(style.name(), QStringLiteral("Inner"));
}

QTEST_GUILESS_MAIN(tst_QSyntaxStyle)
#include "tst_qsyntaxstyle.moc"
