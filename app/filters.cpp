#include "filters.h"

#include "db/database.h"
#include "filter_chips.h"
#include "filter_logic.h"

#include <QApplication>
#include <QToolButton>

#include <exception>

namespace {

using qv::QuickFilterRow;

QString qs(const std::string& text)
{
    return QString::fromStdString(text);
}

QStringList qsList(const std::vector<std::string>& values)
{
    QStringList list;
    for (const std::string& value : values) list.append(qs(value));
    return list;
}

bool samePlace(const qv::SearchQuery& a, const qv::SearchQuery& b)
{
    return a.favoritesOnly == b.favoritesOnly && a.folder == b.folder && a.playlistId == b.playlistId
        && a.type == b.type;
}

std::optional<std::vector<std::string>> valuesIn(const qv::Database& database, const std::string& field,
                                                 const qv::SearchQuery& place)
{
    try {
        return database.distinctFilterValues(field, place);
    } catch (const std::exception&) {
        return std::nullopt; // the chip keeps the choices it has; browsing still works
    }
}

} // namespace

QVFilters::QVFilters(qv::Database& database, qv::BrowseState& state, QVFilterBar& bar, QObject* parent)
    : QObject(parent)
    , _database(database)
    , _state(state)
    , _bar(bar)
{
    _reader.setMaxThreadCount(1);
    _reader.setObjectName(QStringLiteral("filter-values"));
    setHooks({});
    for (int index = 0; index < qv::kFilterChipCount; ++index) {
        QVFilterChip* chip = _bar.chip(index);
        connect(chip, &QVFilterChip::clicked, this, [this, index] { filterPressed(index); });
        connect(chip, &QVFilterChip::resetPressed, this, &QVFilters::resetIndividualFilter);
        showChip(index);
    }
    connect(_bar.clearFilters, &QPushButton::clicked, this, &QVFilters::clearFilters);
    connect(_bar.quickFiltersToggle, &QToolButton::clicked, this, &QVFilters::toggleQuickFilters);
    connect(_bar.genreRow, &QVQuickFilterRow::chosen, this, &QVFilters::quickFilterChosen);
    connect(_bar.instrumentRow, &QVQuickFilterRow::chosen, this, &QVFilters::quickFilterChosen);
    updateFilterContext();
}

QVFilters::~QVFilters()
{
    // A read holds the database and posts back to this object: let it finish first.
    _reader.clear();
    _reader.waitForDone();
}

void QVFilters::setHooks(Hooks hooks)
{
    if (!hooks.askCustomTempo) hooks.askCustomTempo = [this] { return askCustomTempo(_bar.window()); };
    if (!hooks.beep) hooks.beep = [] { QApplication::beep(); };
    _hooks = std::move(hooks);
}

void QVFilters::showChip(int chip)
{
    if (chip == qv::kTypeChip) return; // the type is the sidebar's; its chip keeps what it was shown
    _bar.chip(chip)->showValue(qs(qv::chipValue(_state, chip)));
}

void QVFilters::updateGenreChip()
{
    showChip(qv::kGenreChip);
}

void QVFilters::adoptPlace(const qv::SearchQuery& place)
{
    if (samePlace(_valuesPlace, place)) return;
    _valuesPlace = place;
    _values.clear();
}

std::optional<std::vector<std::string>> QVFilters::readValues(const std::string& field)
{
    const qv::SearchQuery place = qv::filterContextQuery(_state);
    adoptPlace(place);
    std::optional<std::vector<std::string>> values = valuesIn(_database, field, place);
    if (values) _values[field] = *values;
    return values;
}

void QVFilters::filterPressed(int index)
{
    QVFilterChip* chip = _bar.chip(index);
    const std::string field = qv::filterField(index);
    if (!field.empty()) {
        if (const auto values = readValues(field)) chip->setChoices(qsList(qv::chipChoices(index, *values)));
    }
    if (_suggestions) _suggestions->close();
    if (index == qv::kInstrumentChip || index == qv::kGenreChip) {
        auto* suggestions = new QVFilterSuggestions(chip->choices(), chip->filterName(), chip->selectedValue(),
                                                    _bar.theme(), chip);
        suggestions->selectionHandler = [this, index](const QString& value) { filterChosen(index, value); };
        _suggestions = suggestions;
        suggestions->popUpBelow(chip);
    } else {
        popUpChoiceMenu(chip, [this, index](const QString& value) { filterChosen(index, value); });
    }
}

QVFilterSuggestions* QVFilters::openSuggestions() const
{
    return _suggestions && _suggestions->isVisible() ? _suggestions.data() : nullptr;
}

void QVFilters::filterChosen(int chip, const QString& value)
{
    std::string chosen = value.toStdString();
    if (chip == qv::kBpmChip && chosen == qv::kCustomTempoChoice) {
        const std::optional<QString> entry = _hooks.askCustomTempo();
        if (!entry) return;
        const std::optional<int> tempo = qv::customTempo(entry->toStdString());
        if (!tempo) {
            _hooks.beep();
            return;
        }
        chosen = std::to_string(*tempo);
    }
    if (chip == qv::kTypeChip) {
        _bar.chip(chip)->showValue(value);
        return;
    }
    const bool didChange = qv::chooseFilterValue(_state, chip, chosen);
    showChip(chip);
    if (didChange) changed();
}

void QVFilters::resetIndividualFilter(int chip)
{
    filterChosen(chip, QString::fromUtf8(qv::kAllValue));
}

void QVFilters::clearFilters()
{
    qv::clearAllFilters(_state);
    for (int chip = 0; chip < qv::kFilterChipCount; ++chip) {
        _bar.chip(chip)->showValue(QString::fromUtf8(qv::kAllValue));
    }
    changed();
}

void QVFilters::changed()
{
    ++_state.browseContextGeneration;
    emit contextChanged();
}

void QVFilters::applyLink(const QString& field, const QString& value)
{
    if (field == QLatin1String("instrument")) {
        filterChosen(qv::kInstrumentChip, value);
    } else if (field == QLatin1String("bpm")) {
        filterChosen(qv::kBpmChip, value);
    } else if (field == QLatin1String("key")) {
        // The key chip lists compact keys; a link chooses the same entry.
        const std::string compact = qv::QVCompactKey(value.toStdString());
        filterChosen(qv::kKeyChip, compact.empty() ? value : qs(compact));
    } else if (field == QLatin1String("genre")) {
        filterChosen(qv::kGenreChip, value);
    }
}

void QVFilters::updateFilterContext()
{
    for (int chip = 0; chip < qv::kFilterChipCount; ++chip) {
        _bar.chip(chip)->setVisible(qv::chipVisible(chip, _state.sectionType));
    }
}

void QVFilters::toggleQuickFilters()
{
    const bool reveal = !_bar.quickFiltersRevealed();
    _bar.setQuickFiltersRevealed(reveal);
    if (!reveal) return;
    // Hidden rows were not kept up to date: read the lists of this place afresh.
    invalidateValueLists();
    updateQuickFilters();
}

void QVFilters::invalidateValueLists()
{
    _values.clear();
    _readingPlace.reset();
    ++_readGeneration; // a read under way is stale
}

void QVFilters::updateQuickFilters()
{
    if (!_bar.quickFiltersRevealed()) return; // nothing to fill; the reveal reads
    const qv::SearchQuery place = qv::filterContextQuery(_state);
    adoptPlace(place);
    if (_values.contains("genre") && _values.contains("instrument")) {
        showQuickFilters();
        return;
    }
    if (_readingPlace && samePlace(*_readingPlace, place)) return;
    // The old place's values would be wrong here, and "no suggestions" premature.
    _bar.genreRow->setPending();
    _bar.instrumentRow->setPending();
    startQuickFilterRead(place);
}

void QVFilters::startQuickFilterRead(const qv::SearchQuery& place)
{
    const std::uint64_t generation = ++_readGeneration;
    _readingPlace = place;
    _reader.clear();
    qv::Database& database = _database;
    _reader.start([this, &database, place, generation] {
        // Two calls, so that the GUI thread can take the database between them.
        Lists lists;
        for (const char* field : {"genre", "instrument"}) {
            if (auto values = valuesIn(database, field, place)) lists[field] = std::move(*values);
        }
        QMetaObject::invokeMethod(
            this, [this, generation, lists] { quickFilterListsRead(generation, lists); }, Qt::QueuedConnection);
    });
}

void QVFilters::quickFilterListsRead(std::uint64_t generation, const Lists& lists)
{
    if (generation != _readGeneration) return;
    const qv::SearchQuery place = *_readingPlace;
    _readingPlace.reset();
    adoptPlace(place);
    for (const auto& [field, values] : lists) _values[field] = values;
    showQuickFilters();
}

void QVFilters::showQuickFilters()
{
    const struct {
        QuickFilterRow row;
        QVQuickFilterRow* widget;
    } rows[] = {{QuickFilterRow::Genres, _bar.genreRow}, {QuickFilterRow::Instruments, _bar.instrumentRow}};
    for (const auto& [row, widget] : rows) {
        const int bound = qv::quickFilterBoundChip(row);
        std::vector<std::string> values;
        if (const auto read = _values.find(qv::filterField(bound)); read != _values.end()) {
            values = read->second;
        } else {
            // A list that could not be read offers what the chip offers.
            for (const QString& choice : _bar.chip(bound)->choices()) values.push_back(choice.toStdString());
        }
        const bool enabled = qv::quickFiltersEnabled(_state, qv::chipVisible(bound, _state.sectionType));
        std::vector<QVQuickFilterRow::Chip> chips;
        for (const std::string& value : qv::quickFilterOrder(row, values)) {
            if (value == qv::kAllValue) continue;
            chips.push_back({qs(value), qs(qv::quickFilterTitle(row, value)), qv::quickFilterSelected(row, value, _state),
                             enabled, bound});
        }
        widget->setChips(chips);
    }
}

void QVFilters::quickFilterChosen(int tag, const QString& value)
{
    const QuickFilterRow row = tag == qv::kGenreChip ? QuickFilterRow::Genres : QuickFilterRow::Instruments;
    filterChosen(tag, qs(qv::quickFilterChoice(row, value.toStdString(), _state)));
}
