// First scan and unchanged rescan of a generated library, next to a bare stat walk of
// the same tree (find -printf '%s %T@'), measured in one run on a warm page cache. Also
// the scan's peak memory against the size of its list of seen paths, the one thing a
// scan may hold in proportion to the library.
//
//   scan_bench [--files N] [--dir DIR]
//
// The library is generated once into DIR (default under the temp folder) and reused.
#include "library_generator.h"
#include "db/database.h"
#include "scan/library_scanner.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

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

std::string quoted(const std::string& text)
{
    std::string out = "'";
    for (char c : text) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return out + "'";
}

} // namespace

int main(int argc, char** argv)
{
    std::uint64_t files = 100000;
    fs::path dir;
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string option = argv[i];
        if (option == "--files") files = std::stoull(argv[i + 1]);
        else if (option == "--dir") dir = argv[i + 1];
    }
    if (dir.empty()) dir = fs::temp_directory_path() / ("qv-bench-library-" + std::to_string(files));

    const auto complete = dir / ".qv-bench-complete";
    if (!fs::exists(complete)) {
        fs::remove_all(dir);
        std::printf("generating %llu files into %s ...\n", static_cast<unsigned long long>(files), dir.c_str());
        const double took = secondsOf([&] {
            qv::testkit::LibraryGenerator({.seed = 42, .files = files, .tinyAudio = files > 5000}).generate(dir);
        });
        std::FILE* marker = std::fopen(complete.c_str(), "w");
        if (marker) std::fclose(marker);
        std::printf("generated in %.1f s\n", took);
    }

    const std::string walk = "find " + quoted(dir.string()) + " -type f -printf '%s %T@\\n' >/dev/null";
    std::vector<double> walks;
    for (int i = 0; i < 4; ++i) walks.push_back(secondsOf([&] { (void)std::system(walk.c_str()); }));
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
        for (int i = 0; i < 3; ++i) {
            rescans.push_back(secondsOf([&] { scanner.scan(dir, {}, false); }));
        }
        after = peakKilobytes(); // before the listing below, which holds every path itself
        for (const auto& path : db.indexedPaths()) seenBytes += path.samplePath.size() + sizeof(std::string);
    }
    fs::remove_all(dbDir);
    const double rescan = median(rescans);

    std::printf("\n%-34s %12s %12s %8s\n", "measure", "value", "baseline", "ratio");
    std::printf("%-34s %10.2f s %10.2f s %8.2f\n", "unchanged rescan vs stat walk", rescan, statWalk,
                rescan / statWalk);
    std::printf("%-34s %10.0f/s %12s %8s\n", "first scan, files indexed", static_cast<double>(indexed) / first, "", "");
    std::printf("%-34s %10.2f s %10.2f s %8.2f\n", "first scan vs stat walk", first, statWalk, first / statWalk);
    std::printf("%-34s %8.1f MiB %8.1f MiB %8.2f\n", "scan peak memory growth vs seen list",
                static_cast<double>(after - before) / 1024.0, static_cast<double>(seenBytes) / 1048576.0,
                static_cast<double>(after - before) * 1024.0 / static_cast<double>(std::max<std::size_t>(seenBytes, 1)));
    std::printf("(%llu files on disk, %llu indexed)\n", static_cast<unsigned long long>(files),
                static_cast<unsigned long long>(indexed));
    return 0;
}
