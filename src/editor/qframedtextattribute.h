#pragma once

#include <QObject>
#include <QTextCursor>
#include <QTextObjectInterface>

class QSyntaxStyle;

// Draws a rounded frame over a word. A frame is a real U+FFFC character in
// the document, in front of the word, with object type 101 and the word's
// text in property 1; it takes no room in the line.
class QFramedTextAttribute : public QObject, public QTextObjectInterface
{
    Q_OBJECT
    Q_INTERFACES(QTextObjectInterface)

public:
    enum Property {
        FramedString = 1
    };

    explicit QFramedTextAttribute(QObject *parent = nullptr);

    static int objectType();

    void setSyntaxStyle(QSyntaxStyle *style);
    QSyntaxStyle *syntaxStyle() const;

    // Inserts a frame in front of the cursor's selection.
    void frame(QTextCursor cursor);

    // Removes every frame of the cursor's document.
    void clearFrames(QTextCursor cursor);

    QSizeF intrinsicSize(QTextDocument *doc, int posInDocument, const QTextFormat &format) override;
    void drawObject(QPainter *painter, const QRectF &rect, QTextDocument *doc, int posInDocument,
                    const QTextFormat &format) override;

private:
    QSyntaxStyle *m_syntaxStyle = nullptr;
};
