// The preview player: from "create" to the first buffer handed to the output, for a
// one-shot and for five-minute loops of several shapes, on the clock output and (when a
// sound server answers) on the real sink; against the floor of any decoding player,
// sf_open plus the first sf_readf_float of a chunk, in the same run. Then the memory one
// prepared player of a five-minute loop holds, against the decoded size of the file.
//   preview_bench [--reps N] [--dir DIR]    (default 20 runs, files under /tmp/qv-preview-bench)
#include "audio_output.h"
#include "preview_player.h"

#include <QApplication>
#include <QAudioDevice>
#include <QMediaDevices>

#include <sndfile.h>

#include <malloc.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

struct Shape {
    const char* name;
    double seconds;
    int rate, channels, format;
};

fs::path generate(const fs::path& dir, const Shape& shape)
{
    fs::create_directories(dir);
    const fs::path path = dir / (std::string(shape.name) + ((shape.format & SF_FORMAT_TYPEMASK) == SF_FORMAT_MPEG ? ".mp3" : ".wav"));
    if (fs::exists(path)) return path;
    SF_INFO info{};
    info.samplerate = shape.rate;
    info.channels = shape.channels;
    info.format = shape.format;
    SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
    if (!file) {
        std::fprintf(stderr, "preview_bench: cannot write %s: %s\n", path.c_str(), sf_strerror(nullptr));
        return {};
    }
    const long total = long(shape.seconds * shape.rate);
    std::vector<float> block(std::size_t(shape.rate * shape.channels));
    for (long done = 0; done < total; done += shape.rate) {
        const long frames = std::min<long>(shape.rate, total - done);
        for (long p = 0; p < frames; ++p) {
            for (int c = 0; c < shape.channels; ++c) {
                block[std::size_t(p * shape.channels + c)] = 0.4f * std::sin(float(done + p) * 0.03f * float(c + 1));
            }
        }
        sf_writef_float(file, block.data(), frames);
    }
    sf_close(file);
    return path;
}

// Passes everything on, and notes when the first bytes were handed over.
class TimedOutput : public qv::AudioOutput {
public:
    TimedOutput(std::unique_ptr<qv::AudioOutput> inner, Clock::time_point* firstWrite)
        : _inner(std::move(inner))
        , _firstWrite(firstWrite)
    {
    }
    bool open(const qv::OutputFormat& wanted, qv::OutputFormat& accepted, QString& error) override
    {
        return _inner->open(wanted, accepted, error);
    }
    void close() override { _inner->close(); }
    std::int64_t bytesFree() const override { return _inner->bytesFree(); }
    std::int64_t write(const char* data, std::int64_t bytes) override
    {
        const auto written = _inner->write(data, bytes);
        if (written > 0 && *_firstWrite == Clock::time_point{}) *_firstWrite = Clock::now();
        return written;
    }
    double playedSeconds() const override { return _inner->playedSeconds(); }
    bool drained() const override { return _inner->drained(); }
    void suspend() override { _inner->suspend(); }
    void resume() override { _inner->resume(); }
    void setVolume(double volume) override { _inner->setVolume(volume); }

private:
    std::unique_ptr<qv::AudioOutput> _inner;
    Clock::time_point* _firstWrite;
};

struct Stats {
    double median, p95;
};

Stats stats(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return {values[values.size() / 2], values[std::min(values.size() - 1, values.size() * 95 / 100)]};
}

double ms(Clock::duration d)
{
    return std::chrono::duration<double, std::milli>(d).count();
}

Stats firstBuffer(const fs::path& path, const qv::AudioOutputFactory& output, int reps)
{
    std::vector<double> times;
    for (int i = 0; i < reps; ++i) {
        Clock::time_point firstWrite{};
        const auto start = Clock::now();
        auto player = qv::PreviewPlayer::create(QString::fromStdString(path.string()), nullptr,
                                                [&] { return std::make_unique<TimedOutput>(output(), &firstWrite); });
        if (!player || !player->prepareToPlay() || !player->play()) {
            std::fprintf(stderr, "preview_bench: %s does not play: %s\n", path.c_str(),
                         player ? qPrintable(player->errorText()) : "not created");
            return {NAN, NAN};
        }
        times.push_back(ms(firstWrite - start));
        player->stop();
    }
    return stats(times);
}

Stats firstRead(const fs::path& path, int reps)
{
    std::vector<double> times;
    for (int i = 0; i < reps; ++i) {
        const auto start = Clock::now();
        SF_INFO info{};
        SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
        std::vector<float> chunk(std::size_t(qv::PreviewPlayer::kChunkFrames * info.channels));
        sf_readf_float(file, chunk.data(), qv::PreviewPlayer::kChunkFrames);
        times.push_back(ms(Clock::now() - start));
        sf_close(file);
    }
    return stats(times);
}

double heapMiB()
{
    const struct mallinfo2 info = mallinfo2();
    return double(info.uordblks + info.hblkhd) / 1048576.0;
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    int reps = 20;
    fs::path dir = "/tmp/qv-preview-bench";
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string option = argv[i];
        if (option == "--reps") reps = std::stoi(argv[i + 1]);
        if (option == "--dir") dir = argv[i + 1];
    }
    const Shape shapes[] = {
        {"one-shot 1 s stereo 16-bit 44.1 kHz", 1, 44100, 2, SF_FORMAT_WAV | SF_FORMAT_PCM_16},
        {"loop 5 min stereo 16-bit 44.1 kHz", 300, 44100, 2, SF_FORMAT_WAV | SF_FORMAT_PCM_16},
        {"one-shot 1 s 6-channel float 96 kHz", 1, 96000, 6, SF_FORMAT_WAV | SF_FORMAT_FLOAT},
        {"loop 5 min mono 24-bit 96 kHz", 300, 96000, 1, SF_FORMAT_WAV | SF_FORMAT_PCM_24},
        {"loop 5 min stereo MP3 44.1 kHz", 300, 44100, 2, SF_FORMAT_MPEG | SF_FORMAT_MPEG_LAYER_III},
    };
    const bool device = !QMediaDevices::defaultAudioOutput().isNull();
    std::printf("create to first buffer at the output, ms (median / p95 of %d)%s\n", reps,
                device ? "" : "; no sound server: the real sink is not measured");
    std::printf("%-38s %15s %15s %15s\n", "file", "clock output", "real sink", "open+1st read");
    std::vector<fs::path> paths;
    for (const Shape& shape : shapes) {
        const fs::path path = generate(dir, shape);
        paths.push_back(path);
        if (path.empty()) continue;
        const Stats clock = firstBuffer(path, qv::PreviewPlayer::clockOutput(), reps);
        const Stats sink = device ? firstBuffer(path, qv::PreviewPlayer::deviceOutput(), reps) : Stats{NAN, NAN};
        const Stats floor = firstRead(path, reps);
        std::printf("%-38s %7.2f / %5.2f %7.2f / %5.2f %7.2f / %5.2f\n", shape.name, clock.median, clock.p95,
                    sink.median, sink.p95, floor.median, floor.p95);
    }

    std::printf("\nmemory per prepared player (20 players of each file, heap in use)\n");
    std::printf("%-38s %14s %18s\n", "file", "per player", "decoded whole");
    for (std::size_t s = 0; s < std::size(shapes); ++s) {
        if (shapes[s].seconds < 10 || paths[s].empty()) continue;
        const double before = heapMiB();
        std::vector<std::unique_ptr<qv::PreviewPlayer>> players;
        for (int i = 0; i < 20; ++i) {
            players.push_back(qv::PreviewPlayer::create(QString::fromStdString(paths[s].string()), nullptr,
                                                        qv::PreviewPlayer::clockOutput()));
            players.back()->prepareToPlay();
        }
        const double per = (heapMiB() - before) / 20.0;
        const double whole = shapes[s].seconds * shapes[s].rate * shapes[s].channels * 4 / 1048576.0;
        std::printf("%-38s %10.0f KiB %14.1f MiB\n", shapes[s].name, per * 1024, whole);
    }
    return 0;
}
