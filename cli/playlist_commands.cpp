// `playlist list|create|delete|add|remove` and `tree`, the two halves of the sidebar.
#include "arguments.h"
#include "cli_context.h"
#include "commands.h"
#include "json_output.h"

#include "browse/folder_tree.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <iomanip>
#include <memory>
#include <ostream>

namespace qv::cli {

namespace {

struct PlaylistOptions {
    std::string name;
    std::int64_t id = 0;
    std::vector<std::int64_t> samples; // add
    std::int64_t sample = 0;           // remove
};

nlohmann::ordered_json toJson(const Playlist& playlist)
{
    nlohmann::ordered_json j;
    j["id"] = playlist.id;
    putText(j, "name", playlist.name);
    j["sampleCount"] = playlist.sampleCount;
    return j;
}

void printPlaylist(CliContext& context, const Playlist& playlist, const std::string& what)
{
    if (context.json) {
        context.printJson(toJson(playlist));
    } else {
        context.out << what << " playlist " << playlist.id << " \"" << playlist.name << "\" (" << playlist.sampleCount
                    << (playlist.sampleCount == 1 ? " sample)\n" : " samples)\n");
    }
}

void listPlaylists(CliContext& context)
{
    const auto playlists = context.database().playlists();
    if (context.json) {
        auto list = nlohmann::ordered_json::array();
        for (const auto& playlist : playlists) list.push_back(toJson(playlist));
        context.printJson(list);
        return;
    }
    if (playlists.empty()) {
        context.out << "No playlists yet. Create one with: quorvalinder-cli playlist create NAME\n";
        return;
    }
    context.out << std::setw(5) << "ID" << "  " << std::setw(9) << "SAMPLES" << "  NAME\n";
    for (const auto& playlist : playlists) {
        context.out << std::setw(5) << playlist.id << "  " << std::setw(9) << playlist.sampleCount << "  "
                    << playlist.name << '\n';
    }
}

void createPlaylist(CliContext& context, const PlaylistOptions& options)
{
    Database& db = context.database();
    // The core trims the name and refuses empty and duplicate ones with its own messages.
    printPlaylist(context, findPlaylist(db, db.createPlaylist(options.name)), "Created");
}

void deletePlaylist(CliContext& context, const PlaylistOptions& options)
{
    Database& db = context.database();
    const Playlist playlist = findPlaylist(db, options.id);
    db.deletePlaylist(playlist.id);
    if (context.json) {
        nlohmann::ordered_json document;
        document["removed"] = toJson(playlist);
        context.printJson(document);
    } else {
        context.out << "Deleted playlist " << playlist.id << " \"" << playlist.name
                    << "\". Its samples stay in the index.\n";
    }
}

void addToPlaylist(CliContext& context, const PlaylistOptions& options)
{
    Database& db = context.database();
    findPlaylist(db, options.id);
    // Every id is checked first so that a typo adds nothing rather than half the list.
    for (const auto sample : options.samples) requireSample(db, sample);
    for (const auto sample : options.samples) db.addToPlaylist(options.id, sample);
    printPlaylist(context, findPlaylist(db, options.id), "Updated");
}

void removeFromPlaylist(CliContext& context, const PlaylistOptions& options)
{
    Database& db = context.database();
    const Playlist playlist = findPlaylist(db, options.id);
    const std::int64_t sample = options.sample;
    SearchQuery members;
    members.playlistId = playlist.id;
    if (!db.matchingIndex(members, sample)) {
        throw UserError("Sample " + std::to_string(sample) + " is not in playlist \"" + playlist.name + "\"");
    }
    db.removeFromPlaylist(playlist.id, sample);
    printPlaylist(context, findPlaylist(db, playlist.id), "Updated");
}

nlohmann::ordered_json toJson(const FolderTree& tree, FolderTree::Node node)
{
    nlohmann::ordered_json j;
    putText(j, "name", std::string(tree.name(node)));
    putText(j, "path", tree.path(node));
    auto children = nlohmann::ordered_json::array();
    for (const auto child : tree.children(node)) children.push_back(toJson(tree, child));
    j["children"] = std::move(children);
    return j;
}

void printNode(std::ostream& out, const FolderTree& tree, FolderTree::Node node, std::size_t depth)
{
    out << std::string(depth * 2, ' ') << tree.name(node) << '\n';
    for (const auto child : tree.children(node)) printNode(out, tree, child, depth + 1);
}

void printTree(CliContext& context)
{
    const FolderTree tree = buildFolderTree(context.database().indexedPaths());
    if (context.json) {
        context.printJson(toJson(tree, tree.root()));
        return;
    }
    if (!tree.isLibrary(tree.root()) && !tree.hasChildren(tree.root())) {
        context.out << "No libraries yet. Add one with: quorvalinder-cli scan DIR\n";
        return;
    }
    // As in the sidebar: several libraries hang under an unnamed root that is not shown.
    if (!tree.isLibrary(tree.root())) {
        for (const auto library : tree.children(tree.root())) printNode(context.out, tree, library, 0);
    } else {
        printNode(context.out, tree, tree.root(), 0);
    }
}

} // namespace

void addPlaylistCommands(CLI::App& app, CliContext& context)
{
    auto* playlist = app.add_subcommand("playlist", "List, create and delete playlists, and add or remove samples");
    playlist->require_subcommand(1);

    playlist->add_subcommand("list", "List playlists with their sample counts")->callback([&context] {
        listPlaylists(context);
    });

    auto create = std::make_shared<PlaylistOptions>();
    auto* createCommand = playlist->add_subcommand("create", "Create a playlist");
    createCommand->add_option("NAME", create->name, "Playlist name")->required();
    createCommand->callback([&context, create] { createPlaylist(context, *create); });

    auto doomed = std::make_shared<PlaylistOptions>();
    auto* deleteCommand = playlist->add_subcommand("delete", "Delete a playlist (its samples stay indexed)");
    deleteCommand->add_option("ID", doomed->id, "Playlist id")->required();
    deleteCommand->callback([&context, doomed] { deletePlaylist(context, *doomed); });

    auto add = std::make_shared<PlaylistOptions>();
    auto* addCommand = playlist->add_subcommand("add", "Add samples to a playlist");
    addCommand->add_option("ID", add->id, "Playlist id")->required();
    addCommand->add_option("SAMPLE", add->samples, "Sample ids")->required();
    addCommand->callback([&context, add] { addToPlaylist(context, *add); });

    auto remove = std::make_shared<PlaylistOptions>();
    auto* removeCommand = playlist->add_subcommand("remove", "Remove a sample from a playlist");
    removeCommand->add_option("ID", remove->id, "Playlist id")->required();
    removeCommand->add_option("SAMPLE", remove->sample, "Sample id")->required();
    removeCommand->callback([&context, remove] { removeFromPlaylist(context, *remove); });

    app.add_subcommand("tree", "Show the folder tree of the indexed libraries")->callback([&context] {
        printTree(context);
    });
}

} // namespace qv::cli
