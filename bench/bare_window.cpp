// The floor for start-up figures: a Qt 5 main window of Morvex's size and
// nothing else. With --raster it skips OpenGL as Morvex does, which gives the
// like-for-like floor.
#include <QApplication>
#include <QMainWindow>

#include <cstring>

int main(int argc, char *argv[])
{
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--raster") == 0)
            QCoreApplication::setAttribute(Qt::AA_ForceRasterWidgets);
    }
    QApplication app(argc, argv);
    QMainWindow window;
    window.resize(983, 657);
    window.show();
    return app.exec();
}
