// `libraries`, `label ID TEXT` and `remove-library ID`.
#include "cli_context.h"
#include "commands.h"
#include "json_output.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <iomanip>
#include <memory>
#include <ostream>

namespace qv::cli {

namespace {

Library findLibrary(Database& db, std::int64_t id)
{
    const auto all = db.libraries();
    const auto it = std::find_if(all.begin(), all.end(), [id](const Library& library) { return library.id == id; });
    if (it == all.end()) throw UserError("No library with id " + std::to_string(id));
    return *it;
}

void printLibraries(CliContext& context)
{
    const auto libraries = context.database().libraries();
    if (context.json) {
        auto list = nlohmann::ordered_json::array();
        for (const auto& library : libraries) {
            list.push_back(toJson(library, context.database().isLibraryAvailable(library.path)));
        }
        context.printJson(list);
        return;
    }
    if (libraries.empty()) {
        context.out << "No libraries yet. Add one with: quorvalinder-cli scan DIR\n";
        return;
    }
    context.out << std::setw(5) << "ID" << "  " << std::setw(9) << "SAMPLES" << "  STATE    PATH\n";
    for (const auto& library : libraries) {
        const bool available = context.database().isLibraryAvailable(library.path);
        context.out << std::setw(5) << library.id << "  " << std::setw(9) << library.sampleCount << "  "
                    << (available ? "online " : "offline") << "  " << library.path;
        if (!library.displayLabel.empty()) context.out << "  (" << library.displayLabel << ")";
        context.out << '\n';
    }
}

// Trimmed like the application's rename field: surrounding blanks are never meant.
std::string trimmed(const std::string& text)
{
    const auto first = text.find_first_not_of(" \t\r\n");
    if (first == std::string::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

} // namespace

void addLibraryCommands(CLI::App& app, CliContext& context)
{
    app.add_subcommand("libraries", "List the libraries with their sample counts and labels")->callback([&context] {
        printLibraries(context);
    });

    struct LabelOptions {
        std::int64_t id = 0;
        std::string text;
    };
    auto label = std::make_shared<LabelOptions>();
    auto* labelCommand = app.add_subcommand("label", "Set a library's display label (an empty text removes it)");
    labelCommand->add_option("ID", label->id, "Library id")->required();
    labelCommand->add_option("TEXT", label->text, "Label")->required();
    labelCommand->callback([&context, label] {
        Database& db = context.database();
        findLibrary(db, label->id);
        db.setLibraryDisplayLabel(label->id, trimmed(label->text));
        auto library = findLibrary(db, label->id);
        if (context.json) {
            context.printJson(toJson(library, db.isLibraryAvailable(library.path)));
        } else {
            context.out << "Library " << library.id << " is labelled \"" << library.displayLabel << "\"\n";
        }
    });

    auto removeId = std::make_shared<std::int64_t>(0);
    auto* removeCommand = app.add_subcommand(
        "remove-library", "Remove a library from the index (your files are not touched)");
    removeCommand->add_option("ID", *removeId, "Library id")->required();
    removeCommand->callback([&context, removeId] {
        Database& db = context.database();
        const auto library = findLibrary(db, *removeId);
        const bool available = db.isLibraryAvailable(library.path);
        db.removeLibrary(library.id);
        if (context.json) {
            nlohmann::ordered_json document;
            document["removed"] = toJson(library, available);
            context.printJson(document);
        } else {
            context.out << "Removed " << library.path << " (" << library.sampleCount
                        << " samples) from the index. Your original files were not changed.\n";
        }
    });
}

} // namespace qv::cli
