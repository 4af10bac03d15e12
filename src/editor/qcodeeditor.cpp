#include "qcodeeditor.h"

#include "qframedtextattribute.h"
#include "qlinenumberarea.h"
#include "qstylesyntaxhighlighter.h"
#include "qsyntaxstyle.h"

#include <QAbstractItemView>
#include <QAbstractTextDocumentLayout>
#include <QCompleter>
#include <QFontDatabase>
#include <QMimeData>
#include <QPaintEvent>
#include <QScrollBar>
#include <QTextBlock>

#include <cstdlib>

const QVector<QPair<QString, QString>> QCodeEditor::pairTable = {
    {QStringLiteral("("), QStringLiteral(")")},
    {QStringLiteral("{"), QStringLiteral("}")},
    {QStringLiteral("["), QStringLiteral("]")},
    {QStringLiteral("\""), QStringLiteral("\"")},
    {QStringLiteral("'"), QStringLiteral("'")},
};

// Typing one of these closes the completion popup.
static const QString &completionStopChars()
{
    static const QString chars = QStringLiteral("~!@#$%^&*()_+{}|:\"<>?,./;'[]\\-=");
    return chars;
}

QCodeEditor::QCodeEditor(QWidget *parent)
    : QTextEdit(parent)
    , m_lineNumberArea(new QLineNumberArea(this))
    , m_framedAttribute(new QFramedTextAttribute(this))
{
    document()->documentLayout()->registerHandler(QFramedTextAttribute::objectType(), m_framedAttribute);

    QFont fnt = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    fnt.setFixedPitch(true);
    fnt.setPointSize(10);
    setFont(fnt);

    connect(document(), &QTextDocument::blockCountChanged, this, &QCodeEditor::updateLineNumberAreaWidth);
    connect(verticalScrollBar(), &QScrollBar::valueChanged, m_lineNumberArea,
            [this](int) { m_lineNumberArea->update(); });
    connect(this, &QTextEdit::cursorPositionChanged, this, &QCodeEditor::updateExtraSelection);
    connect(this, &QTextEdit::selectionChanged, this, &QCodeEditor::onSelectionChanged);

    // The tab stop distance stays Qt's: the indent arithmetic works on it,
    // not on the size of the tab replacement.
    setSyntaxStyle(QSyntaxStyle::defaultScheme());
}

void QCodeEditor::setSyntaxStyle(QSyntaxStyle *style)
{
    m_style = style;

    m_framedAttribute->setSyntaxStyle(m_style);
    m_lineNumberArea->setSyntaxStyle(m_style);
    if (m_highlighter)
        m_highlighter->setSyntaxStyle(m_style);

    updateStyle();
}

QSyntaxStyle *QCodeEditor::syntaxStyle() const
{
    return m_style;
}

void QCodeEditor::setHighlighter(QStyleSyntaxHighlighter *highlighter)
{
    if (m_highlighter)
        m_highlighter->setDocument(nullptr);

    m_highlighter = highlighter;
    if (!m_highlighter)
        return;

    m_highlighter->setSyntaxStyle(m_style);
    m_highlighter->setDocument(document());
}

void QCodeEditor::setCompleter(QCompleter *completer)
{
    if (m_completer)
        disconnect(m_completer, nullptr, this, nullptr);

    m_completer = completer;
    if (!m_completer)
        return;

    m_completer->setWidget(this);
    m_completer->setCompletionMode(QCompleter::PopupCompletion);
    connect(m_completer, QOverload<const QString &>::of(&QCompleter::activated), this,
            &QCodeEditor::insertCompletion);
}

QCompleter *QCodeEditor::completer() const
{
    return m_completer;
}

void QCodeEditor::setAutoIndent(bool enabled)
{
    m_autoIndent = enabled;
}

bool QCodeEditor::autoIndent() const
{
    return m_autoIndent;
}

void QCodeEditor::setShowSpaces(bool enabled)
{
    m_showSpaces = enabled;

    QTextOption option = document()->defaultTextOption();
    option.setFlags(enabled ? option.flags() | QTextOption::ShowTabsAndSpaces
                            : option.flags() & ~QTextOption::ShowTabsAndSpaces);
    document()->setDefaultTextOption(option);
}

bool QCodeEditor::showSpaces() const
{
    return m_showSpaces;
}

void QCodeEditor::setAutoPairs(bool enabled)
{
    m_autoPairs = enabled;
}

bool QCodeEditor::autoPairs() const
{
    return m_autoPairs;
}

void QCodeEditor::setSpacesForTab(bool enabled)
{
    m_spacesForTab = enabled;
}

bool QCodeEditor::spacesForTab() const
{
    return m_spacesForTab;
}

void QCodeEditor::setTabReplacementSize(int size)
{
    m_tabReplacement = QString(size, QLatin1Char(' '));
}

int QCodeEditor::tabReplacementSize() const
{
    return m_tabReplacement.size();
}

void QCodeEditor::updateStyle()
{
    if (m_highlighter)
        m_highlighter->rehighlight();

    if (m_style) {
        QPalette pal = palette();
        pal.setBrush(QPalette::Text, QBrush(m_style->formatFor(QStringLiteral("Text")).foreground().color()));
        pal.setBrush(QPalette::Base, QBrush(m_style->formatFor(QStringLiteral("Text")).background().color()));
        pal.setBrush(QPalette::Highlight,
                     QBrush(m_style->formatFor(QStringLiteral("Selection")).background().color()));
        setPalette(pal);
    }

    updateExtraSelection();
}

void QCodeEditor::insertCompletion(const QString &s)
{
    if (m_completer->widget() != this)
        return;

    QTextCursor cursor = textCursor();
    cursor.select(QTextCursor::WordUnderCursor);
    cursor.insertText(s);
    setTextCursor(cursor);
}

void QCodeEditor::updateLineNumberAreaWidth(int)
{
    setViewportMargins(m_lineNumberArea->sizeHint().width(), 0, 0, 0);
}

void QCodeEditor::updateLineNumberArea(const QRect &rect)
{
    m_lineNumberArea->update(0, rect.y(), m_lineNumberArea->sizeHint().width(), rect.height());
    updateLineGeometry();

    if (rect.contains(viewport()->rect()))
        updateLineNumberAreaWidth(0);
}

void QCodeEditor::updateLineGeometry()
{
    const QRect cr = contentsRect();
    m_lineNumberArea->setGeometry(cr.left(), cr.top(), m_lineNumberArea->sizeHint().width(), cr.height());
}

void QCodeEditor::updateExtraSelection()
{
    QList<QTextEdit::ExtraSelection> extra;

    highlightCurrentLine(extra);
    highlightParentheses(extra);

    setExtraSelections(extra);
}

void QCodeEditor::highlightCurrentLine(QList<QTextEdit::ExtraSelection> &extraSelection)
{
    if (isReadOnly())
        return;

    QTextEdit::ExtraSelection selection;
    selection.format = m_style->formatFor(QStringLiteral("CurrentLine"));
    // The band must never recolour the text, whatever the scheme gives it.
    selection.format.clearForeground();
    selection.format.setProperty(QTextFormat::FullWidthSelection, true);
    selection.cursor = textCursor();
    selection.cursor.clearSelection();

    extraSelection.append(selection);
}

void QCodeEditor::highlightParentheses(QList<QTextEdit::ExtraSelection> &extraSelection)
{
    const QChar current = charAtCursor(0);
    const QChar previous = charAtCursor(-1);

    for (const auto &pair : pairTable) {
        int position = textCursor().position();
        int direction;
        QChar active;
        QChar counter;

        if (pair.first.size() == 1 && pair.first.at(0) == current) {
            direction = 1;
            active = current;
            counter = pair.second.at(0);
        } else if (pair.second.size() == 1 && pair.second.at(0) == previous) {
            direction = -1;
            active = previous;
            counter = pair.first.at(0);
            --position;
        } else {
            continue;
        }

        // A quote is its own counterpart: it only ever deepens, so it is
        // never marked. The walk has no cache and may run to the end.
        int depth = 1;
        while (depth != 0 && position > 0 && position < document()->characterCount() - 1) {
            position += direction;
            const QChar c = document()->characterAt(position);
            if (c == active)
                ++depth;
            else if (c == counter)
                --depth;
        }

        if (depth == 0) {
            const QTextCursor::MoveOperation move = direction < 0 ? QTextCursor::Left : QTextCursor::Right;

            QTextEdit::ExtraSelection selection;
            selection.format = m_style->formatFor(QStringLiteral("Parentheses"));

            selection.cursor = textCursor();
            selection.cursor.clearSelection();
            selection.cursor.movePosition(move, QTextCursor::MoveAnchor,
                                          std::abs(textCursor().position() - position));
            selection.cursor.movePosition(QTextCursor::Right, QTextCursor::KeepAnchor, 1);
            extraSelection.append(selection);

            selection.cursor = textCursor();
            selection.cursor.clearSelection();
            selection.cursor.movePosition(move, QTextCursor::KeepAnchor, 1);
            extraSelection.append(selection);
        }
        break;
    }
}

void QCodeEditor::onSelectionChanged()
{
    const QString selected = textCursor().selectedText();

    QTextCursor cursor = textCursor();
    if (cursor.isNull())
        return;

    cursor.movePosition(QTextCursor::Left);
    cursor.select(QTextCursor::WordUnderCursor);

    // Frames edit the document; those edits must not come back here.
    const bool blocked = blockSignals(true);

    m_framedAttribute->clearFrames(cursor);

    if (selected.size() > 1 && cursor.selectedText() == selected) {
        const QTextCursor backup = textCursor();
        handleSelectionQuery(cursor);
        setTextCursor(backup);
    }

    blockSignals(blocked);
}

void QCodeEditor::handleSelectionQuery(QTextCursor cursor)
{
    const QString word = cursor.selectedText();

    // Plain find: any case, and inside longer words too.
    QTextCursor searchIterator(document());
    searchIterator.movePosition(QTextCursor::Start);
    searchIterator = document()->find(word, searchIterator);

    while (searchIterator.hasSelection()) {
        m_framedAttribute->frame(searchIterator);
        searchIterator = document()->find(word, searchIterator);
    }
}

void QCodeEditor::paintEvent(QPaintEvent *e)
{
    updateLineNumberArea(e->rect());
    QTextEdit::paintEvent(e);
}

void QCodeEditor::resizeEvent(QResizeEvent *e)
{
    QTextEdit::resizeEvent(e);
    updateLineGeometry();
}

void QCodeEditor::focusInEvent(QFocusEvent *e)
{
    if (m_completer)
        m_completer->setWidget(this);

    QTextEdit::focusInEvent(e);
}

void QCodeEditor::insertFromMimeData(const QMimeData *source)
{
    insertPlainText(source->text());
}

int QCodeEditor::firstVisibleBlock() const
{
    QTextCursor cursor(document());
    cursor.movePosition(QTextCursor::Start);

    for (int i = 0; i < document()->blockCount(); ++i) {
        const QTextBlock block = cursor.block();

        const QRect viewportRect = viewport()->geometry();
        const QRect blockRect = document()
                                    ->documentLayout()
                                    ->blockBoundingRect(block)
                                    .translated(viewportRect.left(),
                                                viewportRect.top() - verticalScrollBar()->sliderPosition())
                                    .toRect();

        if (viewportRect.intersects(blockRect))
            return i;

        cursor.movePosition(QTextCursor::NextBlock);
    }

    return 0;
}

QChar QCodeEditor::charAtCursor(int offset) const
{
    const QTextCursor cursor = textCursor();
    const QString text = cursor.block().text();
    const int index = cursor.positionInBlock() + offset;

    if (index < 0 || index >= text.size())
        return {};
    return text.at(index);
}

QString QCodeEditor::wordAtCursor() const
{
    QTextCursor cursor = textCursor();
    cursor.select(QTextCursor::WordUnderCursor);
    return cursor.selectedText();
}

int QCodeEditor::lineIndent() const
{
    const QString text = textCursor().block().text();
    const qreal tabWidth = tabStopDistance() / fontMetrics().averageCharWidth();

    int indent = 0;
    for (const QChar c : text) {
        if (c == QLatin1Char(' '))
            ++indent;
        else if (c == QLatin1Char('\t'))
            indent = int(indent + tabWidth);
        else
            break;
    }
    return indent;
}

bool QCodeEditor::proceedCompleterBegin(QKeyEvent *e)
{
    if (m_completer && m_completer->popup()->isVisible()) {
        switch (e->key()) {
        case Qt::Key_Escape:
        case Qt::Key_Tab:
        case Qt::Key_Backtab:
        case Qt::Key_Return:
        case Qt::Key_Enter:
            // Left to the popup's own event filter.
            e->ignore();
            return true;
        default:
            break;
        }
    }

    // Ctrl+Space, the one shortcut that opens the popup by hand.
    return (e->modifiers() & Qt::ControlModifier) && e->key() == Qt::Key_Space && m_completer;
}

void QCodeEditor::proceedCompleterEnd(QKeyEvent *e)
{
    if (!m_completer)
        return;

    const bool ctrlOrShift = e->modifiers() & (Qt::ControlModifier | Qt::ShiftModifier);
    if (ctrlOrShift && e->text().isEmpty())
        return;

    if (e->key() == Qt::Key_Delete)
        return;

    const bool isShortcut = (e->modifiers() & Qt::ControlModifier) && e->key() == Qt::Key_Space;
    const QString prefix = wordAtCursor();

    // The test is on the typed text, not on the word: the popup opens at the
    // second letter of a word and a separator closes it.
    if (!isShortcut
        && (e->text().isEmpty() || prefix.size() < 2 || completionStopChars().contains(e->text().right(1)))) {
        m_completer->popup()->hide();
        return;
    }

    if (prefix != m_completer->completionPrefix()) {
        m_completer->setCompletionPrefix(prefix);
        m_completer->popup()->setCurrentIndex(m_completer->completionModel()->index(0, 0));
    }

    QRect rect = cursorRect();
    rect.setWidth(m_completer->popup()->sizeHintForColumn(0)
                  + m_completer->popup()->verticalScrollBar()->sizeHint().width());
    m_completer->complete(rect);
}

void QCodeEditor::keyPressEvent(QKeyEvent *e)
{
    const int defaultIndent = int(tabStopDistance() / fontMetrics().averageCharWidth());

    if (!proceedCompleterBegin(e)) {
        if (m_spacesForTab && e->key() == Qt::Key_Tab && e->modifiers() == Qt::NoModifier) {
            insertPlainText(m_tabReplacement);
            return;
        }

        const int indent = lineIndent();
        const int tabCount = int(indent * fontMetrics().averageCharWidth() / tabStopDistance());

        const bool isReturn = e->key() == Qt::Key_Return || e->key() == Qt::Key_Enter;

        // Return between "{" and "}" opens the braces over three lines.
        if (m_autoIndent && isReturn && charAtCursor() == QLatin1Char('}')
            && charAtCursor(-1) == QLatin1Char('{')) {
            int back;

            insertPlainText(QStringLiteral("\n"));
            if (m_spacesForTab)
                insertPlainText(QString(indent + defaultIndent, QLatin1Char(' ')));
            else
                insertPlainText(QString(tabCount + 1, QLatin1Char('\t')));

            insertPlainText(QStringLiteral("\n"));
            if (m_spacesForTab) {
                insertPlainText(QString(indent, QLatin1Char(' ')));
                back = indent;
            } else {
                insertPlainText(QString(tabCount, QLatin1Char('\t')));
                back = tabCount;
            }

            for (int i = 0; i < back + 1; ++i)
                moveCursor(QTextCursor::Left);
            return;
        }

        // Columns are used as a character count here, without a further
        // test: a line that starts with a tab loses more than the tab.
        if (m_spacesForTab && e->key() == Qt::Key_Backtab) {
            const int count = qMin(indent, m_tabReplacement.size());
            QTextCursor cursor = textCursor();
            cursor.movePosition(QTextCursor::StartOfLine);
            cursor.movePosition(QTextCursor::Right, QTextCursor::KeepAnchor, count);
            cursor.removeSelectedText();
            return;
        }

        QTextEdit::keyPressEvent(e);

        if (m_autoIndent && isReturn) {
            if (m_spacesForTab)
                insertPlainText(QString(indent, QLatin1Char(' ')));
            else
                insertPlainText(QString(tabCount, QLatin1Char('\t')));
        }

        if (m_autoPairs) {
            // The opening test comes first, so a quote is never stepped over.
            for (const auto &pair : pairTable) {
                if (pair.first == e->text()) {
                    insertPlainText(pair.second);
                    moveCursor(QTextCursor::Left);
                    break;
                }
                if (pair.second == e->text()) {
                    if (charAtCursor() == pair.second.at(0)) {
                        QTextCursor cursor = textCursor();
                        cursor.deletePreviousChar();
                        moveCursor(QTextCursor::Right);
                    }
                    break;
                }
            }
        }
    }

    proceedCompleterEnd(e);
}
