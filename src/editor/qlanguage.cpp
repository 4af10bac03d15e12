#include "qlanguage.h"

#include <QIODevice>
#include <QXmlStreamReader>

QLanguage::QLanguage(QIODevice *device, QObject *parent)
    : QObject(parent)
{
    load(device);
}

bool QLanguage::load(QIODevice *device)
{
    if (!device)
        return false;

    QXmlStreamReader reader(device);

    QString section;
    QStringList words;
    bool wordExpected = false;

    while (!reader.atEnd() && !reader.hasError()) {
        const QXmlStreamReader::TokenType type = reader.readNext();

        if (type == QXmlStreamReader::StartElement) {
            if (reader.name() == QLatin1String("section")) {
                if (!words.isEmpty()) {
                    m_list[section] = words;
                    words.clear();
                }
                section = reader.attributes().value(QLatin1String("name")).toString();
            } else if (reader.name() == QLatin1String("name")) {
                wordExpected = true;
            }
        } else if (type == QXmlStreamReader::Characters && wordExpected) {
            words.append(reader.text().toString());
            wordExpected = false;
        }
    }

    if (!words.isEmpty())
        m_list[section] = words;

    m_loaded = !reader.hasError();
    return m_loaded;
}

bool QLanguage::isLoaded() const
{
    return m_loaded;
}

QStringList QLanguage::sectionNames() const
{
    return m_list.keys();
}

QStringList QLanguage::wordsOf(const QString &section)
{
    return m_list[section];
}
