#pragma once
// The filters' decisions, as plain functions of the browse state: the five chips and
// their built-in choices, the compact key, which values a list offers, the place a list
// is read in, which chips a section shows, chip titles, the quick filters' order, titles,
// widths and enablement, the custom tempo's limits, and what choosing a value does.
//
// Chips are addressed by index (0 type, 1 instruments, 2 BPM, 3 key, 4 genres); "All"
// means no restriction everywhere.

#include "browse_state.h"
#include "search/search_query.h"

#include <optional>
#include <string>
#include <vector>

namespace qv {

inline constexpr int kTypeChip = 0; // type comes from the sidebar; never shown
inline constexpr int kInstrumentChip = 1;
inline constexpr int kBpmChip = 2;
inline constexpr int kKeyChip = 3;
inline constexpr int kGenreChip = 4;
inline constexpr int kFilterChipCount = 5;

inline constexpr const char* kAllValue = "All";
inline constexpr const char* kCustomTempoChoice = "Custom\u2026";
inline constexpr int kCustomTempoLowest = 20;
inline constexpr int kCustomTempoHighest = 300;

std::string filterChipName(int chip);
std::vector<std::string> builtInChoices(int chip);
// "instrument", "key" or "genre": the value list a chip fills from; empty for the others.
std::string filterField(int chip);

// "C# minor", "c#m" and "C#M" all give "C#m"; "F major" gives "F"; "", "None" and
// "Unknown" (any case) give "".
std::string QVCompactKey(const std::string& key);

// Empty, "Unknown" and "None" stand for no value and are never offered.
bool isOfferedFilterValue(const std::string& value);
// "All", then the offered values in the order given, each once; key values compacted
// first (and dropped when nothing is left).
std::vector<std::string> chipChoices(int chip, const std::vector<std::string>& values);

// The place a value list is read in: favourites, folder, playlist and type section only,
// so that a list offers everything present here, whatever else is chosen.
SearchQuery filterContextQuery(const BrowseState& state);

// By the sidebar's type section: "One Shot" has no tempo or key, "MIDI" no instrument.
bool chipVisible(int chip, const std::string& sectionType);

// "All" for none, the genre for one, "first +others" for more.
std::string genreChipValue(const std::vector<std::string>& genres);
// The value followed by four spaces (room for the reset button) when one is set,
// otherwise the chip's name.
std::string chipTitle(const std::string& filterName, const std::string& value);
// What the chip for `chip` shows as its value in this state.
std::string chipValue(const BrowseState& state, int chip);

enum class QuickFilterRow { Genres, Instruments };

int quickFilterBoundChip(QuickFilterRow row);
// The offered values, the row's preferred names first (each value equal to one ignoring
// case, in the preferred order), then the rest in the order given, each once.
std::vector<std::string> quickFilterOrder(QuickFilterRow row, const std::vector<std::string>& values);
// The value, except "rnb" shows "R&B" and "hip hop" "Hip Hop" in the genre row.
std::string quickFilterTitle(QuickFilterRow row, const std::string& value);
// The value is in force: a chosen genre, or the instrument chosen (ignoring case).
bool quickFilterSelected(QuickFilterRow row, const std::string& value, const BrowseState& state);
// The title with " \u00d7" when selected.
std::string quickFilterLabel(const std::string& title, bool selected);
int quickFilterWidth(int textWidth);
inline constexpr int kQuickFilterHeight = 26;
inline constexpr int kQuickFilterSpacing = 8;
bool quickFiltersEnabled(const BrowseState& state, bool boundChipVisible);
// A quick filter toggles: its value when not in force, "All" when it is.
std::string quickFilterChoice(QuickFilterRow row, const std::string& value, const BrowseState& state);

// The tempo typed into the "Custom BPM" dialog, when it is a whole number from 20 to
// 300. Read as a leading integer: surrounding spaces allowed, "120.5" is 120.
std::optional<int> customTempo(const std::string& entry);

// Choosing `value` on a chip (after any dialog): sets the chip's field of the state. A
// genre replaces the chosen genres with that one ("All" clears them). Returns whether
// anything changed; the type chip has no field here.
bool chooseFilterValue(BrowseState& state, int chip, const std::string& value);
// Every chip back to "All", no genres; whether anything changed.
bool clearAllFilters(BrowseState& state);

} // namespace qv
