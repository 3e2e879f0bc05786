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

QString scanProgressText(const QString& started, std::size_t filesSeen)
{
    return QStringLiteral("%1  \u2022  %L2 files seen").arg(started).arg(static_cast<qulonglong>(filesSeen));
}

QString startupCheckProgressText(std::size_t done, std::size_t total)
{
    return QStringLiteral("Checking libraries\u2026 %1/%2").arg(done).arg(total);
}

QString startupCheckSummary(std::uint64_t added, std::uint64_t updated, std::uint64_t removed, std::size_t failed)
{
    return QStringLiteral("Library check: %1 new \u2022 %2 updated \u2022 %3 stale entries removed \u2022 %4 libraries need "
                          "attention")
        .arg(added)
        .arg(updated)
        .arg(removed)
        .arg(failed);
}

QString reindexStartedText()
{
    return QStringLiteral("Analyzing sample event structure\u2026");
}

QString reindexSummary(std::uint64_t updated)
{
    return QStringLiteral("Audio classification update complete \u2022 %1 rows refreshed").arg(updated);
}

QString scanAlreadyRunningText()
{
    return QStringLiteral("A library scan is already running. Please wait for it to finish.");
}

} // namespace qv
