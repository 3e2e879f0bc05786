#pragma once
// Folders added by button or drop are scanned off the GUI thread through the one
// LibraryScanner, with their progress and results in the status line. One user scan at a
// time; the scanner's own mutex keeps any other scan from interleaving.

#include "scan/library_scanner.h"

#include <QList>
#include <QObject>
#include <QUrl>

#include <atomic>
#include <memory>

class QTimer;

class QVAlerts;

namespace qv {
class Database;
}

class QVScanCoordinator : public QObject {
    Q_OBJECT
public:
    QVScanCoordinator(qv::Database& database, QObject* parent = nullptr);

    void addLibrary(QWidget* dialogParent); // the folder chooser
    void handleDroppedURLs(const QList<QUrl>& urls);
    void scanRoots(const QList<QUrl>& urls, bool force);
    bool scanRunning() const { return _scanRunning; }
    // Any scan in the background, the start-up check and the reindex included.
    bool busy() const { return _scanRunning || _backgroundScans > 0; }
    // Once the window is up: every stored library checked (forced when the index was built
    // by an older parser), then the parser-revision reindex if one is still due.
    void checkLibrariesAfterLaunch();
    void scanLibrariesAtStartup();
    void reindexForParserRevisionIfNeeded();
    // Asks first; the library's files stay where they are, only its index goes.
    void removeLibrary(std::int64_t libraryId, QVAlerts& alerts);

signals:
    // A Full Scan's relinked files, (old path, new path): featured folders follow them.
    void fullScanMoved(const std::vector<std::pair<std::string, std::string>>& moved);
    void statusMessage(const QString& text);
    void scanFinished(); // reload the sidebars and refresh the results
    void libraryRemoved(); // likewise
    void startupProgress(int done, int total); // total 0: the check is over

private:
    qv::Database& _database;
    qv::LibraryScanner _scanner;
    bool _scanRunning = false;
    int _backgroundScans = 0;
    std::shared_ptr<std::atomic<std::size_t>> _filesSeen;
    QString _startedText;
    QTimer* _liveCount;
};
