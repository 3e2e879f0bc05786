#include "scan/library_scanner.h"

#include "ascii.h"
#include "db/database.h"
#include "scan/file_time.h"
#include "scan/folder_walk.h"
#include "scan/library_snapshot.h"

#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

namespace qv {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void fail(const std::string& message)
{
    throw std::runtime_error(message);
}

std::optional<LibrarySnapshot::Record> stored(const Database& db, const fs::path& path)
{
    const auto sample = db.findByPath(path);
    if (!sample) return std::nullopt;
    return LibrarySnapshot::Record{sample->fileSize, sample->modifiedAt};
}

bool isDirectory(const fs::path& path)
{
    std::error_code ec;
    const auto status = fs::status(path, ec);
    return !ec && fs::is_directory(status);
}

} // namespace

LibraryScanner::LibraryScanner(Database& database)
    : _database(&database)
{
}

bool LibraryScanner::supported(const fs::path& path)
{
    return supportedName(path.filename().string());
}

bool LibraryScanner::supportedName(std::string_view name)
{
    if (name.starts_with("._")) return false;
    // The extension as std::filesystem reads it: none when the only dot starts the name.
    const auto dot = name.rfind('.');
    if (dot == std::string_view::npos || dot == 0) return false;
    const std::string extension = ascii::lowered(name.substr(dot));
    return extension == ".wav" || extension == ".aif" || extension == ".aiff" || extension == ".mp3"
        || extension == ".mid" || extension == ".midi";
}

ScanStats LibraryScanner::scan(const fs::path& root, const Progress& progress, bool force)
{
    std::lock_guard lock(_mutex);
    Database& db = *_database;

    if (!isDirectory(root)) {
        db.setLibraryAvailable(root, false);
        fail("Library offline: " + root.string()
             + ". Reconnect the drive or restore this folder, then Rescan. Cached samples are hidden; Favorites and "
               "playlists are preserved.");
    }

    const fs::path canonicalRoot = fs::weakly_canonical(fs::absolute(root));
    const std::int64_t libraryId = db.addLibrary(canonicalRoot);

    ScanStats stats;
    // One read of the library's records instead of a query per file; a path the snapshot
    // does not hold (another library's, or read after a failure) is still looked up.
    LibrarySnapshot snapshot;
    const bool complete = db.recordedFiles(
        libraryId, [&snapshot](std::int64_t count) { snapshot.reserve(static_cast<std::size_t>(count)); },
        [&snapshot](std::int64_t id, std::string_view path, std::int64_t fileSize, std::int64_t modifiedAt) {
            snapshot.add(id, path, fileSize, modifiedAt);
        });
    std::size_t walked = 0;

    std::error_code ec;
    Database::ScanBatch batch(db);
    FolderWalk walk(canonicalRoot, ec);
    if (ec) fail("Cannot read library: " + ec.message());

    while (walk.next(ec)) {
        // Types come from the directory listing; only links need a status query. Entries
        // that are gone (dangling links, files deleted meanwhile) are passed over.
        const auto type = walk.type(ec);
        const bool link = type == fs::file_type::symlink;
        bool regular = false;
        if (!ec) regular = link ? fs::is_regular_file(fs::status(walk.path(), ec)) : type == fs::file_type::regular;
        if (ec == std::errc::no_such_file_or_directory) ec.clear();
        if (ec) fail("Cannot inspect " + walk.pathText() + ": " + ec.message());
        if (!regular || !supportedName(walk.name())) continue;

        // The walk starts at the canonical root and does not follow directory links, so
        // only a link entry itself can make its path non-canonical.
        fs::path resolved;
        if (link) {
            resolved = fs::weakly_canonical(walk.path(), ec);
            if (ec) fail("Cannot resolve sample path: " + ec.message());
        }
        const std::string& pathText = link ? resolved.native() : walk.pathText();

        // One status query gives both; its failure reads as the size being unreadable.
        const auto info = link ? fileSizeAndTime(resolved, ec) : walk.sizeAndTime(ec);
        if (!info) fail("Cannot read sample size: " + ec.message());
        if (info->size == 0) {
            ++stats.emptySkipped;
            continue;
        }
        ++walked;
        // A path the snapshot does not hold, or visited again (two links to one file, after
        // this scan's own write), is looked up.
        auto existing = snapshot.markSeen(pathText);
        // Made only when needed: an unchanged file with no progress to report never is.
        const auto path = [&]() -> const fs::path& { return link ? resolved : walk.path(); };
        if (!existing) existing = stored(db, path());
        const std::int64_t seconds = info->modifiedAt;
        const auto fileSize = static_cast<std::int64_t>(info->size);

        if (!existing) {
            if (auto old = db.relinkMovedSample(libraryId, path(), fileSize, seconds)) {
                stats.moved.emplace_back(old->string(), pathText);
                snapshot.forget(old->native());
                existing = stored(db, path());
            }
        }

        if (!force && existing && existing->fileSize == fileSize && existing->modifiedAt == seconds) {
            ++stats.unchanged;
        } else {
            const auto structure = _analyzer.analyze(path());
            db.upsert(_parser.parse(path(), canonicalRoot, structure), libraryId);
            ++(existing ? stats.updated : stats.added);
        }

        if (progress) progress(walked, path());
    }
    batch.finish();
    if (ec) fail("Scan incomplete; old entries preserved: " + ec.message());

    if (!isDirectory(canonicalRoot)) {
        db.setLibraryAvailable(canonicalRoot, false);
        fail("Library disconnected during scan; old entries preserved.");
    }

    // The snapshot knows what vanished unless its read was cut short; then every record
    // of the library is checked against the paths seen.
    if (complete) db.removeVanished(libraryId, snapshot.unseen(), stats.removed);
    else db.removeMissing(libraryId, [&snapshot](std::string_view path) { return snapshot.seen(path); }, stats.removed);
    db.setLibraryAvailable(canonicalRoot, true);
    if (root.native() != canonicalRoot.native()) db.setLibraryAvailable(root, true);
    return stats;
}

} // namespace qv
