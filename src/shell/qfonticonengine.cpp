#include "qfonticonengine.h"

#include <QApplication>
#include <QFont>
#include <QPainter>
#include <QPalette>
#include <QPixmap>

QFontIconEngine::QFontIconEngine(const QString &family, QChar letter, const QColor &color, const QColor &onColor)
    : family(family)
    , letter(letter)
    , color(color)
    , onColor(onColor)
{
}

QFontIconEngine::~QFontIconEngine() = default;

void QFontIconEngine::paint(QPainter *painter, const QRect &rect, QIcon::Mode mode, QIcon::State state)
{
    // Letter 0 (an unknown name, a clone) would show the font's missing-glyph box.
    if (letter.isNull())
        return;

    QFont font(family);
    // A fifth of the height is left as margin around the glyph.
    font.setPixelSize(qRound(rect.height() * 0.8));

    const QPalette palette = QApplication::palette("QWidget");
    QColor pen = color.isValid() ? color : palette.color(QPalette::Active, QPalette::ButtonText);
    switch (mode) {
    case QIcon::Disabled:
        pen = palette.color(QPalette::Disabled, QPalette::ButtonText);
        break;
    case QIcon::Normal:
    case QIcon::Active:
        if (state == QIcon::On && onColor.isValid())
            pen = onColor;
        break;
    case QIcon::Selected:
        pen = palette.color(QPalette::Active, QPalette::ButtonText);
        break;
    }

    painter->save();
    painter->setPen(pen);
    painter->setFont(font);
    painter->drawText(rect, Qt::AlignCenter, QString(letter));
    painter->restore();
}

QPixmap QFontIconEngine::pixmap(const QSize &size, QIcon::Mode mode, QIcon::State state)
{
    QPixmap result(size);
    result.fill(Qt::transparent);
    if (!result.isNull()) {
        QPainter painter(&result);
        paint(&painter, QRect(QPoint(0, 0), QPoint(size.width() - 1, size.height() - 1)), mode, state);
    }
    return result;
}

QIconEngine *QFontIconEngine::clone() const
{
    return new QFontIconEngine(family, QChar(), color, QColor());
}
