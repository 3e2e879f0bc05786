#pragma once
// Folders added by button or drop are scanned off the GUI thread through the one
// LibraryScanner, with their progress and results in the status line. One user scan at a
// time; the scanner's own mutex keeps any other scan from interleaving.

#include "scan/library_scanner.h"

#include <QList>
#include <QObject>
#include <QUrl>

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
    // Asks first; the library's files stay where they are, only its index goes.
    void removeLibrary(std::int64_t libraryId, QVAlerts& alerts);

signals:
    // A Full Scan's relinked files, (old path, new path): featured folders follow them.
    void fullScanMoved(const std::vector<std::pair<std::string, std::string>>& moved);
    void statusMessage(const QString& text);
    void scanFinished(); // reload the sidebars and refresh the results
    void libraryRemoved(); // likewise

private:
    qv::Database& _database;
    qv::LibraryScanner _scanner;
    bool _scanRunning = false;
};
