#include "appresources.h"
#include "qsyntaxstyle.h"
#include "testsupport.h"

#include <QCryptographicHash>
#include <QFile>
#include <QTest>
#include <QXmlStreamReader>

class tst_QSyntaxStyle : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void sharedSchemes();

private:
    SettingsSandbox sandbox;
};

// "foreground on background" ("-" when unset), then "bold", "italic"; "none" if empty.
static QString describe(const QTextCharFormat &format)
{
    if (format.properties().isEmpty())
        return QStringLiteral("none");
    const auto brush = [&format](QTextFormat::Property property) {
        return format.hasProperty(property) ? format.brushProperty(property).color().name() : QStringLiteral("-");
    };
    QString text = brush(QTextFormat::ForegroundBrush) + QLatin1String(" on ") + brush(QTextFormat::BackgroundBrush);
    text += QLatin1String(format.fontWeight() == QFont::Bold ? " bold" : "") + (format.fontItalic() ? " italic" : "");
    return text;
}

static QStringList styleNamesOf(const QString &resource)
{
    QFile file(resource);
    QStringList names;
    QXmlStreamReader reader(file.open(QIODevice::ReadOnly) ? &file : nullptr);
    while (!reader.atEnd()) {
        if (reader.readNext() == QXmlStreamReader::StartElement && reader.name() == QLatin1String("style"))
            names << reader.attributes().value(QLatin1String("name")).toString();
    }
    return reader.hasError() ? QStringList() : names;
}

// The rows that the code asks for, as the light and the dark scheme give them.
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

// Name, loaded flag and "Text" of both shared schemes.
static QStringList sharedStates()
{
    QStringList states;
    for (QSyntaxStyle *scheme : {QSyntaxStyle::defaultScheme(), QSyntaxStyle::darkScheme()})
        states << QStringLiteral("%1 %2 %3").arg(scheme->name(), scheme->isLoaded() ? "loaded" : "unloaded",
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
    QVERIFY(!light->parent() && light == QSyntaxStyle::defaultScheme() && light != QSyntaxStyle::darkScheme());
    // Both resources hold the same 63 names in the same order: the 16 asked for and 47 not (pinned by
    // count and the MD5 of their names joined by blanks).
    const QStringList names = styleNamesOf(QStringLiteral(":/default_style.xml"));
    QCOMPARE(styleNamesOf(QStringLiteral(":/drakula.xml")), names);
    QStringList unasked = names, asked, found;
    for (const auto &row : askedRows) {
        QVERIFY(unasked.removeOne(QString::fromLatin1(row[0])));
        asked << QStringLiteral("%1: %2 | %3").arg(row[0], row[1], row[2]);
        found << QStringLiteral("%1: %2 | %3").arg(row[0], describe(light->formatFor(row[0])),
                                                 describe(QSyntaxStyle::darkScheme()->formatFor(row[0])));
    }
    QCOMPARE(found, asked);
    const QByteArray md5 = QCryptographicHash::hash(unasked.join(QLatin1Char(' ')).toUtf8(), QCryptographicHash::Md5).toHex();
    QCOMPARE(QString::number(unasked.size()) + QLatin1Char(' ') + md5, QStringLiteral("47 d932e6ccbc13493ac45110bedb14d5bb"));
}

QTEST_GUILESS_MAIN(tst_QSyntaxStyle)
#include "tst_qsyntaxstyle.moc"
