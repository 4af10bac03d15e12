#pragma once

#include <QMap>
#include <QObject>
#include <QStringList>

class QIODevice;

// The word lists of one language, read from a document of "section" elements
// holding "name" elements. Section names double as style names.
class QLanguage : public QObject
{
    Q_OBJECT

public:
    // Reads the device at once; test isLoaded() afterwards. The device stays
    // the caller's, opened by the caller.
    explicit QLanguage(QIODevice *device, QObject *parent = nullptr);

    bool load(QIODevice *device);
    bool isLoaded() const;

    // Sorted by name, whatever the document order.
    QStringList sectionNames() const;

    // An unknown name is entered with an empty list, and is then listed by
    // sectionNames() as well.
    QStringList wordsOf(const QString &section);

private:
    bool m_loaded = false;
    QMap<QString, QStringList> m_list;
};
