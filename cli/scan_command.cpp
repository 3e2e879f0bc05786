// `scan [--full] DIR...`: index folders as libraries, with a live progress line on a
// terminal and the application's closing summary.
#include "cli_context.h"
#include "commands.h"
#include "json_output.h"

#include "scan/library_scanner.h"
#include "scan/scan_summary.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <memory>
#include <optional>
#include <ostream>

namespace qv::cli {

namespace {

struct ScanOptions {
    bool full = false;
    std::vector<std::string> roots;
};

// Redraws one stderr line at most ten times a second.
class ProgressLine {
public:
    explicit ProgressLine(std::ostream& err)
        : _err(err)
    {
    }

    void update(std::size_t count, const std::filesystem::path& file)
    {
        const auto now = Clock::now();
        if (now - _lastDraw < std::chrono::milliseconds(100)) return;
        _lastDraw = now;
        const double seconds = std::chrono::duration<double>(now - _start).count();
        const double rate = seconds > 0 ? static_cast<double>(count) / seconds : 0.0;
        std::string folder = file.parent_path().filename().string();
        if (folder.size() > 48) folder = folder.substr(0, 45) + "...";
        _err << "\r\x1b[2K" << count << " files  " << static_cast<long long>(rate) << " files/s  " << folder
             << std::flush;
        _drawn = true;
    }

    void clear()
    {
        if (_drawn) _err << "\r\x1b[2K" << std::flush;
        _drawn = false;
    }

private:
    using Clock = std::chrono::steady_clock;
    std::ostream& _err;
    Clock::time_point _start = Clock::now();
    Clock::time_point _lastDraw{};
    bool _drawn = false;
};

void runScan(CliContext& context, const ScanOptions& options)
{
    // A typo is the caller's mistake; a known library that vanished is scanned so that it
    // is marked offline, as the application does.
    Database& db = context.database();
    std::optional<std::vector<Library>> libraries; // read only when a folder is missing
    for (const auto& root : options.roots) {
        std::error_code ec;
        if (std::filesystem::exists(root, ec)) continue;
        if (!libraries) libraries = db.libraries(Counts::Skipped);
        const bool known = std::any_of(libraries->begin(), libraries->end(),
                                       [&](const Library& library) { return library.path == root; });
        if (!known) throw UserError("No such folder: " + root);
    }

    LibraryScanner scanner(db);
    ScanStats total;
    std::string errors;
    auto results = nlohmann::ordered_json::array();

    for (const auto& root : options.roots) {
        ProgressLine line(context.err);
        LibraryScanner::Progress progress;
        if (context.errIsTerminal) {
            progress = [&line](std::size_t count, const std::filesystem::path& file) { line.update(count, file); };
        }
        nlohmann::ordered_json result;
        putText(result, "root", root);
        try {
            const ScanStats stats = scanner.scan(root, progress, options.full);
            accumulate(total, stats);
            result["stats"] = toJson(stats);
        } catch (const std::runtime_error& error) {
            if (!errors.empty()) errors += '\n';
            errors += error.what();
            putText(result, "error", error.what());
        }
        line.clear();
        results.push_back(std::move(result));
    }

    const std::string summary = errors.empty() ? scanCompleteMessage(total, options.full) : scanAttentionMessage(errors);
    if (!errors.empty()) context.exitStatus = 1;
    if (context.json) {
        nlohmann::ordered_json document;
        document["roots"] = std::move(results);
        document["total"] = toJson(total);
        document["full"] = options.full;
        putText(document, "summary", summary);
        context.printJson(document);
    } else {
        (errors.empty() ? context.out : context.err) << summary << '\n';
    }
}

} // namespace

void addScanCommand(CLI::App& app, CliContext& context)
{
    auto options = std::make_shared<ScanOptions>();
    auto* command = app.add_subcommand("scan", "Index folders as libraries (new, changed, moved and vanished files)");
    command->add_flag("--full", options->full, "Analyse every file again, even when unchanged (Full Scan)");
    command->add_option("DIR", options->roots, "Library folders")->required();
    command->callback([&context, options] { runScan(context, *options); });
}

} // namespace qv::cli
