#pragma once

#include <QMap>
#include <QObject>
#include <QString>
#include <QTextCharFormat>

// A named table from style names ("Keyword", "CurrentLine", ...) to character
// formats; every colour of the editor family comes from one of these.
class QSyntaxStyle : public QObject
{
    Q_OBJECT

public:
    explicit QSyntaxStyle(QObject *parent = nullptr);

    // Merges the "style" elements of a scheme document into the table; a later
    // entry of one name replaces the earlier one whole. Returns false on a
    // parse error, keeping whatever was read before it.
    bool load(const QString &scheme);

    QString name() const;
    bool isLoaded() const;

    // Exact, case-sensitive lookup; an unknown name gives a default format.
    QTextCharFormat formatFor(const QString &name) const;

    // Process-wide shared instances, loaded from the resources on first use
    // and tried again on the next call while loading has not succeeded.
    static QSyntaxStyle *defaultScheme();
    static QSyntaxStyle *darkScheme();

private:
    static QSyntaxStyle *sharedScheme(QSyntaxStyle &instance, const QString &resource);

    QString m_name;
    QMap<QString, QTextCharFormat> m_data;
    bool m_loaded = false;
};
