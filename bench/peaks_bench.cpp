// Waveform peaks through the real job queue (two workers, empty disk cache) against
// decoding the same files with sf_readf_float alone, in the same run, for several shapes
// of file. The queue is fed as the views feed it: never more than its 64 live jobs.
//   peaks_bench [--files N] [--dir DIR]     (default 2000 files under /tmp/qv-peaks-bench)
#include "peak_decoder.h"
#include "waveform_notifier.h"
#include "waveform_queue.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>

#include <sndfile.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

struct Shape {
    const char* name;
    int rate, channels, format;
    double seconds;
    int fileDivisor;  // long files: fewer of them
};

std::vector<fs::path> generate(const fs::path& dir, const Shape& shape, int count)
{
    fs::create_directories(dir);
    std::vector<fs::path> files;
    const long frames = long(shape.seconds * shape.rate);
    std::vector<float> data;
    for (int i = 0; i < count; ++i) {
        files.push_back(dir / ("sample " + std::to_string(i) + ".wav"));
        if (fs::exists(files.back())) continue;
        if (data.empty()) {
            data.resize(std::size_t(frames * shape.channels));
            for (long p = 0; p < frames; ++p) {
                for (int c = 0; c < shape.channels; ++c) {
                    data[std::size_t(p * shape.channels + c)] =
                        0.5f * std::sin(float(p) * 0.02f * float(c + 1)) * std::exp(-float(p % 11025) / 4000.0f);
                }
            }
        }
        SF_INFO info{};
        info.samplerate = shape.rate;
        info.channels = shape.channels;
        info.format = shape.format;
        SNDFILE* file = sf_open(files.back().c_str(), SFM_WRITE, &info);
        sf_writef_float(file, data.data(), frames);
        sf_close(file);
    }
    return files;
}

// The baseline: open, read everything in 8192-frame chunks, close; on `threads` threads.
double plainDecode(const std::vector<fs::path>& files, int threads)
{
    const auto start = Clock::now();
    std::vector<std::thread> workers;
    for (int t = 0; t < threads; ++t) {
        workers.emplace_back([&, t] {
            std::vector<float> buffer;
            for (std::size_t i = std::size_t(t); i < files.size(); i += std::size_t(threads)) {
                SF_INFO info{};
                SNDFILE* file = sf_open(files[i].c_str(), SFM_READ, &info);
                if (!file) continue;
                buffer.resize(std::size_t(8192 * info.channels));
                while (sf_readf_float(file, buffer.data(), 8192) > 0) {
                }
                sf_close(file);
            }
        });
    }
    for (auto& worker : workers) worker.join();
    return std::chrono::duration<double>(Clock::now() - start).count();
}

struct QueueTimes {
    double peaksReady;    // every job done: peaks in memory, notifications posted
    double filesWritten;  // and every cache file on disk
};

QueueTimes queueDecode(const std::vector<fs::path>& files, const fs::path& cacheDir)
{
    fs::remove_all(cacheDir);
    qv::WaveformNotifier notifier;
    qv::WaveformQueue queue([](const QString& path) { return qv::decodePeaks(QFile::encodeName(path).toStdString()); },
                            qv::WaveformDiskCache(QString::fromStdString(cacheDir.string())), notifier, false);
    const auto start = Clock::now();
    std::size_t next = 0;
    while (next < files.size()) {
        while (next < files.size() && queue.pendingJobCount() < qv::WaveformQueue::kMaxLiveJobs) {
            queue.request(QString::fromStdString(files[next].string()), 1, next, false);
            ++next;
        }
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    queue.waitUntilIdleWithTimeout(600);
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    queue.waitForDiskWrites();
    const double written = std::chrono::duration<double>(Clock::now() - start).count();
    for (std::size_t i = 0; i < files.size(); ++i) {
        const QString key = qv::waveformCacheKey(QString::fromStdString(files[i].string()), 1, i);
        if (queue.hasFailed(key)) std::fprintf(stderr, "peaks_bench: no peaks for %s\n", files[i].c_str());
    }
    // Drop the notifications nobody listens to.
    QCoreApplication::processEvents();
    return {seconds, written};
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    int files = 2000;
    fs::path dir = "/tmp/qv-peaks-bench";
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string option = argv[i];
        if (option == "--files") files = std::stoi(argv[i + 1]);
        if (option == "--dir") dir = argv[i + 1];
    }
    const Shape shapes[] = {
        {"2 s stereo 16-bit 44.1 kHz", 44100, 2, SF_FORMAT_WAV | SF_FORMAT_PCM_16, 2.0, 1},
        {"2 s mono 16-bit 44.1 kHz", 44100, 1, SF_FORMAT_WAV | SF_FORMAT_PCM_16, 2.0, 1},
        {"2 s 6-channel 24-bit 96 kHz", 96000, 6, SF_FORMAT_WAV | SF_FORMAT_PCM_24, 2.0, 10},
        {"30 s stereo 16-bit 44.1 kHz", 44100, 2, SF_FORMAT_WAV | SF_FORMAT_PCM_16, 30.0, 20},
    };
    std::printf("files per second; queue: peaks ready (and cache files written), two workers;\n"
                "plain: sf_readf_float alone on two threads and on one; ratio: queue / plain on two threads\n");
    std::printf("%-30s %6s %20s %10s %10s %7s\n", "shape", "files", "queue (written)", "plain 2T", "plain 1T",
                "ratio");
    for (const Shape& shape : shapes) {
        const int count = std::max(files / shape.fileDivisor, 1);
        const fs::path shapeDir = dir / (std::to_string(shape.rate) + "-" + std::to_string(shape.channels) + "-"
                                         + std::to_string(int(shape.seconds)));
        const auto paths = generate(shapeDir, shape, count);
        plainDecode(paths, 2);  // warm the page cache: both sides read from memory
        const double plain2 = plainDecode(paths, 2);
        const double plain1 = plainDecode(paths, 1);
        const QueueTimes queued = queueDecode(paths, dir / "cache");
        std::printf("%-30s %6d %10.0f (%6.0f) %10.0f %10.0f %7.2f\n", shape.name, count, count / queued.peaksReady,
                    count / queued.filesWritten, count / plain2, count / plain1, plain2 / queued.peaksReady);
    }
    return 0;
}
