#include "qsyntaxstyle.h"

#include "appresources.h"

#include <QFile>
#include <QXmlStreamReader>

QSyntaxStyle::QSyntaxStyle(QObject *parent)
    : QObject(parent)
{
}

static QTextCharFormat::UnderlineStyle underlineStyleOf(const QStringRef &text)
{
    if (text == QLatin1String("SingleUnderline"))
        return QTextCharFormat::SingleUnderline;
    if (text == QLatin1String("DashUnderline"))
        return QTextCharFormat::DashUnderline;
    if (text == QLatin1String("DotLine"))
        return QTextCharFormat::DotLine;
    if (text == QLatin1String("DashDotLine"))
        return QTextCharFormat::DashDotLine;
    if (text == QLatin1String("DashDotDotLine"))
        return QTextCharFormat::DashDotDotLine;
    if (text == QLatin1String("WaveUnderline"))
        return QTextCharFormat::WaveUnderline;
    if (text == QLatin1String("SpellCheckUnderline"))
        return QTextCharFormat::SpellCheckUnderline;
    return QTextCharFormat::NoUnderline;
}

static QBrush solidBrush(const QStringRef &colorName)
{
    QColor color;
    color.setNamedColor(colorName.toString());
    return QBrush(color, Qt::SolidPattern);
}

bool QSyntaxStyle::load(const QString &scheme)
{
    QXmlStreamReader reader(scheme);

    while (!reader.atEnd() && !reader.hasError()) {
        if (reader.readNext() != QXmlStreamReader::StartElement)
            continue;

        const QXmlStreamAttributes attributes = reader.attributes();

        if (reader.name() == QLatin1String("style-scheme")) {
            const QStringRef schemeName = attributes.value(QLatin1String("name"));
            if (!schemeName.isNull())
                m_name = schemeName.toString();
            continue;
        }

        if (reader.name() != QLatin1String("style"))
            continue;

        // Only attributes that are present touch the format: an absent one
        // must stay unset rather than become a default value.
        QTextCharFormat format;
        if (attributes.hasAttribute(QLatin1String("background")))
            format.setBackground(solidBrush(attributes.value(QLatin1String("background"))));
        if (attributes.hasAttribute(QLatin1String("foreground")))
            format.setForeground(solidBrush(attributes.value(QLatin1String("foreground"))));
        if (attributes.hasAttribute(QLatin1String("bold"))
            && attributes.value(QLatin1String("bold")) == QLatin1String("true"))
            format.setFontWeight(QFont::Bold);
        if (attributes.hasAttribute(QLatin1String("italic"))
            && attributes.value(QLatin1String("italic")) == QLatin1String("true"))
            format.setFontItalic(true);
        if (attributes.hasAttribute(QLatin1String("underlineStyle")))
            format.setUnderlineStyle(underlineStyleOf(attributes.value(QLatin1String("underlineStyle"))));

        m_data[attributes.value(QLatin1String("name")).toString()] = format;
    }

    m_loaded = !reader.hasError();
    return m_loaded;
}

QString QSyntaxStyle::name() const
{
    return m_name;
}

bool QSyntaxStyle::isLoaded() const
{
    return m_loaded;
}

QTextCharFormat QSyntaxStyle::formatFor(const QString &name) const
{
    return m_data.value(name);
}

QSyntaxStyle *QSyntaxStyle::sharedScheme(QSyntaxStyle &instance, const QString &resource)
{
    if (instance.isLoaded())
        return &instance;

    initResources();

    QFile file(resource);
    if (!file.open(QIODevice::ReadOnly))
        return &instance;

    const QByteArray bytes = file.readAll();
    const int length = int(qstrnlen(bytes.constData(), uint(bytes.size())));
    instance.load(QString::fromUtf8(bytes.constData(), length));
    return &instance;
}

QSyntaxStyle *QSyntaxStyle::defaultScheme()
{
    static QSyntaxStyle instance;
    return sharedScheme(instance, QStringLiteral(":/default_style.xml"));
}

QSyntaxStyle *QSyntaxStyle::darkScheme()
{
    static QSyntaxStyle instance;
    return sharedScheme(instance, QStringLiteral(":/drakula.xml"));
}
