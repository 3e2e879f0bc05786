#pragma once
// The preview player's decisions, as plain functions: texts of the player panel, which
// transport buttons are enabled, which row the next step starts from, where a step
// goes, and how many times a load is tried.

#include "sample.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace qv {

enum class PlaybackState : std::int64_t { Idle = 0, Loading = 1, Playing = 2, Paused = 3, Finished = 4, Failed = 5 };

// "%ld:%02ld" of whole minutes and seconds, truncated; negative or non-finite is 0:00.
std::string clockText(double seconds);
// "Am" for a minor key, "Cmaj" for a major one, a bare note as it is, "--" for none.
std::string displayKey(const std::string& musicalKey);
std::string bpmText(const std::optional<std::int32_t>& bpm); // "%d" or "--"
// A sample's length in a result row: tenths under ten seconds ("0.4s"), whole seconds
// under a minute ("42s"), then the clock ("1:05"). A one-shot is not "0:00".
std::string lengthText(double seconds);
// Freedesktop-style names of the speaker symbols: slashed, one wave, two waves.
std::string volumeSymbol(double volume);
// One attempt while stepping (the walk moves on), two for a direct load.
int decodeAttempts(std::int64_t direction);
// The state to show when a load fails: the old player's, or Failed without one.
PlaybackState stateAfterFailedLoad(bool hasPlayer, bool playerIsPlaying);

struct TransportInputs {
    PlaybackState state = PlaybackState::Idle;
    bool hasPlayer = false;
    bool sampleLoaded = false;
    std::int64_t navigationIndex = -1; // manualNavigationIndex
    std::int64_t rowCount = 0;
    std::int64_t page = 0;
    bool hasNextPage = false;
    bool sortActive = false;
    std::optional<std::int64_t> sortedIndex;
    std::int64_t sortedTotal = 0;
};

struct TransportEnablement {
    bool play = true;
    bool stop = false;
    bool previous = false;
    bool next = false;
    bool favorite = false;
    bool addToPlaylist = false;
    bool operator==(const TransportEnablement&) const = default;
};

TransportEnablement transportEnablement(const TransportInputs& in);

struct AnchorInputs {
    bool manualAnchorActive = false;
    std::int64_t selectedRow = -1; // the table's first selected row, -1 for none
    std::int64_t currentIndex = -1;
    std::optional<std::int64_t> loadedSampleId; // id of _currentSample
    std::int64_t playingSampleId = 0;
    std::vector<std::int64_t> rowIds;
};

struct Anchor {
    std::int64_t index = -1;
    bool clearManualAnchor = false; // the anchor was set but no row is selected
    bool takesSelection = false;    // the selected row also becomes the current index
};

// The row the next previous/next step starts from (manualNavigationIndex).
Anchor navigationAnchor(const AnchorInputs& in);

struct Step {
    enum class Kind { None, Row, CrossPage, SortedGlobal } kind = Kind::None;
    std::int64_t target = 0; // the row, or the global sorted index
    std::int64_t direction = 0;
    bool operator==(const Step&) const = default;
};

struct StepInputs {
    std::int64_t from = -1; // the anchor
    std::int64_t rowCount = 0;
    bool sortActive = false;
    std::optional<std::int64_t> sortedIndex;
    std::int64_t sortedTotal = 0;
};

Step nextStep(const StepInputs& in);
Step previousStep(const StepInputs& in);

struct WalkResult {
    std::int64_t row = -1;      // the row to load, -1 when the walk left the page
    bool skipped = false;       // rows were passed over to reach it
};

// From row j in direction d: j itself when it is MIDI or playable, else the first row
// beyond it that is. `playable` answers for one row (the file exists and is readable).
template <typename Playable>
WalkResult walkToPlayable(const std::vector<Sample>& rows, std::int64_t j, std::int64_t d, Playable playable)
{
    const auto count = static_cast<std::int64_t>(rows.size());
    if (j < 0 || j >= count) return {};
    auto usable = [&](std::int64_t i) {
        return rows[static_cast<std::size_t>(i)].type == SampleType::MIDI || playable(rows[static_cast<std::size_t>(i)]);
    };
    if (usable(j)) return {j, false};
    for (std::int64_t i = j + d; i >= 0 && i < count; i += d) {
        if (usable(i)) return {i, true};
    }
    return {};
}

} // namespace qv
