#include "codeeditor.h"
#include "ui_codeeditor.h"

#include "qcxxhighlighter.h"
#include "qjsonhighlighter.h"
#include "qmaterialicon.h"
#include "qpythoncompleter.h"
#include "qpythonhighlighter.h"
#include "qsyntaxstyle.h"
#include "qxmlhighlighter.h"
#include "theme.h"

#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonParseError>
#include <QMessageBox>
#include <QRegExp>
#include <QSettings>
#include <QTextStream>

namespace {
bool parsesAsJson(const QByteArray &data, QJsonDocument *document = nullptr, QJsonParseError *error = nullptr)
{
    QJsonParseError status;
    const QJsonDocument parsed = QJsonDocument::fromJson(data, &status);
    if (document)
        *document = parsed;
    if (error)
        *error = status;
    return status.error == QJsonParseError::NoError;
}
} // namespace

CodeEditor::CodeEditor(QWidget *parent, Qt::WindowFlags flags)
    : QDialog(parent, flags)
    , ui(new Ui::CodeEditor)
{
    ui->setupUi(this);
    ui->editor->setSyntaxStyle(isDarkTheme() ? QSyntaxStyle::darkScheme() : QSyntaxStyle::defaultScheme());
    const QMaterialIcon *icons = QMaterialIcon::instance();
    ui->saveButton->setIcon(icons->icon(QStringLiteral("save")));
    ui->closeButton->setIcon(icons->icon(QStringLiteral("cancel")));
    ui->applyButton->setIcon(icons->icon(QStringLiteral("done_outline")));
    ui->applyButton->setDefault(true);
    connect(ui->applyButton, &QPushButton::clicked, this, &CodeEditor::applyFilter);
    connect(ui->closeButton, &QPushButton::clicked, this, &QDialog::reject);
}

CodeEditor::~CodeEditor()
{
    delete ui;
}

void CodeEditor::applySettings(const QString &prefix)
{
    // The defaults are the dialog's own and differ from those the preferences show.
    QSettings settings;
    QCodeEditor *editor = ui->editor;
    editor->setAutoPairs(settings.value(prefix + QStringLiteral("/Parenth"), false).toBool());
    editor->setSpacesForTab(settings.value(prefix + QStringLiteral("/Tabs"), true).toBool());
    editor->setTabReplacementSize(settings.value(prefix + QStringLiteral("/TabSize"), 4).toInt());
    editor->setAutoIndent(settings.value(prefix + QStringLiteral("/Indent"), true).toBool());
    editor->setWordWrapMode(settings.value(prefix + QStringLiteral("/Wrap"), false).toBool() ? QTextOption::WordWrap
                                                                                             : QTextOption::NoWrap);
    editor->setShowSpaces(settings.value(prefix + QStringLiteral("/ShowSpaces"), false).toBool());
}

bool CodeEditor::isBinary(const QByteArray &data)
{
    int i = 0;
    while (i < data.size()) {
        const quint8 byte = quint8(data.at(i));
        if (byte < 0x80)
            i += 1;
        else if ((byte & 0xF8) == 0xF0)
            i += 4;
        else if ((byte & 0xF0) == 0xE0)
            i += 3;
        else if ((byte & 0xE0) == 0xC0)
            i += 2;
        else
            return true;
    }
    return false;
}

QString CodeEditor::hexPreview(const QByteArray &data)
{
    const int limit = qMin(data.size(), 0x200);
    QByteArray text;
    QTextStream out(&text);
    out.setIntegerBase(16);
    out.setNumberFlags(QTextStream::UppercaseDigits);
    out.setFieldAlignment(QTextStream::AlignRight);
    out.setPadChar(QLatin1Char('0'));
    for (int i = 0; i < limit; ++i) {
        if (i % 16 == 0) {
            if (i != 0)
                out << '\n';
            out << qSetFieldWidth(4) << i << qSetFieldWidth(0) << ':';
        }
        out << ' ' << qSetFieldWidth(2) << uint(quint8(data.at(i))) << qSetFieldWidth(0);
    }
    if (data.size() > 0x200)
        out << "\n0200: <...>";
    out.flush();
    return QString::fromLatin1(text);
}

CodeEditor::Type CodeEditor::detectType(const QString &name, const QString &text, const QByteArray &data, Type current)
{
    const auto endsWith = [&name](const char *suffix) {
        return name.endsWith(QLatin1String(suffix), Qt::CaseInsensitive);
    };
    if (endsWith(".py"))
        return Python;
    if (endsWith(".cxx") || endsWith(".cpp"))
        return CXX_Source;
    if (endsWith(".h") || endsWith(".hpp"))
        return CXX_Header;
    const QRegExp declaration(QStringLiteral("^(\\s*)\\<\\?(\\s*)xml"), Qt::CaseInsensitive);
    if (endsWith(".xml") || declaration.indexIn(text) == 0)
        return XML;
    if (endsWith(".html"))
        return HTML;
    // The start of the name on purpose: "config.json" is left to the parse test.
    if (name.startsWith(QLatin1String(".json"), Qt::CaseInsensitive) || parsesAsJson(data))
        return JSON;
    return current;
}

QStyleSyntaxHighlighter *CodeEditor::createHighlighter(Type type)
{
    switch (type) {
    case Python:
        return new QPythonHighlighter;
    case CXX_Source:
    case CXX_Header:
        return new QCXXHighlighter;
    case XML:
    case HTML:
        return new QXMLHighlighter;
    case JSON:
        return new QJSONHighlighter;
    case Other:
        break;
    }
    return nullptr;
}

bool CodeEditor::setContent(const QString &name, const QByteArray &data)
{
    setWindowTitle(name);
    if (completer) {
        ui->editor->setCompleter(nullptr);
        completer->deleteLater();
        completer = nullptr;
    }
    if (highlighter) {
        ui->editor->setHighlighter(nullptr);
        highlighter->deleteLater();
        highlighter = nullptr;
    }
    fileName = name;

    if (isBinary(data)) {
        // Read-only by the disabled buttons alone: only "Close without Saving" is left.
        ui->editor->setPlainText(hexPreview(data));
        ui->saveButton->setEnabled(false);
        ui->applyButton->setEnabled(false);
        QMessageBox::warning(parentWidget() ? parentWidget() : this, tr("Code Editor"),
                             tr("Looks like this is a binary file. Switching to read-only mode."), QMessageBox::Ok);
        return true;
    }
    ui->saveButton->setEnabled(true);
    ui->applyButton->setEnabled(true);

    const int nul = data.indexOf('\0');
    ui->editor->setPlainText(QString::fromUtf8(nul < 0 ? data : data.left(nul)));
    type = detectType(name, ui->editor->toPlainText(), data, type);

    highlighter = createHighlighter(type);
    if (type == Python)
        completer = new QPythonCompleter(this);
    if (highlighter)
        highlighter->setParent(this);
    if (completer)
        ui->editor->setCompleter(completer);
    if (highlighter)
        ui->editor->setHighlighter(highlighter);

    QJsonDocument document;
    if (type == JSON && parsesAsJson(data, &document))
        ui->editor->setPlainText(QString::fromUtf8(document.toJson(QJsonDocument::Indented)));
    return true;
}

bool CodeEditor::loadFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        emit error(tr("Cannot read %1: %2").arg(file.fileName(), file.errorString()));
        return false;
    }
    return setContent(QFileInfo(path).fileName(), file.readAll());
}

QByteArray CodeEditor::editedData() const
{
    const QByteArray text = ui->editor->toPlainText().toUtf8();
    QJsonDocument document;
    if (type == JSON && parsesAsJson(text, &document))
        return document.toJson(QJsonDocument::Compact);
    return text;
}

bool CodeEditor::saveTo(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        emit error(tr("Cannot write to %1: %2").arg(file.fileName(), file.errorString()));
        return false;
    }
    file.write(editedData());
    return true;
}

void CodeEditor::on_saveButton_clicked()
{
    const QString proposal = rootPath + QLatin1Char('/') + fileName;
    const QString path = QFileDialog::getSaveFileName(this, tr("Save As"), proposal, QString(), nullptr,
                                                      QFileDialog::Options());
    if (path.isEmpty())
        return;
    if (!saveTo(path))
        QMessageBox::warning(this, tr("Save As"), tr("File %1 cannot be written").arg(path), QMessageBox::Ok);
}

void CodeEditor::applyFilter()
{
    QJsonParseError parseError;
    if (type == JSON && !parsesAsJson(ui->editor->toPlainText().toUtf8(), nullptr, &parseError)) {
        const auto answer = QMessageBox::question(
            this, tr("Code Editor"),
            tr("The edited data is not a valid JSON document. Proceed?<br>Error: %1").arg(parseError.errorString()),
            QMessageBox::Yes | QMessageBox::No, QMessageBox::NoButton);
        if (answer != QMessageBox::Yes)
            return;
    }
    accept();
}
