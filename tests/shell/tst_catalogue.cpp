// The Russian catalogue: it holds every text of the code, finished, and the
// program loads it and speaks it.
#include "morvexwindow.h"
#include "preferences.h"
#include "testsupport.h"
#include "translations.h"

#include <QAction>
#include <QApplication>
#include <QFile>
#include <QProcess>
#include <QScopeGuard>
#include <QSet>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <QTranslator>
#include <QXmlStreamReader>

namespace {

const QString catalogue = QStringLiteral(MORVEX_SOURCE_DIR "/resources/lang/Morvex_ru_RU.ts");

struct Message
{
    QString context;
    QString source;
    QString comment;
    QString translation;
    QString type; // "unfinished", "obsolete", "vanished", or empty when finished
    bool numerus = false;

    QString key() const { return context + QLatin1Char('|') + source + (comment.isEmpty() ? QString() : QLatin1Char('|') + comment); }
};

QVector<Message> readCatalogue(const QString &path, QString *error)
{
    QVector<Message> messages;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = file.errorString();
        return messages;
    }
    QXmlStreamReader xml(&file);
    QString context;
    while (xml.readNextStartElement()) {
        if (xml.name() == QLatin1String("TS"))
            continue;
        if (xml.name() != QLatin1String("context")) {
            xml.skipCurrentElement();
            continue;
        }
        while (xml.readNextStartElement()) {
            if (xml.name() == QLatin1String("name")) {
                context = xml.readElementText();
            } else if (xml.name() == QLatin1String("message")) {
                Message message;
                message.context = context;
                message.numerus = xml.attributes().value(QLatin1String("numerus")) == QLatin1String("yes");
                while (xml.readNextStartElement()) {
                    if (xml.name() == QLatin1String("source")) {
                        message.source = xml.readElementText();
                    } else if (xml.name() == QLatin1String("comment")) {
                        message.comment = xml.readElementText();
                    } else if (xml.name() == QLatin1String("translation")) {
                        message.type = xml.attributes().value(QLatin1String("type")).toString();
                        if (!message.numerus) {
                            message.translation = xml.readElementText();
                            continue;
                        }
                        // Plural forms: the first one is what a count of one shows.
                        while (xml.readNextStartElement()) {
                            const QString form = xml.readElementText();
                            if (message.translation.isEmpty())
                                message.translation = form;
                        }
                    } else {
                        xml.skipCurrentElement();
                    }
                }
                messages << message;
            } else {
                xml.skipCurrentElement();
            }
        }
    }
    if (xml.hasError())
        *error = xml.errorString();
    return messages;
}

// What lupdate finds in the tree's sources and in extra, as a fresh catalogue.
QVector<Message> codeTexts(const QStringList &extra, QString *error)
{
    QTemporaryDir dir;
    const QString ts = dir.filePath(QStringLiteral("code_ru_RU.ts"));
    QProcess lupdate;
    lupdate.setProcessChannelMode(QProcess::MergedChannels);
    lupdate.start(QStringLiteral(MORVEX_LUPDATE),
                  QStringList{"-no-obsolete", "-locations", "none", QStringLiteral(MORVEX_SOURCE_DIR "/src")} + extra
                      + QStringList{"-ts", ts});
    if (!lupdate.waitForFinished(60000) || lupdate.exitCode() != 0) {
        *error = QStringLiteral("lupdate failed: ") + QString::fromLocal8Bit(lupdate.readAll()) + lupdate.errorString();
        return {};
    }
    return readCatalogue(ts, error);
}

// Texts of the code that the catalogue lacks or has not translated.
QStringList untranslated(const QVector<Message> &code, const QVector<Message> &translated)
{
    QSet<QString> done;
    for (const Message &message : translated) {
        if (message.type.isEmpty() && !message.translation.isEmpty())
            done << message.key();
    }
    QStringList missing;
    for (const Message &message : code) {
        if (!done.contains(message.key()))
            missing << message.key();
    }
    return missing;
}

} // namespace

class tst_Catalogue : public QObject
{
    Q_OBJECT

private slots:
    void init() { sandbox.clear(); }
    void codeTextsTranslated_data();
    void codeTextsTranslated();
    void loadedAsTheProgramLoadsIt();

private:
    SettingsSandbox sandbox;
};

void tst_Catalogue::codeTextsTranslated_data()
{
    QTest::addColumn<QByteArray>("extraSource"); // empty: the tree alone
    QTest::addColumn<QStringList>("missing");

    QTest::newRow("the tree") << QByteArray() << QStringList();
    QTest::newRow("a new text of a known context")
        << QByteArray("#include <QCoreApplication>\n"
                      "QString f() { return QCoreApplication::translate(\"MorvexWindow\", \"Nobody translated this\"); }\n")
        << QStringList{"MorvexWindow|Nobody translated this"};
    QTest::newRow("a known text in another context")
        << QByteArray("#include <QCoreApplication>\n"
                      "QString f() { return QCoreApplication::translate(\"Preferences\", \"Connected to %1\"); }\n")
        << QStringList{"Preferences|Connected to %1"};
}

void tst_Catalogue::codeTextsTranslated()
{
    QFETCH(QByteArray, extraSource);
    QFETCH(QStringList, missing);

    QTemporaryDir dir;
    QStringList extra;
    if (!extraSource.isEmpty()) {
        extra << dir.filePath(QStringLiteral("extra.cpp"));
        QVERIFY(writeLocalFile(extra.first(), extraSource));
    }
    QString error;
    const QVector<Message> code = codeTexts(extra, &error);
    QVERIFY2(error.isEmpty(), qPrintable(error));
    QVERIFY(code.size() > 100);
    const QVector<Message> translated = readCatalogue(catalogue, &error);
    QVERIFY2(error.isEmpty(), qPrintable(error));
    const QStringList found = untranslated(code, translated);
    QVERIFY2(found == missing, qPrintable(QStringLiteral("Not translated in the catalogue:\n") + found.join('\n')));
    if (!extra.isEmpty())
        return;

    // Nor does the catalogue hold what the code no longer says.
    QSet<QString> inCode;
    for (const Message &message : code)
        inCode << message.key();
    QStringList stale;
    for (const Message &message : translated) {
        if (!message.type.isEmpty() || !inCode.contains(message.key()))
            stale << message.key();
    }
    QVERIFY2(stale.isEmpty(), qPrintable(QStringLiteral("Unfinished or not in the code:\n") + stale.join('\n')));
}

void tst_Catalogue::loadedAsTheProgramLoadsIt()
{
    QString error;
    const QVector<Message> messages = readCatalogue(catalogue, &error);
    QVERIFY2(error.isEmpty(), qPrintable(error));

    QSettings().setValue("UI/Language", "ru_RU");
    const QList<QTranslator *> translators = installTranslators(*qApp, nullptr, QStringLiteral("lang"));
    auto cleanup = qScopeGuard([&] {
        for (QTranslator *translator : translators) {
            QCoreApplication::removeTranslator(translator);
            delete translator;
        }
    });

    QSet<QString> contexts;
    QStringList wrong;
    for (const Message &message : messages) {
        contexts << message.context;
        const QString shown = QCoreApplication::translate(
            message.context.toUtf8().constData(), message.source.toUtf8().constData(),
            message.comment.isEmpty() ? nullptr : message.comment.toUtf8().constData(), message.numerus ? 1 : -1);
        if (shown != message.translation)
            wrong << message.key();
    }
    QVERIFY2(wrong.isEmpty(), qPrintable(QStringLiteral("Not translated when loaded:\n") + wrong.join('\n')));
    const QStringList expected = {"MorvexWindow", "Preferences", "ConnectionPopup", "MCDirModel", "FeedUpdater",
                                  "AppUpdater", "main"};
    for (const QString &context : expected)
        QVERIFY2(contexts.contains(context), qPrintable(context));

    // Forms translate as they are built.
    Preferences preferences;
    QCOMPARE(preferences.windowTitle(), QStringLiteral("Настройки"));
    QSettings().setValue("Updates/Auto", false);
    MorvexWindow window;
    QCOMPARE(windowAction(window, "actionCheck_for_updates")->text(), QStringLiteral("Проверить обновления"));
}

QTEST_MAIN(tst_Catalogue)
#include "tst_catalogue.moc"
