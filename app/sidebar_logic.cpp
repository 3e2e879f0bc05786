#include "sidebar_logic.h"

#include <QSettings>

#include <algorithm>
#include <charconv>
#include <filesystem>

namespace qv {

namespace {

bool inSomePlace(const BrowseState& state)
{
    return state.libraryMode || state.favoriteMode || !state.folderScope.empty() || state.playlistId.has_value();
}

void leavePlace(BrowseState& state)
{
    state.libraryMode = false;
    state.favoriteMode = false;
    state.folderScope.clear();
    state.playlistId.reset();
    state.sectionType.clear();
    state.page = 0;
}

// `path` is the node's own, `normal` its standardizedPath.
bool collectChain(const FolderTree& tree, FolderTree::Node node, const std::string& path, const std::string& normal,
                  const std::string& target, std::vector<FolderTree::Node>& chain)
{
    chain.push_back(node);
    if (!path.empty() && normal == target) return true;
    for (const FolderTree::Node child : tree.children(node)) {
        const std::string_view name = tree.name(child);
        std::string childPath = path;
        if (!childPath.empty() && childPath.back() != '/') childPath += '/';
        childPath += name;
        // A plain name only extends its parent's normal form; normalising every child of
        // a wide folder would cost more than the rest of the walk.
        std::string childNormal;
        if (name != "." && name != ".." && !name.empty() && !normal.empty() && normal != ".") {
            childNormal = normal;
            if (childNormal.back() != '/') childNormal += '/';
            childNormal += name;
        } else {
            childNormal = standardizedPath(childPath);
        }
        // Only a folder that is a prefix of the target can lead to it.
        if (target.compare(0, childNormal.size(), childNormal) != 0) continue;
        if (target.size() != childNormal.size() && target[childNormal.size()] != '/' && childNormal != "/") continue;
        if (collectChain(tree, child, childPath, childNormal, target, chain)) return true;
    }
    chain.pop_back();
    return false;
}

bool collectChain(const FolderTree& tree, FolderTree::Node top, const std::string& target,
                  std::vector<FolderTree::Node>& chain)
{
    const std::string path = tree.path(top);
    return collectChain(tree, top, path, standardizedPath(path), target, chain);
}

std::optional<std::int64_t> parseId(const std::string& text)
{
    std::int64_t id = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), id);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return id;
}

} // namespace

std::string sectionTypeForTag(int tag)
{
    switch (tag) {
    case kLoopTag: return "Loop";
    case kOneShotTag: return "One Shot";
    case kMidiTag: return "MIDI";
    default: return {};
    }
}

int tagForSectionType(const std::string& type)
{
    if (type == "Loop") return kLoopTag;
    if (type == "One Shot") return kOneShotTag;
    return kMidiTag;
}

bool pressSidebarButton(BrowseState& state, SidebarButtons& buttons, int tag)
{
    state.page = 0;
    if (tag >= kLoopTag && tag <= kMidiTag) {
        const std::string type = sectionTypeForTag(tag);
        if (state.sectionType == type) {
            state.sectionType.clear();
            buttons.activeType = inSomePlace(state) ? kNoButton : kAllTypesTag;
        } else {
            state.sectionType = type;
            buttons.activeType = tag;
        }
        return false;
    }
    leavePlace(state);
    buttons = {kNoButton, kNoButton};
    if (tag == kAllTypesTag) {
        buttons.activeType = kAllTypesTag;
    } else {
        buttons.activeNav = tag;
        state.libraryMode = tag == kLibrariesTag;
        state.favoriteMode = tag == kFavoritesTag;
    }
    return true;
}

void selectFolderPlace(BrowseState& state, SidebarButtons& buttons, const std::string& folder)
{
    leavePlace(state);
    state.folderScope = folder;
    buttons = {kNoButton, kNoButton};
}

void selectPlaylistPlace(BrowseState& state, SidebarButtons& buttons, std::int64_t playlistId)
{
    leavePlace(state);
    state.playlistId = playlistId;
    buttons = {kNoButton, kNoButton};
}

std::string standardizedPath(const std::string& path)
{
    if (path.empty()) return {};
    std::string normal = std::filesystem::path(path).lexically_normal().string();
    while (normal.size() > 1 && normal.back() == '/') normal.pop_back();
    return normal;
}

std::vector<FolderTree::Node> findFolderChain(const FolderTree& tree, const std::string& path)
{
    std::vector<FolderTree::Node> chain;
    const std::string target = standardizedPath(path);
    if (target.empty()) return chain;
    // The synthetic root of several libraries is not shown, so not in a chain.
    if (!tree.isLibrary(tree.root())) {
        for (const FolderTree::Node library : tree.children(tree.root())) {
            if (collectChain(tree, library, target, chain)) return chain;
        }
        return {};
    }
    collectChain(tree, tree.root(), target, chain);
    return chain;
}

std::vector<BreadcrumbEntry> breadcrumbEntries(const BrowseState& state, const std::vector<Playlist>& playlists,
                                               const FolderTree& tree, const std::vector<FolderTree::Node>& chain)
{
    std::vector<BreadcrumbEntry> entries;
    if (state.playlistId) {
        entries.push_back({"Playlists", "all", {}});
        const auto found = std::find_if(playlists.begin(), playlists.end(),
                                        [&](const Playlist& p) { return p.id == *state.playlistId; });
        if (found != playlists.end()) entries.push_back({found->name, "playlist", std::to_string(found->id)});
    } else if (state.favoriteMode) {
        entries.push_back({"Favorites", "favorites", {}});
    } else if (state.libraryMode) {
        entries.push_back({"Libraries", "libraries", {}});
    } else if (state.folderScope.empty()) {
        entries.push_back({"All Samples", "all", {}});
    } else {
        entries.push_back({"Folders", "all", {}});
        const std::size_t first = chain.size() > kBreadcrumbFolderLimit ? chain.size() - kBreadcrumbFolderLimit : 0;
        for (std::size_t i = first; i < chain.size(); ++i) {
            entries.push_back({std::string(tree.name(chain[i])), "folder", standardizedPath(tree.path(chain[i]))});
        }
    }
    if (!state.sectionType.empty()) entries.push_back({state.sectionType, "section", {}});
    return entries;
}

BreadcrumbSnapshot breadcrumbSnapshot(const BrowseState& state)
{
    BreadcrumbSnapshot snapshot;
    if (state.playlistId) {
        snapshot.kind = "playlist";
        snapshot.value = std::to_string(*state.playlistId);
    } else if (state.favoriteMode) {
        snapshot.kind = "favorites";
    } else if (state.libraryMode) {
        snapshot.kind = "libraries";
    } else if (!state.folderScope.empty()) {
        snapshot.kind = "folder";
        snapshot.value = state.folderScope;
    } else {
        snapshot.kind = "all";
    }
    snapshot.section = state.sectionType;
    snapshot.page = state.page;
    return snapshot;
}

void restoreBreadcrumbSnapshot(BrowseState& state, SidebarButtons& buttons, const BreadcrumbSnapshot& snapshot)
{
    const std::optional<std::int64_t> playlist = parseId(snapshot.value);
    if (snapshot.kind == "playlist" && playlist) {
        selectPlaylistPlace(state, buttons, *playlist);
    } else if (snapshot.kind == "favorites") {
        pressSidebarButton(state, buttons, kFavoritesTag);
    } else if (snapshot.kind == "libraries") {
        pressSidebarButton(state, buttons, kLibrariesTag);
    } else if (snapshot.kind == "folder" && !snapshot.value.empty()) {
        selectFolderPlace(state, buttons, snapshot.value);
    } else {
        pressSidebarButton(state, buttons, kAllSamplesTag);
    }
    if (!snapshot.section.empty()) {
        state.sectionType = snapshot.section;
        buttons.activeType = tagForSectionType(snapshot.section);
    }
    state.page = std::max<std::int64_t>(0, snapshot.page);
}

void BreadcrumbHistory::push(BreadcrumbSnapshot snapshot)
{
    _snapshots.push_back(std::move(snapshot));
    while (_snapshots.size() > kBreadcrumbHistoryLimit) _snapshots.pop_front();
}

std::optional<BreadcrumbSnapshot> BreadcrumbHistory::pop()
{
    if (_snapshots.empty()) return std::nullopt;
    BreadcrumbSnapshot newest = std::move(_snapshots.back());
    _snapshots.pop_back();
    return newest;
}

LaunchLocation readLaunchLocation(const QSettings& settings)
{
    LaunchLocation location;
    location.kind = settings.value(QLatin1String(kLaunchLocationKindKey)).toString().toStdString();
    location.folderPath = settings.value(QLatin1String(kLaunchFolderPathKey)).toString().toStdString();
    bool ok = false;
    const qlonglong id = settings.value(QLatin1String(kLaunchPlaylistIdKey)).toLongLong(&ok);
    if (ok) location.playlistId = id;
    return location;
}

void setFolderOpenAtLaunch(QSettings& settings, const std::string& folder)
{
    if (folder.empty()) return;
    settings.setValue(QLatin1String(kLaunchLocationKindKey), QStringLiteral("folder"));
    settings.setValue(QLatin1String(kLaunchFolderPathKey), QString::fromStdString(folder));
    settings.remove(QLatin1String(kLaunchPlaylistIdKey));
}

void setPlaylistOpenAtLaunch(QSettings& settings, std::int64_t playlistId)
{
    settings.setValue(QLatin1String(kLaunchLocationKindKey), QStringLiteral("playlist"));
    settings.setValue(QLatin1String(kLaunchPlaylistIdKey), static_cast<qlonglong>(playlistId));
    settings.remove(QLatin1String(kLaunchFolderPathKey));
}

void setFavoritesOpenAtLaunch(QSettings& settings)
{
    settings.setValue(QLatin1String(kLaunchLocationKindKey), QStringLiteral("favorites"));
    settings.remove(QLatin1String(kLaunchFolderPathKey));
    settings.remove(QLatin1String(kLaunchPlaylistIdKey));
}

void clearLaunchLocation(QSettings& settings)
{
    settings.remove(QLatin1String(kLaunchLocationKindKey));
    settings.remove(QLatin1String(kLaunchFolderPathKey));
    settings.remove(QLatin1String(kLaunchPlaylistIdKey));
}

LaunchAction launchAction(int layoutMode, const LaunchLocation& location,
                          const std::function<bool(const std::string&)>& folderExists,
                          const std::function<bool(std::int64_t)>& playlistExists)
{
    if (layoutMode == 0) return LaunchAction::Nothing;
    if (location.kind == "favorites") return LaunchAction::OpenFavorites;
    if (location.kind == "folder" && !location.folderPath.empty() && folderExists(location.folderPath)) {
        return LaunchAction::OpenFolder;
    }
    if (location.kind == "playlist" && location.playlistId && playlistExists(*location.playlistId)) {
        return LaunchAction::OpenPlaylist;
    }
    return location.kind.empty() ? LaunchAction::Nothing : LaunchAction::ClearStored;
}

} // namespace qv
