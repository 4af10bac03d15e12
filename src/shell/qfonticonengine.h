#pragma once

#include <QColor>
#include <QIconEngine>
#include <QString>

// Paints one glyph of an icon font, so an icon follows the palette at any size.
class QFontIconEngine : public QIconEngine
{
public:
    QFontIconEngine(const QString &family, QChar letter, const QColor &color, const QColor &onColor);
    ~QFontIconEngine() override;

    void paint(QPainter *painter, const QRect &rect, QIcon::Mode mode, QIcon::State state) override;
    QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State state) override;
    // The copy keeps family and colour only: icons are shared, never detached,
    // so nothing relies on a clone drawing the glyph.
    QIconEngine *clone() const override;

private:
    QString family;
    QChar letter;
    QColor color;
    QColor onColor;
};
