#pragma once

#include <QCompleter>

// Offers the words of the Lua word list, section by section.
class QLuaCompleter : public QCompleter
{
    Q_OBJECT

public:
    explicit QLuaCompleter(QObject *parent = nullptr);
};
