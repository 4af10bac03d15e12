#pragma once

#include <QDialog>

namespace Ui {
class Preferences;
}

// Edits the part of the settings store that users are meant to change. Lives
// on the stack of the slot that shows it: load, exec, save on OK.
class Preferences : public QDialog
{
    Q_OBJECT

public:
    enum DirTarget { Target_Keep = 0, Target_Root = 1, Target_Ask = 2 };
    Q_ENUM(DirTarget)

    explicit Preferences(QWidget *parent = nullptr);
    ~Preferences() override;

    void load();
    void save();

private:
    Ui::Preferences *ui;
};
