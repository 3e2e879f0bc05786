// Per-file cost of the indexing inference: AudioStructureAnalyzer::analyze on a 2 s,
// 44.1 kHz, stereo, 16-bit loop, and MetadataParser::parse on a typical pack path, next
// to the cost of merely reading the same file's bytes (warm page cache). Bytes per second
// are the file's size over the time per file.
#include "audio/audio_structure_analyzer.h"
#include "inference/metadata_parser.h"
#include "wave_writer.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
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
        qv::testkit::WaveSpec stereo16;
        stereo16.channels = 2;
        qv::testkit::writeWave(path, qv::testkit::hitSignal(2.0, 44100, hits, 2), stereo16);
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

// Keeps each run's time per iteration, so that the ratios can be printed at the end.
class RecordingReporter : public benchmark::ConsoleReporter {
public:
    std::map<std::string, double> nanoseconds;

    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs) {
            if (run.run_type == Run::RT_Iteration) {
                nanoseconds[run.benchmark_name()] = run.GetAdjustedRealTime()
                    * benchmark::GetTimeUnitMultiplier(benchmark::kNanosecond)
                    / benchmark::GetTimeUnitMultiplier(run.time_unit);
            }
        }
        ConsoleReporter::ReportRuns(runs);
    }
};

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    RecordingReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();

    const auto& ns = reporter.nanoseconds;
    if (ns.contains("readWholeFile")) {
        const double read = ns.at("readWholeFile");
        std::printf("\n%-34s %12s %12s %8s\n", "measure", "per file", "baseline", "ratio");
        for (const char* name : {"analyze", "analyzeInMemory", "parse"}) {
            if (!ns.contains(name)) continue;
            std::printf("%-34s %9.1f us %9.1f us %7.2fx\n", (std::string(name) + " vs plain read").c_str(),
                        ns.at(name) / 1000.0, read / 1000.0, ns.at(name) / read);
        }
    }
    return 0;
}
