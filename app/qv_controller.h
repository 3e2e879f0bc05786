#pragma once
// The spine of the application: owns the one database, the browse state, the window and
// the rooms; runs launch in its fixed order, the steps of becoming active, and shutdown;
// connects one room to another. It decides nothing a room can decide.

#include "browse_state.h"
#include "preview_decoder.h"

#include <QElapsedTimer>
#include <QObject>
#include <QSize>
#include <QStringList>
#include <QString>

#include <filesystem>
#include <memory>
#include <vector>

class QVAlerts;
class QVAppearance;
class QVReplaceableAlerts;
class QVAudioWarmup;
class QVContextMenus;
class QVEditCommands;
class QVFeaturedItems;
class QVFilters;
class QVInspectorRoom;
class QVShortcutMonitor;
class QVMainWindow;
class QVPlayback;
class QVPlayerPanel;
class QVQuickTour;
class QVResultBrowser;
class QVScanCoordinator;
class QVSidebar;

namespace qv {
struct AppSettings;
class Database;
class WaveformQueue;
}

class QVController : public QObject {
    Q_OBJECT
public:
    struct Options {
        QString featuredAvatarDirectory; // empty: the per-user data path
        std::filesystem::path databasePath; // empty: the per-user data path
        bool warmUpAudio = true;
        bool useAudioDevice = true; // false: players run on a clock (tests, headless)
        // Every library checked once the window is up; the application sets it, tests
        // and benchmarks keep their index as they made it.
        bool checkLibrariesAtStartup = false;
        // The quick tour on a first start; off for tests, which open it themselves.
        bool showQuickTour = false;
    };

    static std::filesystem::path defaultDatabasePath();

    explicit QVController(Options options, QObject* parent = nullptr);
    ~QVController() override;

    void applicationDidFinishLaunching();
    void applicationDidBecomeActive();
    void applicationWillTerminate();
    void showError(const char* error, const QString& title);
    // The twelve keyboard actions by id ("play", "restart", …, "search").
    void performShortcutAction(const QString& action);
    void focusSearch();
    void customizeShortcuts();
    // "Settings…": the dialog, then what changed stored and applied at once.
    void openSettings();
    void applySettings(const qv::AppSettings& before, const qv::AppSettings& chosen);
    // The quick tour by itself once, after the window and the warm-up; and from "Help".
    void showQuickTourWelcomeIfNeeded();
    bool showQuickTour();
    QVQuickTour* quickTour() const { return _tour; }

    qv::Database& database() const { return *_database; }
    qv::BrowseState& state() { return _state; }
    QVMainWindow* window() const { return _window.get(); }
    QVResultBrowser* browser() const { return _browser; }
    QVPlayback* playback() const { return _playback; }
    QVSidebar* sidebar() const { return _sidebar; }
    QVEditCommands* edits() const { return _edits; }
    QVContextMenus* menus() const { return _menus; }
    QVFeaturedItems* featured() const { return _featured; }
    QVInspectorRoom* inspector() const { return _inspector; }
    QVAppearance* appearance() const { return _appearance; }
    // Tests answer the questions instead of a person.
    void setAlerts(std::unique_ptr<QVAlerts> alerts);
    QVFilters* filters() const { return _filters; }
    QVScanCoordinator* scans() const { return _scans; }
    QVAudioWarmup* warmup() const { return _warmup; }
    const QStringList& launchSteps() const { return _launchSteps; }
    // Seconds from the controller's creation to the end of each launch step.
    const std::vector<double>& launchStepSeconds() const { return _launchStepSeconds; }

private:
    void markLibraryAvailability();
    void readLayoutAndSize();
    qv::PreviewDecoder::PlayerFactory players() const;
    void buildPlayer();
    void reloadSidebars();
    void wireRooms();
    void wireEdits();
    void wireInspector();
    void wireFeatured();
    void recordNavigationEvent(const char* event);
    void step(const char* name);

    Options _options;
    std::unique_ptr<qv::Database> _database;
    qv::BrowseState _state;
    qv::WaveformQueue& _waveforms;
    std::unique_ptr<QVMainWindow> _window;
    QVResultBrowser* _browser = nullptr;
    QVPlayback* _playback = nullptr;
    QVSidebar* _sidebar = nullptr;
    QVFilters* _filters = nullptr;
    QVScanCoordinator* _scans = nullptr;
    QVShortcutMonitor* _keys = nullptr;
    QVAudioWarmup* _warmup = nullptr;
    QVEditCommands* _edits = nullptr;
    QVContextMenus* _menus = nullptr;
    QVFeaturedItems* _featured = nullptr;
    QVInspectorRoom* _inspector = nullptr;
    QVAppearance* _appearance = nullptr;
    QVQuickTour* _tour = nullptr; // the window's child, made when first shown
    std::unique_ptr<QVReplaceableAlerts> _alerts;
    QSize _contentSize;
    bool _didRestoreLaunchLocation = false;
    QStringList _launchSteps;
    std::vector<double> _launchStepSeconds;
    QElapsedTimer _launchClock;
};
