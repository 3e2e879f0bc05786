#include "result_browser.h"

#include "db/database.h"
#include "main_window.h"
#include "playhead_diagnostics.h"
#include "results_view.h"
#include "waveform_queue.h"

#include <QComboBox>
#include <QElapsedTimer>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTimer>
#include <QToolButton>
#include <QVariantAnimation>

#include <exception>

namespace {

constexpr int kFadeMs = 70;
constexpr double kFadedOpacity = 0.72;
constexpr double kSlowStepSeconds = 0.025;

QString qs(const std::string& text)
{
    return QString::fromStdString(text);
}

// Times one step of a refresh; a slow one is written to the diagnostics log.
class StepTimer {
public:
    explicit StepTimer(const char* name)
        : _name(name)
        , _start(QVPlayheadDiagnostics::shared().enabled() ? QVPlayheadDiagnostics::uptime() : 0)
    {
    }
    ~StepTimer()
    {
        QVPlayheadDiagnostics& log = QVPlayheadDiagnostics::shared();
        if (!log.enabled()) return;
        const double seconds = QVPlayheadDiagnostics::uptime() - _start;
        if (seconds >= kSlowStepSeconds) {
            log.record(QString::asprintf("refresh-slow-operation name=%s seconds=%.3f", _name, seconds));
        }
    }

private:
    const char* _name;
    double _start;
};

} // namespace

QVResultBrowser::QVResultBrowser(qv::Database& database, qv::BrowseState& state, QVMainWindow& window,
                                 qv::WaveformQueue& waveforms, Hooks hooks, QObject* parent)
    : QObject(parent)
    , _database(database)
    , _state(state)
    , _window(window)
    , _waveforms(waveforms)
    , _hooks(std::move(hooks))
    , _searchDebounce(new QTimer(this))
{
    _searchDebounce->setSingleShot(true);
    _searchDebounce->setInterval(100);
    _searchDebounce->setTimerType(Qt::PreciseTimer); // a coarse one may add 5 ms to every search typed
    connect(_searchDebounce, &QTimer::timeout, this, &QVResultBrowser::refreshCompletingBrowserTransition);
}

void QVResultBrowser::refresh()
{
    QVPlayheadDiagnostics& log = QVPlayheadDiagnostics::shared();
    QElapsedTimer clock;
    clock.start();
    const double started = log.enabled() ? QVPlayheadDiagnostics::uptime() : 0;
    {
        StepTimer step("update-breadcrumb");
        if (_hooks.updateBreadcrumb) _hooks.updateBreadcrumb();
    }
    const std::uint64_t generation = ++_state.queryGeneration;
    if (_hooks.navigationEvent) _hooks.navigationEvent("refresh-begin");
    {
        StepTimer step("update-quick-filters");
        if (_hooks.updateQuickFilters) _hooks.updateQuickFilters();
    }
    {
        StepTimer step("layout-discovery");
        if (_hooks.layoutDiscovery) _hooks.layoutDiscovery();
    }

    const char* source = "results";
    try {
        if (_state.libraryMode) {
            source = "libraries";
            {
                StepTimer step("query-libraries");
                _state.libs = _database.libraries();
            }
            _window.setEmptyStateVisible(false);
            _window.setStatus(qs(qv::librariesStatusText(_state.libs.size())));
            _state.hasNextPage = false;
            std::vector<bool> available;
            for (const qv::Library& library : _state.libs) available.push_back(_database.isLibraryAvailable(library.path));
            _window.table->setLibraryRows(_state.libs, available);
            _window.pageLabel->setText(QStringLiteral("Page 1 of 1"));
        } else {
            qv::SearchQuery query = qv::browseQuery(_state);
            std::int64_t count = 0;
            {
                StepTimer step("count-matching");
                count = _database.countMatching(query);
            }
            const std::int64_t pageCount = qv::pageCountFor(count);
            if (_state.page >= pageCount) {
                _state.page = pageCount - 1;
                query = qv::browseQuery(_state);
            }
            std::vector<qv::Sample> rows;
            {
                StepTimer step("search-results");
                rows = _database.search(query);
            }
            if (_state.queryGeneration != generation) {
                if (log.enabled()) {
                    log.record(QString::asprintf("refresh-duration seconds=%.3f outcome=stale-generation generation=%llu current=%llu",
                                                 QVPlayheadDiagnostics::uptime() - started,
                                                 static_cast<unsigned long long>(generation),
                                                 static_cast<unsigned long long>(_state.queryGeneration)));
                }
                return;
            }
            _state.rows = std::move(rows);
            {
                StepTimer step("resolve-sorted-position");
                if (qv::hasActiveSort(_state)) {
                    _state.sortedNavigationTotal = count;
                    const std::optional<std::int64_t> current = _hooks.currentSampleId ? _hooks.currentSampleId() : std::nullopt;
                    _state.sortedNavigationIndex = current ? _database.matchingIndex(query, *current) : std::nullopt;
                } else {
                    _state.sortedNavigationTotal = 0;
                    _state.sortedNavigationIndex.reset();
                }
            }
            _state.lastAppliedResultsPage = _state.page;
            _state.hasNextPage = qv::kResultsPageSize + _state.page * qv::kResultsPageSize < count;
            // Any match proves the index holds samples; only an empty result needs the count.
            _window.setEmptyStateVisible(count == 0 && _database.countSamples() == 0);
            _window.setStatus(qs(qv::matchesStatusText(count, _state.page, _state.rows.size())));
            _window.pageLabel->setText(qs(qv::pageLabelText(_state.page, pageCount)));

            _waveforms.beginPreloadGeneration();
            {
                StepTimer step("reload-and-layout-results");
                _window.table->setSampleRows(_state.rows);
                if (_state.currentIndex >= 0 && _state.currentIndex < static_cast<std::int64_t>(_state.rows.size())) {
                    _window.table->scrollToRow(static_cast<int>(_state.currentIndex));
                }
            }
        }
        if (_hooks.navigationEvent) _hooks.navigationEvent("refresh-end");
        {
            StepTimer step("layout-pagination");
            _window.paginationGroup->setVisible(_state.layoutMode == 1);
            _window.pagePrevious->setEnabled(_state.page >= 1);
            _window.pageNext->setEnabled(_state.hasNextPage);
        }
        {
            StepTimer step("preindex-waveforms");
            preindexVisibleWaveforms();
        }
        if (log.enabled()) {
            log.record(QString::asprintf("refresh-duration seconds=%.3f outcome=complete source=%s rows=%zu",
                                         QVPlayheadDiagnostics::uptime() - started, source,
                                         _state.libraryMode ? _state.libs.size() : _state.rows.size()));
        }
    } catch (const std::exception& error) {
        if (log.enabled()) {
            log.record(QString::asprintf("refresh-duration seconds=%.3f outcome=exception error=%s",
                                         QVPlayheadDiagnostics::uptime() - started, error.what()));
        }
        _window.setStatus(QString::fromUtf8(error.what()));
    }
    _lastRefreshSeconds = clock.nsecsElapsed() / 1e9;
}

void QVResultBrowser::preindexVisibleWaveforms()
{
    const auto count = static_cast<int>(_state.rows.size());
    if (_state.libraryMode || count == 0) return;
    auto [first, last] = _window.table->visibleRowRange();
    if (first < 0 || last < first) {
        first = 0;
        last = std::min(count, 12) - 1;
    }
    first = std::max(first - 2, 0);
    last = std::min(last + 2, count - 1);
    for (int row = first; row <= last; ++row) {
        const qv::Sample& sample = _state.rows[static_cast<std::size_t>(row)];
        if (sample.type == qv::SampleType::MIDI) continue;
        _waveforms.request(qs(sample.path), sample.modifiedAt, static_cast<std::uint64_t>(sample.fileSize), true);
    }
}

void QVResultBrowser::refreshCompletingBrowserTransition()
{
    refresh();
    completeBrowserPaginationTransition();
}

void QVResultBrowser::resetPageAndRefresh()
{
    _state.pendingSamplePageSelection = 0;
    _state.pendingSampleTargetPage = -1;
    _state.pageTransitionScheduled = false;
    _state.page = 0;
    _pagination.reset(0, qv::kOpenEndedPageCount);
    refreshResultsWithBrowserTransition();
}

void QVResultBrowser::refreshResultsWithBrowserTransition()
{
    beginBrowserPaginationTransition();
    const std::uint64_t transition = _state.browserTransitionGeneration;
    QTimer::singleShot(0, this, [this, transition] {
        if (_state.browserTransitionGeneration != transition) return;
        refresh();
        completeBrowserPaginationTransition();
    });
}

void QVResultBrowser::showPageNow(std::int64_t page)
{
    _state.page = page;
    _pagination.reset(static_cast<std::int32_t>(page), qv::kOpenEndedPageCount);
    refresh();
}

namespace {

std::int32_t pageCountForRequests(const qv::BrowseState& state)
{
    return state.hasNextPage ? qv::kOpenEndedPageCount : static_cast<std::int32_t>(state.page + 1);
}

} // namespace

void QVResultBrowser::requestPageDelta(std::int64_t delta)
{
    _pagination.synchronize(static_cast<std::int32_t>(_state.page), pageCountForRequests(_state));
    if (!_pagination.requestDelta(static_cast<std::int32_t>(delta))) {
        _state.pendingSamplePageSelection = 0;
        _state.pendingSampleTargetPage = -1;
        return;
    }
    beginBrowserPaginationTransition();
    _state.pageTransitionScheduled = true;
    QTimer::singleShot(0, this, [this, delta] {
        const std::optional<std::int32_t> page = _pagination.consumeLatest();
        if (!page) {
            _state.pageTransitionScheduled = false;
            _state.pendingSamplePageSelection = 0;
            _state.pendingSampleTargetPage = -1;
            return;
        }
        _state.page = *page;
        refresh();
        completeBrowserPaginationTransition();
        _pagination.synchronize(static_cast<std::int32_t>(_state.page), pageCountForRequests(_state));
        _state.pageTransitionScheduled = false;
        const bool selectionPending = _state.pendingSamplePageSelection != 0;
        applyPendingSampleSelectionAfterRefresh();
        if (_state.rows.empty() || selectionPending) return;
        _state.manualPageNavigationAnchorActive = true;
        if (_hooks.focusRow) _hooks.focusRow(delta < 1 ? static_cast<std::int64_t>(_state.rows.size()) - 1 : 0);
    });
}

void QVResultBrowser::applyPendingSampleSelectionAfterRefresh()
{
    if (_state.pendingSamplePageSelection == 0) return;
    const std::int64_t direction = std::exchange(_state.pendingSamplePageSelection, 0);
    const std::int64_t target = std::exchange(_state.pendingSampleTargetPage, -1);
    if (_state.libraryMode || _state.page != target || _state.lastAppliedResultsPage != target || _state.rows.empty()) {
        return;
    }
    if (!_hooks.navigateSamples) return;
    if (direction > 0) {
        _hooks.navigateSamples(direction, 0);
    } else {
        _hooks.navigateSamples(direction, static_cast<std::int64_t>(_state.rows.size()) - 1);
    }
}

void QVResultBrowser::previousPage()
{
    if (_state.page >= 1) requestPageDelta(-1);
}

void QVResultBrowser::nextPage()
{
    if (_state.hasNextPage) requestPageDelta(1);
}

void QVResultBrowser::sortPressed(qv::SortColumn column)
{
    if (_state.layoutMode == 0 || _state.libraryMode) return;
    qv::pressSort(_state, column);
    refreshForSortPreservingCurrentSample();
}

void QVResultBrowser::updateSortTitles()
{
    _window.filenameHeader->setText(qs(qv::sortTitle(qv::SortColumn::Filename, _state.filenameSortDirection)));
    _window.timeHeader->setText(qs(qv::sortTitle(qv::SortColumn::Time, _state.timeSortDirection)));
    _window.bpmHeader->setText(qs(qv::sortTitle(qv::SortColumn::Bpm, _state.bpmSortDirection)));
}

void QVResultBrowser::refreshForSortPreservingCurrentSample()
{
    std::optional<std::int64_t> keep = _hooks.currentSampleId ? _hooks.currentSampleId() : std::nullopt;
    if (keep && *keep == 0) keep.reset();
    if (!keep) {
        const int selected = _window.table->selectedRow();
        if (selected >= 0 && selected < static_cast<int>(_state.rows.size())) keep = _state.rows[static_cast<std::size_t>(selected)].id;
    }
    updateSortTitles();
    _state.page = 0;
    _pagination.reset(0, qv::kOpenEndedPageCount);
    beginBrowserPaginationTransition();
    const std::uint64_t transition = _state.browserTransitionGeneration;
    QTimer::singleShot(0, this, [this, transition, keep] {
        if (_state.browserTransitionGeneration != transition) return;
        refresh();
        _state.currentIndex = -1;
        for (std::size_t i = 0; keep && i < _state.rows.size(); ++i) {
            if (_state.rows[i].id == *keep) {
                _window.table->selectOnly(static_cast<int>(i));
                _state.currentIndex = static_cast<std::int64_t>(i);
                break;
            }
        }
        completeBrowserPaginationTransition();
    });
}

void QVResultBrowser::searchTextChanged(const QString& text)
{
    _state.searchText = text.toStdString();
    _window.clearSearch->setVisible(!text.isEmpty());
    beginBrowserPaginationTransition();
    _searchDebounce->start(); // restarting cancels the one scheduled before
}

bool QVResultBrowser::searchRefreshPending() const
{
    return _searchDebounce->isActive();
}

void QVResultBrowser::clearSearch()
{
    _window.search->clear();
    _searchDebounce->stop(); // clearing the field scheduled one; the reset below refreshes
    _state.searchText.clear();
    _window.clearSearch->setVisible(false);
    resetPageAndRefresh();
    _window.search->setFocus();
}

void QVResultBrowser::fadeTo(double opacity, bool animate)
{
    if (_fade) _fade->stop();
    if (!animate) {
        _opacity = opacity;
        _window.table->setContentOpacity(opacity);
        return;
    }
    if (!_fade) {
        _fade = new QVariantAnimation(this);
        _fade->setDuration(kFadeMs);
        _fade->setEasingCurve(QEasingCurve::OutCubic);
        connect(_fade, &QVariantAnimation::valueChanged, this, [this](const QVariant& value) {
            _opacity = value.toDouble();
            _window.table->setContentOpacity(_opacity);
        });
    }
    _fade->setStartValue(_opacity);
    _fade->setEndValue(opacity);
    _fade->start();
}

void QVResultBrowser::beginBrowserPaginationTransition()
{
    ++_state.browserTransitionGeneration;
    fadeTo(1.0, false);
    if (!_reducedMotion) fadeTo(kFadedOpacity, true);
}

void QVResultBrowser::completeBrowserPaginationTransition()
{
    const std::uint64_t transition = ++_state.browserTransitionGeneration;
    if (_reducedMotion) {
        fadeTo(1.0, false);
        return;
    }
    fadeTo(kFadedOpacity, false);
    fadeTo(1.0, true);
    // A later transition owns the opacity; only the latest completion settles it.
    QTimer::singleShot(kFadeMs + 10, this, [this, transition] {
        if (_state.browserTransitionGeneration == transition) fadeTo(1.0, false);
    });
}
