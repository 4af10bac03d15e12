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

template<typename T>
T *child(QWidget &dialog, const char *name)
{
    T *found = dialog.findChild<T *>(QLatin1String(name));
    if (!found)
        qFatal("No widget %s", name);
    return found;
}

} // namespace

class tst_Preferences : public QObject
{
    Q_OBJECT
    SettingsSandbox sandbox;

private slots:
    void init() { sandbox.clear(); }

    void form()
    {
        Preferences dialog;
        QCOMPARE(dialog.windowTitle(), QStringLiteral("Preferences"));
        auto *tabs = child<QTabWidget>(dialog, "tabWidget");
        QCOMPARE(tabs->tabPosition(), QTabWidget::West);
        QStringList texts = {tabs->tabText(0), tabs->tabText(1)};
        for (const char *name : {"global_darkCombo", "global_MCClickCombo", "globat_DirStructCombo", "editor_TabsCombo"}) {
            auto *combo = child<QComboBox>(dialog, name);
            for (int i = 0; i < combo->count(); ++i)
                texts << combo->itemText(i);
        }
        QCOMPARE(texts.join('|'), QStringLiteral("Environment|Editor|Light|Dark|Edit File|Download File|Keep directory structure|"
                                                 "Upload to the root directory|Always ask|Spaces|Tabs"));
        // The dark theme's widgets are there, and hidden once the store is loaded.
        const char *dark[] = {"global_darkText", "global_darkCombo", "global_darkWarning"};
        for (const char *name : dark)
            QVERIFY2(!child<QWidget>(dialog, name)->isHidden(), name);
        dialog.load();
        for (const char *name : dark)
            QVERIFY2(child<QWidget>(dialog, name)->isHidden(), name);
    }

    void load_data()
    {
        QTest::addColumn<QVariantMap>("stored");
        QTest::addColumn<QString>("widget");
        QTest::addColumn<QString>("property");
        QTest::addColumn<QVariant>("shown");

        const auto row = [](const char *name, const QVariantMap &stored, const char *widget, const char *property,
                            const QVariant &shown) { QTest::newRow(name) << stored << widget << property << shown; };
        row("language number: System", {{"UI/Language", 96}}, "global_langCombo", "currentText", "System");
        row("language ru_RU", {{"UI/Language", "ru_RU"}}, "global_langCombo", "currentText", "Russian (Russia)");
        row("click download", {{"MC/ClickAction", "download"}}, "global_MCClickCombo", "currentIndex", 1);
        row("click Download is not download", {{"MC/ClickAction", "Download"}}, "global_MCClickCombo", "currentIndex", 0);
        row("chunk absent: Default", {}, "global_TransferSizeSpin", "text", "Default");
        row("chunk 500", {{"MC/TransferSize", 500}}, "global_TransferSizeSpin", "value", 500);
        row("chunk 2000 shown 1024", {{"MC/TransferSize", 2000}}, "global_TransferSizeSpin", "value", 1024);
        row("target absent: ask", {}, "globat_DirStructCombo", "currentIndex", 2);
        row("target root", {{"MC/SubDirsSel", 1}}, "globat_DirStructCombo", "currentIndex", 1);
        row("target 7: ask", {{"MC/SubDirsSel", 7}}, "globat_DirStructCombo", "currentIndex", 2);
        row("target -1: ask", {{"MC/SubDirsSel", -1}}, "globat_DirStructCombo", "currentIndex", 2);
        row("execute on", {{"MC/SuggestExecute", true}}, "global_MCExecCheck", "checked", true);
        row("STM folder absent", {}, "global_STMFolderEdit", "text", "/flash");
        row("STM folder empty", {{"MC/STMDir", ""}}, "global_STMFolderEdit", "text", "");
        row("ESP folder absent", {}, "global_ESPFolderEdit", "text", "/");
        // The dialog's two defaults that are the opposite of the editor's.
        row("indent absent: off", {}, "editor_AutoIndentCheck", "checked", false);
        row("parentheses absent: on", {}, "editor_AutoParentCheck", "checked", true);
        row("tabs false: tabs", {{"Code/Tabs", false}}, "editor_TabsCombo", "currentIndex", 1);
        row("tab size 40 clamped", {{"Code/TabSize", 40}}, "editor_TabSizeSpin", "value", 16);
        row("wrap on", {{"Code/Wrap", true}}, "editor_WordWrapCheck", "checked", true);
        row("spaces on", {{"Code/ShowSpaces", true}}, "editor_WhiteSpaceCheck", "checked", true);
    }

    void load()
    {
        QFETCH(QVariantMap, stored);
        QFETCH(QString, widget);
        QFETCH(QString, property);
        QFETCH(QVariant, shown);
        store(stored);
        const QMap<QString, QString> before = snapshot();
        Preferences dialog;
        dialog.load();
        QCOMPARE(child<QWidget>(dialog, widget.toLatin1().constData())->property(property.toLatin1().constData()), shown);
        QCOMPARE(snapshot(), before); // loading never writes
    }

    void okWrites_data()
    {
        QTest::addColumn<QVariantMap>("stored");
        QTest::addColumn<QVariantMap>("edits"); // widget name to the value set in it
        QTest::addColumn<QVariantMap>("written");

        QTest::newRow("empty store: the shown defaults") << QVariantMap() << QVariantMap() << QVariantMap{
            {"UI/Language", ""}, {"MC/ClickAction", "edit"}, {"MC/TransferSize", 31}, {"MC/SubDirsSel", 2},
            {"MC/STMDir", "/flash"}, {"MC/ESPDir", "/"}, {"MC/SuggestExecute", false}, {"Code/Parenth", true},
            {"Code/Indent", false}, {"Code/Tabs", true}, {"Code/TabSize", 4}, {"Code/Wrap", false}, {"Code/ShowSpaces", false}};
        QTest::newRow("chunk 2000 overwritten") << QVariantMap{{"MC/TransferSize", 2000}} << QVariantMap()
                                                << QVariantMap{{"MC/TransferSize", 1024}};
        QTest::newRow("target 7 becomes 2") << QVariantMap{{"MC/SubDirsSel", 7}} << QVariantMap() << QVariantMap{{"MC/SubDirsSel", 2}};
        QTest::newRow("odd click action becomes edit") << QVariantMap{{"MC/ClickAction", "run"}} << QVariantMap()
                                                       << QVariantMap{{"MC/ClickAction", "edit"}};
        QTest::newRow("every edit reaches the store") << QVariantMap() << QVariantMap{
            {"global_langCombo", "Russian (Russia)"}, {"global_MCClickCombo", 1}, {"global_STMFolderEdit", "/flash/lib"},
            {"global_ESPFolderEdit", "/data"}, {"global_TransferSizeSpin", 700}, {"globat_DirStructCombo", 0},
            {"global_MCExecCheck", true}, {"editor_TabsCombo", 1}, {"editor_TabSizeSpin", 8}, {"editor_AutoIndentCheck", true},
            {"editor_AutoParentCheck", false}, {"editor_WordWrapCheck", true}, {"editor_WhiteSpaceCheck", true}}
            << QVariantMap{{"UI/Language", "ru_RU"}, {"MC/ClickAction", "download"}, {"MC/TransferSize", 700},
                           {"MC/SubDirsSel", 0}, {"MC/STMDir", "/flash/lib"}, {"MC/ESPDir", "/data"}, {"MC/SuggestExecute", true},
                           {"Code/Parenth", false}, {"Code/Indent", true}, {"Code/Tabs", false}, {"Code/TabSize", 8},
                           {"Code/Wrap", true}, {"Code/ShowSpaces", true}};
    }

    void okWrites()
    {
        QFETCH(QVariantMap, stored);
        QFETCH(QVariantMap, edits);
        QFETCH(QVariantMap, written);
        store(stored);
        Preferences dialog;
        dialog.load();
        for (auto it = edits.cbegin(); it != edits.cend(); ++it) {
            QWidget *widget = child<QWidget>(dialog, it.key().toLatin1().constData());
            if (auto *combo = qobject_cast<QComboBox *>(widget))
                it.value().type() == QVariant::String ? combo->setCurrentText(it.value().toString())
                                                      : combo->setCurrentIndex(it.value().toInt());
            else
                widget->setProperty(qobject_cast<QLineEdit *>(widget) ? "text" : qobject_cast<QSpinBox *>(widget) ? "value" : "checked",
                                    it.value());
        }
        QScopedPointer<DialogAnswerer> ok(DialogAnswerer::messageBox(QMessageBox::Ok));
        dialog.save();
        const QMap<QString, QString> all = snapshot();
        for (auto it = written.cbegin(); it != written.cend(); ++it)
            QCOMPARE(all.value(it.key()), it.value().toString());
    }

    void languageWarning_data()
    {
        QTest::addColumn<QVariant>("stored"); // invalid: key absent
        QTest::addColumn<QString>("chosen");
        QTest::addColumn<bool>("warned");
        QTest::addColumn<QString>("written");

        QTest::newRow("absent, System") << QVariant() << "System" << false << "";
        QTest::newRow("number from the first start, System") << QVariant(96) << "System" << true << "";
        QTest::newRow("same language") << QVariant("ru_RU") << "Russian (Russia)" << false << "ru_RU";
        QTest::newRow("language to System") << QVariant("ru_RU") << "System" << true << "";
        QTest::newRow("language to English") << QVariant("ru_RU") << "English (United States)" << true << "en_US";
        QTest::newRow("System to a language") << QVariant("") << "Russian (Russia)" << false << "ru_RU";
    }

    void languageWarning()
    {
        QFETCH(QVariant, stored);
        QFETCH(QString, chosen);
        QFETCH(bool, warned);
        QFETCH(QString, written);
        if (stored.isValid())
            store({{"UI/Language", stored}});
        Preferences dialog;
        dialog.load();
        auto *combo = child<QComboBox>(dialog, "global_langCombo");
        combo->setCurrentText(chosen);
        QCOMPARE(combo->currentText(), chosen);
        QScopedPointer<DialogAnswerer> ok(DialogAnswerer::messageBox(QMessageBox::Ok));
        dialog.save(); // the warning is modal: it has been answered when save returns
        QCOMPARE(ok->titles(), warned ? QStringList{"Change Language"} : QStringList());
        QCOMPARE(ok->texts(), warned ? QStringList{warningText} : QStringList());
        QCOMPARE(QSettings().value("UI/Language").toString(), written);
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
                             && child<QWidget>(*dialog, "global_darkCombo")->isHidden();
            child<QComboBox>(*dialog, "global_MCClickCombo")->setCurrentIndex(1);
            child<QDialogButtonBox>(*dialog, "buttonBox")->button(accept ? QDialogButtonBox::Ok : QDialogButtonBox::Cancel)->click();
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
