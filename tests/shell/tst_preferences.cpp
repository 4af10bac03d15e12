// The preferences dialog: its form, what it shows of the store, what OK writes.
#include "preferences.h"
#include "testsupport.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QSettings>
#include <QSpinBox>
#include <QTabWidget>
#include <QTest>

#include "morvexwindow.h"

namespace {

const QString warningText = QStringLiteral("Language will be changed after an application restart.");

void store(const QVariantMap &values)
{
    QSettings settings;
    for (auto it = values.cbegin(); it != values.cend(); ++it)
        settings.setValue(it.key(), it.value());
}

// Values as text, the way the store gives them back.
QMap<QString, QString> asText(const QVariantMap &values)
{
    QMap<QString, QString> texts;
    for (auto it = values.cbegin(); it != values.cend(); ++it)
        texts.insert(it.key(), it.value().toString());
    return texts;
}

QMap<QString, QString> snapshot()
{
    QSettings settings;
    QVariantMap all;
    const QStringList keys = settings.allKeys();
    for (const QString &key : keys)
        all.insert(key, settings.value(key));
    return asText(all);
}

template<typename T>
T *child(QWidget &dialog, const char *name)
{
    T *found = dialog.findChild<T *>(QLatin1String(name));
    if (!found)
        qFatal("No widget %s", name);
    return found;
}

// Answers the language warning, remembering its title and text.
DialogAnswerer *warningAnswerer(QStringList *seen, QObject *parent)
{
    return new DialogAnswerer([seen](QWidget *widget) {
        auto *box = qobject_cast<QMessageBox *>(widget);
        if (!box)
            return false;
        *seen << box->windowTitle() << box->text();
        box->button(QMessageBox::Ok)->click();
        return true;
    }, parent);
}

} // namespace

class tst_Preferences : public QObject
{
    Q_OBJECT

private slots:
    void init() { sandbox.clear(); }
    void form();
    void load_data();
    void load();
    void darkThemeWidgetsHiddenByLoad();
    void okWrites_data();
    void okWrites();
    void editsReachTheStore();
    void languageWarning_data();
    void languageWarning();
    void menuEntry_data();
    void menuEntry();

private:
    SettingsSandbox sandbox;
};

void tst_Preferences::form()
{
    Preferences dialog;
    QCOMPARE(dialog.windowTitle(), QStringLiteral("Preferences"));
    QCOMPARE(dialog.size(), QSize(497, 539));
    // The widgets that no other test touches by name.
    for (const char *name : {"editorTab", "groupBox", "groupBox_2", "groupBox_3"})
        QVERIFY2(dialog.findChild<QWidget *>(QLatin1String(name)), name);

    auto *tabs = child<QTabWidget>(dialog, "tabWidget");
    QCOMPARE(tabs->tabPosition(), QTabWidget::West);
    QCOMPARE(tabs->count(), 2);
    QCOMPARE(tabs->widget(0)->objectName(), QStringLiteral("globalTab"));
    QCOMPARE(tabs->tabText(0), QStringLiteral("Environment"));
    QCOMPARE(tabs->tabText(1), QStringLiteral("Editor"));
    QCOMPARE(child<QDialogButtonBox>(dialog, "buttonBox")->standardButtons(),
             QDialogButtonBox::Ok | QDialogButtonBox::Cancel);

    auto items = [&](const char *name) {
        QStringList texts;
        auto *combo = child<QComboBox>(dialog, name);
        for (int i = 0; i < combo->count(); ++i)
            texts << combo->itemText(i);
        return texts;
    };
    QCOMPARE(items("global_darkCombo"), (QStringList{"Light", "Dark"}));
    QCOMPARE(items("global_MCClickCombo"), (QStringList{"Edit File", "Download File"}));
    QCOMPARE(items("globat_DirStructCombo"),
             (QStringList{"Keep directory structure", "Upload to the root directory", "Always ask"}));
    QCOMPARE(items("editor_TabsCombo"), (QStringList{"Spaces", "Tabs"}));

    auto *chunk = child<QSpinBox>(dialog, "global_TransferSizeSpin");
    QCOMPARE(chunk->minimum(), 31);
    QCOMPARE(chunk->maximum(), 1024);
    QCOMPARE(chunk->specialValueText(), QStringLiteral("Default"));
    auto *tabSize = child<QSpinBox>(dialog, "editor_TabSizeSpin");
    QCOMPARE(tabSize->minimum(), 2);
    QCOMPARE(tabSize->maximum(), 16);
    QCOMPARE(tabSize->value(), 4);

    QCOMPARE(child<QCheckBox>(dialog, "global_MCExecCheck")->text(), QStringLiteral("Ask to execute a script"));
    QCOMPARE(child<QLabel>(dialog, "global_darkWarning")->text(),
             QStringLiteral("<html><head/><body><p><span style=\" font-weight:600; color:#ef2929;\">* Changing the "
                            "color theme requires a restart</span></p></body></html>"));
}

void tst_Preferences::load_data()
{
    QTest::addColumn<QVariantMap>("stored");
    QTest::addColumn<QString>("widget");
    QTest::addColumn<QString>("property");
    QTest::addColumn<QVariant>("shown");

    const QVariantMap empty;
    auto row = [](const char *name, const QVariantMap &stored, const char *widget, const char *property,
                  const QVariant &shown) {
        QTest::newRow(name) << stored << widget << property << shown;
    };
    row("language absent: System", empty, "global_langCombo", "currentText", "System");
    row("language number: System", {{"UI/Language", 96}}, "global_langCombo", "currentText", "System");
    row("language ru_RU", {{"UI/Language", "ru_RU"}}, "global_langCombo", "currentText", "Russian (Russia)");
    row("click absent: edit", empty, "global_MCClickCombo", "currentIndex", 0);
    row("click download", {{"MC/ClickAction", "download"}}, "global_MCClickCombo", "currentIndex", 1);
    row("click Download is not download", {{"MC/ClickAction", "Download"}}, "global_MCClickCombo", "currentIndex",
        0);
    row("chunk absent: Default", empty, "global_TransferSizeSpin", "text", "Default");
    row("chunk 31: Default", {{"MC/TransferSize", 31}}, "global_TransferSizeSpin", "text", "Default");
    row("chunk 500", {{"MC/TransferSize", 500}}, "global_TransferSizeSpin", "value", 500);
    row("chunk 2000 clamped", {{"MC/TransferSize", 2000}}, "global_TransferSizeSpin", "value", 1024);
    row("target absent: ask", empty, "globat_DirStructCombo", "currentIndex", 2);
    row("target root", {{"MC/SubDirsSel", 1}}, "globat_DirStructCombo", "currentIndex", 1);
    row("target keep", {{"MC/SubDirsSel", 0}}, "globat_DirStructCombo", "currentIndex", 0);
    row("target 7: ask", {{"MC/SubDirsSel", 7}}, "globat_DirStructCombo", "currentIndex", 2);
    row("target 3: ask", {{"MC/SubDirsSel", 3}}, "globat_DirStructCombo", "currentIndex", 2);
    row("target -1: ask", {{"MC/SubDirsSel", -1}}, "globat_DirStructCombo", "currentIndex", 2);
    row("execute absent", empty, "global_MCExecCheck", "checked", false);
    row("execute on", {{"MC/SuggestExecute", true}}, "global_MCExecCheck", "checked", true);
    row("STM folder absent", empty, "global_STMFolderEdit", "text", "/flash");
    row("STM folder empty", {{"MC/STMDir", ""}}, "global_STMFolderEdit", "text", "");
    row("ESP folder absent", empty, "global_ESPFolderEdit", "text", "/");
    row("ESP folder", {{"MC/ESPDir", "/lib"}}, "global_ESPFolderEdit", "text", "/lib");
    // The dialog's two defaults that are the opposite of the editor's.
    row("indent absent: off", empty, "editor_AutoIndentCheck", "checked", false);
    row("indent on", {{"Code/Indent", true}}, "editor_AutoIndentCheck", "checked", true);
    row("parentheses absent: on", empty, "editor_AutoParentCheck", "checked", true);
    row("parentheses off", {{"Code/Parenth", false}}, "editor_AutoParentCheck", "checked", false);
    row("tabs absent: spaces", empty, "editor_TabsCombo", "currentIndex", 0);
    row("tabs false: tabs", {{"Code/Tabs", false}}, "editor_TabsCombo", "currentIndex", 1);
    row("tab size absent", empty, "editor_TabSizeSpin", "value", 4);
    row("tab size 40 clamped", {{"Code/TabSize", 40}}, "editor_TabSizeSpin", "value", 16);
    row("wrap absent", empty, "editor_WordWrapCheck", "checked", false);
    row("wrap on", {{"Code/Wrap", true}}, "editor_WordWrapCheck", "checked", true);
    row("spaces absent", empty, "editor_WhiteSpaceCheck", "checked", false);
    row("spaces on", {{"Code/ShowSpaces", true}}, "editor_WhiteSpaceCheck", "checked", true);
}

void tst_Preferences::load()
{
    QFETCH(QVariantMap, stored);
    QFETCH(QString, widget);
    QFETCH(QString, property);
    QFETCH(QVariant, shown);

    store(stored);
    Preferences dialog;
    dialog.load();
    QWidget *shownBy = dialog.findChild<QWidget *>(widget);
    QVERIFY2(shownBy, qPrintable(widget));
    QCOMPARE(shownBy->property(property.toLatin1().constData()), shown);
    // Loading reads and never writes.
    QCOMPARE(snapshot(), asText(stored));
}

void tst_Preferences::darkThemeWidgetsHiddenByLoad()
{
    Preferences dialog;
    const char *dark[] = {"global_darkText", "global_darkCombo", "global_darkWarning"};
    for (const char *name : dark)
        QVERIFY2(!child<QWidget>(dialog, name)->isHidden(), name);
    dialog.load();
    for (const char *name : dark)
        QVERIFY2(child<QWidget>(dialog, name)->isHidden(), name);
}

void tst_Preferences::okWrites_data()
{
    QTest::addColumn<QVariantMap>("stored");
    QTest::addColumn<QVariantMap>("written"); // keys to compare after save

    const QVariantMap defaults = {
        {"UI/Language", ""}, {"MC/ClickAction", "edit"}, {"MC/TransferSize", 31}, {"MC/SubDirsSel", 2},
        {"MC/STMDir", "/flash"}, {"MC/ESPDir", "/"}, {"MC/SuggestExecute", false}, {"Code/Parenth", true},
        {"Code/Indent", false}, {"Code/Tabs", true}, {"Code/TabSize", 4}, {"Code/Wrap", false},
        {"Code/ShowSpaces", false},
    };
    QTest::newRow("empty store: the shown defaults") << QVariantMap() << defaults;
    QTest::newRow("chunk 2000 overwritten") << QVariantMap{{"MC/TransferSize", 2000}}
                                            << QVariantMap{{"MC/TransferSize", 1024}};
    QTest::newRow("target 7 becomes 2") << QVariantMap{{"MC/SubDirsSel", 7}} << QVariantMap{{"MC/SubDirsSel", 2}};
    QTest::newRow("empty folder stored as it stands") << QVariantMap{{"MC/STMDir", ""}}
                                                      << QVariantMap{{"MC/STMDir", ""}};
    QTest::newRow("odd click action becomes edit") << QVariantMap{{"MC/ClickAction", "run"}}
                                                   << QVariantMap{{"MC/ClickAction", "edit"}};
}

void tst_Preferences::okWrites()
{
    QFETCH(QVariantMap, stored);
    QFETCH(QVariantMap, written);

    store(stored);
    Preferences dialog;
    dialog.load();
    dialog.save();
    QSettings settings;
    for (auto it = written.cbegin(); it != written.cend(); ++it)
        QCOMPARE(settings.value(it.key()).toString(), it.value().toString());
}

void tst_Preferences::editsReachTheStore()
{
    Preferences dialog;
    dialog.load();
    child<QComboBox>(dialog, "global_langCombo")->setCurrentText("Russian (Russia)");
    child<QComboBox>(dialog, "global_MCClickCombo")->setCurrentIndex(1);
    child<QLineEdit>(dialog, "global_STMFolderEdit")->setText("/flash/lib");
    child<QLineEdit>(dialog, "global_ESPFolderEdit")->setText("/data");
    child<QSpinBox>(dialog, "global_TransferSizeSpin")->setValue(700);
    child<QComboBox>(dialog, "globat_DirStructCombo")->setCurrentIndex(0);
    child<QCheckBox>(dialog, "global_MCExecCheck")->setChecked(true);
    child<QComboBox>(dialog, "editor_TabsCombo")->setCurrentIndex(1);
    child<QSpinBox>(dialog, "editor_TabSizeSpin")->setValue(8);
    child<QCheckBox>(dialog, "editor_AutoIndentCheck")->setChecked(true);
    child<QCheckBox>(dialog, "editor_AutoParentCheck")->setChecked(false);
    child<QCheckBox>(dialog, "editor_WordWrapCheck")->setChecked(true);
    child<QCheckBox>(dialog, "editor_WhiteSpaceCheck")->setChecked(true);
    dialog.save();

    const QMap<QString, QString> expected = {
        {"UI/Language", "ru_RU"}, {"MC/ClickAction", "download"}, {"MC/TransferSize", "700"},
        {"MC/SubDirsSel", "0"}, {"MC/STMDir", "/flash/lib"}, {"MC/ESPDir", "/data"}, {"MC/SuggestExecute", "true"},
        {"Code/Parenth", "false"}, {"Code/Indent", "true"}, {"Code/Tabs", "false"}, {"Code/TabSize", "8"},
        {"Code/Wrap", "true"}, {"Code/ShowSpaces", "true"},
    };
    QCOMPARE(snapshot(), expected);
}

void tst_Preferences::languageWarning_data()
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

void tst_Preferences::languageWarning()
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

    QStringList seen;
    auto *answerer = warningAnswerer(&seen, this);
    dialog.save(); // the warning is modal: it has been answered when save returns
    delete answerer;
    if (warned)
        QCOMPARE(seen, (QStringList{"Change Language", warningText}));
    else
        QCOMPARE(seen, QStringList());
    QCOMPARE(QSettings().value("UI/Language").toString(), written);
}

void tst_Preferences::menuEntry_data()
{
    QTest::addColumn<bool>("accept");
    QTest::newRow("OK saves") << true;
    QTest::newRow("Cancel writes nothing") << false;
}

void tst_Preferences::menuEntry()
{
    QFETCH(bool, accept);

    // A store in which every widget would change something on OK.
    store({{"UI/Language", 96}, {"MC/SubDirsSel", 7}, {"MC/TransferSize", 2000}, {"Code/TabSize", 40}});
    MorvexWindow window;
    const QMap<QString, QString> before = snapshot();

    QStringList seen;
    bool modalChild = false;
    bool loaded = false;
    DialogAnswerer answerer([&](QWidget *widget) {
        if (auto *box = qobject_cast<QMessageBox *>(widget)) {
            seen << box->text();
            box->button(QMessageBox::Ok)->click();
            return true;
        }
        auto *dialog = qobject_cast<Preferences *>(widget);
        if (!dialog)
            return false;
        modalChild = dialog->isModal() && dialog->parentWidget() == &window;
        loaded = child<QWidget>(*dialog, "global_darkCombo")->isHidden();
        child<QComboBox>(*dialog, "global_MCClickCombo")->setCurrentIndex(1);
        auto *buttons = child<QDialogButtonBox>(*dialog, "buttonBox");
        buttons->button(accept ? QDialogButtonBox::Ok : QDialogButtonBox::Cancel)->click();
        return true;
    });
    windowAction(window, "actionPreferences")->trigger();

    QVERIFY(modalChild);
    QVERIFY(loaded);
    QVERIFY(window.findChildren<Preferences *>().isEmpty());
    if (!accept) {
        QCOMPARE(seen, QStringList());
        QCOMPARE(snapshot(), before);
        return;
    }
    QCOMPARE(seen, QStringList{warningText});
    QCOMPARE(QSettings().value("MC/ClickAction").toString(), QStringLiteral("download"));
    QCOMPARE(QSettings().value("Code/TabSize").toInt(), 16);
}

QTEST_MAIN(tst_Preferences)
#include "tst_preferences.moc"
