#include "qframedtextattribute.h"

#include "qsyntaxstyle.h"

#include <QFontMetrics>
#include <QPainter>
#include <QTextBlock>
#include <QTextDocument>

QFramedTextAttribute::QFramedTextAttribute(QObject *parent)
    : QObject(parent)
{
}

int QFramedTextAttribute::objectType()
{
    return QTextFormat::UserFormat + 1;
}

void QFramedTextAttribute::setSyntaxStyle(QSyntaxStyle *style)
{
    m_syntaxStyle = style;
}

QSyntaxStyle *QFramedTextAttribute::syntaxStyle() const
{
    return m_syntaxStyle;
}

QSizeF QFramedTextAttribute::intrinsicSize(QTextDocument *, int, const QTextFormat &)
{
    return {0, 0};
}

void QFramedTextAttribute::drawObject(QPainter *painter, const QRectF &rect, QTextDocument *, int,
                                      const QTextFormat &format)
{
    // The format carries no font of its own: the frame is measured in the
    // default font, not the editor's.
    const QFont font = format.toCharFormat().font();
    const QString text = format.property(FramedString).toString();
    const QSizeF size = QFontMetrics(font).boundingRect(text).size();

    const QRectF frameRect(rect.left(), rect.top() - size.height() + 4, size.width(), size.height());

    painter->setPen(m_syntaxStyle->formatFor(QStringLiteral("Occurrences")).background().color());
    painter->setRenderHint(QPainter::Antialiasing);
    painter->drawRoundedRect(frameRect, 4.0, 4.0);
}

void QFramedTextAttribute::frame(QTextCursor cursor)
{
    QTextCharFormat format;
    format.setObjectType(objectType());
    format.setProperty(FramedString, cursor.selectedText());

    cursor.setPosition(qMin(cursor.selectionStart(), cursor.selectionEnd()), QTextCursor::MoveAnchor);
    cursor.insertText(QString(QChar::ObjectReplacementCharacter), format);
}

void QFramedTextAttribute::clearFrames(QTextCursor cursor)
{
    const QTextDocument *document = cursor.document();

    for (int i = 0; i < document->blockCount(); ++i) {
        const QTextBlock block = document->findBlockByNumber(i);
        const QVector<QTextLayout::FormatRange> ranges = block.textFormats();

        // Each deletion shifts the later ranges of this block one to the left.
        int offset = 0;
        for (const QTextLayout::FormatRange &range : ranges) {
            if (range.format.objectType() != objectType())
                continue;
            cursor.setPosition(block.position() + range.start - offset);
            cursor.deleteChar();
            ++offset;
        }
    }
}
