#include "scan_logic.h"

#include <QDir>

namespace qv {

QStringList scanRootPaths(const QList<QUrl>& urls)
{
    QStringList paths;
    for (const QUrl& url : urls) {
        if (!url.isLocalFile()) continue;
        QString path = QDir::cleanPath(url.toLocalFile());
        if (!paths.contains(path)) paths.append(path);
    }
    return paths;
}

QString scanStartedText(qsizetype roots, bool force)
{
    const QString suffix = roots == 1 ? QString() : QStringLiteral("s");
    return QStringLiteral("%1 %2 root folder%3\u2026 You can keep browsing.")
        .arg(force ? QStringLiteral("Full Scan of") : QStringLiteral("Scanning"))
        .arg(roots)
        .arg(suffix);
}

QString scanAlreadyRunningText()
{
    return QStringLiteral("A library scan is already running. Please wait for it to finish.");
}

} // namespace qv
