#pragma once
// The scan coordinator's texts and its one list rule, as plain functions.

#include <QList>
#include <QString>
#include <QStringList>
#include <QUrl>

namespace qv {

// Local folder paths of the URLs, first occurrence kept.
QStringList scanRootPaths(const QList<QUrl>& urls);
QString scanStartedText(qsizetype roots, bool force);
QString scanAlreadyRunningText();

} // namespace qv
