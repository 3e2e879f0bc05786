#include "scan_coordinator.h"

#include "alerts.h"
#include "db/database.h"
#include "scan/scan_summary.h"
#include "scan_logic.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QFileDialog>
#include <QDir>
#include <QPointer>
#include <QStandardPaths>
#include <QThreadPool>

#include <exception>
#include <filesystem>
#include <memory>
#include <string>

QVScanCoordinator::QVScanCoordinator(qv::Database& database, QObject* parent)
    : QObject(parent)
    , _database(database)
    , _scanner(database)
{
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
    emit statusMessage(qv::scanStartedText(roots.size(), force));

    QPointer<QVScanCoordinator> self(this);
    QThreadPool::globalInstance()->start([this, self, roots, force] {
        qv::ScanStats total;
        std::string errors;
        for (const QString& root : roots) {
            try {
                qv::accumulate(total, _scanner.scan(std::filesystem::path(root.toStdString()), {}, force));
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
