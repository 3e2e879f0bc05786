#include "playback_logic.h"

#include <cmath>
#include <cstdio>

namespace qv {

std::string clockText(double seconds)
{
    long whole = 0;
    if (std::isfinite(seconds) && seconds > 0) whole = seconds >= 1e15 ? 0 : static_cast<long>(seconds);
    char buffer[48];
    std::snprintf(buffer, sizeof buffer, "%ld:%02ld", whole / 60, whole % 60);
    return buffer;
}

std::string displayKey(const std::string& musicalKey)
{
    if (musicalKey.empty() || musicalKey == "None") return "--";
    const auto space = musicalKey.find(' ');
    if (space == std::string::npos) return musicalKey;
    const std::string note = musicalKey.substr(0, space);
    const std::string mode = musicalKey.substr(space + 1);
    if (mode == "minor") return note + "m";
    if (mode == "major") return note + "maj";
    return musicalKey;
}

std::string lengthText(double seconds)
{
    if (!std::isfinite(seconds) || seconds < 0) return "0.0s";
    char buffer[48];
    if (seconds < 9.95) {
        std::snprintf(buffer, sizeof buffer, "%.1fs", seconds);
        return buffer;
    }
    if (seconds < 59.5) {
        std::snprintf(buffer, sizeof buffer, "%.0fs", seconds);
        return buffer;
    }
    return clockText(seconds);
}

std::string bpmText(const std::optional<std::int32_t>& bpm)
{
    return bpm ? std::to_string(*bpm) : "--";
}

std::string volumeSymbol(double volume)
{
    if (volume <= 0.01) return "audio-volume-muted";
    if (volume < 0.5) return "audio-volume-low";
    return "audio-volume-high";
}

int decodeAttempts(std::int64_t direction)
{
    return direction != 0 ? 1 : 2;
}

PlaybackState stateAfterFailedLoad(bool hasPlayer, bool playerIsPlaying)
{
    if (!hasPlayer) return PlaybackState::Failed;
    return playerIsPlaying ? PlaybackState::Playing : PlaybackState::Paused;
}

TransportEnablement transportEnablement(const TransportInputs& in)
{
    TransportEnablement out;
    out.stop = (in.state == PlaybackState::Playing || in.state == PlaybackState::Paused) && in.hasPlayer &&
               in.sampleLoaded;
    const std::int64_t i = in.navigationIndex;
    if (i < 0 && in.sortActive && in.sortedIndex) {
        out.previous = *in.sortedIndex != 0;
        out.next = *in.sortedIndex + 1 < in.sortedTotal;
    } else if (i >= 0) {
        out.previous = i > 0 || in.page > 0;
        out.next = i + 1 < in.rowCount || (i + 1 == in.rowCount && in.hasNextPage);
    }
    out.favorite = in.sampleLoaded;
    out.addToPlaylist = in.sampleLoaded;
    return out;
}

Anchor navigationAnchor(const AnchorInputs& in)
{
    const auto count = static_cast<std::int64_t>(in.rowIds.size());
    auto onPage = [&](std::int64_t row) { return row >= 0 && row < count; };
    Anchor out;
    if (in.manualAnchorActive) {
        if (onPage(in.selectedRow)) return {in.selectedRow, false, true};
        out.clearManualAnchor = true;
    }
    if (onPage(in.currentIndex) &&
        (!in.loadedSampleId || in.rowIds[static_cast<std::size_t>(in.currentIndex)] == *in.loadedSampleId)) {
        out.index = in.currentIndex;
        return out;
    }
    const std::int64_t wanted = in.loadedSampleId ? *in.loadedSampleId : in.playingSampleId;
    for (std::int64_t row = 0; row < count; ++row) {
        if (in.rowIds[static_cast<std::size_t>(row)] == wanted && wanted != 0) {
            out.index = row;
            return out;
        }
    }
    if (onPage(in.selectedRow)) out.index = in.selectedRow;
    return out;
}

Step nextStep(const StepInputs& in)
{
    if (in.from >= 0) {
        if (in.from + 1 < in.rowCount) return {Step::Kind::Row, in.from + 1, 1};
        if (in.from + 1 == in.rowCount) return {Step::Kind::CrossPage, 0, 1};
        return {};
    }
    if (in.sortActive && in.sortedIndex && *in.sortedIndex + 1 < in.sortedTotal) {
        return {Step::Kind::SortedGlobal, *in.sortedIndex + 1, 1};
    }
    return {};
}

Step previousStep(const StepInputs& in)
{
    if (in.from >= 1) return {Step::Kind::Row, in.from - 1, -1};
    if (in.from == 0) return {Step::Kind::CrossPage, 0, -1};
    if (in.sortActive && in.sortedIndex && *in.sortedIndex > 0) {
        return {Step::Kind::SortedGlobal, *in.sortedIndex - 1, -1};
    }
    return {};
}

} // namespace qv
