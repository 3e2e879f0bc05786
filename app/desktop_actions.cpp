#include "desktop_actions.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDesktopServices>
#include <QFileInfo>
#include <QUrl>

void showInFileManager(const QString& path)
{
    const QFileInfo info(path);
    if (!info.isDir()) {
        static const QString service = QStringLiteral("org.freedesktop.FileManager1");
        QDBusConnection bus = QDBusConnection::sessionBus();
        if (bus.isConnected() && bus.interface() && bus.interface()->isServiceRegistered(service)) {
            QDBusMessage call = QDBusMessage::createMethodCall(service, QStringLiteral("/org/freedesktop/FileManager1"),
                                                               service, QStringLiteral("ShowItems"));
            call << QStringList{QUrl::fromLocalFile(path).toString()} << QString();
            // Not waited for: a slow file manager must not hold up the window.
            if (bus.send(call)) return;
        }
    }
    QDesktopServices::openUrl(QUrl::fromLocalFile(info.isDir() ? path : info.absolutePath()));
}
