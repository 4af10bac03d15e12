// The floor for start-up figures: a Qt 5 main window of Morvex's size and nothing else.
#include <QApplication>
#include <QMainWindow>

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    QMainWindow window;
    window.resize(983, 657);
    window.show();
    return app.exec();
}
