// `inspect FILE... [--root DIR]`: what indexing would store for a file, with the audio
// measurement and both classification scores behind its type. Writes nothing.
#include "cli_context.h"
#include "commands.h"
#include "json_output.h"

#include "audio/audio_structure_analyzer.h"
#include "inference/metadata_parser.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <memory>
#include <ostream>

namespace qv::cli {

namespace {

namespace fs = std::filesystem;

struct InspectOptions {
    std::vector<std::string> files;
    std::string root;
};

nlohmann::ordered_json inspect(const fs::path& given, const std::string& rootOption)
{
    std::error_code ec;
    if (!fs::is_regular_file(given, ec)) throw UserError("No such file: " + given.string());
    const fs::path file = fs::weakly_canonical(fs::absolute(given));
    const fs::path root = rootOption.empty() ? file.parent_path() : fs::weakly_canonical(fs::absolute(rootOption));

    const MetadataParser parser;
    const auto structure = AudioStructureAnalyzer().analyze(file);
    const Sample sample = parser.parse(file, root, structure);
    const auto scores =
        parser.classifyDetailed(file, MetadataParser::classificationText(file, root), sample.bpm, structure);

    nlohmann::ordered_json j = toJson(sample);
    if (structure) {
        j["structure"] = {
            {"durationSeconds", structure->durationSeconds}, {"onsetCount", structure->onsetCount},
            {"onsetTimes", structure->onsetTimes},           {"onsetSpan", structure->onsetSpan},
            {"firstGapDip", structure->firstGapDip},
        };
    } else {
        j["structure"] = nullptr;
    }
    j["loopScore"] = scores.loopScore;
    j["oneShotScore"] = scores.oneShotScore;
    return j;
}

void printText(std::ostream& out, const nlohmann::ordered_json& record)
{
    auto text = [](const nlohmann::ordered_json& value) {
        if (value.is_null()) return std::string("-");
        if (value.is_string()) return value.get<std::string>();
        return value.dump();
    };
    out << record["path"].get<std::string>() << '\n';
    for (const char* key : {"type", "bpm", "musicalKey", "instrument", "genre", "duration", "fileSize", "modifiedAt",
                            "loopScore", "oneShotScore"}) {
        out << "  " << key << ": " << text(record[key]) << '\n';
    }
    const auto& structure = record["structure"];
    if (structure.is_null()) {
        out << "  structure: not measured (not an uncompressed WAVE file, or unreadable)\n";
    } else {
        out << "  onsets: " << structure["onsetCount"].dump() << " at " << structure["onsetTimes"].dump()
            << "  span: " << structure["onsetSpan"].dump() << "  first gap dip: " << structure["firstGapDip"].dump()
            << '\n';
    }
}

void runInspect(CliContext& context, const InspectOptions& options)
{
    auto records = nlohmann::ordered_json::array();
    for (const auto& file : options.files) records.push_back(inspect(file, options.root));

    if (context.json) {
        context.printJson(records.size() == 1 ? records[0] : records);
        return;
    }
    for (const auto& record : records) printText(context.out, record);
}

} // namespace

void addInspectCommand(CLI::App& app, CliContext& context)
{
    auto options = std::make_shared<InspectOptions>();
    auto* command = app.add_subcommand("inspect", "Show what indexing would store for files, and why");
    command->add_option("FILE", options->files, "Sample files")->required();
    command->add_option("--root", options->root, "Library root the files belong to (default: each file's folder)");
    command->callback([&context, options] { runInspect(context, *options); });
}

} // namespace qv::cli
