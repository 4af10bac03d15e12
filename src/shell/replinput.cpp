// The console's input box: keys, pasted blocks, and the prompt margin.
#include "replinput.h"

#include <QKeyEvent>
#include <QMimeData>
#include <QPainter>
#include <QTextBlock>

namespace {
const int maximumLines = 10;

class PromptMargin : public QWidget
{
public:
    PromptMargin(ReplInput *input, std::function<void(QPaintEvent *)> paint)
        : QWidget(input)
        , m_paint(std::move(paint))
    {
    }

protected:
    void paintEvent(QPaintEvent *event) override { m_paint(event); }

private:
    std::function<void(QPaintEvent *)> m_paint;
};
} // namespace

ReplInput::ReplInput(QWidget *parent)
    : QPlainTextEdit(parent)
    , m_margin(new PromptMargin(this, [this](QPaintEvent *event) { paintMargin(event); }))
{
    setTabChangesFocus(false);
    setLineWrapMode(QPlainTextEdit::NoWrap);
    setViewportMargins(promptMarginWidth(), 0, 0, 0);
    connect(this, &QPlainTextEdit::updateRequest, m_margin, [this](const QRect &rect, int dy) {
        if (dy)
            m_margin->scroll(0, dy);
        else
            m_margin->update(0, rect.y(), m_margin->width(), rect.height());
    });
    connect(document(), &QTextDocument::contentsChanged, this, [this] {
        if (document()->isEmpty())
            m_pastedBlock = false;
        fitHeight();
    });
    fitHeight();
}

int ReplInput::promptMarginWidth() const
{
    return fontMetrics().horizontalAdvance(QStringLiteral(">>> ")) + 4;
}

void ReplInput::setPromptsShown(bool shown)
{
    m_promptsShown = shown;
    m_margin->update();
}

void ReplInput::setInput(const QString &text)
{
    setPlainText(text);
    m_pastedBlock = text.contains(QLatin1Char('\n'));
    moveCursor(QTextCursor::End);
}

void ReplInput::keyPressEvent(QKeyEvent *event)
{
    const bool control = event->modifiers() & Qt::ControlModifier;
    const int key = event->key();
    if ((key == Qt::Key_Return || key == Qt::Key_Enter) && !(event->modifiers() & Qt::ShiftModifier)) {
        emit enterPressed();
        return;
    }
    if (key == Qt::Key_Return || key == Qt::Key_Enter) {
        textCursor().insertText(QStringLiteral("\n"));
        return;
    }
    if (control && key == Qt::Key_C && !textCursor().hasSelection()) {
        emit interruptPressed();
        return;
    }
    if (control && key == Qt::Key_D) {
        emit rebootPressed();
        return;
    }
    if (control && key == Qt::Key_L) {
        emit clearViewPressed();
        return;
    }
    if (key == Qt::Key_Tab && event->modifiers() == Qt::NoModifier) {
        QTextCursor cursor = textCursor();
        const QString before = cursor.block().text().left(cursor.positionInBlock());
        if (before.trimmed().isEmpty())
            cursor.insertText(QStringLiteral("    "));
        else
            emit completionPressed();
        return;
    }
    if (key == Qt::Key_Up && !textCursor().block().previous().isValid()) {
        emit historyPressed(-1);
        return;
    }
    if (key == Qt::Key_Down && !textCursor().block().next().isValid()) {
        emit historyPressed(1);
        return;
    }
    QPlainTextEdit::keyPressEvent(event);
}

void ReplInput::insertFromMimeData(const QMimeData *source)
{
    QPlainTextEdit::insertFromMimeData(source);
    if (source->hasText() && source->text().contains(QLatin1Char('\n')))
        m_pastedBlock = true;
}

void ReplInput::resizeEvent(QResizeEvent *event)
{
    QPlainTextEdit::resizeEvent(event);
    const QRect area = contentsRect();
    m_margin->setGeometry(QRect(area.left(), area.top(), promptMarginWidth(), area.height()));
}

void ReplInput::changeEvent(QEvent *event)
{
    QPlainTextEdit::changeEvent(event);
    if (event->type() == QEvent::FontChange) {
        setViewportMargins(promptMarginWidth(), 0, 0, 0);
        fitHeight();
    }
}

void ReplInput::paintMargin(QPaintEvent *event)
{
    QPainter painter(m_margin);
    painter.fillRect(event->rect(), palette().color(QPalette::Base));
    if (!m_promptsShown)
        return;
    painter.setPen(palette().color(QPalette::PlaceholderText));
    QTextBlock block = firstVisibleBlock();
    int top = int(blockBoundingGeometry(block).translated(contentOffset()).top());
    while (block.isValid() && top <= event->rect().bottom()) {
        const int height = int(blockBoundingRect(block).height());
        painter.drawText(2, top, m_margin->width() - 2, height, Qt::AlignLeft | Qt::AlignTop,
                         block.blockNumber() == 0 ? QStringLiteral(">>>") : QStringLiteral("..."));
        top += height;
        block = block.next();
    }
}

void ReplInput::fitHeight()
{
    // Grows with the lines typed, up to a few, then scrolls.
    const int lines = document()->blockCount();
    const qreal lineHeight = qMax<qreal>(fontMetrics().lineSpacing(), blockBoundingRect(document()->firstBlock()).height());
    const int shown = qBound(1, lines, maximumLines);
    setVerticalScrollBarPolicy(lines > maximumLines ? Qt::ScrollBarAsNeeded : Qt::ScrollBarAlwaysOff);
    setFixedHeight(int(shown * lineHeight + 2 * document()->documentMargin()) + 2 * frameWidth() + 2);
}
