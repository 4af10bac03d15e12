#include "qmaterialicon.h"
#include "qmaterialicon_p.h"

#include "appresources.h"
#include "qfonticonengine.h"

#include <QFile>
#include <QFontDatabase>
#include <QGuiApplication>

QHash<QString, unsigned int> readCodepoints(QIODevice &device)
{
    QHash<QString, unsigned int> codes;
    for (;;) {
        // A blank line still holds its line end; only the end of the file reads empty.
        const QByteArray line = device.readLine();
        if (line.isEmpty())
            break;
        const QStringList parts = QString::fromUtf8(line).trimmed().split(QLatin1Char(' '), Qt::SkipEmptyParts);
        if (parts.size() == 2)
            codes.insert(parts.at(0), parts.at(1).toUInt(nullptr, 16));
    }
    return codes;
}

QMaterialIcon *QMaterialIcon::instance()
{
    static QMaterialIcon icons;
    return &icons;
}

QMaterialIcon::QMaterialIcon()
{
    initResources();
    fontId = QFontDatabase::addApplicationFont(QStringLiteral(":/qtmf/src_v48/MaterialIcons-Regular.ttf"));
    if (fontId < 0)
        return;
    fontFamilies = QFontDatabase::applicationFontFamilies(fontId);

    QFile table(QStringLiteral(":/qtmf/src_v48/codepoints"));
    if (!table.open(QIODevice::ReadOnly))
        return;
    codes = readCodepoints(table);
    table.close();
}

QMaterialIcon::~QMaterialIcon()
{
    // At process exit the application, and with it the font database, may
    // already be gone; then there is nothing left to give back.
    if (fontId >= 0 && qGuiApp)
        QFontDatabase::removeApplicationFont(fontId);
    fontId = -1;
}

QChar QMaterialIcon::codepoint(const QString &name, bool *ok) const
{
    const auto it = codes.constFind(name);
    if (ok)
        *ok = it != codes.constEnd();
    if (it == codes.constEnd())
        return QChar();
    return QChar(static_cast<ushort>(it.value()));
}

QIcon QMaterialIcon::icon(const QString &name, const QColor &color, const QString &family) const
{
    if (fontId < 0)
        return QIcon();
    const QString engineFamily = family.isEmpty() ? fontFamilies.value(0) : family;
    return QIcon(new QFontIconEngine(engineFamily, codepoint(name), color.isValid() ? color : baseColor,
                                     activeColor));
}
