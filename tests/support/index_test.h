// Fixtures the core suites share: a fresh index in its own temporary folder with a second
// plain connection for looking at what the core wrote, sample records as a scan would
// store them, and a library folder of short hits to scan.
#pragma once

#include "db/database.h"
#include "raw_db.h"
#include "scan/library_scanner.h"
#include "temp_dir.h"
#include "wave_writer.h"

#include <gtest/gtest.h>

#include <functional>

namespace qv::test {

// A record as a scan would store it for the file at `path`; the first genre is the
// scanner's.
struct Row {
    std::string path;
    SampleType type = SampleType::OneShot;
    std::string instrument;
    std::optional<std::int32_t> bpm;
    std::string key = "None";
    std::vector<std::string> genres;
    std::optional<double> duration;
};

inline Sample sampleOf(const Row& row)
{
    Sample s;
    s.path = row.path;
    s.filename = std::filesystem::path(row.path).filename().string();
    s.type = row.type;
    s.instrument = row.instrument;
    s.bpm = row.bpm;
    s.musicalKey = row.key;
    s.genres = row.genres;
    s.genre = row.genres.empty() ? "" : row.genres.front();
    s.duration = row.duration;
    s.fileSize = 1000;
    s.modifiedAt = 1700000000;
    return s;
}

// The message of the std::runtime_error `action` throws; empty when it throws none.
inline std::string errorOf(const std::function<void()>& action)
{
    try {
        action();
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "";
}

class IndexTest : public ::testing::Test {
protected:
    testkit::TempDir _dir;
    std::filesystem::path _dbFile = _dir / "index/quorvalinder.db";
    Database _db{_dbFile};
    testkit::RawDb _raw{_dbFile};

    std::int64_t add(const Row& row, std::int64_t library)
    {
        _db.upsert(sampleOf(row), library);
        return _db.findByPath(row.path)->id;
    }
};

class ScanTest : public IndexTest {
protected:
    std::filesystem::path _root = _dir / "My Samples";

    // One decaying hit 50 ms in: a one-shot to the scanner.
    std::filesystem::path writeHit(const std::filesystem::path& relative, double seconds = 0.4)
    {
        const auto path = _root / relative;
        testkit::writeWave(path, testkit::hitSignal(seconds, 44100, {0.05}));
        return path;
    }

    ScanStats scan(bool force = false, const LibraryScanner::Progress& progress = {})
    {
        return LibraryScanner(_db).scan(_root, progress, force);
    }
};

} // namespace qv::test
