#include "pcfileicons.h"

#include "qmaterialicon.h"
#include "theme.h"

#include <QFileInfo>

namespace {
QIcon fontIcon(const char *name)
{
    return QMaterialIcon::instance()->icon(QLatin1String(name), isDarkTheme() ? Qt::white : Qt::black);
}
} // namespace

PcFileIcons::PcFileIcons()
    : m_folder(fontIcon("folder"))
    , m_file(fontIcon("insert_drive_file"))
{
}

QIcon PcFileIcons::icon(IconType type) const
{
    return type == File ? m_file : m_folder;
}

QIcon PcFileIcons::icon(const QFileInfo &info) const
{
    return info.isDir() ? m_folder : m_file;
}
