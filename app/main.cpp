// Quorvalinder: the application's entry point.
#include "qv_controller.h"

#include <QApplication>

namespace {

int QuorvalinderRun(int argc, char** argv)
{
    QApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Ostrelle"));
    QCoreApplication::setApplicationName(QStringLiteral("Quorvalinder"));
    QCoreApplication::setApplicationVersion(QStringLiteral(QV_VERSION));
    QGuiApplication::setApplicationDisplayName(QStringLiteral("Quorvalinder"));
    QGuiApplication::setDesktopFileName(QStringLiteral("quorvalinder"));

    QVController::Options options;
    options.checkLibrariesAtStartup = true;
    options.showQuickTour = true;
    QVController controller(options);
    controller.applicationDidFinishLaunching();
    return app.exec();
}

} // namespace

int main(int argc, char** argv)
{
    QuorvalinderRun(argc, argv);
    return 0;
}
