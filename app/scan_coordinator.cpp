#include "scan_coordinator.h"

#include "alerts.h"
#include "db/database.h"
#include "inference/metadata_parser.h"
#include "scan/scan_summary.h"
#include "scan_logic.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QFileDialog>
#include <QDir>
#include <QPointer>
#include <QStandardPaths>
#include <QThreadPool>
#include <QTimer>

#include <cstdio>
#include <exception>
#include <filesystem>
#include <memory>
#include <string>

QVScanCoordinator::QVScanCoordinator(qv::Database& database, QObject* parent)
    : QObject(parent)
    , _database(database)
    , _scanner(database)
    , _filesSeen(std::make_shared<std::atomic<std::size_t>>(0))
    , _liveCount(new QTimer(this))
{
    // A long first scan shows that it moves.
    _liveCount->setInterval(250);
    connect(_liveCount, &QTimer::timeout, this,
            [this] { emit statusMessage(qv::scanProgressText(_startedText, _filesSeen->load())); });
}

void QVScanCoordinator::addLibrary(QWidget* dialogParent)
{
    QFileDialog dialog(dialogParent, tr("Add Sample Folder"));
    dialog.setFileMode(QFileDialog::Directory);
    dialog.setOption(QFileDialog::ShowDirsOnly);
    // Samples live in the music folder more often than where the program was started.
    const QString music = QStandardPaths::writableLocation(QStandardPaths::MusicLocation);
    dialog.setDirectory(QDir(music).exists() ? music : QDir::homePath());
    // Qt's own dialog lets several folders be chosen at once.
    dialog.setOption(QFileDialog::DontUseNativeDialog);
    if (auto* view = dialog.findChild<QAbstractItemView*>(QStringLiteral("listView"))) {
        view->setSelectionMode(QAbstractItemView::ExtendedSelection);
    }
    if (dialog.exec() != QDialog::Accepted) return;
    QList<QUrl> urls;
    for (const QString& path : dialog.selectedFiles()) urls.append(QUrl::fromLocalFile(path));
    handleDroppedURLs(urls);
}

void QVScanCoordinator::handleDroppedURLs(const QList<QUrl>& urls)
{
    scanRoots(urls, false);
}

void QVScanCoordinator::scanRoots(const QList<QUrl>& urls, bool force)
{
    if (_scanRunning) {
        emit statusMessage(qv::scanAlreadyRunningText());
        return;
    }
    const QStringList roots = qv::scanRootPaths(urls);
    if (roots.isEmpty()) return;
    _scanRunning = true;
    _startedText = qv::scanStartedText(roots.size(), force);
    emit statusMessage(_startedText);
    _filesSeen->store(0);
    _liveCount->start();

    QPointer<QVScanCoordinator> self(this);
    QThreadPool::globalInstance()->start([this, self, roots, force, seen = _filesSeen] {
        qv::ScanStats total;
        std::string errors;
        std::size_t before = 0;
        const auto count = [&](std::size_t n, const std::filesystem::path&) { seen->store(before + n); };
        for (const QString& root : roots) {
            try {
                qv::accumulate(total, _scanner.scan(std::filesystem::path(root.toStdString()), count, force));
                before = seen->load();
            } catch (const std::exception& error) {
                if (!errors.empty()) errors += "\n";
                errors += error.what();
            }
        }
        QMetaObject::invokeMethod(
            qApp,
            [self, total, errors, force] {
                if (!self) return;
                self->_scanRunning = false;
                self->_liveCount->stop();
                emit self->scanFinished();
                emit self->statusMessage(QString::fromStdString(errors.empty() ? qv::scanCompleteMessage(total, force)
                                                                               : qv::scanAttentionMessage(errors)));
                if (force && !total.moved.empty()) emit self->fullScanMoved(total.moved);
            },
            Qt::QueuedConnection);
    });
}

void QVScanCoordinator::removeLibrary(std::int64_t libraryId, QVAlerts& alerts)
{
    // The scan may be writing this very library.
    if (_scanRunning) {
        emit statusMessage(qv::scanAlreadyRunningText());
        return;
    }
    const int answer = alerts.ask(tr("Remove this library from Quorvalinder?"),
                                  tr("Only the index will be removed. Your original files will not be changed."),
                                  {tr("Remove from Quorvalinder"), tr("Cancel")});
    if (answer != 0) return;
    try {
        _database.removeLibrary(libraryId);
    } catch (const std::exception& error) {
        alerts.inform(tr("Couldn\u2019t remove library"), QString::fromUtf8(error.what()));
        return;
    }
    emit libraryRemoved();
}

void QVScanCoordinator::checkLibrariesAfterLaunch()
{
    if (_scanRunning || _database.libraries(qv::Counts::Skipped).empty()) {
        reindexForParserRevisionIfNeeded();
        return;
    }
    scanLibrariesAtStartup();
}

void QVScanCoordinator::scanLibrariesAtStartup()
{
    if (_scanRunning) return;
    const std::vector<qv::Library> libraries = _database.libraries(qv::Counts::Skipped);
    if (libraries.empty()) return;
    int stored = 0;
    try {
        stored = _database.parserRevision();
    } catch (const std::exception&) {
        stored = 0; // an unreadable revision is an old one: everything is analysed again
    }
    const bool force = stored < qv::kMetadataParserRevision;
    const int total = static_cast<int>(libraries.size());
    emit startupProgress(0, total);
    ++_backgroundScans;

    QPointer<QVScanCoordinator> self(this);
    QThreadPool::globalInstance()->start([this, self, libraries, force, total] {
        qv::ScanStats sum;
        std::size_t failed = 0;
        int done = 0;
        for (const qv::Library& library : libraries) {
            try {
                qv::accumulate(sum, _scanner.scan(library.path, {}, force));
            } catch (const std::exception& error) {
                // Its records stay; the library shows offline until a scan finds it.
                ++failed;
                std::fprintf(stderr, "Quorvalinder startup scan preserved unavailable library %s: %s\n",
                             library.path.c_str(), error.what());
            }
            ++done;
            QMetaObject::invokeMethod(
                qApp,
                [self, done, total] {
                    if (!self) return;
                    emit self->startupProgress(done, total);
                    emit self->statusMessage(qv::startupCheckProgressText(static_cast<std::size_t>(done),
                                                                           static_cast<std::size_t>(total)));
                },
                Qt::QueuedConnection);
        }
        if (force && failed == 0) {
            try {
                _database.setParserRevision(qv::kMetadataParserRevision);
            } catch (const std::exception&) {
                // Checked again at the next start.
            }
        }
        QMetaObject::invokeMethod(
            qApp,
            [self, sum, failed] {
                if (!self) return;
                --self->_backgroundScans;
                emit self->startupProgress(0, 0);
                emit self->scanFinished();
                emit self->statusMessage(qv::startupCheckSummary(sum.added, sum.updated, sum.removed, failed));
                self->reindexForParserRevisionIfNeeded();
            },
            Qt::QueuedConnection);
    });
}

void QVScanCoordinator::reindexForParserRevisionIfNeeded()
{
    int stored = 0;
    try {
        stored = _database.parserRevision();
    } catch (const std::exception&) {
        stored = 0;
    }
    if (stored >= qv::kMetadataParserRevision) return;
    const std::vector<qv::Library> libraries = _database.libraries(qv::Counts::Skipped);
    if (libraries.empty()) {
        try {
            _database.setParserRevision(qv::kMetadataParserRevision);
        } catch (const std::exception&) {
        }
        return;
    }
    emit statusMessage(qv::reindexStartedText());
    ++_backgroundScans;
    QPointer<QVScanCoordinator> self(this);
    QThreadPool::globalInstance()->start([this, self, libraries] {
        std::uint64_t updated = 0;
        for (const qv::Library& library : libraries) {
            try {
                updated += _scanner.scan(library.path, {}, true).updated;
            } catch (const std::exception&) {
                // A library that cannot be read keeps its records; the next start checks it.
            }
        }
        try {
            _database.setParserRevision(qv::kMetadataParserRevision);
        } catch (const std::exception&) {
        }
        QMetaObject::invokeMethod(
            qApp,
            [self, updated] {
                if (!self) return;
                --self->_backgroundScans;
                emit self->scanFinished();
                emit self->statusMessage(qv::reindexSummary(updated));
            },
            Qt::QueuedConnection);
    });
}
