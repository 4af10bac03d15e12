#include "preferences.h"

Preferences::Preferences(QWidget *parent)
    : QDialog(parent)
{
}
