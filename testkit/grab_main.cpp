// qv-grab OUT.png: saves what the X display shows, for the screenshot script and the
// end-to-end run under Xvfb (no image tools needed on the machine).
#include <QGuiApplication>
#include <QPixmap>
#include <QScreen>

#include <cstdio>

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: qv-grab OUT.png\n");
        return 2;
    }
    QGuiApplication app(argc, argv);
    QScreen* screen = QGuiApplication::primaryScreen();
    if (!screen) {
        std::fprintf(stderr, "qv-grab: no screen\n");
        return 1;
    }
    if (!screen->grabWindow(0).save(QString::fromLocal8Bit(argv[1]))) {
        std::fprintf(stderr, "qv-grab: cannot write %s\n", argv[1]);
        return 1;
    }
    return 0;
}
