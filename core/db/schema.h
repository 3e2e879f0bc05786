// The names the code writes into SQL: metadata keys, the hidden-file condition and the
// indexes that statements name with INDEXED BY, together with the support indexes and
// triggers created at open. Every statement that needs one of these takes it from here,
// so that a renamed index fails to build or fails the schema test instead of quietly
// giving an empty page.
//
// The numbered schema itself (tables, its own indexes, the full-text table) is in
// migrations.cpp.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace qv {

class Connection;

namespace schema {

// Keys of app_metadata.
inline constexpr const char* kOfflineLibraryKey = "offline_library:"; // + library path; '1' while offline
inline constexpr const char* kLibraryLabelKey = "library_label:";     // + library id in decimal
inline constexpr const char* kParserRevisionKey = "parser_revision";

// Files whose name begins with "._" are hidden from every list, count and search.
inline constexpr const char* kVisibleFile = "substr(filename,1,2)<>'._'";
inline constexpr const char* kVisibleSample = "substr(s.filename,1,2)<>'._'"; // samples as s
inline constexpr const char* kHiddenFile = "substr(filename,1,2)='._'";

// Indexes named by INDEXED BY. The first six are the numbered schema's; the others are
// support indexes (below).
inline constexpr const char* kBpmIndex = "idx_samples_bpm";
inline constexpr const char* kLibraryIndex = "idx_samples_library";
inline constexpr const char* kTypeIndex = "idx_samples_type";
inline constexpr const char* kInstrumentIndex = "idx_samples_instrument";
inline constexpr const char* kKeyIndex = "idx_samples_key";
inline constexpr const char* kFavoriteIndex = "idx_samples_favorite";
inline constexpr const char* kRelinkIndex = "idx_samples_relink";
inline constexpr const char* kVisibleNameIndex = "idx_samples_visible_name";
inline constexpr const char* kVisibleDurationIndex = "idx_samples_visible_duration";
inline constexpr const char* kVisibleIdIndex = "idx_samples_visible_id";
inline constexpr const char* kVisibleBpmIndex = "idx_samples_visible_bpm";
inline constexpr const char* kVisibleKeyIndex = "idx_samples_visible_key";
inline constexpr const char* kVisibleFavoriteIndex = "idx_samples_visible_favorite";
inline constexpr const char* kHiddenIndex = "idx_samples_hidden";
inline constexpr const char* kVisibleInstrumentIndex = "idx_samples_visible_instrument";
inline constexpr const char* kGenreValueIndex = "idx_sample_genres_value";

struct SupportObject {
    const char* name;
    std::string sql; // the whole CREATE statement, as sqlite_schema keeps it
};

// Not part of the numbered schema, so any release can still read the file.
const std::vector<SupportObject>& supportIndexes();
const std::vector<SupportObject>& supportTriggers();

// The folders that hold visible samples, with how many each holds, so that the sidebar
// lists folders without reading every sample's path. `folder` is the sample path up to
// and including its last '/' ("" for a path without one); rows without a library are
// not counted. Triggers on samples keep it exact for every connection; the table is
// refilled whenever a trigger was missing, since writes may have gone uncounted.
inline constexpr const char* kFolderTable = "sample_folders";
const SupportObject& folderTable();
const std::vector<SupportObject>& folderTriggers();

// About a second of index building at this many samples: a build over as many is
// reported to the caller opening the database.
inline constexpr std::int64_t kReportedBuild = 100000;

// Creates the support indexes that are missing or defined differently, the triggers,
// and fills the folder table when it or its triggers were not current. `progress`
// (done, total) is told about a build only when the table is large enough for it to take
// a while.
void createSupportObjects(Connection& db, const std::function<void(int done, int total)>& progress);

} // namespace schema
} // namespace qv
