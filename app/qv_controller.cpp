#include "qv_controller.h"

#include "database_opening.h"

#include "db/database.h"
#include "alerts.h"
#include "appearance.h"
#include "app_menu.h"
#include "context_menus.h"
#include "desktop_actions.h"
#include "featured_grid.h"
#include "featured_items.h"
#include "edit_commands.h"
#include "filter_chips.h"
#include "inspector.h"
#include "inspector_room.h"
#include "filters.h"
#include "shortcut_monitor.h"
#include "shortcuts_dialog.h"
#include "main_window.h"
#include "playback.h"
#include "player_panel.h"
#include "playhead_diagnostics.h"
#include "quick_tour.h"
#include "result_browser.h"
#include "results_view.h"
#include "scan_coordinator.h"
#include "settings_dialog.h"
#include "settings_logic.h"
#include "sidebar.h"
#include "sidebar_views.h"
#include "startup_logic.h"
#include "theme.h"
#include "warmup.h"
#include "waveform_notifier.h"
#include "waveform_queue.h"

#include <QApplication>
#include <QClipboard>
#include <QMenu>
#include <QProgressBar>
#include <QComboBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>
#include <QSettings>
#include <QStandardPaths>
#include <QThreadPool>
#include <QTimer>
#include <QToolButton>

#include <cstdlib>

std::filesystem::path QVController::defaultDatabasePath()
{
    const QString base = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    return std::filesystem::path(base.toStdString()) / "Ostrelle" / "Quorvalinder" / "quorvalinder.db";
}

QVController::QVController(Options options, QObject* parent)
    : QObject(parent)
    , _options(std::move(options))
    , _waveforms(qv::WaveformQueue::shared())
    , _alerts(std::make_unique<QVReplaceableAlerts>())
{
    _launchClock.start();
}

void QVController::step(const char* name)
{
    _launchSteps.append(QString::fromLatin1(name));
    _launchStepSeconds.push_back(_launchClock.nsecsElapsed() / 1e9);
    QVPlayheadDiagnostics& log = QVPlayheadDiagnostics::shared();
    if (log.enabled()) log.record(QString::asprintf("launch-step name=%s seconds=%.3f", name, _launchStepSeconds.back()));
}

QVController::~QVController()
{
    // A scan cannot be interrupted; the index is safe to leave mid-scan (the next scan
    // finds what the last write group lost), so quitting never waits for one.
    if (_scans && _scans->busy()) {
        QVPlayheadDiagnostics::shared().waitForWrites();
        std::_Exit(0);
    }
    delete _inspector;
    delete _featured;
    delete _menus;
    delete _edits;
    delete _keys;
    delete _warmup;
    delete _playback; // joins the decode worker
    delete _browser;
    delete _filters; // waits for a value list being read
    delete _sidebar;
    delete _scans;
    _window.reset();
    QThreadPool::globalInstance()->waitForDone(); // the search warm-up, if still reading
    _database.reset();
}

void QVController::applicationDidFinishLaunching()
{
    // The appearance first: opening the database may show a window of its own.
    const qv::WindowTheme theme = qv::windowTheme(QSettings().value(QLatin1String(qv::kThemeSelectionKey)).toString());
    if (auto* app = qobject_cast<QApplication*>(QCoreApplication::instance())) qv::applyDarkAppearance(*app, theme);

    // 1. The database; a failure to open it ends the launch.
    const std::filesystem::path path =
        _options.databasePath.empty() ? defaultDatabasePath() : _options.databasePath;
    _database = openDatabaseShowingProgress(path);
    step("database");

    // 2. Which libraries are reachable, before anything is counted.
    markLibraryAvailability();
    step("library-availability");

    // 3-4. Layout mode and the window's size.
    readLayoutAndSize();
    step("layout");

    // 5-7. The window, always dark, in the chosen theme (applied above).
    _window = std::make_unique<QVMainWindow>(theme, _waveforms);
    const QRect visible = QGuiApplication::primaryScreen() ? QGuiApplication::primaryScreen()->availableGeometry()
                                                           : QRect(0, 0, 1920, 1080);
    _window->setGeometry(qv::centeredFrame(_contentSize, visible));
    buildApplicationMenu(*_window, [this] { openSettings(); });
    connect(_window.get(), &QVMainWindow::contentResized, this, [this](QSize size) {
        QSettings().setValue(QLatin1String(qv::sizeKeyForMode(_state.layoutMode)), qv::formatSize(size));
    });
    step("window");

    // 8-17. The panels, top to bottom of the launch list.
    _window->buildBrandHeader();
    _window->buildSidebar();
    _window->buildSearchRow();
    _window->buildFilters();
    _window->buildPagination();
    _window->buildResultsHeader();
    _window->buildResultsTable();
    _window->buildEmptyState();
    _window->buildDiscoveryArea();
    _window->setInspector(new QVInspector(theme));
    installFindMenu(*_window, [this] { focusSearch(); });
    step("panels");

    wireRooms();
    wireEdits();
    wireInspector();
    wireFeatured();
    installShortcutMenu(*_window, [this] { customizeShortcuts(); }); // last in the menu bar, after "View"
    installQuickTourMenu(*_window, [this] { showQuickTour(); });

    // 18. The waveform notifications.
    qv::WaveformNotifier& notifier = _waveforms.notifier();
    connect(&notifier, &qv::WaveformNotifier::QVWaveformCacheDidUpdate, this,
            [this](const QString& path, const QVariantMap&) { _playback->waveformCacheUpdated(path); });
    connect(&notifier, &qv::WaveformNotifier::QVWaveformDurationDidUpdate, this,
            [this](const QString& path, const QVariantMap& info) { _playback->waveformDurationUpdated(path, info); });
    step("notifications");

    // 19. Sidebars (which build the player), the first page, the window, the warm-up.
    reloadSidebars();
    step("sidebars");
    _browser->refresh();
    step("refresh");
    _window->show();
    _window->table->setFocus(); // Space and the arrows act at once
    step("show");
    // The search's one-time reads, off the GUI thread, so the first search of each kind is quick too.
    QThreadPool::globalInstance()->start([database = _database.get()] { database->warmUp(); });
    if (_options.warmUpAudio) {
        _warmup = new QVAudioWarmup(*_window->centralWidget(), [this] { return _playback->hasPreviewPlayer(); }, players());
        _warmup->start();
        step("warm-up");
    }

    // The start-up check and the parser-revision reindex, in the background once the
    // window is up.
    if (_options.checkLibrariesAtStartup) QTimer::singleShot(0, _scans, &QVScanCoordinator::checkLibrariesAfterLaunch);

    connect(qApp, &QGuiApplication::applicationStateChanged, this, [this](Qt::ApplicationState state) {
        if (state == Qt::ApplicationActive) applicationDidBecomeActive();
    });
    connect(qApp, &QCoreApplication::aboutToQuit, this, &QVController::applicationWillTerminate);
    // A window without a window manager (a server, a test) is never told it is active;
    // the first activation's steps run once regardless.
    QTimer::singleShot(0, this, &QVController::applicationDidBecomeActive);
    // The tour once the warm-up's overlay is gone, or after the first activation without one.
    if (_warmup) connect(_warmup, &QVAudioWarmup::finished, this, &QVController::showQuickTourWelcomeIfNeeded);
    else QTimer::singleShot(0, this, &QVController::showQuickTourWelcomeIfNeeded);
}

void QVController::markLibraryAvailability()
{
    for (const qv::Library& library : _database->libraries(qv::Counts::Skipped)) {
        std::error_code error;
        const bool available = std::filesystem::is_directory(library.path, error) && !error;
        _database->setLibraryAvailable(library.path, available);
    }
}

void QVController::readLayoutAndSize()
{
    const QSettings settings;
    const QVariant stored = settings.value(QLatin1String(qv::kLayoutModeKey));
    _state.layoutMode = qv::normalizedLayoutMode(stored.isValid(), stored.toLongLong());
    const QRect visible = QGuiApplication::primaryScreen() ? QGuiApplication::primaryScreen()->availableGeometry()
                                                           : QRect(0, 0, 1920, 1080);
    _contentSize = qv::sizeForLayout(_state.layoutMode, settings, visible);
}

void QVController::wireRooms()
{
    QVMainWindow& w = *_window;
    _sidebar = new QVSidebar(*_database, _state, w);
    _filters = new QVFilters(*_database, _state, *w.filterBar);

    QVResultBrowser::Hooks browserHooks;
    browserHooks.navigationEvent = [this](const char* event) { recordNavigationEvent(event); };
    browserHooks.updateBreadcrumb = [this] { _sidebar->updateBreadcrumb(); };
    browserHooks.updateQuickFilters = [this] { _filters->updateQuickFilters(); };
    browserHooks.diagnosticSource = [this] { return _sidebar->diagnosticSource(); };
    browserHooks.currentSampleId = [this]() -> std::optional<std::int64_t> {
        if (_playback && _playback->currentSample()) return _playback->currentSample()->id;
        return std::nullopt;
    };
    browserHooks.navigateSamples = [this](std::int64_t d, std::int64_t from) { _playback->navigateSamplesInDirection(d, from); };
    browserHooks.focusRow = [this](std::int64_t row) { _playback->focusSampleRow(row); };
    _browser = new QVResultBrowser(*_database, _state, w, _waveforms, browserHooks);
    _browser->setReducedMotion(QSettings().value(QLatin1String(qv::kReduceMotionKey), false).toBool());
    _scans = new QVScanCoordinator(*_database);

    QVAppearance::Hooks looks;
    looks.themeChanged = [this] {
        _playback->applyStoredSettings(); // the repeat button's accent
        _sidebar->reloadPlaylists();     // their icons
    };
    looks.layoutChanged = [this] { _browser->refresh(); };
    _appearance = new QVAppearance(_state, w, looks, this);
    _appearance->applyLayoutMode(_state.layoutMode, false);

    connect(_sidebar, &QVSidebar::placeChanged, this, [this](bool transition) {
        _appearance->placeChosen();
        _playback->browseContextChanged();
        _filters->updateFilterContext();
        if (transition) {
            _browser->refreshResultsWithBrowserTransition();
        } else {
            _browser->refresh();
        }
    });
    connect(_filters, &QVFilters::contextChanged, _browser, &QVResultBrowser::resetPageAndRefresh);
    connect(w.search, &QLineEdit::textChanged, _browser, [this](const QString& text) {
        ++_state.browseContextGeneration;
        _browser->searchTextChanged(text);
    });
    connect(w.clearSearch, &QToolButton::clicked, _browser, [this] {
        ++_state.browseContextGeneration;
        _browser->clearSearch();
    });
    connect(w.pagePrevious, &QPushButton::clicked, _browser, &QVResultBrowser::previousPage);
    connect(w.pageNext, &QPushButton::clicked, _browser, &QVResultBrowser::nextPage);
    connect(w.filenameHeader, &QPushButton::clicked, _browser, [this] { _browser->sortPressed(qv::SortColumn::Filename); });
    connect(w.timeHeader, &QPushButton::clicked, _browser, [this] { _browser->sortPressed(qv::SortColumn::Time); });
    connect(w.bpmHeader, &QPushButton::clicked, _browser, [this] { _browser->sortPressed(qv::SortColumn::Bpm); });
    connect(w.table, &QVResultsView::visibleRowsChanged, _browser, &QVResultBrowser::preindexVisibleWaveforms);
    connect(w.table, &QVResultsView::metadataLinkActivated, _sidebar,
            [this](int, const QString& field, const QString& value) {
                if (field == QLatin1String("type")) _sidebar->applyTypeLink(value);
            });
    connect(w.table, &QVResultsView::metadataLinkActivated, _filters,
            [this](int, const QString& field, const QString& value) { _filters->applyLink(field, value); });

    connect(&w, &QVMainWindow::addLibraryRequested, _scans, [this] { _scans->addLibrary(_window.get()); });
    connect(&w, &QVMainWindow::foldersDropped, _scans, &QVScanCoordinator::handleDroppedURLs);
    for (QObject* room : std::initializer_list<QObject*>{_browser, _scans}) {
        connect(room, SIGNAL(statusMessage(QString)), w.statusLabel, SLOT(setText(QString)));
    }
    connect(_scans, &QVScanCoordinator::startupProgress, w.filterBar->libraryScanProgress, [&w](int done, int total) {
        QProgressBar* bar = w.filterBar->libraryScanProgress;
        bar->setVisible(total > 0);
        // Until a library is done there is no step to show: a busy bar rather than one
        // sitting empty.
        bar->setRange(0, total > 1 && done > 0 ? total : 0);
        bar->setValue(done);
    });
    for (auto changed : {&QVScanCoordinator::scanFinished, &QVScanCoordinator::libraryRemoved}) {
        connect(_scans, changed, this, [this] {
            _filters->invalidateValueLists();
            reloadSidebars();
            _browser->refresh();
        });
    }
}

qv::PreviewDecoder::PlayerFactory QVController::players() const
{
    if (_options.useAudioDevice) {
        return qv::PreviewDecoder::devicePlayers(QSettings().value(QLatin1String(qv::kAudioOutputDeviceKey)).toByteArray());
    }
    return [](const QString& path, QString* error) {
        return qv::PreviewPlayer::create(path, error, qv::PreviewPlayer::clockOutput());
    };
}

void QVController::buildPlayer()
{
    auto* panel = new QVPlayerPanel(_waveforms);
    _window->setPlayerPanel(panel);

    QVPlayback::BrowserHooks hooks;
    hooks.requestPageDelta = [this](std::int64_t delta) { _browser->requestPageDelta(delta); };
    hooks.showPageNow = [this](std::int64_t page) { _browser->showPageNow(page); };
    hooks.diagnosticSource = [this] { return _sidebar->diagnosticSource(); };
    _playback = new QVPlayback(_state, *panel, *_window->table, hooks, players());
    _playback->applyStoredSettings();
    connect(_playback, &QVPlayback::statusMessage, _window->statusLabel, &QLabel::setText);

    QVResultsView* table = _window->table;
    connect(table, &QVResultsView::rowClicked, _playback, [this](int row) { _playback->loadSampleAtIndex(row, true); });
    connect(table, &QVResultsView::rowDoubleClicked, _playback, [this](int row) {
        if (_state.libraryMode) {
            // A library's row: its label is renamed.
            if (row >= 0 && row < static_cast<int>(_state.libs.size())) {
                const qv::Library& library = _state.libs[static_cast<std::size_t>(row)];
                _edits->renameLibrary(library.id, QString::fromStdString(library.displayLabel.empty()
                    ? std::filesystem::path(library.path).filename().string() : library.displayLabel));
            }
            return;
        }
        _playback->loadSampleAtIndex(row, true);
    });
    connect(table, &QVResultsView::playClicked, _playback, [this](int row) { _playback->preview(row); });
    connect(table, &QVResultsView::heartClicked, this, [this](int row) { _edits->toggleFavorite(row); });
    connect(table, &QVResultsView::rowWaveformSeek, _playback,
            [this](int row, double seconds) { _playback->seekRowWaveform(row, seconds); });
    connect(table, &QVResultsView::rowWaveformDoubleClicked, _playback,
            [this](int row) { _playback->previewRowWaveform(row); });

    connect(panel, &QVPlayerPanel::playPausePressed, _playback, &QVPlayback::playerPlayPause);
    connect(panel, &QVPlayerPanel::stopPressed, _playback, &QVPlayback::stopPlaybackAction);
    connect(panel, &QVPlayerPanel::previousPressed, _playback, &QVPlayback::previousSample);
    connect(panel, &QVPlayerPanel::nextPressed, _playback, &QVPlayback::nextSample);
    connect(panel, &QVPlayerPanel::repeatPressed, _playback, &QVPlayback::repeatPressed);
    connect(panel, &QVPlayerPanel::volumeChanged, _playback, &QVPlayback::volumeChanged);
    connect(panel, &QVPlayerPanel::seekSliderMoved, _playback, &QVPlayback::seekPlayer);
    connect(panel, &QVPlayerPanel::waveformSeek, _playback, &QVPlayback::seekWaveform);
    connect(panel, &QVPlayerPanel::waveformDoubleClicked, _playback, &QVPlayback::playerPlayPause);
    connect(panel, &QVPlayerPanel::favoritePressed, this, [this] {
        const std::int64_t row = _playback->visibleIndexForPlayingSample();
        if (row >= 0) _edits->toggleFavorite(static_cast<int>(row));
    });
}

void QVController::reloadSidebars()
{
    if (!_playback) {
        buildPlayer();
    } else {
        _playback->startPlayerProgressTimer();
    }
    if (!_keys) {
        QVShortcutMonitor::Hooks keys;
        keys.clearSelection = [this] { _window->table->clearSelection(); };
        keys.perform = [this](const QString& action) { performShortcutAction(action); };
        _keys = new QVShortcutMonitor(*_window, keys);
        qApp->installEventFilter(_keys);
    }
    _sidebar->reloadSidebars();
}

void QVController::performShortcutAction(const QString& action)
{
    const std::int64_t loved = _playback->visibleIndexForPlayingSample();
    if (action == u"play") _playback->playerPlayPause();
    else if (action == u"restart") _playback->restartCurrentSample();
    else if (action == u"seekBack") _playback->seekByFraction(-0.07);
    else if (action == u"seekForward") _playback->seekByFraction(0.07);
    else if (action == u"previousSample") _playback->previousSample();
    else if (action == u"nextSample") _playback->nextSample();
    else if (action == u"previousPage") _browser->previousPage();
    else if (action == u"nextPage") _browser->nextPage();
    else if (action == u"love" && loved >= 0) _edits->toggleFavorite(static_cast<int>(loved));
    else if (action == u"unlove" && loved >= 0 && _playback->currentSample() && _playback->currentSample()->favorite)
        _edits->toggleFavorite(static_cast<int>(loved));
    else if (action == u"repeat") _playback->repeatPressed();
    else if (action == u"search") focusSearch();
}

void QVController::openSettings()
{
    QSettings settings;
    const qv::AppSettings before = qv::readAppSettings(settings);
    QVSettingsDialog dialog(before, _window.get());
    if (dialog.exec() != QDialog::Accepted) return;
    applySettings(before, dialog.chosen());
}

void QVController::applySettings(const qv::AppSettings& before, const qv::AppSettings& chosen)
{
    QSettings settings;
    const qv::SettingsChanges changes = qv::writeAppSettings(settings, before, chosen);
    settings.sync();
    if (changes.theme) _appearance->applyTheme(chosen.theme);
    if (changes.layout) _appearance->applyLayoutMode(chosen.layoutMode, true);
    if (changes.featuredColumns) _window->featuredGrid->setEntries(_featured->items(), _featured->columns());
    if (changes.audioOutput) _playback->setPlayerFactory(players()); // from the next sample on
    if (changes.reduceMotion) _browser->setReducedMotion(chosen.reduceMotion);
}

void QVController::focusSearch()
{
    _window->search->setFocus(Qt::ShortcutFocusReason);
    _window->search->selectAll();
}

void QVController::customizeShortcuts()
{
    QSettings settings;
    runCustomizeShortcuts(settings, _window->theme().accent, *_alerts, _window.get(),
                          [](QVShortcutsDialog& dialog) { return dialog.exec(); });
}

void QVController::applicationDidBecomeActive()
{
    _playback->startPlayerProgressTimer();
    // The deferred steps run after the event that activated the window.
    QTimer::singleShot(0, this, [this] {
        _playback->applyStoredSettings(); // the player's look: repeat and volume
    });
    if (!_didRestoreLaunchLocation) {
        _didRestoreLaunchLocation = true;
        _sidebar->restoreLaunchLocation();
    }
}

void QVController::applicationWillTerminate()
{
    QVPlayheadDiagnostics& log = QVPlayheadDiagnostics::shared();
    log.record(QStringLiteral("timer-invalidate reason=terminate"));
    log.flushNow();
    if (_playback) _playback->invalidateProgressTimer(nullptr);
    log.waitForWrites();
}

void QVController::showError(const char* error, const QString& title)
{
    QMessageBox box(QMessageBox::Warning, title, title, QMessageBox::Ok, _window.get());
    box.setInformativeText(QString::fromUtf8(error));
    box.exec();
}

void QVController::setAlerts(std::unique_ptr<QVAlerts> alerts)
{
    _alerts->setTarget(std::move(alerts));
}

void QVController::wireEdits()
{
    QVMainWindow& w = *_window;
    if (!_alerts->hasTarget()) _alerts->setTarget(std::make_unique<QVModalAlerts>(&w));

    QVEditCommands::Hooks hooks;
    hooks.refresh = [this] {
        _filters->invalidateValueLists(); // an edit may change the values a place has
        _browser->refresh();
    };
    hooks.reloadRow = [this](int row) {
        if (row >= 0 && row < static_cast<int>(_state.rows.size())) {
            _window->table->updateSample(row, _state.rows[static_cast<std::size_t>(row)]);
        }
        _inspector->selectionChanged();
    };
    hooks.reloadPlaylists = [this] {
        _sidebar->reloadPlaylists();
        _sidebar->updateBreadcrumb();
    };
    hooks.updatePlayer = [this] { _playback->updatePlayer(); };
    hooks.currentSampleId = [this]() -> std::optional<std::int64_t> {
        if (_playback->currentSample()) return _playback->currentSample()->id;
        return std::nullopt;
    };
    hooks.setCurrentFavorite = [this](bool favorite) { _playback->setCurrentFavorite(favorite); };
    hooks.audition = [this] { return _playback->audition(); };
    hooks.resumeAudition = [this](double seconds, bool playing) { _playback->resumeAudition(seconds, playing); };
    hooks.showAllTypesOnly = [this] { _sidebar->showAllTypesOnly(); };
    _edits = new QVEditCommands(*_database, _state, *_alerts, hooks);
    connect(_edits, &QVEditCommands::librariesChanged, this, [this] {
        _filters->invalidateValueLists();
        reloadSidebars();
        _browser->refresh();
    });

    QVContextMenus::Hooks menuHooks;
    menuHooks.selectedRows = [this] { return _window->table->selectedRows(); };
    menuHooks.showInFolder = &showInFileManager;
    menuHooks.copyPaths = [](const QStringList& paths) { QGuiApplication::clipboard()->setText(paths.join(QLatin1Char('\n'))); };
    menuHooks.rescanLibrary = [this](const QString& path, bool force) {
        _scans->scanRoots({QUrl::fromLocalFile(path)}, force);
    };
    menuHooks.removeLibrary = [this](std::int64_t id, const QString&) { _scans->removeLibrary(id, *_alerts); };
    menuHooks.toggleFavorite = [this](int row) { _edits->toggleFavorite(row); };
    menuHooks.featureFolder = [this](const QString& folder) { _featured->addFolder(folder); };
    menuHooks.featurePlaylist = [this](std::int64_t id, const QString& name) { _featured->addPlaylist(id, name); };
    _menus = new QVContextMenus(*_database, _state, *_edits, *_sidebar, menuHooks);

    connect(w.table, &QVResultsView::contextMenuRequested, _menus, [this](int row, const QPoint& where) {
        _menus->popup(_state.libraryMode ? _menus->libraryRowMenu(row, _window.get()) : _menus->rowMenu(row, _window.get()),
                      where);
    });
    connect(w.folderTree, &QVFolderTreeView::folderMenuRequested, _menus,
            [this](const QString& path, bool root, const QPoint& where) {
                _menus->popup(_menus->folderMenu(path, root, _window.get()), where);
            });
    connect(w.playlistTable, &QVPlaylistList::playlistMenuRequested, _menus, [this](std::int64_t id, const QPoint& where) {
        _menus->popup(_menus->playlistMenu(id, _window.get()), where);
    });
    connect(w.playlistTable, &QVPlaylistList::samplesDropped, _edits,
            [this](std::int64_t playlist, const std::vector<std::int64_t>& ids) { _edits->addSamplesToPlaylist(ids, playlist); });
    connect(w.playlistTable, &QVPlaylistList::samplesDroppedOutsidePlaylists, _edits, &QVEditCommands::newPlaylistForSamples);
    connect(w.newPlaylistButton, &QToolButton::clicked, _edits, &QVEditCommands::newEmptyPlaylist);
    for (const QVMainWindow::TaggedButton& nav : w.navButtons) {
        if (nav.tag != qv::kFavoritesTag) continue;
        nav.button->setContextMenuPolicy(Qt::CustomContextMenu);
        connect(nav.button, &QWidget::customContextMenuRequested, _menus, [this, button = nav.button](const QPoint& at) {
            _menus->popup(_menus->favoritesMenu(_window.get()), button->mapToGlobal(at));
        });
    }
}

void QVController::wireFeatured()
{
    // The grid shows the stored sets; a card opens its folder or playlist in the sidebar.
    QVFeaturedGrid* grid = _window->featuredGrid;
    _featured = new QVFeaturedItems(_options.featuredAvatarDirectory.isEmpty() ? QVFeaturedItems::defaultAvatarDirectory()
                                                                               : _options.featuredAvatarDirectory);
    const auto reload = [this, grid] { grid->setEntries(_featured->items(), _featured->columns()); };
    connect(_featured, &QVFeaturedItems::changed, grid, reload);
    reload();
    connect(grid, &QVFeaturedGrid::openRequested, this, [this](int index) {
        const QVariantMap entry = _featured->entry(index);
        const QVariant value = entry.value(QStringLiteral("value"));
        if (entry.value(QStringLiteral("kind")).toString() == QLatin1String("folder")) {
            _sidebar->navigateToFolderPath(value.toString(), true);
        } else if (entry.value(QStringLiteral("kind")).toString() == QLatin1String("playlist")) {
            _sidebar->selectPlaylist(value.toLongLong());
        }
    });
    connect(grid, &QVFeaturedGrid::renameRequested, this, [this](int index) { _featured->renameAsking(index, *_alerts); });
    connect(grid, &QVFeaturedGrid::removeRequested, this, [this](int index) { _featured->remove(index); });
    connect(grid, &QVFeaturedGrid::avatarDropped, this,
            [this](int index, const QString& path) { _featured->setAvatar(index, path); });
    connect(_scans, &QVScanCoordinator::fullScanMoved, _featured, &QVFeaturedItems::relinkFromMoves);
}

void QVController::wireInspector()
{
    QVMainWindow& w = *_window;
    _inspector = new QVInspectorRoom(*_database, _state, w);
    connect(w.table, &QVResultsView::selectionChanged, _inspector, &QVInspectorRoom::selectionChanged);
    connect(w.inspector, &QVInspector::showInFolderRequested, this, &showInFileManager);
    connect(w.inspector, &QVInspector::revealFolderRequested, _sidebar,
            [this](const QString& folder) { _sidebar->navigateToFolderPath(folder, true); });
}

void QVController::recordNavigationEvent(const char* event)
{
    QVPlayheadDiagnostics& log = QVPlayheadDiagnostics::shared();
    if (!log.enabled()) return;
    const std::int64_t selected = _playback && _playback->currentSample() ? _playback->currentSample()->id : 0;
    log.record(QString::asprintf("nav event=%s source=%s browseGen=%llu queryGen=%llu selected=%lld playing=%lld rows=%zu page=%lld",
                                 event, qPrintable(_sidebar->diagnosticSource()),
                                 static_cast<unsigned long long>(_state.browseContextGeneration),
                                 static_cast<unsigned long long>(_state.queryGeneration), static_cast<long long>(selected),
                                 static_cast<long long>(_playback ? _playback->playingSampleId() : 0), _state.rows.size(),
                                 static_cast<long long>(_state.page)));
}

void QVController::showQuickTourWelcomeIfNeeded()
{
    QSettings settings;
    if (!qv::shouldStartQuickTour(_options.showQuickTour, settings.value(QLatin1String(qv::kQuickTourShownKey), false).toBool())) {
        return;
    }
    if (showQuickTour()) settings.setValue(QLatin1String(qv::kQuickTourShownKey), true);
}

bool QVController::showQuickTour()
{
    if (!_tour) _tour = new QVQuickTour(*_window);
    return _tour->start();
}
