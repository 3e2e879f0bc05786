#pragma once
// The filters: the chips above the results (instrument, BPM, key, genres), their value
// lists, the "Custom BPM" entry, the metadata links of rows, and the two quick-filter
// rows. Owns the filter fields of the browse state (instrumentFilter, bpmFilter,
// keyFilter, selectedGenres) and reads the place the sidebar chose. GUI thread only.
//
// Value lists are read in the current place (favourites, folder, playlist, type): a
// chip reads its list when it opens. The quick-filter rows read theirs on a worker
// thread, only while revealed and only when the place changed since the last read (the
// lists take over a second at a million samples); a read that returns after a newer one
// started is dropped by its generation number.

#include "browse_state.h"
#include "search/search_query.h"

#include <QObject>
#include <QPointer>
#include <QString>
#include <QThreadPool>

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

class QVFilterBar;
class QVFilterSuggestions;

namespace qv {
class Database;
}

class QVFilters : public QObject {
    Q_OBJECT
public:
    // What the user is asked, replaceable so that tests answer instead.
    struct Hooks {
        std::function<std::optional<QString>()> askCustomTempo; // the entry after "Apply"; none for "Cancel"
        std::function<void()> beep;
    };

    QVFilters(qv::Database& database, qv::BrowseState& state, QVFilterBar& bar, QObject* parent = nullptr);
    ~QVFilters() override; // waits for a list being read
    void setHooks(Hooks hooks);

    void filterPressed(int chip);
    void filterChosen(int chip, const QString& value);
    void resetIndividualFilter(int chip);
    void clearFilters();
    void updateGenreChip();
    void updateFilterContext(); // the place changed: which chips show
    void updateQuickFilters();  // at the start of every refresh
    void quickFilterChosen(int tag, const QString& value);
    void toggleQuickFilters();
    // A metadata link of a row ("instrument", "bpm", "key", "genre"); other fields are
    // not the filters' and are ignored.
    void applyLink(const QString& field, const QString& value);
    // The index changed (a scan, an edit): lists read before are not offered again.
    void invalidateValueLists();

    QVFilterSuggestions* openSuggestions() const;
    bool quickFiltersPending() const { return _readingPlace.has_value(); }

signals:
    void contextChanged(); // reset to page 0 and refresh

private:
    using Lists = std::map<std::string, std::vector<std::string>>;

    void showChip(int chip);
    void adoptPlace(const qv::SearchQuery& place);
    std::optional<std::vector<std::string>> readValues(const std::string& field);
    void startQuickFilterRead(const qv::SearchQuery& place);
    void quickFilterListsRead(std::uint64_t generation, const Lists& lists);
    void showQuickFilters();
    void changed();

    qv::Database& _database;
    qv::BrowseState& _state;
    QVFilterBar& _bar;
    Hooks _hooks;
    QPointer<QVFilterSuggestions> _suggestions;

    // The lists last read, all in one place; only the fields read so far.
    qv::SearchQuery _valuesPlace;
    Lists _values;
    std::optional<qv::SearchQuery> _readingPlace;
    std::uint64_t _readGeneration = 0;
    QThreadPool _reader; // one thread: a newer read replaces one still waiting
};
