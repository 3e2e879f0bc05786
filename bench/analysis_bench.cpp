// Per-file cost of the indexing inference: AudioStructureAnalyzer::analyze on a 2 s,
// 44.1 kHz, stereo, 16-bit loop, and MetadataParser::parse on a typical pack path, next
// to the cost of merely reading the same file's bytes (warm page cache). Bytes per second
// are the file's size over the time per file.
#include "core/audio_structure_analyzer.h"
#include "core/metadata_parser.h"
#include "support/wave_writer.h"

#include <benchmark/benchmark.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <vector>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

struct BenchFile {
    fs::path root;
    fs::path path;
    std::size_t size = 0;

    BenchFile()
    {
        root = fs::temp_directory_path() / ("qv-analysis-bench-" + std::to_string(::getpid())) / "Trap Essentials Vol 2";
        path = root / "Loops" / "Melody Loops" / "Dark_Keys_Loop_140bpm_Am.wav";
        std::vector<double> hits;
        for (double t = 0.05; t < 2.0; t += 60.0 / 140 / 2) hits.push_back(t);
        qv::test::WaveSpec stereo16;
        stereo16.channels = 2;
        qv::test::writeWave(path, qv::test::hitSignal(2.0, 44100, hits, 2), stereo16);
        size = static_cast<std::size_t>(fs::file_size(path));
    }
    ~BenchFile() { fs::remove_all(root.parent_path()); }
};

const BenchFile& benchFile()
{
    static const BenchFile file;
    return file;
}

void perFile(benchmark::State& state)
{
    state.SetItemsProcessed(state.iterations());
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * benchFile().size));
}

void readWholeFile(benchmark::State& state)
{
    const auto& file = benchFile();
    const auto buffer = std::make_unique_for_overwrite<char[]>(file.size);
    for (auto _ : state) {
        std::ifstream in(file.path, std::ios::binary);
        in.read(buffer.get(), static_cast<std::streamsize>(file.size));
        benchmark::DoNotOptimize(buffer.get());
    }
    perFile(state);
}
BENCHMARK(readWholeFile);

void analyze(benchmark::State& state)
{
    const auto& file = benchFile();
    const qv::AudioStructureAnalyzer analyzer;
    for (auto _ : state) {
        auto structure = analyzer.analyze(file.path);
        benchmark::DoNotOptimize(structure);
    }
    perFile(state);
}
BENCHMARK(analyze);

// The same measurement on bytes already in memory: the part of analyze that is not I/O.
void analyzeInMemory(benchmark::State& state)
{
    const auto& file = benchFile();
    std::vector<unsigned char> bytes(file.size);
    std::ifstream(file.path, std::ios::binary).read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(file.size));
    const qv::AudioStructureAnalyzer analyzer;
    for (auto _ : state) {
        auto structure = analyzer.analyzeBytes(bytes);
        benchmark::DoNotOptimize(structure);
    }
    perFile(state);
}
BENCHMARK(analyzeInMemory);

void parse(benchmark::State& state)
{
    const auto& file = benchFile();
    const qv::MetadataParser parser;
    const auto structure = qv::AudioStructureAnalyzer().analyze(file.path);
    for (auto _ : state) {
        auto sample = parser.parse(file.path, file.root, structure);
        benchmark::DoNotOptimize(sample);
    }
    perFile(state);
}
BENCHMARK(parse);

} // namespace

BENCHMARK_MAIN();
