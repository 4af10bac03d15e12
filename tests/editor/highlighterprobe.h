#pragma once

#include "qsyntaxstyle.h"

#include <QAbstractTextDocumentLayout>
#include <QStringList>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextLayout>

// Style names the highlighters draw in.
inline const QStringList &probeStyleNames()
{
    static const QStringList names = {"Text",     "Number",        "String",   "Type",         "Function",
                                      "Keyword",  "PrimitiveType", "Operator", "Preprocessor", "Comment"};
    return names;
}

// A scheme with a colour of its own for each of those names, so that a format
// read back from a layout tells its style name without doubt (the shipped
// schemes share colours between names).
inline QSyntaxStyle *probeScheme()
{
    static QSyntaxStyle scheme;
    if (!scheme.isLoaded()) {
        QString document = QStringLiteral("<style-scheme name=\"Probe\">");
        for (int i = 0; i < probeStyleNames().size(); ++i)
            document += QStringLiteral("<style name=\"%1\" foreground=\"#%2\"/>")
                            .arg(probeStyleNames().at(i))
                            .arg(i + 1, 6, 16, QLatin1Char('0'));
        document += QStringLiteral("</style-scheme>");
        scheme.load(document);
    }
    return &scheme;
}

// Highlights a text, line by line as Qt does, with a highlighter of type H,
// and reads back the formats Qt applied to the document's layouts.
template <class H>
class HighlighterProbe
{
public:
    explicit HighlighterProbe(const QString &text)
    {
        highlighter.setSyntaxStyle(probeScheme());
        // A document reports its changes to a highlighter only once it has
        // a layout, as it always has inside an editor.
        document.documentLayout();
        highlighter.setDocument(&document);
        document.setPlainText(text);
    }

    // The style name at a place; "" for no format, "?" for one of no style.
    QString styleAt(int line, int column) const
    {
        const QTextBlock block = document.findBlockByNumber(line);
        if (!block.isValid() || column >= block.length())
            return QStringLiteral("<outside>");

        const QVector<QTextLayout::FormatRange> ranges = block.layout()->formats();
        for (const QTextLayout::FormatRange &range : ranges) {
            if (column < range.start || column >= range.start + range.length)
                continue;
            for (const QString &name : probeStyleNames()) {
                if (probeScheme()->formatFor(name) == range.format)
                    return name;
            }
            return QStringLiteral("?");
        }
        return QString();
    }

    QList<int> states() const
    {
        QList<int> result;
        for (QTextBlock block = document.begin(); block.isValid(); block = block.next())
            result << block.userState();
        return result;
    }

    QTextDocument document;
    H highlighter;
};
