// The user's own metadata: `favorite ID on|off`, `set-type TYPE|auto ID...`,
// `folder-type DIR TYPE|auto`, `folder-instrument DIR NAME|auto` and
// `folder-genre DIR GENRE add|remove`. Rescans keep all of them.
#include "arguments.h"
#include "cli_context.h"
#include "commands.h"
#include "json_output.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <memory>
#include <ostream>

namespace qv::cli {

namespace {

struct FavoriteOptions {
    std::int64_t id = 0;
    std::string state;
};

struct SetTypeOptions {
    std::string type;
    std::vector<std::int64_t> ids;
};

struct FolderOptions {
    std::string folder;
    std::string value;  // type, instrument or genre
    std::string action; // folder-genre only
};

nlohmann::ordered_json typeJson(const std::optional<SampleType>& type)
{
    return type ? nlohmann::ordered_json(toString(*type)) : nlohmann::ordered_json(nullptr);
}

// The folder is a lexical path, so a typo would edit nothing and still look like success.
std::int64_t requireFolderSamples(Database& db, const std::string& folder)
{
    const std::int64_t count = db.countFolderSamples(folder, true);
    if (count == 0) throw UserError("No indexed samples below " + (folder.empty() ? std::string("/") : folder));
    return count;
}

void runFavorite(CliContext& context, const FavoriteOptions& options)
{
    const bool favorite = options.state == "on";
    Database& db = context.database();
    requireSample(db, options.id);
    db.setFavorite(options.id, favorite);
    if (context.json) {
        context.printJson({{"id", options.id}, {"favorite", db.isFavorite(options.id)}});
    } else {
        context.out << "Sample " << options.id << (favorite ? " is a favorite\n" : " is no longer a favorite\n");
    }
}

void runSetType(CliContext& context, const SetTypeOptions& options)
{
    const auto type = typeOrAutoArgument(options.type);
    // All ids change or none: the core checks them in one transaction.
    context.database().setTypeOverride(options.ids, type);
    if (context.json) {
        context.printJson({{"ids", options.ids}, {"type", typeJson(type)}});
        return;
    }
    const auto count = options.ids.size();
    const std::string samples = std::to_string(count) + (count == 1 ? " sample" : " samples");
    if (type) {
        context.out << "Marked " << samples << " as " << toString(*type) << '\n';
    } else {
        context.out << "Cleared the type override of " << samples << '\n';
    }
}

void runFolderType(CliContext& context, const FolderOptions& options)
{
    const std::string folder = folderArgument(options.folder);
    const auto type = typeOrAutoArgument(options.value);
    Database& db = context.database();
    requireFolderSamples(db, folder);
    // Counted before the edit: MIDI files are left alone, so they are not among the changed.
    const std::int64_t changed = db.countFolderSamples(folder, false);
    db.setFolderTypeOverride(folder, type);
    if (context.json) {
        nlohmann::ordered_json document;
        putText(document, "folder", folder);
        document["type"] = typeJson(type);
        document["samples"] = changed;
        context.printJson(document);
    } else {
        context.out << (type ? "Marked " : "Cleared the type override of ") << changed
                    << (changed == 1 ? " sample" : " samples") << " below " << folder
                    << (type ? " as " + toString(*type) : std::string()) << '\n';
    }
}

void runFolderInstrument(CliContext& context, const FolderOptions& options)
{
    const std::string folder = folderArgument(options.folder);
    std::optional<std::string> instrument;
    if (options.value != "auto") {
        if (options.value.find_first_not_of(" \t\r\n") == std::string::npos) {
            throw UserError("The instrument must not be empty (\"auto\" clears the override)");
        }
        instrument = options.value;
    }
    Database& db = context.database();
    const std::int64_t count = requireFolderSamples(db, folder);
    db.setFolderInstrumentOverride(folder, instrument);
    if (context.json) {
        nlohmann::ordered_json document;
        putText(document, "folder", folder);
        if (instrument) {
            putText(document, "instrument", *instrument);
        } else {
            document["instrument"] = nullptr;
        }
        document["samples"] = count;
        context.printJson(document);
    } else {
        context.out << (instrument ? "Set the instrument of " : "Cleared the instrument override of ") << count
                    << (count == 1 ? " sample" : " samples") << " below " << folder
                    << (instrument ? " to " + *instrument : std::string()) << '\n';
    }
}

void runFolderGenre(CliContext& context, const FolderOptions& options)
{
    const std::string folder = folderArgument(options.folder);
    if (options.value.find_first_not_of(" \t\r\n") == std::string::npos) throw UserError("The genre must not be empty");
    const bool add = options.action == "add";
    Database& db = context.database();
    const std::int64_t count = requireFolderSamples(db, folder);
    db.setFolderGenreOverride(folder, options.value, add);
    if (context.json) {
        nlohmann::ordered_json document;
        putText(document, "folder", folder);
        putText(document, "genre", options.value);
        document["added"] = add;
        document["samples"] = count;
        context.printJson(document);
    } else {
        context.out << (add ? "Added " : "Removed ") << options.value << (add ? " to " : " from ") << count
                    << (count == 1 ? " sample" : " samples") << " below " << folder << '\n';
    }
}

} // namespace

void addEditCommands(CLI::App& app, CliContext& context)
{
    auto favorite = std::make_shared<FavoriteOptions>();
    auto* favoriteCommand = app.add_subcommand("favorite", "Mark a sample as a favorite, or unmark it");
    favoriteCommand->add_option("ID", favorite->id, "Sample id")->required();
    favoriteCommand->add_option("STATE", favorite->state, "on or off")->required()->check(CLI::IsMember({"on", "off"}));
    favoriteCommand->callback([&context, favorite] { runFavorite(context, *favorite); });

    auto setType = std::make_shared<SetTypeOptions>();
    auto* setTypeCommand =
        app.add_subcommand("set-type", "Override the type of samples (auto: back to the inferred type)");
    setTypeCommand->add_option("TYPE", setType->type, "Loop, \"One Shot\", MIDI, Unknown or auto")->required();
    setTypeCommand->add_option("ID", setType->ids, "Sample ids")->required();
    setTypeCommand->callback([&context, setType] { runSetType(context, *setType); });

    auto folderType = std::make_shared<FolderOptions>();
    auto* folderTypeCommand = app.add_subcommand(
        "folder-type", "Override the type of every sample below a folder, MIDI files excepted (auto: clear)");
    folderTypeCommand->add_option("DIR", folderType->folder, "Folder")->required();
    folderTypeCommand->add_option("TYPE", folderType->value, "Loop, \"One Shot\", Unknown or auto")->required();
    folderTypeCommand->callback([&context, folderType] { runFolderType(context, *folderType); });

    auto folderInstrument = std::make_shared<FolderOptions>();
    auto* folderInstrumentCommand = app.add_subcommand(
        "folder-instrument", "Override the instrument of every sample below a folder (auto: clear)");
    folderInstrumentCommand->add_option("DIR", folderInstrument->folder, "Folder")->required();
    folderInstrumentCommand->add_option("NAME", folderInstrument->value, "Instrument or auto")->required();
    folderInstrumentCommand->callback(
        [&context, folderInstrument] { runFolderInstrument(context, *folderInstrument); });

    auto folderGenre = std::make_shared<FolderOptions>();
    auto* folderGenreCommand =
        app.add_subcommand("folder-genre", "Add a genre to every sample below a folder, or remove one added so");
    folderGenreCommand->add_option("DIR", folderGenre->folder, "Folder")->required();
    folderGenreCommand->add_option("GENRE", folderGenre->value, "Genre")->required();
    folderGenreCommand->add_option("ACTION", folderGenre->action, "add or remove")
        ->required()
        ->check(CLI::IsMember({"add", "remove"}));
    folderGenreCommand->callback([&context, folderGenre] { runFolderGenre(context, *folderGenre); });
}

} // namespace qv::cli
