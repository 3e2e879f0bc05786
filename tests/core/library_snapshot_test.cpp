#include "scan/library_snapshot.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>

namespace {

using qv::LibrarySnapshot;

// Enough paths to grow the table several times, most sharing long prefixes, checked
// against a plain map: stored values, first visits, repeats and the vanished list.
TEST(LibrarySnapshot, AgreesWithAMapThroughGrowthVisitsAndMoves)
{
    for (const bool reserved : {false, true}) {
        LibrarySnapshot snapshot;
        if (reserved) snapshot.reserve(5000);
        std::map<std::string, std::pair<std::int64_t, LibrarySnapshot::Record>> stored;
        for (int i = 0; i < 5000; ++i) {
            const std::string path = "/lib/Pack " + std::to_string(i % 37) + "/é Hit " + std::to_string(i) + ".wav";
            const LibrarySnapshot::Record record{1000 + i * 7, 1700000000 - i};
            snapshot.add(i + 1, path, record.fileSize, record.modifiedAt);
            stored.emplace(path, std::make_pair(i + 1, record));
        }
        snapshot.add(99999, "/lib/Pack 0/é Hit 0.wav", 1, 1); // a repeat keeps the first values
        ASSERT_EQ(snapshot.size(), stored.size());

        std::set<std::string> gone;
        int step = 0;
        for (const auto& [path, value] : stored) {
            ++step;
            if (step % 5 == 0) {
                gone.insert(path);
                continue;
            }
            if (step % 11 == 0) {
                snapshot.forget(path); // moved by the scan: neither compared nor vanished
                EXPECT_FALSE(snapshot.markSeen(path)) << path;
                continue;
            }
            const auto visit = snapshot.markSeen(path);
            ASSERT_TRUE(visit) << path;
            EXPECT_EQ(visit->fileSize, value.second.fileSize);
            EXPECT_EQ(visit->modifiedAt, value.second.modifiedAt);
            EXPECT_FALSE(snapshot.markSeen(path)) << "second visit of " << path;
        }
        for (const char* path : {"/lib/new.wav", "/lib/Pack 1/é Hit 1.wav.asd", "/lib/Pack 1/é Hit 1.wa"}) {
            EXPECT_FALSE(snapshot.markSeen(path)) << path;
            EXPECT_TRUE(snapshot.seen(path)) << path;
        }
        EXPECT_FALSE(snapshot.seen("/lib/never.wav"));

        std::set<std::string> unseen;
        for (const auto& [id, path] : snapshot.unseen()) {
            EXPECT_EQ(id, stored.at(std::string(path)).first);
            EXPECT_FALSE(snapshot.seen(path));
            unseen.emplace(path);
        }
        EXPECT_EQ(unseen, gone) << (reserved ? "reserved" : "grown");
    }
}

} // namespace
