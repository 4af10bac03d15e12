// The preferences dialog: its form, what it shows of the store, what OK writes.
#include "morvexwindow.h"
#include "preferences.h"
#include "testsupport.h"

#include <QtTest>
#include <QtWidgets>

namespace {

const QString warningText = QStringLiteral("Language will be changed after an application restart.");

void store(const QVariantMap &values)
{
    for (auto it = values.cbegin(); it != values.cend(); ++it)
        QSettings().setValue(it.key(), it.value());
}

// The whole store, values as text.
QMap<QString, QString> snapshot()
{
    QSettings settings;
    QMap<QString, QString> all;
    for (const QString &key : settings.allKeys())
        all.insert(key, settings.value(key).toString());
    return all;
}

} // namespace

class tst_Preferences : public QObject
{
    Q_OBJECT
    SettingsSandbox sandbox;

private slots:
    void init() { sandbox.clear(); }

    void okWrites_data()
    {
        QTest::addColumn<QVariantMap>("stored");
        QTest::addColumn<QString>("language"); // chosen in the dialog; empty: nothing edited
        QTest::addColumn<QVariantMap>("written");
        QTest::addColumn<bool>("warned"); // of the language change, after a restart
        // Among them the dialog's two defaults that are the opposite of the editor's.
        QTest::newRow("empty store: the shown defaults") << QVariantMap() << "" << QVariantMap{
            {"UI/Language", ""}, {"MC/ClickAction", "edit"}, {"MC/TransferSize", 31}, {"MC/SubDirsSel", 2},
            {"MC/STMDir", "/flash"}, {"MC/ESPDir", "/"}, {"MC/SuggestExecute", false}, {"Code/Parenth", true},
            {"Code/Indent", false}, {"Code/Tabs", true}, {"Code/TabSize", 4}, {"Code/Wrap", false}, {"Code/ShowSpaces", false}}
            << false;
        // Each widget shows its key and writes it back.
        const QVariantMap chosen = {{"UI/Language", "ru_RU"}, {"MC/ClickAction", "download"}, {"MC/TransferSize", 700},
                                    {"MC/SubDirsSel", 1}, {"MC/STMDir", ""}, {"MC/ESPDir", "/data"}, {"MC/SuggestExecute", true},
                                    {"Code/Parenth", false}, {"Code/Indent", true}, {"Code/Tabs", false}, {"Code/TabSize", 8},
                                    {"Code/Wrap", true}, {"Code/ShowSpaces", true}};
        QTest::newRow("every stored choice kept") << chosen << "" << chosen << false;
        QTest::newRow("chunk 2000 shown and written as 1024") << QVariantMap{{"MC/TransferSize", 2000}} << ""
                                                              << QVariantMap{{"MC/TransferSize", 1024}} << false;
        QTest::newRow("target 7 shown as Always ask, written 2") << QVariantMap{{"MC/SubDirsSel", 7}} << "" << QVariantMap{{"MC/SubDirsSel", 2}} << false;
        QTest::newRow("Download is not download") << QVariantMap{{"MC/ClickAction", "Download"}} << ""
                                                  << QVariantMap{{"MC/ClickAction", "edit"}} << false;
        const auto language = [](const char *name, const QVariant &stored, const char *chosen, const char *written, bool warned) {
            QTest::newRow(name) << QVariantMap{{"UI/Language", stored}} << chosen
                                << QVariantMap{{"UI/Language", written}} << warned;
        };
        language("language number from the first start shown as System", 96, "", "", true);
        language("same language", "ru_RU", "Russian (Russia)", "ru_RU", false);
        language("language to System", "ru_RU", "System", "", true);
        language("language to English", "ru_RU", "English (United States)", "en_US", true);
        language("System to a language", "", "Russian (Russia)", "ru_RU", false);
    }

    void okWrites()
    {
        QFETCH(QVariantMap, stored);
        QFETCH(QString, language);
        QFETCH(QVariantMap, written);
        QFETCH(bool, warned);
        store(stored);
        Preferences dialog;
        dialog.load();
        auto *chunk = dialog.findChild<QSpinBox *>("global_TransferSizeSpin");
        QVERIFY(chunk);
        QCOMPARE(chunk->text() == "Default", !stored.contains("MC/TransferSize"));
        if (!language.isEmpty())
            dialog.findChild<QComboBox *>("global_langCombo")->setCurrentText(language);
        QScopedPointer<DialogAnswerer> ok(DialogAnswerer::messageBox(QMessageBox::Ok));
        dialog.save(); // a warning is modal: it has been answered when save returns
        QCOMPARE(ok->texts(), warned ? QStringList{warningText} : QStringList());
        const QMap<QString, QString> all = snapshot();
        for (auto it = written.cbegin(); it != written.cend(); ++it)
            QCOMPARE(all.value(it.key()), it.value().toString());
    }

    void menuEntry_data()
    {
        QTest::addColumn<bool>("accept");
        QTest::newRow("OK saves") << true;
        QTest::newRow("Cancel writes nothing") << false;
    }

    void menuEntry()
    {
        QFETCH(bool, accept);
        // A store in which every widget would change something on OK.
        store({{"UI/Language", 96}, {"MC/SubDirsSel", 7}, {"MC/TransferSize", 2000}, {"Code/TabSize", 40}});
        MorvexWindow window;
        const QMap<QString, QString> before = snapshot();
        QStringList seen;
        bool modalAndLoaded = false;
        DialogAnswerer answerer([&](QWidget *widget) {
            if (auto *box = qobject_cast<QMessageBox *>(widget)) {
                seen << box->text();
                box->button(QMessageBox::Ok)->click();
                return true;
            }
            auto *dialog = qobject_cast<Preferences *>(widget);
            if (!dialog)
                return false;
            modalAndLoaded = dialog->isModal() && dialog->parentWidget() == &window
                             && dialog->findChild<QWidget *>("global_darkCombo")->isHidden();
            dialog->findChild<QComboBox *>("global_MCClickCombo")->setCurrentIndex(1);
            auto *buttons = dialog->findChild<QDialogButtonBox *>("buttonBox");
            buttons->button(accept ? QDialogButtonBox::Ok : QDialogButtonBox::Cancel)->click();
            return true;
        });
        windowAction(window, "actionPreferences")->trigger();
        QVERIFY(modalAndLoaded);
        QVERIFY(window.findChildren<Preferences *>().isEmpty());
        QCOMPARE(seen, accept ? QStringList{warningText} : QStringList());
        if (!accept)
            QCOMPARE(snapshot(), before);
        else
            QCOMPARE(QSettings().value("MC/ClickAction").toString() + QSettings().value("Code/TabSize").toString(), QStringLiteral("download16"));
    }
};

QTEST_MAIN(tst_Preferences)
#include "tst_preferences.moc"
