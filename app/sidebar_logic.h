#pragma once
// The sidebar's decisions, without a widget: what a button press does to the place and
// which buttons light up, the breadcrumb entries of a place, snapshots and their history
// of 20, finding a folder's chain in the tree, and the stored launch location.

#include "browse/folder_tree.h"
#include "browse_state.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

class QSettings;

namespace qv {

// Button tags. The "All Samples" navigation button has no tag of its own meaning.
inline constexpr int kAllTypesTag = 0;
inline constexpr int kLoopTag = 1;
inline constexpr int kOneShotTag = 2;
inline constexpr int kMidiTag = 3;
inline constexpr int kFavoritesTag = 4;
inline constexpr int kAllSamplesTag = 5;
inline constexpr int kLibrariesTag = 6;
inline constexpr int kNoButton = -1;

inline constexpr std::size_t kBreadcrumbHistoryLimit = 20;
inline constexpr std::size_t kBreadcrumbFolderLimit = 3;

inline constexpr const char* kLaunchLocationKindKey = "QVLaunchLocationKind";
inline constexpr const char* kLaunchFolderPathKey = "QVLaunchFolderPath";
inline constexpr const char* kLaunchPlaylistIdKey = "QVLaunchPlaylistID";

// Which navigation button and which type button are lit; kNoButton when none.
struct SidebarButtons {
    int activeNav = kAllSamplesTag;
    int activeType = kNoButton;
};

// "Loop", "One Shot", "MIDI" for tags 1 to 3; empty otherwise.
std::string sectionTypeForTag(int tag);
int tagForSectionType(const std::string& type); // 1 to 3; 3 for any other non-empty text

// A press of a sidebar button: tags 1 to 3 narrow the current place by type (pressing
// the current type again clears it); any other tag resets the place. The page goes back
// to 0 either way. Returns true when the place was reset (the title becomes the button's).
bool pressSidebarButton(BrowseState& state, SidebarButtons& buttons, int tag);
// A folder of the tree, or a playlist, chosen: every button goes dark.
void selectFolderPlace(BrowseState& state, SidebarButtons& buttons, const std::string& folder);
void selectPlaylistPlace(BrowseState& state, SidebarButtons& buttons, std::int64_t playlistId);

// Absolute, lexically normal, without a trailing separator, so "/a/b/" and "/a/./b" meet.
std::string standardizedPath(const std::string& path);
// The nodes from the tree's top item down to the folder with that path; empty when the
// tree does not hold it. The synthetic root of several libraries is not part of a chain.
std::vector<FolderTree::Node> findFolderChain(const FolderTree& tree, const std::string& path);

struct BreadcrumbEntry {
    std::string title;
    std::string kind; // "all", "playlist", "favorites", "libraries", "folder", "section"
    std::string value; // the playlist id, or the folder's path; empty for the others
    bool operator==(const BreadcrumbEntry&) const = default;
};

// `chain` is findFolderChain for the folder scope in `tree` (only the last three are shown).
std::vector<BreadcrumbEntry> breadcrumbEntries(const BrowseState& state, const std::vector<Playlist>& playlists,
                                               const FolderTree& tree, const std::vector<FolderTree::Node>& chain);

struct BreadcrumbSnapshot {
    std::string kind; // "playlist", "favorites", "libraries", "folder" or "all"
    std::string value;
    std::string section;
    std::int64_t page = 0;
    bool operator==(const BreadcrumbSnapshot&) const = default;
};

BreadcrumbSnapshot breadcrumbSnapshot(const BrowseState& state);
// Re-establishes the place, section and page of a snapshot and lights the buttons.
void restoreBreadcrumbSnapshot(BrowseState& state, SidebarButtons& buttons, const BreadcrumbSnapshot& snapshot);

// The places left behind, newest last; the oldest goes when a 21st arrives.
class BreadcrumbHistory {
public:
    void push(BreadcrumbSnapshot snapshot);
    std::optional<BreadcrumbSnapshot> pop();
    std::size_t size() const { return _snapshots.size(); }
    bool empty() const { return _snapshots.empty(); }

private:
    std::deque<BreadcrumbSnapshot> _snapshots;
};

// The place to open when the application first becomes active.
struct LaunchLocation {
    std::string kind; // "folder", "playlist", "favorites"; empty: open normally
    std::string folderPath;
    std::optional<std::int64_t> playlistId;
};

LaunchLocation readLaunchLocation(const QSettings& settings);
void setFolderOpenAtLaunch(QSettings& settings, const std::string& folder);
void setPlaylistOpenAtLaunch(QSettings& settings, std::int64_t playlistId);
void setFavoritesOpenAtLaunch(QSettings& settings);
void clearLaunchLocation(QSettings& settings);

enum class LaunchAction { Nothing, OpenFavorites, OpenFolder, OpenPlaylist, ClearStored };
// What the stored location asks for at launch, given which folders and playlists exist
// now. The compact vertical layout (mode 0) never restores and leaves the keys alone.
LaunchAction launchAction(int layoutMode, const LaunchLocation& location,
                          const std::function<bool(const std::string&)>& folderExists,
                          const std::function<bool(std::int64_t)>& playlistExists);

} // namespace qv
