#pragma once

#include <QByteArray>
#include <QColor>
#include <QHash>
#include <QIcon>
#include <QObject>
#include <QStringList>

// Owner of the Material Icons font and its name table; the one source of
// icons. An invalid colour and an empty family select the defaults.
class QMaterialIcon : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QColor base READ base WRITE setBase)

public:
    static QMaterialIcon *instance();

    QChar codepoint(const QString &name, bool *ok = nullptr) const;
    QIcon icon(const QString &name, const QColor &color = QColor(), const QString &family = QString()) const;

    QColor base() const { return baseColor; }
    void setBase(const QColor &color) { baseColor = color; }
    QColor onColor() const { return activeColor; }
    void setOnColor(const QColor &color) { activeColor = color; }

    ~QMaterialIcon() override;

private:
    QMaterialIcon();

    int fontId = -1;
    QStringList fontFamilies;
    QByteArray table;                             // the name table as read
    mutable QHash<QString, unsigned int> codes;   // names looked up so far
    QColor baseColor = Qt::black;
    QColor activeColor;
};
