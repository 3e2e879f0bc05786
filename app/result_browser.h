#pragma once
// One page of results at a time: builds the query from the browse state, counts and
// fetches the page, fills the results view, status line and page controls, coalesces
// page requests, sorts by a column while keeping the current sample, debounces the
// search field and fades the list around page changes. GUI thread only.

#include "browse/pagination_controller.h"
#include "browse_logic.h"
#include "browse_state.h"

#include <QObject>
#include <QString>

#include <functional>

class QTimer;
class QVMainWindow;
class QVariantAnimation;

namespace qv {
class Database;
class WaveformQueue;
}

class QVResultBrowser : public QObject {
    Q_OBJECT
public:
    struct Hooks {
        std::function<void()> updateBreadcrumb;
        std::function<void()> updateQuickFilters;
        std::function<void()> layoutDiscovery;
        std::function<void(const char* event)> navigationEvent;
        std::function<QString()> diagnosticSource;
        std::function<std::optional<std::int64_t>()> currentSampleId;
        std::function<void(std::int64_t direction, std::int64_t from)> navigateSamples; // a step that crossed the page
        std::function<void(std::int64_t row)> focusRow;
    };

    QVResultBrowser(qv::Database& database, qv::BrowseState& state, QVMainWindow& window, qv::WaveformQueue& waveforms,
                    Hooks hooks, QObject* parent = nullptr);

    void refresh();
    void refreshCompletingBrowserTransition();
    void resetPageAndRefresh();
    void refreshResultsWithBrowserTransition();
    void requestPageDelta(std::int64_t delta);
    void previousPage();
    void nextPage();
    void sortPressed(qv::SortColumn column);
    void searchTextChanged(const QString& text);
    void clearSearch();
    void beginBrowserPaginationTransition();
    void completeBrowserPaginationTransition();
    void applyPendingSampleSelectionAfterRefresh();
    void preindexVisibleWaveforms();
    void showPageNow(std::int64_t page); // sorted stepping: a synchronous jump

    qv::PaginationController& pagination() { return _pagination; }
    bool searchRefreshPending() const;
    void setReducedMotion(bool reduced) { _reducedMotion = reduced; }
    double lastRefreshSeconds() const { return _lastRefreshSeconds; }

signals:
    void statusMessage(const QString& text);

private:
    void refreshForSortPreservingCurrentSample();
    void updateSortTitles();
    void fadeTo(double opacity, bool animate);

    qv::Database& _database;
    qv::BrowseState& _state;
    QVMainWindow& _window;
    qv::WaveformQueue& _waveforms;
    Hooks _hooks;
    qv::PaginationController _pagination;
    QTimer* _searchDebounce;
    QVariantAnimation* _fade = nullptr;
    bool _reducedMotion = false;
    double _opacity = 1.0;
    double _lastRefreshSeconds = 0;
};
