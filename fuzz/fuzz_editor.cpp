// A file opened in the editor dialog: binary detection, the hexadecimal
// preview of binary data, and for text the type detection and the
// highlighter of that type over the whole text, as setContent does them.
//
// Input: the file name up to the first line feed (if there is one within
// the first 128 bytes), then the file's bytes.
#include "fuzzsupport.h"

#include "boardtext.h"
#include "codeeditor.h"
#include "qstylesyntaxhighlighter.h"
#include "qsyntaxstyle.h"

#include <QMap>
#include <QTextDocument>

#include <sanitizer/lsan_interface.h>

#include <memory>

namespace {

void checkPreview(const QByteArray &data, const QString &preview)
{
    const QStringList lines = preview.split(QLatin1Char('\n'));
    const int shown = qMin(data.size(), 512);
    FUZZ_CHECK(lines.size() == (shown + 15) / 16 + (data.size() > 512 ? 1 : 0));
    for (int i = 0; i < (shown + 15) / 16; ++i)
        FUZZ_CHECK(lines.at(i).size() == 5 + 3 * qMin(16, shown - 16 * i));
}

QStyleSyntaxHighlighter *highlighterOf(CodeEditor::Type type)
{
    // Made once per type: building the rules costs more than highlighting.
    static QMap<CodeEditor::Type, std::shared_ptr<QStyleSyntaxHighlighter>> made;
    if (!made.contains(type)) {
        std::shared_ptr<QStyleSyntaxHighlighter> highlighter(CodeEditor::createHighlighter(type));
        if (highlighter)
            highlighter->setSyntaxStyle(QSyntaxStyle::defaultScheme());
        made.insert(type, highlighter);
    }
    return made.value(type).get();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    fuzzApplication();
    const QByteArray input = fuzzBytes(data, size);
    const int end = input.left(128).indexOf('\n');
    const QString name = end < 0 ? QString() : QString::fromUtf8(input.left(end));
    const QByteArray bytes = input.mid(end + 1);

    if (CodeEditor::isBinary(bytes)) {
        checkPreview(bytes, CodeEditor::hexPreview(bytes));
        return 0;
    }
    const QString text = boardUtf8(bytes);
    QTextDocument shown;
    shown.setPlainText(text);
    // Qt 5.15's JSON parser loses the container of a repeated key's array or
    // object value ({"a":[1],"a":[1]} leaks 80 bytes). That is Qt's to fix,
    // and detectType keeps nothing, so its allocations are not leak-checked.
    __lsan_disable();
    const CodeEditor::Type type = CodeEditor::detectType(name, shown.toPlainText(), bytes, CodeEditor::Other);
    __lsan_enable();
    if (QStyleSyntaxHighlighter *highlighter = highlighterOf(type)) {
        // Attached while empty, the text is highlighted as it goes in, block by
        // block, as it is while the user types; no rehighlight is left queued.
        QTextDocument document;
        highlighter->setDocument(&document);
        document.setPlainText(text);
        highlighter->setDocument(nullptr);
    }
    return 0;
}
