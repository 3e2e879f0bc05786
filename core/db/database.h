// The sample index: one SQLite connection to one database file, guarded by one mutex.
//
// Every public operation locks the mutex for its whole duration, so the object may be
// shared between the GUI thread and background scans; operations never call each
// other.
//
// Errors follow one rule (docs/ARCHITECTURE.md): listings and lookups return what they
// could read and never throw for SQLite errors; counts, positions and every write throw
// SqliteError with SQLite's message, or std::runtime_error with a fixed user-facing text.
// An edit naming an id that no longer exists changes nothing and is not an error, except
// where the user would otherwise lose the edit without a word (a type override of chosen
// samples, adding to a playlist).
//
// Opening brings the schema to version 7. A database at versions 1 to 4 is first copied
// to "<file>.pre-v5-backup" with SQLite's online backup; an existing backup is never
// overwritten.
#pragma once

#include "sample.h"
#include "search/search_query.h"
#include "search/search_strategy.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qv {

class Connection;
class IndexedPlan;
class StatementCache;

// Which SQL answers searches. Both give the same counts, rows, order, positions and
// value lists. Indexed is what the application uses; Reference is the SQL as first
// written, one plain statement per call, kept for tests and benchmarks to compare.
enum class SearchPlan { Indexed, Reference };

// Whether a listing counts each entry's samples. Counting reads a whole index at a
// million samples; a sidebar that shows names only skips it (the counts are then 0).
enum class Counts { Included, Skipped };

// Called while opening rebuilds what a large database does not have yet, each a one-time
// cost at a million samples: first the full-text table an older version left (about
// 30 s, reported as 0 and then 1 of 1), then the support indexes (about 8 s, the folder
// table counted as one of them): `done` of `total` built. Not called for small
// databases, which build them in an instant.
using OpenProgress = std::function<void(int done, int total)>;

struct Library {
    std::int64_t id = 0;
    std::string path;
    std::int64_t sampleCount = 0; // "._" files not counted
    std::string displayLabel;     // empty when none
};

struct Playlist {
    std::int64_t id = 0;
    std::string name;
    std::int64_t sampleCount = 0; // "._" files not counted
};

// Who set an override: the user for chosen samples, or for a folder holding the sample.
// Unrecorded: set by a release that did not store the source (schema version 4).
enum class OverrideSource { Sample, Folder, Unrecorded };

// What the user decided for one sample, beside what the scan inferred, and the library
// it belongs to.
struct SampleUserData {
    std::optional<SampleType> typeOverride;
    OverrideSource typeSource = OverrideSource::Unrecorded; // meaningful with an override
    SampleType inferredType = SampleType::Unknown;
    std::optional<std::string> instrumentOverride;
    OverrideSource instrumentSource = OverrideSource::Unrecorded;
    std::string inferredInstrument;
    std::vector<std::string> folderGenres;   // the user's, by name
    std::vector<std::string> inferredGenres; // the scan's
    bool favorite = false;
    std::vector<std::string> playlists;      // names of the playlists holding it, by name
    std::int64_t libraryId = 0;
    std::string libraryPath;
    std::string libraryLabel; // empty when none
    bool libraryAvailable = true;
};

struct IndexedPath {
    std::string libraryPath;
    std::string samplePath;
    std::string libraryLabel;
};

// A folder holding at least one visible sample: a sample's path before its last '/'
// ("/" for a sample at the root, "" for a path without a '/').
struct IndexedFolder {
    std::string libraryPath;
    std::string folderPath;
    std::string libraryLabel;
};

class Database {
public:
    explicit Database(const std::filesystem::path& path, const OpenProgress& progress = {});
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    // Groups the scanner's writes (upsert, relinkMovedSample) into short transactions, so
    // that a scan commits a few times a second instead of once per file. Any other call
    // commits the open group before it runs: a user's edit never waits behind it and is
    // never held back with it. What is pending is committed by finish() or, after a
    // failure, by the destructor; a crash loses at most the last group, which the next
    // scan finds again.
    class ScanBatch {
    public:
        explicit ScanBatch(Database& db);
        ~ScanBatch();
        ScanBatch(const ScanBatch&) = delete;
        ScanBatch& operator=(const ScanBatch&) = delete;

        void finish(); // commits what is pending; throws when the commit fails

    private:
        Database& _db;
        bool _finished = false;
    };

    // Libraries and sample records.
    std::int64_t addLibrary(const std::filesystem::path& path);
    void setLibraryAvailable(const std::filesystem::path& path, bool available);
    // False once a scan found the library's folder missing, until a scan finds it again.
    bool isLibraryAvailable(const std::filesystem::path& path) const;
    std::optional<Sample> findByPath(const std::filesystem::path& path) const;
    std::optional<std::filesystem::path> relinkMovedSample(std::int64_t libraryId,
                                                           const std::filesystem::path& newPath,
                                                           std::int64_t fileSize, std::int64_t modifiedAt);
    void upsert(const Sample& sample, std::int64_t libraryId);
    void removeMissing(std::int64_t libraryId, const std::vector<std::string>& seenPaths,
                       std::uint64_t& removed);
    void removeMissing(std::int64_t libraryId, const std::function<bool(std::string_view path)>& seen,
                       std::uint64_t& removed);
    // The library's records (id, path, size and time) in no set order, read in one pass:
    // what a scan compares the files on disk with. `expect` first hears how many there
    // are. A listing: false when a SQLite failure cut it short.
    using RecordVisitor = std::function<void(std::int64_t id, std::string_view path, std::int64_t fileSize,
                                             std::int64_t modifiedAt)>;
    bool recordedFiles(std::int64_t libraryId, const std::function<void(std::int64_t count)>& expect,
                       const RecordVisitor& visit) const;
    // Deletes records of files a scan found vanished, each only while it still belongs to
    // the library under the path given (a record moved or reassigned meanwhile stays).
    void removeVanished(std::int64_t libraryId, const std::vector<std::pair<std::int64_t, std::string_view>>& gone,
                        std::uint64_t& removed);
    std::vector<Library> libraries(Counts counts = Counts::Included) const;
    void setLibraryDisplayLabel(std::int64_t libraryId, const std::string& label);
    void removeLibrary(std::int64_t libraryId);
    std::vector<IndexedPath> indexedPaths() const;
    // The folders of indexedPaths(), each once, read from a table that triggers keep
    // (one row per folder) rather than from every sample: a few hundred thousand rows
    // instead of a million at a million samples. Offline libraries included.
    std::vector<IndexedFolder> indexedFolders() const;
    std::int64_t countSamples() const;
    bool hasSample(std::int64_t sampleId) const; // any stored row, hidden or offline included
    // 0 when none is stored; a stored text that is not a number throws a runtime error.
    int parserRevision() const;
    void setParserRevision(int revision);

    // What the user decided. The scanner's upsert never writes these columns, so they
    // survive rescans. A folder is an absolute path without a trailing "/"; "below" it
    // means at any depth. Folder edits run in one immediate transaction: all or nothing.
    void setFavorite(std::int64_t sampleId, bool favorite);
    bool isFavorite(std::int64_t sampleId) const;
    // Empty when the id is not stored (hidden and offline samples are found too).
    std::optional<SampleUserData> userData(std::int64_t sampleId) const;
    // No type clears the override, so the type falls back to what the scan inferred.
    void setTypeOverride(const std::vector<std::int64_t>& sampleIds, std::optional<SampleType> type);
    // Never touches samples whose type is MIDI.
    void setFolderTypeOverride(const std::filesystem::path& folder, std::optional<SampleType> type);
    void setFolderInstrumentOverride(const std::filesystem::path& folder, const std::optional<std::string>& instrument);
    void setFolderGenreOverride(const std::filesystem::path& folder, const std::string& genre, bool add);
    std::int64_t countFolderSamples(const std::filesystem::path& folder, bool includeMidi) const;
    std::vector<Playlist> playlists(Counts counts = Counts::Included) const;
    std::int64_t createPlaylist(const std::string& name);
    void deletePlaylist(std::int64_t playlistId);
    void addToPlaylist(std::int64_t playlistId, std::int64_t sampleId);
    void removeFromPlaylist(std::int64_t playlistId, std::int64_t sampleId);

    // Search. `search` returns one page and, like the other listings, never throws for
    // SQLite errors; `countMatching` and `matchingIndex` do.
    std::vector<Sample> search(const SearchQuery& query) const;
    std::int64_t countMatching(const SearchQuery& query) const;
    // 0-based position of the sample among all matches in the query's order.
    std::optional<std::int64_t> matchingIndex(const SearchQuery& query, std::int64_t sampleId) const;
    // Distinct non-blank values of "instrument", "genre" or "key" among the matches.
    std::vector<std::string> distinctFilterValues(const std::string& field, const SearchQuery& query) const;
    // Reads ahead what the first search of each kind would otherwise wait for: the name
    // order (a ranked or a member page), the rows counts leave out, the stored keys, then
    // the count of each one-character search text (the first key typed). For a worker
    // thread once the first page is shown; holds the mutex like any operation, for about
    // 0.2 s at a million samples (a few ms once the name order is stored), then for each
    // count, 20 to 60 ms.
    void warmUp() const;
    // Also forgets everything the indexed plan remembered.
    void setSearchPlan(SearchPlan plan);
    // How the indexed plan answers the query, for tests and the benchmark to print.
    SearchStrategy searchStrategy(const SearchQuery& query) const;
    // How the indexed plan reads a filter value list for the query, for the same.
    ValueList valueListStrategy(const SearchQuery& query) const;

private:
    friend class DatabaseTestAccess; // the test kit's bulk filler and connection probes

    // Runs SQL text on the connection; the caller holds the mutex (or is the constructor).
    void exec(const char* sql);
    void migrate(const OpenProgress& progress);
    void backupBeforeVersion5();

    // The mutex, with any open scan group committed first.
    std::unique_lock<std::mutex> settledLock() const;
    void commitScanGroup() const;
    void commitScanGroupWhenDue() const; // a rescan writes rarely but reads every file
    void beginGroupedWrite();
    void endGroupedWrite();

    void upsertLocked(const Sample& sample, std::int64_t libraryId);
    std::int64_t countMatchingLocked(const SearchQuery& query) const;

    std::unique_ptr<Connection> _connection;
    mutable std::mutex _mutex;
    SearchPlan _searchPlan = SearchPlan::Indexed;
    // Declared after the connection so that they are released before it closes.
    std::unique_ptr<StatementCache> _statements;
    std::unique_ptr<IndexedPlan> _indexed;

    class ScanGroup;
    std::unique_ptr<ScanGroup> _group;
};

} // namespace qv
