#include "qmaterialicon.h"
#include "qmaterialicon_p.h"

#include "appresources.h"
#include "qfonticonengine.h"

#include <QFile>
#include <QFontDatabase>
#include <QGuiApplication>

#include <cstring>

bool lookupCodepoint(const QByteArray &table, const QByteArray &name, unsigned int *code)
{
    const auto isSpace = [](char c) { return c == ' ' || (c >= '\t' && c <= '\r'); };
    const int n = name.size();
    bool found = false;
    const char *p = table.constData();
    const char *const end = p + table.size();
    while (p < end) {
        const char *eol = static_cast<const char *>(memchr(p, '\n', size_t(end - p)));
        const char *s = p;
        const char *e = eol ? eol : end;
        p = eol ? eol + 1 : end;
        while (s < e && isSpace(*s))
            ++s;
        while (e > s && isSpace(e[-1]))
            --e;
        // Most lines are rejected here, without being split.
        if (n == 0 || e - s <= n || memcmp(s, name.constData(), size_t(n)) != 0 || s[n] != ' ')
            continue;
        const char *value = s + n;
        while (*value == ' ')
            ++value;
        const char *valueEnd = static_cast<const char *>(memchr(value, ' ', size_t(e - value)));
        if (valueEnd)
            continue; // more than two fields
        // A later line of the same name wins, so the scan goes on to the end.
        *code = QByteArray::fromRawData(value, int(e - value)).toUInt(nullptr, 16);
        found = true;
    }
    return found;
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

    // Kept as it is: a window needs a few dozen of its names, looked up when asked for.
    QFile file(QStringLiteral(":/qtmf/src_v48/codepoints"));
    if (!file.open(QIODevice::ReadOnly))
        return;
    table = file.readAll();
    file.close();
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
    auto it = codes.constFind(name);
    if (it == codes.constEnd()) {
        unsigned int code = 0;
        if (lookupCodepoint(table, name.toUtf8(), &code))
            it = codes.insert(name, code);
    }
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
