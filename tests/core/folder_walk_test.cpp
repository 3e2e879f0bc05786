#include "scan/folder_walk.h"
#include "temp_dir.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

struct Seen {
    std::string path;
    fs::file_type type;
    std::uintmax_t size = 0; // of regular files and links to them

    bool operator==(const Seen&) const = default;
};

// The scanner's walk against std::filesystem's over the same tree: the same entries in the
// same order, the same types, links to folders not entered, sizes through the links.
TEST(FolderWalk, ListsWhatTheStandardWalkListsInItsOrder)
{
    qv::testkit::TempDir dir;
    const auto root = dir / "Library";
    qv::testkit::writeFile(root / "Kick.wav", "1234");
    qv::testkit::writeFile(root / ".hidden/Snare.wav", "12345");
    qv::testkit::writeFile(root / "Pack 1/Sub 'a' %/Deep/Hat.wav", "123456");
    qv::testkit::writeFile(root / "Pack 1/notes.txt", "n");
    qv::testkit::writeFile(root / "Pack 2/Zero.wav", "");
    fs::create_directories(root / "Empty");
    fs::create_directory_symlink(root / "Pack 1", root / "Pack 2/Link to pack");
    fs::create_symlink(root / "Kick.wav", root / "Pack 2/Kick link.wav");
    fs::create_symlink(root / "gone.wav", root / "Dangling.wav");

    std::vector<Seen> expected;
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
        std::error_code ec;
        const auto type = entry.symlink_status().type();
        const bool file = fs::is_regular_file(fs::status(entry.path(), ec));
        expected.push_back({entry.path().string(), type, file ? fs::file_size(entry.path()) : 0});
    }

    std::vector<Seen> walked;
    std::error_code ec;
    qv::FolderWalk walk(root, ec);
    ASSERT_FALSE(ec) << ec.message();
    while (walk.next(ec)) {
        const auto type = walk.type(ec);
        ASSERT_FALSE(ec) << walk.pathText();
        EXPECT_EQ(walk.path().string(), walk.pathText());
        EXPECT_EQ(walk.name(), walk.path().filename().string());
        std::error_code sizeError;
        const auto info = walk.sizeAndTime(sizeError);
        walked.push_back({walk.pathText(), type, info ? info->size : 0});
        if (info) {
            EXPECT_EQ(info->modifiedAt, qv::fileSizeAndTime(walk.path(), sizeError)->modifiedAt);
        }
    }
    EXPECT_FALSE(ec) << ec.message();
    EXPECT_EQ(walked, expected);
    EXPECT_EQ(walked.size(), 14u); // every entry made above

    qv::FolderWalk missing(dir / "No such folder", ec);
    EXPECT_EQ(ec, std::errc::no_such_file_or_directory);
    EXPECT_FALSE(missing.next(ec));
}

} // namespace
