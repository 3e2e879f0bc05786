#pragma once
// Opening a large index can take a while, once: after an update it rebuilds its search
// indexes (up to a minute at a million samples). The index is opened on a worker thread
// meanwhile, and a small window says what is happening; a small index opens without it.

#include <QString>

#include <filesystem>
#include <memory>

namespace qv {
class Database;

// "Preparing the search index…", with the step when there are several.
QString indexPreparationText(int done, int total);
} // namespace qv

// Throws what opening throws.
std::unique_ptr<qv::Database> openDatabaseShowingProgress(const std::filesystem::path& path);
