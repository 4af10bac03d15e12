#include "qlinenumberarea.h"

#include "qcodeeditor.h"
#include "qsyntaxstyle.h"

#include <QAbstractTextDocumentLayout>
#include <QPaintEvent>
#include <QPainter>
#include <QScrollBar>
#include <QTextBlock>

QLineNumberArea::QLineNumberArea(QCodeEditor *parent)
    : QWidget(parent)
    , m_codeEditor(parent)
{
}

QSize QLineNumberArea::sizeHint() const
{
    if (!m_codeEditor)
        return QWidget::sizeHint();

    int count = qMax(1, m_codeEditor->document()->blockCount());
    int digits = 1;
    while (count > 9) {
        count /= 10;
        ++digits;
    }

    const int space = 13 + digits * m_codeEditor->fontMetrics().horizontalAdvance(QLatin1Char('9'));
    return {space, 0};
}

void QLineNumberArea::setSyntaxStyle(QSyntaxStyle *style)
{
    m_syntaxStyle = style;
}

QSyntaxStyle *QLineNumberArea::syntaxStyle() const
{
    return m_syntaxStyle;
}

void QLineNumberArea::paintEvent(QPaintEvent *event)
{
    QPainter painter(this);
    painter.fillRect(event->rect(), m_syntaxStyle->formatFor(QStringLiteral("Text")).background().color());

    int blockNumber = m_codeEditor->firstVisibleBlock();
    QTextBlock block = m_codeEditor->document()->findBlockByNumber(blockNumber);

    const QAbstractTextDocumentLayout *layout = m_codeEditor->document()->documentLayout();
    const QRectF firstRect = layout->blockBoundingRect(block).translated(
        0, -m_codeEditor->verticalScrollBar()->value());
    int top = int(firstRect.top());
    int bottom = top + int(firstRect.height());

    const QColor currentLine = m_syntaxStyle->formatFor(QStringLiteral("CurrentLineNumber")).foreground().color();
    const QColor otherLines = m_syntaxStyle->formatFor(QStringLiteral("LineNumber")).foreground().color();

    painter.setFont(m_codeEditor->font());
    const int width = sizeHint().width();
    const int height = m_codeEditor->fontMetrics().height();
    const int cursorBlock = m_codeEditor->textCursor().blockNumber();

    while (block.isValid() && top <= event->rect().bottom()) {
        if (block.isVisible() && bottom >= event->rect().top()) {
            painter.setPen(blockNumber == cursorBlock ? currentLine : otherLines);
            painter.drawText(-5, top, width, height, Qt::AlignRight, QString::number(blockNumber + 1));
        }

        block = block.next();
        top = bottom;
        bottom = top + int(layout->blockBoundingRect(block).height());
        ++blockNumber;
    }
}
