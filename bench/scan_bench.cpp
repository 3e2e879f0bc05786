// First scan and unchanged rescan of a generated library, next to a bare stat walk of
// the same tree (find -printf '%s %T@'), measured in one run on a warm page cache. Also
// the scan's peak memory against the size of its list of seen paths, the one thing a
// scan may hold in proportion to the library.
//
//   scan_bench [--files N] [--shape deep|wide] [--dir DIR] [--cli PATH]
//   scan_bench --snapshot-files N
//
// deep: the generator's producer folders (nested packs, junk files). wide: N small WAVE
// files in 350 flat folders (about 86 a folder at 30,000), the shape where the per-file
// cost of a rescan shows most against the walk. The rescan is timed in this process and
// again through quorvalinder-cli, whose figure includes its start and the database open.
// The library is generated once into DIR (default under the temp folder) and reused.
// --snapshot-files measures, alone in its process, the memory a rescan's snapshot of N
// records takes (resident growth and peak), beside a plain list of the same paths.
#include "library_generator.h"
#include "wave_writer.h"
#include "db/database.h"
#include "scan/library_scanner.h"
#include "scan/library_snapshot.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr int kWideFolders = 350;

double secondsOf(const std::function<void()>& work)
{
    const auto start = Clock::now();
    work();
    return std::chrono::duration<double>(Clock::now() - start).count();
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

long peakKilobytes()
{
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

long residentKilobytes()
{
    long pages = 0;
    long resident = 0;
    if (std::FILE* statm = std::fopen("/proc/self/statm", "r")) {
        if (std::fscanf(statm, "%ld %ld", &pages, &resident) != 2) resident = 0;
        std::fclose(statm);
    }
    return resident * (::sysconf(_SC_PAGESIZE) / 1024);
}

// A producer's library path of about a hundred bytes, different for every i.
std::string libraryPath(std::uint64_t i)
{
    static const char* const packs[] = {"Deep House Essentials", "Trap Drums Vol 2", "Lo-Fi Keys", "Techno Tools"};
    static const char* const kinds[] = {"Kicks", "Snares", "Loops/Drum Loops", "One Shots/Synth"};
    char text[200];
    std::snprintf(text, sizeof text, "/home/producer/Music/Samples/%s %03llu/%s/%s %llu BPM Am %07llu.wav",
                  packs[i % 4], static_cast<unsigned long long>(i / 2000), kinds[(i / 7) % 4], kinds[i % 4],
                  static_cast<unsigned long long>(90 + i % 60), static_cast<unsigned long long>(i));
    return text;
}

int measureSnapshot(std::uint64_t files)
{
    std::size_t pathBytes = 0;
    const long before = residentKilobytes();
    const long peakBefore = peakKilobytes();
    std::size_t held = 0;
    long grown = 0;
    {
        // Filled as a scan fills it: reserved from the count, then one record at a time.
        qv::LibrarySnapshot snapshot;
        snapshot.reserve(files);
        for (std::uint64_t i = 0; i < files; ++i) {
            const std::string path = libraryPath(i);
            pathBytes += path.size();
            snapshot.add(static_cast<std::int64_t>(i + 1), path, 1000 + static_cast<std::int64_t>(i),
                         1700000000);
        }
        for (std::uint64_t i = 0; i < files; ++i) (void)snapshot.markSeen(libraryPath(i));
        held = snapshot.bytesHeld();
        grown = residentKilobytes() - before;
    }
    const long peak = peakKilobytes() - peakBefore;
    long listGrown = 0;
    {
        // What the scan kept before: every seen path as a string in a list.
        const long listBefore = residentKilobytes();
        std::vector<std::string> seen;
        for (std::uint64_t i = 0; i < files; ++i) seen.push_back(libraryPath(i));
        listGrown = residentKilobytes() - listBefore;
    }
    const double n = static_cast<double>(files);
    std::printf("%-40s %12s %12s %8s\n", "snapshot memory per file", "value", "baseline", "ratio");
    std::printf("%-40s %10.0f B %10.0f B %8.2f\n", "resident growth vs seen-path list", grown * 1024.0 / n,
                listGrown * 1024.0 / n, static_cast<double>(grown) / static_cast<double>(std::max(listGrown, 1L)));
    std::printf("%-40s %10.0f B\n", "peak growth", peak * 1024.0 / n);
    std::printf("%-40s %10.0f B\n", "held by the snapshot's buffers", static_cast<double>(held) / n);
    std::printf("(%llu records, mean path %.0f bytes)\n", static_cast<unsigned long long>(files),
                static_cast<double>(pathBytes) / n);
    return 0;
}

std::string quoted(const std::string& text)
{
    std::string out = "'";
    for (char c : text) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return out + "'";
}

// Names as packs spell them, a different sound every few files so that sizes vary.
void generateWide(const fs::path& dir, std::uint64_t files)
{
    static const char* const kinds[] = {"Kick", "Snare", "Hat", "Clap", "Perc", "Bass", "Lead", "Pad", "FX", "Vox"};
    static const char* const keys[] = {"Am", "C", "F#m", "D", "Ebm", "G"};
    std::vector<std::string> images;
    for (int i = 0; i < 8; ++i) {
        images.push_back(qv::testkit::waveBytes(qv::testkit::hitSignal(0.05 + 0.01 * i, 44100, {0.0, 0.02})));
    }
    for (std::uint64_t i = 0; i < files; ++i) {
        const auto folderIndex = i % kWideFolders;
        char folder[64];
        std::snprintf(folder, sizeof folder, "Pack %03llu %s", static_cast<unsigned long long>(folderIndex),
                      kinds[folderIndex % 10]);
        char name[96];
        std::snprintf(name, sizeof name, "%s %llu BPM %s %06llu.wav", kinds[(i / 7) % 10],
                      static_cast<unsigned long long>(90 + i % 60), keys[i % 6], static_cast<unsigned long long>(i));
        const fs::path path = dir / folder / name;
        if (i < kWideFolders) fs::create_directories(path.parent_path());
        std::ofstream(path, std::ios::binary) << images[i % images.size()];
    }
}

} // namespace

int main(int argc, char** argv)
{
    std::uint64_t files = 0;
    std::string shape = "deep";
    fs::path dir;
    fs::path cli = QV_CLI_PATH;
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string option = argv[i];
        if (option == "--files") files = std::stoull(argv[i + 1]);
        else if (option == "--shape") shape = argv[i + 1];
        else if (option == "--dir") dir = argv[i + 1];
        else if (option == "--cli") cli = argv[i + 1];
        else if (option == "--snapshot-files") return measureSnapshot(std::stoull(argv[i + 1]));
    }
    const bool wide = shape == "wide";
    if (files == 0) files = wide ? 30000 : 100000;
    if (dir.empty()) {
        dir = fs::temp_directory_path()
            / ((wide ? "qv-bench-wide-" : "qv-bench-library-") + std::to_string(files));
    }

    const auto complete = dir / ".qv-bench-complete";
    if (!fs::exists(complete)) {
        fs::remove_all(dir);
        std::printf("generating %llu files (%s) into %s ...\n", static_cast<unsigned long long>(files), shape.c_str(),
                    dir.c_str());
        const double took = secondsOf([&] {
            if (wide) generateWide(dir, files);
            else qv::testkit::LibraryGenerator({.seed = 42, .files = files, .tinyAudio = files > 5000}).generate(dir);
        });
        std::FILE* marker = std::fopen(complete.c_str(), "w");
        if (marker) std::fclose(marker);
        std::printf("generated in %.1f s\n", took);
    }

    const std::string walk = "find " + quoted(dir.string()) + " -type f -printf '%s %T@\\n' >/dev/null";
    std::vector<double> walks;
    for (int i = 0; i < 6; ++i) walks.push_back(secondsOf([&] { (void)std::system(walk.c_str()); }));
    walks.erase(walks.begin()); // the first one warms the caches
    const double statWalk = median(walks);

    const auto dbDir = fs::temp_directory_path() / ("qv-scan-bench-" + std::to_string(::getpid()));
    fs::remove_all(dbDir);
    const long before = peakKilobytes();
    long after = 0;
    std::uint64_t indexed = 0;
    std::size_t seenBytes = 0;
    double first = 0;
    std::vector<double> rescans;
    {
        qv::Database db(dbDir / "index.db");
        qv::LibraryScanner scanner(db);
        first = secondsOf([&] {
            const auto stats = scanner.scan(dir, {}, false);
            indexed = stats.added;
        });
        for (int i = 0; i < 5; ++i) {
            rescans.push_back(secondsOf([&] { scanner.scan(dir, {}, false); }));
        }
        after = peakKilobytes(); // before the listing below, which holds every path itself
        for (const auto& path : db.indexedPaths()) seenBytes += path.samplePath.size() + sizeof(std::string);
    }
    const double rescan = median(rescans);

    // The whole command as a user runs it: process start, database open, scan, summary.
    std::vector<double> cliRescans;
    const std::string command = quoted(cli.string()) + " --db " + quoted((dbDir / "index.db").string()) + " scan "
        + quoted(dir.string()) + " >/dev/null 2>&1";
    const bool cliRuns = fs::exists(cli);
    if (cliRuns) {
        for (int i = 0; i < 6; ++i) cliRescans.push_back(secondsOf([&] { (void)std::system(command.c_str()); }));
        cliRescans.erase(cliRescans.begin());
    }
    fs::remove_all(dbDir);

    std::printf("\n%-40s %12s %12s %8s\n", "measure", "value", "baseline", "ratio");
    std::printf("%-40s %10.3f s %10.3f s %8.2f\n", "unchanged rescan vs stat walk", rescan, statWalk,
                rescan / statWalk);
    if (cliRuns) {
        const double cliRescan = median(cliRescans);
        std::printf("%-40s %10.3f s %10.3f s %8.2f\n", "unchanged rescan, CLI, vs stat walk", cliRescan, statWalk,
                    cliRescan / statWalk);
    }
    std::printf("%-40s %10.0f/s %12s %8s\n", "first scan, files indexed", static_cast<double>(indexed) / first, "", "");
    std::printf("%-40s %10.2f s %10.3f s %8.2f\n", "first scan vs stat walk", first, statWalk, first / statWalk);
    std::printf("%-40s %8.1f MiB %8.1f MiB %8.2f\n", "scan peak memory growth vs seen list",
                static_cast<double>(after - before) / 1024.0, static_cast<double>(seenBytes) / 1048576.0,
                static_cast<double>(after - before) * 1024.0 / static_cast<double>(std::max<std::size_t>(seenBytes, 1)));
    std::printf("(%s shape, %llu files on disk, %llu indexed)\n", shape.c_str(), static_cast<unsigned long long>(files),
                static_cast<unsigned long long>(indexed));
    return 0;
}
