#pragma once

#include <QWidget>

class QCodeEditor;
class QSyntaxStyle;

// The line number gutter, a child of the editor laid over the left margin of
// its viewport.
class QLineNumberArea : public QWidget
{
    Q_OBJECT

public:
    explicit QLineNumberArea(QCodeEditor *parent = nullptr);

    // Wide enough for the digits of the last line number, plus 13 pixels.
    QSize sizeHint() const override;

    void setSyntaxStyle(QSyntaxStyle *style);
    QSyntaxStyle *syntaxStyle() const;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QSyntaxStyle *m_syntaxStyle = nullptr;
    QCodeEditor *m_codeEditor;
};
