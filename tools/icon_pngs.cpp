// Build helper: writes the program's icon as PNGs for the hicolor icon theme.
//
// Usage: icon_pngs <icon.ico> <theme dir> <name> <size>...
// Each size N becomes <theme dir>/NxN/apps/<name>.png, scaled from the
// smallest image of the icon that is at least N pixels wide (the largest if
// none is), so small sizes keep their hand-drawn versions.
#include <QCoreApplication>
#include <QDir>
#include <QImage>
#include <QImageReader>
#include <QTextStream>
#include <QVector>

#include <algorithm>

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QTextStream err(stderr);
    const QStringList args = QCoreApplication::arguments();
    if (args.size() < 5) {
        err << "Usage: icon_pngs <icon.ico> <theme dir> <name> <size>...\n";
        return 2;
    }

    QImageReader reader(args.at(1));
    QVector<QImage> images;
    do {
        const QImage image = reader.read();
        if (!image.isNull())
            images.append(image);
    } while (reader.jumpToNextImage());
    if (images.isEmpty()) {
        err << "Cannot read " << args.at(1) << ": " << reader.errorString() << '\n';
        return 1;
    }
    std::sort(images.begin(), images.end(),
              [](const QImage &a, const QImage &b) { return a.width() < b.width(); });

    for (int i = 4; i < args.size(); ++i) {
        bool ok = false;
        const int size = args.at(i).toInt(&ok);
        if (!ok || size <= 0) {
            err << "Not a size: " << args.at(i) << '\n';
            return 2;
        }
        const QImage *source = &images.constLast();
        for (const QImage &image : images) {
            if (image.width() >= size) {
                source = &image;
                break;
            }
        }
        const QString folder = QStringLiteral("%1/%2x%2/apps").arg(args.at(2)).arg(size);
        const QString path = QStringLiteral("%1/%2.png").arg(folder, args.at(3));
        const QImage scaled = source->scaled(size, size, Qt::KeepAspectRatio, Qt::SmoothTransformation);
        if (!QDir().mkpath(folder) || !scaled.save(path, "PNG")) {
            err << "Cannot write " << path << '\n';
            return 1;
        }
    }
    return 0;
}
