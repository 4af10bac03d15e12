#include "theme.h"
#include "theme_p.h"

#include <QApplication>
#include <QColor>
#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QDir>
#include <QFile>
#include <QPalette>
#include <QSettings>
#include <QStyle>
#include <QStyleFactory>
#include <QtEndian>

namespace {

bool darkDetected = false;
bool darkTheme = false;

const QString ignoreDarkOption = QStringLiteral("ignore-dark");

bool themeNameIsDark(const QString &name)
{
    return name.endsWith(QLatin1String(":dark"), Qt::CaseInsensitive)
        || name.endsWith(QLatin1String("-dark"), Qt::CaseInsensitive);
}

enum class Preference { Unknown, Light, Dark };

// One settings.ini of GTK; it decides only if it names a theme or a preference.
Preference gtkSettingsPreference(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return Preference::Unknown;
    bool inSettings = false;
    bool decided = false;
    bool dark = false;
    while (!file.atEnd()) {
        const QString line = QString::fromUtf8(file.readLine()).trimmed();
        if (line.startsWith(QLatin1Char('['))) {
            inSettings = line == QLatin1String("[Settings]");
            continue;
        }
        const int eq = line.indexOf(QLatin1Char('='));
        if (!inSettings || eq < 0 || line.startsWith(QLatin1Char('#')) || line.startsWith(QLatin1Char(';')))
            continue;
        const QString key = line.left(eq).trimmed();
        const QString value = line.mid(eq + 1).trimmed();
        if (key == QLatin1String("gtk-application-prefer-dark-theme")) {
            decided = true;
            dark = dark || value.compare(QLatin1String("true"), Qt::CaseInsensitive) == 0
                || value == QLatin1String("1");
        } else if (key == QLatin1String("gtk-theme-name")) {
            decided = true;
            dark = dark || themeNameIsDark(value);
        }
    }
    if (!decided)
        return Preference::Unknown;
    return dark ? Preference::Dark : Preference::Light;
}

QString configHome(const QProcessEnvironment &env)
{
    // Relative values are to be ignored, as the XDG base directory rules say.
    const QString xdg = env.value(QStringLiteral("XDG_CONFIG_HOME"));
    if (!xdg.isEmpty() && QDir::isAbsolutePath(xdg))
        return xdg;
    return env.value(QStringLiteral("HOME"), QDir::homePath()) + QStringLiteral("/.config");
}

void detect()
{
    darkDetected = true;
    const QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    darkTheme = desktopPrefersDark(env, [&env] { return gnomeColorScheme(env); });
}

QPalette darkPalette()
{
    const QColor windowColor(0x35, 0x35, 0x35);
    const QColor grey(0x80, 0x80, 0x80);
    const QColor baseColor(0x19, 0x19, 0x19);
    const QColor accent(0x2A, 0x82, 0xDA);

    QPalette palette;
    palette.setColor(QPalette::Window, windowColor);
    palette.setColor(QPalette::WindowText, Qt::white);
    palette.setColor(QPalette::Base, baseColor);
    palette.setColor(QPalette::AlternateBase, windowColor);
    palette.setColor(QPalette::ToolTipBase, accent);
    palette.setColor(QPalette::ToolTipText, Qt::white);
    palette.setColor(QPalette::Text, Qt::white);
    palette.setColor(QPalette::Button, windowColor);
    palette.setColor(QPalette::ButtonText, Qt::white);
    palette.setColor(QPalette::Link, accent);
    palette.setColor(QPalette::Highlight, accent);
    palette.setColor(QPalette::HighlightedText, Qt::black);
    palette.setColor(QPalette::Active, QPalette::Button, grey.darker(200));
    palette.setColor(QPalette::Disabled, QPalette::ButtonText, grey);
    palette.setColor(QPalette::Disabled, QPalette::WindowText, grey);
    palette.setColor(QPalette::Disabled, QPalette::Text, grey);
    palette.setColor(QPalette::Disabled, QPalette::Light, windowColor);
    return palette;
}

} // namespace

bool desktopPrefersDark(const QProcessEnvironment &env, const std::function<QString()> &colorScheme)
{
    // GTK takes a set GTK_THEME as the whole answer, variant included.
    const QString gtkTheme = env.value(QStringLiteral("GTK_THEME"));
    if (!gtkTheme.isEmpty())
        return themeNameIsDark(gtkTheme);

    const QString scheme = colorScheme ? colorScheme() : QString();
    if (scheme == QLatin1String("prefer-dark"))
        return true;
    if (scheme == QLatin1String("prefer-light"))
        return false;

    const QString config = configHome(env);
    for (const char *version : {"gtk-4.0", "gtk-3.0"}) {
        const Preference preference =
            gtkSettingsPreference(QStringLiteral("%1/%2/settings.ini").arg(config, QLatin1String(version)));
        if (preference != Preference::Unknown)
            return preference == Preference::Dark;
    }
    return false;
}

QString gnomeColorScheme(const QProcessEnvironment &env)
{
    // The database that gsettings itself reads; asking gsettings would cost a
    // process, and a session bus launched for it, at every start.
    QFile file(configHome(env) + QStringLiteral("/dconf/user"));
    if (!file.open(QIODevice::ReadOnly))
        return QString();
    return QString::fromUtf8(
        dconfStringValue(file.readAll(), QByteArrayLiteral("/org/gnome/desktop/interface/color-scheme")));
}

QByteArray dconfStringValue(const QByteArray &db, const QByteArray &key)
{
    // A GVDB file, little-endian: "GVariant", version, options, the root hash
    // table's start and end; the table: bloom word count, bucket count, bloom
    // words, buckets, then items of 24 bytes.
    const auto u32 = [&db](qint64 at) -> quint32 {
        if (at < 0 || at + 4 > db.size())
            return 0;
        return qFromLittleEndian<quint32>(db.constData() + at);
    };
    if (db.size() < 24 || !db.startsWith("GVariant"))
        return QByteArray();
    const quint32 start = u32(16);
    const quint32 end = u32(20);
    if (start > end || end > quint32(db.size()) || end - start < 8)
        return QByteArray();
    const quint32 bloomWords = u32(start) & ((1u << 27) - 1);
    const quint32 buckets = u32(start + 4);
    const quint64 itemsStart = quint64(start) + 8 + 4 * (quint64(bloomWords) + buckets);
    if (itemsStart > end)
        return QByteArray();
    const quint32 count = quint32((end - itemsStart) / 24);

    struct Item {
        quint32 parent;
        quint32 keyStart;
        quint16 keySize;
        char type;
        quint32 valueStart;
        quint32 valueEnd;
    };
    const auto item = [&](quint32 i) {
        const qint64 at = qint64(itemsStart) + qint64(i) * 24;
        return Item{u32(at + 4), u32(at + 8), qFromLittleEndian<quint16>(db.constData() + at + 12),
                    db.at(at + 14), u32(at + 16), u32(at + 20)};
    };
    // An item's key is the tail after its parent's; the whole key is the chain.
    const auto fullKey = [&](quint32 i) {
        QByteArray whole;
        for (int depth = 0; i < count && depth < 64; ++depth) {
            const Item it = item(i);
            if (quint64(it.keyStart) + it.keySize > quint64(db.size()))
                return QByteArray();
            whole.prepend(db.constData() + it.keyStart, it.keySize);
            i = it.parent;
        }
        return whole;
    };
    for (quint32 i = 0; i < count; ++i) {
        const Item it = item(i);
        if (it.type != 'v' || fullKey(i) != key)
            continue;
        if (it.valueStart > it.valueEnd || it.valueEnd > quint32(db.size()))
            return QByteArray();
        // A serialised variant: the value, a zero byte, the value's type.
        const QByteArray variant = db.mid(int(it.valueStart), int(it.valueEnd - it.valueStart));
        const int separator = variant.lastIndexOf('\0');
        if (separator < 1 || variant.mid(separator + 1) != "s" || variant.at(separator - 1) != '\0')
            return QByteArray();
        return variant.left(separator - 1);
    }
    return QByteArray();
}

void resetThemeDetection()
{
    darkDetected = false;
    darkTheme = false;
}

void addThemeOption(QCommandLineParser &parser)
{
    parser.addOption(QCommandLineOption(ignoreDarkOption,
        QCoreApplication::translate("main", "Ignore the system-wide dark theme setting.")));
}

bool isDarkTheme()
{
    if (!darkDetected)
        detect();
    return darkTheme;
}

bool applyTheme(QCommandLineParser *parser, const QString &key)
{
    if (!darkDetected)
        detect();

    if (parser && parser->isSet(ignoreDarkOption)) {
        darkTheme = false;
        return true;
    }
    if (!key.isEmpty())
        darkTheme = QSettings().value(key, darkTheme).toBool();
    if (!darkTheme)
        return true;

    // Without Fusion the platform's look stays.
    if (QStyle *fusion = QStyleFactory::create(QStringLiteral("Fusion")))
        QApplication::setStyle(fusion);
    QApplication::setPalette(darkPalette());
    qApp->setStyleSheet(QStringLiteral(
        "QToolTip { color: #ffffff; background-color: #2a82da; border: 1px solid white; }"));
    return true;
}
