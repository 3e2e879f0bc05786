#include "filter_logic.h"

#include "ascii.h"

#include <algorithm>
#include <cstdlib>

namespace qv {

namespace {

bool equalIgnoringCase(const std::string& a, const std::string& b)
{
    return ascii::lowered(a) == ascii::lowered(b);
}

bool contains(const std::vector<std::string>& list, const std::string& value)
{
    return std::find(list.begin(), list.end(), value) != list.end();
}

bool chopSuffix(std::string& text, const std::string& suffix)
{
    if (!text.ends_with(suffix)) return false;
    text.erase(text.size() - suffix.size());
    return true;
}

} // namespace

std::string filterChipName(int chip)
{
    static const char* const names[kFilterChipCount] = {"Type", "Instruments", "BPM", "Key", "Genres"};
    return chip >= 0 && chip < kFilterChipCount ? names[chip] : "";
}

std::vector<std::string> builtInChoices(int chip)
{
    switch (chip) {
    case kInstrumentChip:
        return {"All", "Bass", "Piano", "Keys", "Guitar", "Pluck", "Synth", "Strings", "Brass", "Flute", "Vocal",
                "Kick", "Snare", "Clap", "HiHat", "Cymbal", "Percussion", "Tom", "FX", "808", "Other"};
    case kBpmChip: {
        std::vector<std::string> choices{kAllValue};
        for (int bpm = 50; bpm <= 200; bpm += 10) choices.push_back(std::to_string(bpm));
        choices.emplace_back(kCustomTempoChoice);
        return choices;
    }
    case kKeyChip:
        return {"All",     "C",        "C#",      "D",        "D#",      "E",        "F",        "F#",      "G",
                "G#",      "A",        "A#",      "B",        "C minor", "C# minor", "D minor",  "D# minor", "E minor",
                "F minor", "F# minor", "G minor", "G# minor", "A minor", "A# minor", "B minor"};
    case kGenreChip:
        return {"All",       "trap",     "hip hop",   "house", "rnb",  "pop",  "cinematic", "acoustic",
                "soul",      "latin",    "reggaeton", "afro",  "funk", "rock", "jazz"};
    default:
        return {kAllValue};
    }
}

std::string filterField(int chip)
{
    switch (chip) {
    case kInstrumentChip: return "instrument";
    case kKeyChip: return "key";
    case kGenreChip: return "genre";
    default: return {};
    }
}

std::string QVCompactKey(const std::string& key)
{
    const std::string folded = ascii::lowered(key);
    if (folded.empty() || folded == "none" || folded == "unknown") return {};
    std::string compact;
    for (const char c : folded) {
        if (!ascii::isSpace(c)) compact.push_back(c);
    }
    bool minor = chopSuffix(compact, "minor");
    if (!minor) minor = chopSuffix(compact, "m");
    if (!minor) chopSuffix(compact, "major");
    for (char& c : compact) c = ascii::upper(c);
    if (minor) compact += 'm';
    return compact;
}

bool isOfferedFilterValue(const std::string& value)
{
    return !value.empty() && value != "Unknown" && value != "None";
}

std::vector<std::string> chipChoices(int chip, const std::vector<std::string>& values)
{
    std::vector<std::string> choices{kAllValue};
    for (const std::string& value : values) {
        if (!isOfferedFilterValue(value)) continue;
        const std::string choice = chip == kKeyChip ? QVCompactKey(value) : value;
        if (choice.empty() || contains(choices, choice)) continue;
        choices.push_back(choice);
    }
    return choices;
}

SearchQuery filterContextQuery(const BrowseState& state)
{
    SearchQuery query;
    query.favoritesOnly = state.favoriteMode;
    query.folder = state.folderScope;
    query.playlistId = state.playlistId;
    query.type = state.sectionType; // empty: every type
    return query;
}

bool chipVisible(int chip, const std::string& sectionType)
{
    switch (chip) {
    case kTypeChip: return false;
    case kInstrumentChip: return sectionType != "MIDI";
    case kBpmChip:
    case kKeyChip: return sectionType != "One Shot";
    case kGenreChip: return true;
    default: return false;
    }
}

std::string genreChipValue(const std::vector<std::string>& genres)
{
    if (genres.empty()) return kAllValue;
    if (genres.size() == 1) return genres.front();
    return genres.front() + " +" + std::to_string(genres.size() - 1);
}

std::string chipTitle(const std::string& filterName, const std::string& value)
{
    return value == kAllValue ? filterName : value + "    ";
}

std::string chipValue(const BrowseState& state, int chip)
{
    switch (chip) {
    case kInstrumentChip: return state.instrumentFilter;
    case kBpmChip: return state.bpmFilter;
    case kKeyChip: return state.keyFilter;
    case kGenreChip: return genreChipValue(state.selectedGenres);
    default: return kAllValue;
    }
}

int quickFilterBoundChip(QuickFilterRow row)
{
    return row == QuickFilterRow::Genres ? kGenreChip : kInstrumentChip;
}

std::vector<std::string> quickFilterOrder(QuickFilterRow row, const std::vector<std::string>& values)
{
    static const std::vector<std::string> genres{"trap", "rnb", "hip hop", "HoodTrap"};
    static const std::vector<std::string> instruments{"Saxophone", "Piano", "EP", "Guitar"};
    std::vector<std::string> offered;
    for (const std::string& value : values) {
        if (isOfferedFilterValue(value) && !contains(offered, value)) offered.push_back(value);
    }
    std::vector<std::string> ordered;
    for (const std::string& preferred : row == QuickFilterRow::Genres ? genres : instruments) {
        for (const std::string& value : offered) {
            if (equalIgnoringCase(value, preferred) && !contains(ordered, value)) ordered.push_back(value);
        }
    }
    for (const std::string& value : offered) {
        if (!contains(ordered, value)) ordered.push_back(value);
    }
    return ordered;
}

std::string quickFilterTitle(QuickFilterRow row, const std::string& value)
{
    if (row == QuickFilterRow::Genres) {
        if (equalIgnoringCase(value, "rnb")) return "R&B";
        if (equalIgnoringCase(value, "hip hop")) return "Hip Hop";
    }
    return value;
}

bool quickFilterSelected(QuickFilterRow row, const std::string& value, const BrowseState& state)
{
    if (row == QuickFilterRow::Genres) return contains(state.selectedGenres, value);
    return equalIgnoringCase(state.instrumentFilter, value);
}

std::string quickFilterLabel(const std::string& title, bool selected)
{
    return selected ? title + " \u00d7" : title;
}

int quickFilterWidth(int textWidth)
{
    return std::max(textWidth + 40, 54);
}

bool quickFiltersEnabled(const BrowseState& state, bool boundChipVisible)
{
    if (state.libraryMode) return false;
    return state.layoutMode == 0 || boundChipVisible;
}

std::string quickFilterChoice(QuickFilterRow row, const std::string& value, const BrowseState& state)
{
    return quickFilterSelected(row, value, state) ? std::string(kAllValue) : value;
}

std::optional<int> customTempo(const std::string& entry)
{
    // As a leading-integer read: anything that is not a number reads as 0 and is refused.
    const long long number = std::strtoll(entry.c_str(), nullptr, 10);
    if (number < kCustomTempoLowest || number > kCustomTempoHighest) return std::nullopt;
    return static_cast<int>(number);
}

bool chooseFilterValue(BrowseState& state, int chip, const std::string& value)
{
    std::string* field = nullptr;
    switch (chip) {
    case kInstrumentChip: field = &state.instrumentFilter; break;
    case kBpmChip: field = &state.bpmFilter; break;
    case kKeyChip: field = &state.keyFilter; break;
    case kGenreChip: {
        // Choosing from a list selects exactly one genre.
        std::vector<std::string> genres;
        if (value != kAllValue) genres.push_back(value);
        if (genres == state.selectedGenres) return false;
        state.selectedGenres = std::move(genres);
        return true;
    }
    default: return false;
    }
    if (*field == value) return false;
    *field = value;
    return true;
}

bool clearAllFilters(BrowseState& state)
{
    bool changed = false;
    for (int chip = kInstrumentChip; chip < kFilterChipCount; ++chip) {
        changed = chooseFilterValue(state, chip, kAllValue) || changed;
    }
    return changed;
}

} // namespace qv
