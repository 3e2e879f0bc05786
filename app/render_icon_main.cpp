// Renders the application's icon for the desktop at the usual sizes, into
// <out>/hicolor/<n>x<n>/apps/quorvalinder.png; run by the build, installed with the
// program. The scalable icon beside them is data/quorvalinder.svg, the same drawing.
#include "icons.h"
#include "theme.h"

#include <QDir>
#include <QGuiApplication>
#include <QPixmap>

#include <cstdio>

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: qv-render-icon OUT_DIR\n");
        return 2;
    }
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    const QColor accent = qv::windowTheme(QStringLiteral("Purple")).accent;
    for (int size : {16, 24, 32, 48, 64, 128, 256, 512}) {
        const QString dir = QStringLiteral("%1/hicolor/%2x%2/apps").arg(QString::fromLocal8Bit(argv[1])).arg(size);
        if (!QDir().mkpath(dir) || !qv::brandMark(size, accent).save(dir + QStringLiteral("/quorvalinder.png"))) {
            std::fprintf(stderr, "qv-render-icon: cannot write %s\n", qPrintable(dir));
            return 1;
        }
    }
    return 0;
}
