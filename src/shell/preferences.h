#pragma once

#include <QDialog>

class Preferences : public QDialog
{
    Q_OBJECT

public:
    enum DirTarget { Target_Keep = 0, Target_Root = 1, Target_Ask = 2 };
    Q_ENUM(DirTarget)

    explicit Preferences(QWidget *parent = nullptr);
};
