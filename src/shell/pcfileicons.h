#pragma once

#include <QFileIconProvider>
#include <QIcon>

// Icons of the PC pane from the icon font, as the board pane has them. The
// platform's own provider searches the icon theme for every folder on the way
// to the pane's root, on the GUI thread, before the window can show. The
// model also asks from its gatherer thread: the icons are made once, up front.
class PcFileIcons : public QFileIconProvider
{
public:
    // In the colour the theme gives the icon font's base colour.
    PcFileIcons();

    QIcon icon(IconType type) const override;
    QIcon icon(const QFileInfo &info) const override;

private:
    const QIcon m_folder;
    const QIcon m_file;
};
