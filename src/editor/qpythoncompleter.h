#pragma once

#include <QCompleter>

// Offers the words of the Python word list, section by section.
class QPythonCompleter : public QCompleter
{
    Q_OBJECT

public:
    explicit QPythonCompleter(QObject *parent = nullptr);
};
