// The window at a million samples, measured through the real controller (offscreen):
//  - a refresh as the user causes it: count, page, the rows reconfigured and repainted,
//    for each search class of search_bench, cold (the search plan's caches dropped, as
//    after a new search text) and warm (paging within a result);
//  - the start: process start to the window shown with its first page painted, in
//    fresh processes (this executable again with --launch-only);
//  - a burst of 30 "next sample" presses: how many decodes it started;
//  - with --during-scan DIR: browsing while a first scan of DIR runs (make DIR with
//    `qv-genlib --out DIR --files N --tiny-audio`): the longest stall of the GUI thread,
//    searches, page turns and loads, idle and then during the scan, on a copy of the index.
//
//   app_bench [--db FILE] [--records N] [--seed N] [--reps N] [--drop-caches] [--only TEXT|typing]
//             [--during-scan DIR [--scan-seconds S]] [--scroll]
//  - with --scroll: waveform peaks made per second while the results are scrolled through
//    page after page of a generated 3,000-file library (2 s to 8 s files, an empty peaks
//    cache), against decoding the same files whole on two threads.
//
// The database is generated once, its library folders made to exist (the last library
// stays offline, as in search_bench), and reused: bench-data/app-<N>.db beside this
// executable.
#include "audio_file.h"
#include "database_filler.h"
#include "library_generator.h"
#include "scan/library_scanner.h"
#include "waveform_notifier.h"
#include "waveform_queue.h"
#include "browse_logic.h"
#include "db/database.h"
#include "main_window.h"
#include "playback.h"
#include "qv_controller.h"
#include "result_browser.h"
#include "results_view.h"
#include "scan_coordinator.h"
#include "sidebar.h"
#include "startup_logic.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QThreadPool>
#include <QKeyEvent>
#include <QLineEdit>
#include <QProcess>
#include <QScrollBar>
#include <QTimer>
#include <QUrl>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

// As close to the process's start as code can get; /proc gives the exec time too.
const Clock::time_point kStaticStart = Clock::now();

double secondsSinceExec()
{
    std::ifstream stat("/proc/self/stat");
    std::string content((std::istreambuf_iterator<char>(stat)), {});
    const auto close = content.rfind(')');
    if (close == std::string::npos) return -1;
    std::vector<std::string> fields;
    std::string field;
    for (char c : content.substr(close + 2)) {
        if (c == ' ') {
            fields.push_back(field);
            field.clear();
        } else {
            field += c;
        }
    }
    if (fields.size() < 20) return -1;
    const double startTicks = std::stod(fields[19]); // field 22 of the whole line
    std::ifstream uptimeFile("/proc/uptime");
    double uptime = 0;
    uptimeFile >> uptime;
    return uptime - startTicks / static_cast<double>(sysconf(_SC_CLK_TCK));
}

double residentMiB()
{
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.rfind("VmRSS:", 0) == 0) return std::stod(line.substr(6)) / 1024.0;
    }
    return -1;
}

struct Options {
    fs::path db;
    std::uint64_t records = 1000000;
    std::uint64_t seed = 1;
    int reps = 10;
    bool launchOnly = false;
    bool dropCaches = false; // also start with the file cache emptied (needs root)
    std::string only;        // run just the refresh cases whose name contains this
    fs::path duringScan;     // a library to scan while browsing
    int scanSeconds = 180;   // measure for at most this long into the scan
    bool scroll = false;
};

struct Stats {
    double p50 = 0;
    double p95 = 0;
};

Stats stats(std::vector<double> times)
{
    std::sort(times.begin(), times.end());
    const auto rank = [&](double p) {
        const auto index = static_cast<std::size_t>(std::max(1.0, std::ceil(p * static_cast<double>(times.size()))));
        return times[std::min(index, times.size()) - 1];
    };
    return {rank(0.50), rank(0.95)};
}

fs::path rootsFor(const fs::path& db)
{
    return db.parent_path() / (db.stem().string() + "-roots");
}

void ensureDatabase(const Options& options)
{
    if (fs::exists(options.db)) return;
    fs::create_directories(options.db.parent_path());
    const fs::path roots = rootsFor(options.db);
    std::printf("generating %llu records into %s (once)...\n", static_cast<unsigned long long>(options.records),
                options.db.c_str());
    std::fflush(stdout);
    const fs::path partial = options.db.string() + ".partial";
    fs::remove(partial);
    {
        qv::Database db(partial);
        const qv::testkit::FillSummary summary = qv::testkit::fillDatabase(db, options.records, options.seed, roots.string());
        for (const std::string& library : summary.libraryPaths) {
            if (library != summary.offlineLibrary) fs::create_directories(library);
        }
    }
    for (const char* suffix : {"-wal", "-shm"}) fs::remove(partial.string() + suffix);
    fs::rename(partial, options.db);
}

// Sets one search class on the browse state, as the sidebar, filters and search field would.
struct Case {
    const char* name;
    std::function<void(qv::BrowseState&)> apply;
};

std::vector<Case> cases(const fs::path& roots, qv::Database& db)
{
    const std::string samples = (roots / "home/producer/Music/Samples").string();
    // A pack: the folder one level below a library root that holds its first sample.
    qv::SearchQuery first;
    first.folder = samples;
    first.limit = 1;
    const std::vector<qv::Sample> one = db.search(first);
    std::string packs = samples;
    if (!one.empty()) {
        const fs::path relative = fs::path(one.front().path).lexically_relative(samples);
        packs = (fs::path(samples) / *relative.begin()).string();
    }
    return {
        {"empty text", [](qv::BrowseState&) {}},
        {"rare token (bpm112)", [](qv::BrowseState& s) { s.searchText = "bpm112"; }},
        {"common token (kick)", [](qv::BrowseState& s) { s.searchText = "kick"; }},
        {"two tokens", [](qv::BrowseState& s) { s.searchText = "snare loop"; }},
        {"two-letter prefix", [](qv::BrowseState& s) { s.searchText = "ba"; }},
        {"tempo 128", [](qv::BrowseState& s) { s.bpmFilter = "128"; }},
        {"key A minor", [](qv::BrowseState& s) { s.keyFilter = "A minor"; }},
        {"one genre", [](qv::BrowseState& s) { s.selectedGenres = {"House"}; }},
        {"genre set", [](qv::BrowseState& s) { s.selectedGenres = {"House", "Techno", "Lo-Fi"}; }},
        {"pack folder", [packs](qv::BrowseState& s) { s.folderScope = packs; }},
        {"library root folder", [samples](qv::BrowseState& s) { s.folderScope = samples; }},
        {"favourites", [](qv::BrowseState& s) { s.favoriteMode = true; }},
        {"sort name asc", [](qv::BrowseState& s) { s.filenameSortDirection = 1; }},
        {"sort name desc", [](qv::BrowseState& s) { s.filenameSortDirection = -1; }},
        {"sort time asc", [](qv::BrowseState& s) { s.timeSortDirection = 1; }},
        {"sort time desc", [](qv::BrowseState& s) { s.timeSortDirection = -1; }},
        {"sort bpm asc", [](qv::BrowseState& s) { s.bpmSortDirection = 1; }},
        {"sort bpm desc", [](qv::BrowseState& s) { s.bpmSortDirection = -1; }},
        {"deep page (50,000)", [](qv::BrowseState& s) { s.page = 1000; }},
        {"token + type + key", [](qv::BrowseState& s) { s.searchText = "loop"; s.sectionType = "Loop"; s.keyFilter = "Am"; }},
        {"token + tempo + genre", [](qv::BrowseState& s) { s.searchText = "loop"; s.bpmFilter = "140"; s.selectedGenres = {"Trap"}; }},
        {"library list", [](qv::BrowseState& s) { s.libraryMode = true; }},
    };
}

void resetBrowse(qv::BrowseState& s)
{
    const int layout = s.layoutMode;
    std::vector<qv::Sample> keepRows;
    s.searchText.clear();
    s.page = 0;
    s.filenameSortDirection = s.timeSortDirection = s.bpmSortDirection = 0;
    s.libraryMode = s.favoriteMode = false;
    s.sectionType.clear();
    s.folderScope.clear();
    s.playlistId.reset();
    s.selectedGenres.clear();
    s.instrumentFilter = s.bpmFilter = s.keyFilter = "All";
    s.layoutMode = layout;
}

// Launch, then wait for the results to be painted; prints milliseconds since exec.
int launchOnly(const Options& options)
{
    int argc = 1;
    char name[] = "app_bench";
    char* argv[] = {name, nullptr};
    QApplication app(argc, argv);
    QVController controller(
        QVController::Options{.databasePath = options.db, .warmUpAudio = false, .useAudioDevice = false});
    controller.applicationDidFinishLaunching();
    QWidget* rows = controller.window()->table->viewport();
    struct PaintWatch : QObject {
        bool painted = false;
        bool eventFilter(QObject*, QEvent* e) override
        {
            if (e->type() == QEvent::Paint) painted = true;
            return false;
        }
    } watch;
    rows->installEventFilter(&watch);
    rows->update();
    while (!watch.painted) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
    QCoreApplication::processEvents();
    const double sinceMain = std::chrono::duration<double, std::milli>(Clock::now() - kStaticStart).count();
    const double exec = secondsSinceExec() * 1000.0;
    // The folder tree arrives after the first page, from its own read.
    while (!controller.sidebar()->folderTreeLoaded()) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
    const double tree = std::chrono::duration<double, std::milli>(Clock::now() - kStaticStart).count();
    for (int i = 0; i < 20; ++i) QCoreApplication::processEvents(QEventLoop::AllEvents, 10); // what the tree's arrival queued
    std::printf("launch exec=%.1f main=%.1f tree=%.1f rss=%.1f rows=%zu", exec, sinceMain, tree, residentMiB(),
                controller.state().rows.size());
    for (int i = 0; i < controller.launchSteps().size(); ++i) {
        std::printf(" %s=%.1f", qPrintable(controller.launchSteps()[i]), controller.launchStepSeconds()[static_cast<std::size_t>(i)] * 1000);
    }
    std::printf("\n");
    return 0;
}

// Browsing beside a first scan. Each round: a typed search's refresh and repaint, a page
// turn, and a load of a scanned file to playing; between rounds the event loop runs for
// 100 ms under a 5 ms timer whose longest gap is the GUI thread's stall.
int duringScan(const Options& options, int argc, char** argv)
{
    const fs::path copy = options.db.parent_path() / "app-during-scan.db";
    for (const char* suffix : {"", "-wal", "-shm"}) fs::remove(copy.string() + suffix);
    fs::copy_file(options.db, copy);
    // The scanner stores real paths: a library given through a link must be named by its target.
    const QString library = QString::fromStdString(fs::canonical(options.duringScan).string());
    std::size_t files = 0;
    for (const auto& entry : fs::recursive_directory_iterator(options.duringScan)) files += entry.is_regular_file();

    QApplication app(argc, argv);
    QVController controller(QVController::Options{.databasePath = copy, .warmUpAudio = false, .useAudioDevice = false});
    controller.applicationDidFinishLaunching();
    while (!controller.sidebar()->folderTreeLoaded()) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
    qv::BrowseState& state = controller.state();
    QVResultBrowser& browser = *controller.browser();
    QVResultsView& table = *controller.window()->table;
    QVPlayback& playback = *controller.playback();
    playback.setPlayerFactory([](const QString& path, QString* error) {
        return qv::PreviewPlayer::create(path, error, qv::PreviewPlayer::clockOutput());
    });

    struct Round {
        std::vector<double> search, page, load, stall;
    };
    const char* texts[] = {"kick", "snare loop", "ba", "bpm112", "808", ""};
    int turn = 0;
    std::vector<qv::Sample> scanned; // files of the scanned library, once indexed
    const auto timed = [&](auto&& work) {
        QElapsedTimer t;
        t.start();
        work();
        return t.nsecsElapsed() / 1e6;
    };
    const auto idleLoop = [](std::vector<double>& stall) {
        QElapsedTimer window, tick;
        window.start();
        tick.start();
        double longest = 0;
        QTimer probe;
        probe.setTimerType(Qt::PreciseTimer);
        QObject::connect(&probe, &QTimer::timeout, [&] {
            longest = std::max(longest, tick.nsecsElapsed() / 1e6);
            tick.restart();
        });
        probe.start(5);
        while (window.elapsed() < 100) QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        stall.push_back(longest);
    };
    const auto round = [&](Round& r) {
        resetBrowse(state);
        state.searchText = texts[turn++ % std::size(texts)];
        r.search.push_back(timed([&] {
            browser.refresh();
            table.repaint();
        }));
        state.page = 1;
        r.page.push_back(timed([&] {
            browser.refresh();
            table.repaint();
        }));
        if (scanned.size() < 40) {
            qv::SearchQuery query;
            query.folder = library.toStdString();
            query.limit = 200;
            query.type = "One Shot";
            scanned = controller.database().search(query);
        }
        if (!scanned.empty()) {
            resetBrowse(state);
            state.rows = {scanned[static_cast<std::size_t>(turn) % scanned.size()]};
            state.currentIndex = -1;
            QElapsedTimer t;
            t.start();
            playback.loadSampleAtIndex(0, true);
            while (playback.playbackState() == qv::PlaybackState::Loading && t.elapsed() < 5000) {
                QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
            }
            r.load.push_back(t.nsecsElapsed() / 1e6);
            playback.stopPlaybackAction();
        }
        idleLoop(r.stall);
    };
    const auto report = [](const char* title, const Round& r) {
        const auto line = [](const char* what, const std::vector<double>& v) {
            if (v.empty()) return std::printf("  %-34s (none)\n", what), void();
            const Stats s = stats(v);
            std::printf("  %-34s p50 %7.1f  p95 %7.1f  max %7.1f ms  (%zu)\n", what, s.p50, s.p95,
                        *std::max_element(v.begin(), v.end()), v.size());
        };
        std::printf("%s\n", title);
        line("search typed: refresh + repaint", r.search);
        line("page turn: refresh + repaint", r.page);
        line("load to playing (scanned files)", r.load);
        line("GUI thread's longest stall / 100 ms", r.stall);
    };

    Round idle;
    for (int i = 0; i < 30; ++i) round(idle);
    controller.scans()->scanRoots({QUrl::fromLocalFile(library)}, false);
    Round busy;
    QElapsedTimer scanning;
    scanning.start();
    while (controller.scans()->busy() && scanning.elapsed() < options.scanSeconds * 1000LL) round(busy);
    const double seconds = scanning.nsecsElapsed() / 1e9;
    qv::SearchQuery indexed;
    indexed.folder = library.toStdString();
    const std::int64_t count = controller.database().countMatching(indexed);
    std::printf("browsing beside a first scan of %zu files into an index of %llu samples\n", files,
                static_cast<unsigned long long>(options.records));
    report("idle, before the scan:", idle);
    report("during the scan:", busy);
    std::printf("scan: %lld files indexed in %.1f s (%.0f files/s while browsing)%s\n", static_cast<long long>(count),
                seconds, count / seconds, controller.scans()->busy() ? ", still running when measuring stopped" : ", finished");
    std::fflush(stdout);
    std::_Exit(0); // a scan still running is not waited for
}

// Scrolling with a wheel at 60 frames a second, 120 px a frame, through each page and on
// to the next: the rows ask for their peaks as they come into view.
int scrollPeaks(const Options& options, int argc, char** argv)
{
    const fs::path data = options.db.parent_path();
    const fs::path library = data / "scroll-library";
    const fs::path index = data / "app-scroll.db";
    if (!fs::exists(index)) {
        fs::remove_all(library);
        qv::testkit::LibraryGenerator({.seed = 11, .files = 3000}).generate(library);
        qv::Database db(index);
        qv::LibraryScanner(db).scan(library, {}, false);
    }
    fs::remove_all(data / "app-bench-home" / "cache"); // no peaks cached on disk

    QApplication app(argc, argv);
    QVController controller(QVController::Options{.databasePath = index, .warmUpAudio = false, .useAudioDevice = false});
    controller.applicationDidFinishLaunching();
    controller.window()->resize(1536, 900);
    qv::BrowseState& state = controller.state();
    QVResultBrowser& browser = *controller.browser();
    QVResultsView& table = *controller.window()->table;
    state.sectionType = "Loop"; // audio rows only
    browser.refresh();
    std::vector<std::string> shown;
    int ready = 0;
    QObject::connect(&qv::WaveformQueue::shared().notifier(), &qv::WaveformNotifier::QVWaveformCacheDidUpdate,
                     [&ready](const QString&, const QVariantMap&) { ++ready; });

    QElapsedTimer run, frame;
    run.start();
    std::vector<double> frames;
    while (run.elapsed() < 10000) {
        for (const qv::Sample& sample : state.rows) shown.push_back(sample.path);
        QScrollBar* bar = table.verticalScrollBar();
        bar->setValue(0);
        while (bar->value() < bar->maximum() && run.elapsed() < 10000) {
            frame.start();
            bar->setValue(bar->value() + 120);
            while (frame.elapsed() < 16) QCoreApplication::processEvents(QEventLoop::AllEvents, 2);
            frames.push_back(frame.nsecsElapsed() / 1e6);
        }
        if (!state.hasNextPage) break;
        const std::uint64_t generation = state.queryGeneration;
        browser.nextPage();
        while (state.queryGeneration == generation || browser.searchRefreshPending()) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 2);
        }
    }
    const double seconds = run.nsecsElapsed() / 1e9;
    const int readyWhileScrolling = ready;
    QElapsedTimer drain; // the peaks still owed once the scrolling stops
    drain.start();
    while (drain.elapsed() < 3000) QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    std::sort(shown.begin(), shown.end());
    shown.erase(std::unique(shown.begin(), shown.end()), shown.end());

    // The baseline: the same files, each read whole, on two threads.
    std::atomic<std::size_t> next{0};
    QElapsedTimer plain;
    plain.start();
    std::vector<std::thread> readers;
    for (int t = 0; t < 2; ++t) {
        readers.emplace_back([&] {
            std::vector<float> buffer;
            for (std::size_t i = next++; i < shown.size(); i = next++) {
                qv::AudioFile file(shown[i]);
                if (!file.isOpen()) continue;
                buffer.resize(static_cast<std::size_t>(8192 * file.channels()));
                while (file.read(buffer.data(), 8192) > 0) {
                }
            }
        });
    }
    for (std::thread& reader : readers) reader.join();
    const double plainSeconds = plain.nsecsElapsed() / 1e9;
    const Stats frame60 = stats(frames);
    std::printf("scrolling the results (60 frames/s, 120 px a frame, page after page): %zu rows shown in %.1f s, "
                "%.0f rows/s\n"
                "  peaks ready while scrolling %.0f per second (%d of the rows), %d more in the 3 s after\n"
                "  frames p50 %.1f ms  p95 %.1f ms  max %.1f ms (16 ms asked)\n"
                "  the same files read whole on 2 threads: %.0f per second\n",
                shown.size(), seconds, shown.size() / seconds, readyWhileScrolling / seconds, readyWhileScrolling,
                ready - readyWhileScrolling, frame60.p50, frame60.p95, *std::max_element(frames.begin(), frames.end()),
                shown.size() / plainSeconds);
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    Options options;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--db" && i + 1 < argc) options.db = argv[++i];
        else if (arg == "--records" && i + 1 < argc) options.records = std::stoull(argv[++i]);
        else if (arg == "--reps" && i + 1 < argc) options.reps = std::stoi(argv[++i]);
        else if (arg == "--seed" && i + 1 < argc) options.seed = std::stoull(argv[++i]);
        else if (arg == "--launch-only") options.launchOnly = true;
        else if (arg == "--scroll") options.scroll = true;
        else if (arg == "--during-scan" && i + 1 < argc) options.duringScan = argv[++i];
        else if (arg == "--scan-seconds" && i + 1 < argc) options.scanSeconds = std::stoi(argv[++i]);
        else if (arg == "--drop-caches") options.dropCaches = true;
        else if (arg == "--only" && i + 1 < argc) options.only = argv[++i];
        else if (arg == "--drop-caches") options.dropCaches = true;
        else if (arg == "--only" && i + 1 < argc) options.only = argv[++i];
        else {
            std::fprintf(stderr, "usage: app_bench [--db FILE] [--records N] [--seed N] [--reps N] [--drop-caches] [--only TEXT]\n");
            return 2;
        }
    }
    if (options.db.empty()) {
        options.db = fs::path(argv[0]).parent_path() / "bench-data" /
                     ("app-" + std::to_string(options.records)
                      + (options.seed == 1 ? std::string() : "-seed" + std::to_string(options.seed)) + ".db");
    }
    // Library paths are stored as generated: relative ones would be offline from any
    // other working directory.
    options.db = fs::absolute(options.db);
    // Offscreen, and settings and caches of its own: the user's are never touched.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const fs::path home = options.db.parent_path() / "app-bench-home";
    qputenv("XDG_CONFIG_HOME", (home / "config").c_str());
    qputenv("XDG_CACHE_HOME", (home / "cache").c_str());
    qputenv("XDG_DATA_HOME", (home / "data").c_str());
    if (options.launchOnly) return launchOnly(options);

    ensureDatabase(options);
    if (!options.duringScan.empty()) return duringScan(options, argc, argv);
    if (options.scroll) return scrollPeaks(options, argc, argv);

    // Starts, each in a fresh process: with the database in the file cache (as when the
    // application was used a moment ago) and, with --drop-caches, read from the disk.
    const auto launches = [&](const char* title, bool emptyCache) {
        std::vector<double> execTimes;
        std::vector<double> mainTimes;
        std::vector<double> treeTimes;
        std::vector<double> resident;
        std::string rowsShown;
        for (int i = 0; i < std::max(options.reps, 5); ++i) {
            if (emptyCache) {
                std::system("sync");
                std::ofstream drop("/proc/sys/vm/drop_caches");
                drop << "3\n";
                if (!drop.flush()) {
                    std::printf("%s: cannot empty the file cache (needs root)\n\n", title);
                    return true;
                }
            }
            QProcess child;
            child.start(QString::fromLocal8Bit(argv[0]), {QStringLiteral("--launch-only"), QStringLiteral("--db"),
                                                          QString::fromStdString(options.db.string())});
            child.waitForFinished(60000);
            const QString out = QString::fromLocal8Bit(child.readAllStandardOutput());
            double exec = 0, main = 0, tree = 0, rss = 0;
            char rows[32] = {};
            if (std::sscanf(out.toLocal8Bit().constData(), "launch exec=%lf main=%lf tree=%lf rss=%lf rows=%31s", &exec,
                            &main, &tree, &rss, rows) != 5) {
                std::fprintf(stderr, "launch run failed: %s %s\n", qPrintable(out), child.readAllStandardError().constData());
                return false;
            }
            if (i == 0) {
                std::printf("%s, first run's steps (ms since the controller was made): %s", title,
                            out.section(QLatin1Char(' '), 6).toLocal8Bit().constData());
            }
            execTimes.push_back(exec);
            mainTimes.push_back(main);
            treeTimes.push_back(tree);
            resident.push_back(rss);
            rowsShown = rows;
        }
        const Stats exec = stats(execTimes);
        const Stats main = stats(mainTimes);
        std::printf("%s: start to first page painted (%s rows), %zu fresh processes:\n", title, rowsShown.c_str(),
                    execTimes.size());
        std::printf("  since exec (/proc, 10 ms ticks)  p50 %7.1f ms  p95 %7.1f ms   goal < 1000 ms\n", exec.p50, exec.p95);
        std::printf("  since static init                p50 %7.1f ms  p95 %7.1f ms\n", main.p50, main.p95);
        const Stats tree = stats(treeTimes);
        std::printf("  folder tree shown, since static init  p50 %7.1f ms  p95 %7.1f ms\n", tree.p50, tree.p95);
        const Stats memory = stats(resident);
        std::printf("  resident memory once the tree is shown  p50 %7.1f MiB  p95 %7.1f MiB   goal < 300 MiB\n\n",
                    memory.p50, memory.p95);
        return true;
    };
    if (options.only.empty() && !launches("database in the file cache", false)) return 1;
    if (options.dropCaches && !launches("file cache emptied before each start", true)) return 1;

    QApplication app(argc, argv);
    QVController controller(
        QVController::Options{.databasePath = options.db, .warmUpAudio = false, .useAudioDevice = false});
    controller.applicationDidFinishLaunching();
    QCoreApplication::processEvents();
    QThreadPool::globalInstance()->waitForDone(); // the launch's search warm-up, which holds the lock by turns
    qv::BrowseState& state = controller.state();
    QVResultBrowser& browser = *controller.browser();
    QVResultsView& table = *controller.window()->table;
    qv::Database& db = controller.database();

    std::printf("refresh through the controller: count, page, rows reconfigured and repainted (ms);\n"
                "each timed refresh alternates between two pages; cold = the search plan's caches dropped\n");
    std::printf("%-24s %9s %9s %9s %9s %9s %9s\n", "case", "matches", "cold p50", "cold p95", "warm p50", "warm p95",
                "core p95");
    double worst = 0;
    const fs::path roots = rootsFor(options.db);
    const bool typingOnly = options.only == "typing";
    for (const Case& c : cases(roots, db)) {
        if (typingOnly) break;
        if (!options.only.empty() && std::string(c.name).find(options.only) == std::string::npos) continue;
        resetBrowse(state);
        c.apply(state);
        // Every timed refresh shows other rows than the one before (the next page, or
        // back), so that the rows are really reconfigured and repainted.
        const std::int64_t firstPage = state.page;
        int flip = 0;
        const auto once = [&] {
            state.page = firstPage + (flip++ % 2);
            QElapsedTimer t;
            t.start();
            browser.refresh();
            table.repaint();
            return t.nsecsElapsed() / 1e6;
        };
        db.setSearchPlan(qv::SearchPlan::Indexed);
        once(); // warm the page cache of the file
        once();
        std::vector<double> cold, warm, core;
        for (int i = 0; i < options.reps; ++i) {
            db.setSearchPlan(qv::SearchPlan::Indexed); // drops what the plan kept
            cold.push_back(once());
            warm.push_back(once());
        }
        // The core's part alone, cold, for the first page: what the controller adds is
        // the difference.
        if (!state.libraryMode) {
            for (int i = 0; i < options.reps; ++i) {
                state.page = firstPage;
                const qv::SearchQuery query = qv::browseQuery(state);
                db.setSearchPlan(qv::SearchPlan::Indexed);
                QElapsedTimer t;
                t.start();
                db.countMatching(query);
                db.search(query);
                core.push_back(t.nsecsElapsed() / 1e6);
            }
        }
        const Stats coldStats = stats(cold);
        const Stats warmStats = stats(warm);
        worst = std::max(worst, coldStats.p95);
        const std::string matches = state.libraryMode ? std::to_string(state.libs.size()) + " libs"
                                                      : controller.window()->status().section(QLatin1Char(' '), 0, 0).toStdString();
        std::printf("%-24s %9s %9.2f %9.2f %9.2f %9.2f %9.2f\n", c.name, matches.c_str(), coldStats.p50, coldStats.p95,
                    warmStats.p50, warmStats.p95, core.empty() ? 0.0 : stats(core).p95);
    }
    if (!typingOnly) std::printf("worst cold p95 %.2f ms   goal < 50 ms\n\n", worst);

    // Typing into the search field, one key every debounce: each keystroke to the rows
    // repainted, which holds the 100 ms the field waits for the next key.
    if (options.only.empty() || typingOnly) {
        // As a producer types a moment after launch: the launch's background warm-up is
        // done. It runs again here from nothing kept, as the cases above drop what it read.
        db.setSearchPlan(qv::SearchPlan::Indexed);
        QElapsedTimer warming;
        warming.start();
        db.warmUp();
        std::printf("the launch's search warm-up (in the background at launch): %.0f ms\n", warming.nsecsElapsed() / 1e6);
        QLineEdit& field = *controller.window()->search;
        std::vector<double> typed;
        for (const char* word : {"kick", "snare loop", "ba", "808 bass", "pad"}) {
            resetBrowse(state);
            field.clear();
            while (browser.searchRefreshPending()) QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
            for (const char* c = word; *c; ++c) {
                QKeyEvent press(QEvent::KeyPress, 0, Qt::NoModifier, QString(QChar::fromLatin1(*c)));
                QElapsedTimer t;
                t.start();
                QCoreApplication::sendEvent(&field, &press);
                while (browser.searchRefreshPending()) QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
                const double refreshed = t.nsecsElapsed() / 1e6;
                table.repaint();
                typed.push_back(t.nsecsElapsed() / 1e6);
                if (typingOnly) {
                    std::printf("  \"%s\" %.1f ms (refreshed at %.1f, repaint %.1f)\n", field.text().toUtf8().constData(),
                                typed.back(), refreshed, typed.back() - refreshed);
                }
            }
        }
        const Stats typing = stats(typed);
        std::printf("typing a search (%zu keystrokes): keystroke to rows repainted p50 %.1f ms  p95 %.1f ms;\n"
                    "  after the field's 100 ms wait for the next key: p50 %.1f ms  p95 %.1f ms   goal < 50 ms\n\n",
                    typed.size(), typing.p50, typing.p95, typing.p50 - 100, typing.p95 - 100);
    }

    // A held key: 30 presses of "next", 15 ms apart (faster than key repeat), over the
    // first page made real with short files, while each decode takes 40 ms (a slow
    // disk). A press must not queue a decode behind another: loads made stale before
    // they start never decode.
    resetBrowse(state);
    state.sectionType = "Loop"; // audio rows only: a MIDI row never decodes
    browser.refresh();
    for (const qv::Sample& sample : state.rows) {
        fs::create_directories(fs::path(sample.path).parent_path());
        if (!fs::exists(sample.path)) {
            std::ofstream out(sample.path, std::ios::binary);
            const QByteArray wav = qv::silentWaveBytes();
            out.write(wav.constData(), wav.size());
        }
    }
    std::atomic<int> decodes{0};
    controller.playback()->setPlayerFactory([&decodes](const QString& path, QString* error) {
        ++decodes;
        std::this_thread::sleep_for(std::chrono::milliseconds(40));
        return qv::PreviewPlayer::create(path, error, qv::PreviewPlayer::clockOutput());
    });
    controller.playback()->loadSampleAtIndex(0, true);
    QElapsedTimer burst;
    burst.start();
    for (int i = 0; i < 30; ++i) {
        controller.playback()->nextSample();
        QElapsedTimer gap;
        gap.start();
        while (gap.elapsed() < 15) QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    }
    const double pressing = burst.nsecsElapsed() / 1e6;
    while (controller.playback()->playbackState() == qv::PlaybackState::Loading && burst.elapsed() < 5000) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    }
    std::printf("31 loads (1 + 30 next presses 15 ms apart, 40 ms per decode): %.0f ms of pressing, %d decodes "
                "started, then playing row %lld (state %lld)\n",
                pressing, decodes.load(), static_cast<long long>(state.currentIndex),
                static_cast<long long>(controller.playback()->playbackState()));
    return 0;
}
