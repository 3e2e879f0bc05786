// qv-feature FOLDER [IMAGE]: pins FOLDER to the featured sets as the folder menu's "Add to
// Featured" does, and gives it IMAGE as its avatar as a dropped image would; for the
// screenshot script, run while the window is closed (the window reads the key at start).
#include "featured_items.h"

#include <QGuiApplication>

#include <cstdio>

int main(int argc, char** argv)
{
    if (argc < 2 || argc > 3) {
        std::fprintf(stderr, "usage: qv-feature FOLDER [IMAGE]\n");
        return 2;
    }
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Ostrelle"));
    QCoreApplication::setApplicationName(QStringLiteral("Quorvalinder"));
    QVFeaturedItems featured(QVFeaturedItems::defaultAvatarDirectory());
    if (!featured.addFolder(QString::fromLocal8Bit(argv[1]))) {
        std::fprintf(stderr, "qv-feature: %s is already featured\n", argv[1]);
        return 1;
    }
    if (argc == 3 && !featured.setAvatar(featured.count() - 1, QString::fromLocal8Bit(argv[2]))) {
        std::fprintf(stderr, "qv-feature: cannot use %s as an avatar\n", argv[2]);
        return 1;
    }
    return 0;
}
