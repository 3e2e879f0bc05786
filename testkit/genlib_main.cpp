// qv-genlib: writes a generated sample library, or fills an index database directly.
//
//   qv-genlib --out DIR [--files N] [--seed N] [--tiny-audio]
//   qv-genlib --db PATH [--files N] [--seed N] [--genre-packs]
#include "database_filler.h"
#include "library_generator.h"

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstdio>
#include <exception>
#include <iostream>
#include <optional>
#include <string>

namespace {

constexpr const char* kUsage =
    "usage: qv-genlib --out DIR [--files N] [--seed N] [--tiny-audio]\n"
    "       qv-genlib --db PATH [--files N] [--seed N] [--genre-packs]\n"
    "  --out DIR     write a sample library of N files into DIR (absent or empty)\n"
    "  --db PATH     fill the index database at PATH with N sample records, no audio\n"
    "  --files N     10 to 1000000 (default 300)\n"
    "  --seed N      the same seed gives the same library (default 1)\n"
    "  --tiny-audio  50 ms mono audio, for large libraries\n"
    "  --genre-packs with --db: packs named by genre, twenty libraries interleaved by id, none offline\n";

std::optional<std::uint64_t> number(const char* text)
{
    char* end = nullptr;
    errno = 0;
    const unsigned long long value = std::strtoull(text, &end, 10);
    if (errno != 0 || end == text || *end != '\0' || text[0] == '-') return std::nullopt;
    return value;
}

double secondsSince(std::chrono::steady_clock::time_point start)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

int usageError(const std::string& message)
{
    std::cerr << "qv-genlib: " << message << "\n" << kUsage;
    return 1;
}

} // namespace

int main(int argc, char** argv)
{
    qv::testkit::GeneratorOptions options;
    std::string out;
    std::string db;
    auto shape = qv::testkit::DataShape::Scanned;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        const bool hasValue = i + 1 < argc;
        if (arg == "--help" || arg == "-h") {
            std::cout << kUsage;
            return 0;
        } else if (arg == "--genre-packs") {
            shape = qv::testkit::DataShape::GenrePacks;
        } else if (arg == "--tiny-audio") {
            options.tinyAudio = true;
        } else if ((arg == "--seed" || arg == "--files") && hasValue) {
            const auto value = number(argv[++i]);
            if (!value) return usageError("not a number: " + std::string(argv[i]));
            (arg == "--seed" ? options.seed : options.files) = *value;
        } else if (arg == "--out" && hasValue) {
            out = argv[++i];
        } else if (arg == "--db" && hasValue) {
            db = argv[++i];
        } else {
            return usageError("unexpected argument: " + arg);
        }
    }
    if (out.empty() == db.empty()) return usageError("give exactly one of --out and --db");
    if (options.files < qv::testkit::LibraryGenerator::kMinFiles
        || options.files > qv::testkit::LibraryGenerator::kMaxFiles) {
        return usageError("--files must be between 10 and 1000000");
    }

    const auto start = std::chrono::steady_clock::now();
    try {
        if (!db.empty()) {
            qv::Database database(db);
            const auto summary = qv::testkit::fillDatabase(database, options.files, options.seed, {}, shape);
            std::printf("filled %llu records (%llu hidden \"._\" rows) into %s in %.1f s\n",
                        static_cast<unsigned long long>(summary.records),
                        static_cast<unsigned long long>(summary.hiddenRows), db.c_str(), secondsSince(start));
            for (const auto& path : summary.libraryPaths) {
                std::printf("  library %s%s\n", path.c_str(), path == summary.offlineLibrary ? " (offline)" : "");
            }
            return 0;
        }

        const auto manifest = qv::testkit::LibraryGenerator(options).generate(out, [](std::uint64_t done) {
            if (done % 50'000 == 0) std::fprintf(stderr, "%llu files\n", static_cast<unsigned long long>(done));
        });
        std::printf("wrote %zu files into %s in %.1f s\n", manifest.files.size(), out.c_str(), secondsSince(start));
        for (std::size_t k = 0; k < qv::testkit::kFileKindCount; ++k) {
            std::printf("  %-12s %llu\n", qv::testkit::kindName(static_cast<qv::testkit::FileKind>(k)),
                        static_cast<unsigned long long>(manifest.counts[k]));
        }
        std::printf("  a scan stores %llu of them\n", static_cast<unsigned long long>(manifest.indexable()));
        if (manifest.mp3Stubs > 0) {
            std::printf("  note: libsndfile here cannot encode MP3; %llu \"(mp3 stub)\" files hold no audio\n",
                        static_cast<unsigned long long>(manifest.mp3Stubs));
        }
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "qv-genlib: " << error.what() << "\n";
        return 2;
    }
}
