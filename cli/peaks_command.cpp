// `peaks FILE...`: the 192 waveform peaks and the duration the preview layer computes
// for each file, decoded afresh (the waveform cache is neither read nor written), or the
// decoder's reason when it cannot. For support ("why is this waveform flat?") and scripts.
#include "cli_context.h"
#include "commands.h"
#include "json_output.h"

#include "peak_decoder.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <cmath>
#include <memory>
#include <ostream>

namespace qv::cli {

namespace {

namespace fs = std::filesystem;

struct PeaksOptions {
    std::vector<std::string> files;
};

// Six decimals: the float's noise digits would only make the numbers harder to read.
double rounded(double value)
{
    return std::round(value * 1e6) / 1e6;
}

nlohmann::ordered_json peaksRecord(const std::string& given)
{
    std::error_code ec;
    const fs::path file = fs::weakly_canonical(fs::absolute(given), ec);
    const fs::path path = ec ? fs::path(given) : file;
    nlohmann::ordered_json record;
    putText(record, "path", path.string());
    const PeakDecode decoded = decodePeaks(path);
    if (decoded.peaks.empty()) {
        record["error"] = decoded.error.empty() ? "the file could not be decoded" : decoded.error;
        return record;
    }
    record["duration"] = decoded.durationSeconds;
    auto peaks = nlohmann::ordered_json::array();
    for (const float peak : decoded.peaks) peaks.push_back(rounded(peak));
    record["peaks"] = std::move(peaks);
    return record;
}

void printText(std::ostream& out, const nlohmann::ordered_json& record)
{
    out << record["path"].get<std::string>() << '\n';
    out << "  duration: " << record["duration"].dump() << " s\n  peaks:";
    for (const auto& peak : record["peaks"]) out << ' ' << peak.dump();
    out << '\n';
}

void runPeaks(CliContext& context, const PeaksOptions& options)
{
    auto records = nlohmann::ordered_json::array();
    for (const auto& file : options.files) {
        auto record = peaksRecord(file);
        if (record.contains("error")) {
            context.err << "quorvalinder-cli: " << record["path"].get<std::string>() << ": "
                        << record["error"].get<std::string>() << '\n';
            context.exitStatus = 1;
        }
        records.push_back(std::move(record));
    }
    if (context.json) {
        context.printJson(records.size() == 1 ? records[0] : records);
        return;
    }
    for (const auto& record : records) {
        if (!record.contains("error")) printText(context.out, record);
    }
}

} // namespace

void addPeaksCommand(CLI::App& app, CliContext& context)
{
    auto options = std::make_shared<PeaksOptions>();
    auto* command = app.add_subcommand("peaks", "Show the waveform peaks and duration of audio files (no cache)");
    command->add_option("FILE", options->files, "Audio files")->required();
    command->callback([&context, options] { runPeaks(context, *options); });
}

} // namespace qv::cli
