// Library folders that fight back: link cycles, a folder the scanning user may not read,
// a file swapped for a folder while the scan runs, names at the length limits and names
// with line breaks. Each scan either completes or stops with a message that says why,
// and no record or user edit that was there before goes missing.
#include "reliability/user_edits.h"
#include "support/index_test.h"

#include <set>

#include <grp.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

class HostileTree : public ::testing::Test {
protected:
    qv::testkit::TempDir _dir;
    fs::path _dbFile = _dir / "index/quorvalinder.db";
    fs::path _root = _dir / "Hostile Library";
    // Optional so that a test can close it before another process opens the file.
    std::optional<qv::Database> _db{std::in_place, _dbFile};

    fs::path writeHit(const fs::path& relative)
    {
        const auto path = _root / relative;
        fs::create_directories(path.parent_path());
        qv::testkit::writeWave(path, qv::testkit::hitSignal(0.2, 44100, {0.02}));
        return path;
    }

    qv::ScanStats scan(bool force = false) { return qv::LibraryScanner(*_db).scan(_root, {}, force); }

    std::string scanError(const qv::LibraryScanner::Progress& progress = {}, bool force = false)
    {
        return qv::test::errorOf([&] { qv::LibraryScanner(*_db).scan(_root, progress, force); });
    }

    std::int64_t idOf(const fs::path& path)
    {
        const auto sample = _db->findByPath(path);
        EXPECT_TRUE(sample) << path;
        return sample ? sample->id : 0;
    }

    // The whole record, as the result list reads it.
    std::optional<qv::Sample> stored(const fs::path& path)
    {
        for (auto& sample : _db->search({.folder = path.parent_path().string()})) {
            if (sample.path == path.string()) return std::move(sample);
        }
        return std::nullopt;
    }

    // A favourite, a playlist member and a folder override on samples the test keeps.
    qv::test::UserEditSnapshot editKept(const std::vector<fs::path>& files, const fs::path& folder)
    {
        const std::int64_t playlist = _db->createPlaylist("Kept");
        for (const auto& file : files) {
            _db->setFavorite(idOf(file), true);
            _db->addToPlaylist(playlist, idOf(file));
        }
        _db->setFolderInstrumentOverride(folder, std::string("Bell"));
        const auto snapshot = qv::test::readUserEdits(_dbFile);
        EXPECT_EQ(qv::test::countOf(snapshot, "favourite "), files.size());
        EXPECT_GT(qv::test::countOf(snapshot, "instrument "), 0u);
        return snapshot;
    }
};

TEST_F(HostileTree, FolderLinksBackToAncestorsAreNotWalked)
{
    writeHit("Drums/Kick.wav");
    writeHit("Drums/Deep/Snare.wav");
    fs::create_directory_symlink(_root, _root / "Drums/Back to the top");
    fs::create_directory_symlink("../..", _root / "Drums/Deep/Up two");

    EXPECT_EQ(scan().added, 2u);
    for (const auto& indexed : _db->indexedPaths()) {
        EXPECT_EQ(indexed.samplePath.find("Back to the top"), std::string::npos) << indexed.samplePath;
        EXPECT_EQ(indexed.samplePath.find("Up two"), std::string::npos) << indexed.samplePath;
    }
    EXPECT_EQ(scan().unchanged, 2u);
}

// A link that leads back to itself cannot be inspected: the scan stops, names it, and
// deletes nothing, not even the record of a file that really is gone.
TEST_F(HostileTree, LinkCycleStopsTheScanWithoutLosingRecordsOrEdits)
{
    const auto kick = writeHit("Drums/Kick.wav");
    const auto snare = writeHit("Drums/Snare.wav");
    const auto gone = writeHit("Elsewhere/Gone.wav");
    EXPECT_EQ(scan().added, 3u);
    const auto edits = editKept({kick, snare}, _root / "Drums");

    fs::create_symlink("Loop B.wav", _root / "Drums/Loop A.wav");
    fs::create_symlink("Loop A.wav", _root / "Drums/Loop B.wav");
    fs::remove(gone);

    const std::string message = scanError();
    const std::string cause = ": " + std::make_error_code(std::errc::too_many_symbolic_link_levels).message();
    EXPECT_TRUE(message == "Cannot inspect " + (_root / "Drums/Loop A.wav").string() + cause
                || message == "Cannot inspect " + (_root / "Drums/Loop B.wav").string() + cause)
        << message;
    EXPECT_EQ(qv::test::readUserEdits(_dbFile), edits);

    // The rescan still finds the vanished file's record to remove: the stopped scan kept it.
    fs::remove(_root / "Drums/Loop A.wav");
    fs::remove(_root / "Drums/Loop B.wav");
    const auto stats = scan();
    EXPECT_EQ(stats.unchanged, 2u);
    EXPECT_EQ(stats.removed, 1u);
    EXPECT_EQ(qv::test::readUserEdits(_dbFile), edits);
}

struct ChildResult {
    int exitCode = -1;
    std::string output;
};

constexpr uid_t kNobody = 65534;
constexpr int kCannotDropPrivileges = 77;
constexpr int kPermissionsIgnored = 78;

// Runs `body` in a child process; as root the child first becomes uid/gid 65534, since
// permission bits stop nothing for root. The child's exit code is what `body` returns;
// what it writes to the descriptor it is given comes back as `output`.
ChildResult runUnprivileged(const std::function<int(int fd)>& body)
{
    int fds[2];
    if (::pipe(fds) != 0) return {};
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::close(fds[0]);
        if (::geteuid() == 0
            && (::setgroups(0, nullptr) != 0 || ::setgid(kNobody) != 0 || ::setuid(kNobody) != 0)) {
            ::_exit(kCannotDropPrivileges);
        }
        int code = 0;
        try {
            code = body(fds[1]);
        } catch (const std::exception& error) {
            const std::string text = std::string("unexpected: ") + error.what();
            (void)!::write(fds[1], text.data(), text.size());
            code = 2;
        }
        ::_exit(code); // no atexit handlers: they belong to the test runner
    }
    ::close(fds[1]);
    ChildResult result;
    char buffer[512];
    for (ssize_t n; (n = ::read(fds[0], buffer, sizeof buffer)) > 0;) result.output.append(buffer, static_cast<std::size_t>(n));
    ::close(fds[0]);
    int status = 0;
    if (pid > 0 && ::waitpid(pid, &status, 0) == pid && WIFEXITED(status)) result.exitCode = WEXITSTATUS(status);
    return result;
}

TEST_F(HostileTree, UnreadableFolderStopsTheScanOfAnUnprivilegedUserAndDeletesNothing)
{
    const auto kick = writeHit("Open/Kick.wav");
    const auto snare = writeHit("Locked/Snare.wav");
    const auto gone = writeHit("Open/Gone.wav");
    EXPECT_EQ(scan().added, 3u);
    const auto edits = editKept({kick, snare}, _root / "Locked");
    _db.reset(); // the child opens the file itself
    fs::remove(gone);

    if (::geteuid() == 0) {
        for (const auto& entry : fs::recursive_directory_iterator(_dir.path())) {
            ASSERT_EQ(::lchown(entry.path().c_str(), kNobody, kNobody), 0) << entry.path();
        }
        ASSERT_EQ(::chown(_dir.path().c_str(), kNobody, kNobody), 0);
    }
    fs::permissions(_root / "Locked", fs::perms::none);

    const ChildResult child = runUnprivileged([&](int fd) {
        if (::access(_root.c_str(), R_OK | X_OK) != 0) return kCannotDropPrivileges;
        if (::access((_root / "Locked").c_str(), R_OK) == 0) return kPermissionsIgnored;
        qv::Database db(_dbFile);
        try {
            qv::LibraryScanner(db).scan(_root, {}, false);
        } catch (const std::runtime_error& error) {
            const std::string message = error.what();
            return ::write(fd, message.data(), message.size()) == static_cast<ssize_t>(message.size()) ? 0 : 2;
        }
        return 1;
    });
    fs::permissions(_root / "Locked", fs::perms::owner_all);
    if (child.exitCode == kCannotDropPrivileges) GTEST_SKIP() << "cannot scan as uid " << kNobody << " here";
    if (child.exitCode == kPermissionsIgnored) GTEST_SKIP() << "this user reads folders without read permission";
    ASSERT_EQ(child.exitCode, 0) << "the scan completed or failed oddly: " << child.output;
    EXPECT_EQ(child.output, "Scan incomplete; old entries preserved: "
                                + std::make_error_code(std::errc::permission_denied).message());

    _db.emplace(_dbFile);
    EXPECT_EQ(qv::test::readUserEdits(_dbFile), edits);
    qv::test::expectIndexSound(_dbFile);
    const auto stats = scan();
    EXPECT_EQ(stats.unchanged, 2u);
    EXPECT_EQ(stats.removed, 1u);
}

// The walk read the folder listing before the swap, so it still takes the folders for
// files. Whether it stops on them or passes them over, the other records and the edits stay.
TEST_F(HostileTree, FilesSwappedForFoldersDuringTheScan)
{
    std::vector<fs::path> hits;
    for (int i = 0; i < 12; ++i) hits.push_back(writeHit("Flat/Hit " + std::to_string(i) + ".wav"));
    const auto keep = writeHit("Other/Keep.wav");
    EXPECT_EQ(scan().added, 13u);
    const auto edits = editKept({keep}, _root / "Other");

    std::set<fs::path> swapped;
    const std::string message = scanError(
        [&](std::size_t, const fs::path& current) {
            if (!swapped.empty() || current.parent_path() != _root / "Flat") return;
            for (const auto& hit : hits) {
                if (hit == current) continue;
                fs::remove(hit);
                fs::create_directory(hit);
                swapped.insert(hit);
            }
        },
        true);
    ASSERT_EQ(swapped.size(), 11u);

    if (message.empty()) {
        // Passed over as folders: a complete walk, so their records went with the files.
        EXPECT_EQ(_db->countSamples(), 2);
    } else {
        EXPECT_EQ(message, "Cannot read sample size: " + std::make_error_code(std::errc::not_supported).message());
        EXPECT_EQ(_db->countSamples(), 13);
    }
    EXPECT_TRUE(_db->findByPath(keep));
    EXPECT_EQ(qv::test::readUserEdits(_dbFile), edits);

    const auto stats = scan();
    EXPECT_EQ(stats.unchanged, 2u);
    EXPECT_EQ(_db->countSamples(), 2);
    EXPECT_EQ(qv::test::readUserEdits(_dbFile), edits);
    qv::test::expectIndexSound(_dbFile);
}

// 255 bytes is the longest name Linux file systems take, in ASCII and in two-byte UTF-8;
// a line break separates words like any other blank.
TEST_F(HostileTree, NamesAtTheLengthLimitsAndWithLineBreaks)
{
    const std::string ascii = "Long Kick " + std::string(241, 'k') + ".wav";
    std::string accented;
    for (int i = 0; i < 125; ++i) accented += "\xC3\xA9";
    accented += "x.wav";
    ASSERT_EQ(ascii.size(), 255u);
    ASSERT_EQ(accented.size(), 255u);
    fs::path nested;
    for (int level = 0; level < 4; ++level) nested /= "Level " + std::to_string(level) + " " + std::string(90, 'f');
    nested /= "Deep Snare " + std::string(180, 's') + ".wav";
    ASSERT_GT(nested.string().size(), 300u);

    const std::vector<fs::path> files = {
        writeHit(ascii), writeHit(accented), writeHit(nested), writeHit("Kick\nSnare 120bpm.wav"),
        writeHit("\nLeading break.wav"), writeHit("Trailing break\r\n.wav"), writeHit("Line\nFolder/Hat.wav")};
    EXPECT_EQ(scan().added, files.size());
    for (const auto& file : files) {
        const auto sample = stored(file);
        ASSERT_TRUE(sample) << file;
        EXPECT_EQ(sample->filename, file.filename().string());
    }
    for (const auto& [text, file] : {std::pair{"long kick", files[0]}, std::pair{"snare 120", files[3]}}) {
        const auto found = _db->search({.text = text});
        ASSERT_EQ(found.size(), 1u) << text;
        EXPECT_EQ(found[0].path, file.string());
    }

    _db->setFolderInstrumentOverride(_root / nested.parent_path(), std::string("Bell"));
    const auto edits = editKept(files, _root / "Line\nFolder");
    EXPECT_EQ(_db->countFolderSamples(_root / "Line\nFolder", true), 1);
    EXPECT_EQ(stored(files[6])->instrument, "Bell");
    EXPECT_EQ(scan(true).updated, files.size());
    EXPECT_EQ(qv::test::readUserEdits(_dbFile), edits);
    qv::test::expectIndexSound(_dbFile);
}

} // namespace
