#include "database_filler.h"

#include "database_access.h"
#include "file_writers.h"
#include "library_plan.h"
#include "inference/metadata_parser.h"

#include <array>
#include <cmath>
#include <cstdio>

namespace qv::testkit {

namespace {

constexpr std::uint64_t kBatch = 10'000;

struct LibraryRoot {
    const char* path;
    unsigned share; // percent of packs
};

// The last one is the offline library.
constexpr std::array<LibraryRoot, 4> kLibraries = {{
    {"/home/producer/Music/Samples", 45},
    {"/home/producer/Music/Sample Packs 2024", 30},
    {"/mnt/Studio SSD/Libraries", 15},
    {"/media/producer/Old Drive/Samples", 10},
}};

constexpr std::size_t kGenrePackLibraries = 20;

// A whole pack lives in one library; hashing its top folder keeps a "._" row beside
// the file it belongs to even when it is drawn long after.
std::size_t libraryFor(const std::string& relativePath, std::uint64_t seed, DataShape shape)
{
    const auto top = std::string_view(relativePath).substr(0, relativePath.find('/'));
    if (shape == DataShape::GenrePacks) return fnv1a(top, seed) % kGenrePackLibraries;
    auto r = static_cast<unsigned>(fnv1a(top, seed) % 100);
    for (std::size_t i = 0; i < kLibraries.size(); ++i) {
        if (r < kLibraries[i].share) return i;
        r -= kLibraries[i].share;
    }
    return 0;
}

std::int64_t estimatedSize(const PlannedFile& file, std::uint64_t hash)
{
    const auto frames = static_cast<std::int64_t>(file.sound.seconds * file.sound.sampleRate);
    const Encoding encoding = file.sound.encoding;
    const std::int64_t bytes = encoding == Encoding::Pcm24 ? 3 : encoding == Encoding::Float32 ? 4 : 2;
    switch (file.kind) {
    case FileKind::Wav: return 44 + frames * file.sound.channels * bytes;
    case FileKind::Aiff: return 54 + frames * file.sound.channels * bytes;
    case FileKind::Mp3: return 417 + static_cast<std::int64_t>(file.sound.seconds * 16'000);
    case FileKind::Midi: return 60 + static_cast<std::int64_t>(hash % 900);
    case FileKind::HiddenCompanion: return 4096;
    default: return 12 + static_cast<std::int64_t>(hash % 4000);
    }
}

Sample recordFor(const PlannedFile& file, const std::string& root, std::uint64_t hash, const MetadataParser& parser)
{
    Sample sample;
    sample.path = root + "/" + file.relativePath;
    sample.filename = file.relativePath.substr(file.relativePath.rfind('/') + 1);
    sample.libraryName = root.substr(root.rfind('/') + 1);
    sample.fileSize = estimatedSize(file, hash);
    sample.modifiedAt = 1'546'300'800 + static_cast<std::int64_t>(hash % (6ull * 365 * 86'400)); // 2019 to 2024
    sample.musicalKey = "None";
    if (file.kind == FileKind::HiddenCompanion) return sample; // what an older indexer let through

    const SoundSpec& sound = file.sound;
    sample.genre = sound.genre;
    if (!sound.genre.empty()) sample.genres = {sound.genre};
    // The indexer's own keyword table, on the stem and the folder as a scan would read them.
    const std::string folder = file.relativePath.substr(0, file.relativePath.rfind('/'));
    const std::string stem = sample.filename.substr(0, sample.filename.rfind('.'));
    sample.instrument = parser.parseInstrument(stem + " " + folder.substr(folder.rfind('/') + 1));
    sample.musicalKey = sound.key.indexed;
    sample.bpm = sound.bpm;
    sample.type = intendedType(file);
    // Only WAVE audio is measured; everything else is stored without a duration.
    if (file.kind == FileKind::Wav) {
        sample.duration = std::round(sound.seconds * 1000.0) / 1000.0;
    }
    return sample;
}

// Constant statements only: the generator owns every word of them. Set-wide statements
// rather than the per-sample operations, which would add minutes at a million rows.
constexpr const char* kUserEdits[] = {
    "UPDATE samples SET favorite=1 WHERE id%50=7",
    "INSERT OR IGNORE INTO playlists(name) VALUES('Crate: Everything Good'),('Late Night Keys'),"
    "('Kick Shortlist'),('Empty Ideas')",
    "INSERT OR IGNORE INTO playlist_items(playlist_id,sample_id,position) SELECT (SELECT id FROM playlists WHERE "
    "name='Crate: Everything Good'),id,row_number() OVER (ORDER BY id)-1 FROM samples WHERE id%8=1",
    "INSERT OR IGNORE INTO playlist_items(playlist_id,sample_id,position) SELECT (SELECT id FROM playlists WHERE "
    "name='Late Night Keys'),id,row_number() OVER (ORDER BY id)-1 FROM samples WHERE instrument IN('Keys','Pad') "
    "AND id%13=2",
    "INSERT OR IGNORE INTO playlist_items(playlist_id,sample_id,position) SELECT (SELECT id FROM playlists WHERE "
    "name='Kick Shortlist'),id,row_number() OVER (ORDER BY id)-1 FROM samples WHERE instrument='Kick' AND id%29=4",
    "UPDATE samples SET user_type_override='Loop',type='Loop',type_override_source='sample' WHERE id%211=5 AND "
    "type<>'MIDI'",
    "INSERT OR IGNORE INTO sample_genres(sample_id,genre,source) SELECT id,'Lo-Fi','folder' FROM samples WHERE "
    "id%97=3",
    "UPDATE samples SET genre=(SELECT group_concat(genre, ', ') FROM (SELECT DISTINCT genre FROM sample_genres "
    "WHERE sample_id=samples.id ORDER BY source DESC,genre COLLATE NOCASE)) WHERE id%97=3",
};

} // namespace

FillSummary fillDatabase(qv::Database& db, std::uint64_t records, std::uint64_t seed, const std::string& root,
                         DataShape shape)
{
    FillSummary summary;
    const bool genrePacks = shape == DataShape::GenrePacks;
    std::vector<std::int64_t> libraryIds;
    for (std::size_t i = 0; i < (genrePacks ? kGenrePackLibraries : kLibraries.size()); ++i) {
        char drive[64];
        std::snprintf(drive, sizeof drive, "/media/producer/Drive %02zu/Samples", i + 1);
        summary.libraryPaths.push_back(root + (genrePacks ? drive : kLibraries[i].path));
        libraryIds.push_back(db.addLibrary(summary.libraryPaths.back()));
    }
    if (!genrePacks) summary.offlineLibrary = summary.libraryPaths.back();
    const PackNames names = genrePacks ? PackNames::ByGenre : PackNames::Varied;

    // A large page cache keeps the path and FTS indexes in memory while a million rows
    // go in; statement journals in memory spare every upsert dozens of temp-file writes.
    qv::DatabaseTestAccess::exec(db, "PRAGMA cache_size=-262144; PRAGMA temp_store=MEMORY");
    const MetadataParser parser;
    qv::DatabaseTestAccess::exec(db, "BEGIN");
    try {
        // One library after another, as the scanner adds them, so that each library's
        // rows hold a run of ids: the same plan is drawn once per library. Interleaved
        // libraries take the plan once, each file into its own library.
        for (std::size_t pass = 0; pass < (genrePacks ? 1 : kLibraries.size()); ++pass) {
            LibraryPlan plan(seed, indexMix(records), true, names);
            while (auto file = plan.next()) {
                const std::size_t library = libraryFor(file->relativePath, seed, shape);
                if (!genrePacks && library != pass) continue;
                const std::uint64_t hash = fnv1a(file->relativePath, seed);
                db.upsert(recordFor(*file, summary.libraryPaths[library], hash, parser), libraryIds[library]);
                if (file->kind == FileKind::HiddenCompanion) ++summary.hiddenRows;
                if (++summary.records % kBatch == 0) {
                    qv::DatabaseTestAccess::exec(db, "COMMIT");
                    qv::DatabaseTestAccess::exec(db, "BEGIN");
                }
            }
        }
        qv::DatabaseTestAccess::exec(db, "COMMIT");
        qv::DatabaseTestAccess::exec(db, "BEGIN");
        for (const char* sql : kUserEdits) qv::DatabaseTestAccess::exec(db, sql);
        qv::DatabaseTestAccess::exec(db, "COMMIT");
    } catch (...) {
        try {
            qv::DatabaseTestAccess::exec(db, "ROLLBACK");
            qv::DatabaseTestAccess::exec(db, "PRAGMA cache_size=-2000; PRAGMA temp_store=DEFAULT");
        } catch (...) {
            // The first error is the one worth reporting.
        }
        throw;
    }
    qv::DatabaseTestAccess::exec(db, "PRAGMA cache_size=-2000; PRAGMA temp_store=DEFAULT");
    if (!summary.offlineLibrary.empty()) db.setLibraryAvailable(summary.offlineLibrary, false);
    return summary;
}

} // namespace qv::testkit
