#pragma once
// The scan coordinator's texts and its one list rule, as plain functions.

#include <QList>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <cstddef>
#include <cstdint>

namespace qv {

// Local folder paths of the URLs, first occurrence kept.
QStringList scanRootPaths(const QList<QUrl>& urls);
QString scanStartedText(qsizetype roots, bool force);
QString scanAlreadyRunningText();
// The started text with a live count of the files met so far.
QString scanProgressText(const QString& started, std::size_t filesSeen);
QString startupCheckProgressText(std::size_t done, std::size_t total);
QString startupCheckSummary(std::uint64_t added, std::uint64_t updated, std::uint64_t removed, std::size_t failed);
QString reindexStartedText();
QString reindexSummary(std::uint64_t updated);

} // namespace qv
