#pragma once

#include <QCompleter>

// Offers the words of the GLSL word list, section by section.
class QGLSLCompleter : public QCompleter
{
    Q_OBJECT

public:
    explicit QGLSLCompleter(QObject *parent = nullptr);
};
