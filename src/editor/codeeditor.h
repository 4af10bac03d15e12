#pragma once

#include <QByteArray>
#include <QDialog>
#include <QString>

class QCompleter;
class QStyleSyntaxHighlighter;

namespace Ui {
class CodeEditor;
}

// The dialog in which one board file, or a new one, is edited before it goes
// back to the board. It picks highlighter and completer by the file's name and
// content and hands the edited bytes back; it never speaks to the board.
class CodeEditor : public QDialog
{
    Q_OBJECT

public:
    enum Type { Python = 0, CXX_Source = 1, CXX_Header = 2, XML = 3, HTML = 4, JSON = 5, Other = 6 };
    Q_ENUM(Type)

    explicit CodeEditor(QWidget *parent = nullptr, Qt::WindowFlags flags = Qt::WindowFlags());
    ~CodeEditor() override;

    // Reads the editor options under the settings group prefix ("Code").
    void applySettings(const QString &prefix);
    // Meant to run once per dialog; always true.
    bool setContent(const QString &name, const QByteArray &data);
    bool loadFile(const QString &path);
    // JSON goes out compact whatever its layout on the screen.
    QByteArray editedData() const;
    bool saveTo(const QString &path);
    Type fileType() const { return type; }

    // Binary by a scan of UTF-8 lead bytes only: the bytes a lead byte claims
    // are skipped unseen, and a NUL is text.
    static bool isBinary(const QByteArray &data);
    // Sixteen bytes a line under a four-digit offset, at most 512 bytes.
    static QString hexPreview(const QByteArray &data);
    // The type by name, then by content; current when nothing decides.
    static Type detectType(const QString &name, const QString &text, const QByteArray &data, Type current);
    // The highlighter of a type, with no document and no owner; null for Other.
    static QStyleSyntaxHighlighter *createHighlighter(Type type);

    QString rootPath; // where "Save As" starts

signals:
    void error(const QString &descr);

public slots:
    void on_saveButton_clicked();
    void applyFilter();

private:
    Ui::CodeEditor *ui;
    Type type = Other;
    QCompleter *completer = nullptr;
    QStyleSyntaxHighlighter *highlighter = nullptr;
    QString fileName;
};
