#include "arguments.h"

#include "cli_context.h"

#include <algorithm>
#include <filesystem>

namespace qv::cli {

namespace {

constexpr const char* kTypeChoices = "\"Loop\", \"One Shot\", \"MIDI\" or \"Unknown\"";

std::optional<SampleType> knownType(const std::string& text)
{
    for (const auto type : {SampleType::Loop, SampleType::OneShot, SampleType::MIDI, SampleType::Unknown}) {
        if (text == toString(type)) return type;
    }
    return std::nullopt;
}

} // namespace

std::string folderArgument(const std::string& text)
{
    if (text.empty()) throw UserError("The folder must not be empty");
    std::string folder = std::filesystem::absolute(text).lexically_normal().string();
    // "/" becomes "": every sample lies below the root, and an empty folder means all.
    while (!folder.empty() && folder.back() == '/') folder.pop_back();
    return folder;
}

SampleType typeArgument(const std::string& text)
{
    if (const auto type = knownType(text)) return *type;
    throw UserError("Unknown type \"" + text + "\": use " + kTypeChoices);
}

std::optional<SampleType> typeOrAutoArgument(const std::string& text)
{
    if (text == "auto") return std::nullopt;
    if (const auto type = knownType(text)) return type;
    throw UserError("Unknown type \"" + text + "\": use " + kTypeChoices + ", or \"auto\" to clear the override");
}

Playlist findPlaylist(Database& db, std::int64_t id, Counts counts)
{
    const auto all = db.playlists(counts);
    const auto it = std::find_if(all.begin(), all.end(), [id](const Playlist& playlist) { return playlist.id == id; });
    if (it == all.end()) throw UserError("No playlist with id " + std::to_string(id));
    return *it;
}

void requireSample(Database& db, std::int64_t id)
{
    if (!db.hasSample(id)) throw UserError("No sample with id " + std::to_string(id));
}

} // namespace qv::cli
