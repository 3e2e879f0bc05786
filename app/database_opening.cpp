#include "database_opening.h"

#include "db/database.h"
#include "startup_logic.h"

#include <QEventLoop>
#include <QProgressDialog>

#include <exception>
#include <thread>

QString qv::indexPreparationText(int done, int total)
{
    QString text = QStringLiteral("Preparing the search index of your samples");
    if (total > 1) text += QStringLiteral(" (step %1 of %2)").arg(done + 1).arg(total);
    return text + QStringLiteral(".\nThis happens once after an update and can take a minute for a large library.");
}

std::unique_ptr<qv::Database> openDatabaseShowingProgress(const std::filesystem::path& path)
{
    QEventLoop loop;
    QProgressDialog* dialog = nullptr; // made on the first report
    const auto report = [&](int done, int total) {
        QMetaObject::invokeMethod(
            &loop,
            [&, done, total] {
                if (!dialog) {
                    dialog = new QProgressDialog;
                    dialog->setWindowTitle(QString::fromUtf8(qv::kWindowTitle));
                    dialog->setCancelButton(nullptr); // half a rebuilt index is no use
                    dialog->setMinimumDuration(0);
                    dialog->setAutoClose(false);
                    dialog->setAutoReset(false);
                    dialog->setMinimumWidth(460);
                }
                dialog->setLabelText(qv::indexPreparationText(done, total));
                // One step has no share to show: the bar just moves.
                dialog->setRange(0, total > 1 ? total : 0);
                dialog->setValue(done);
                dialog->show();
            },
            Qt::QueuedConnection);
    };

    std::unique_ptr<qv::Database> database;
    std::exception_ptr failure;
    std::thread worker([&] {
        try {
            database = std::make_unique<qv::Database>(path, report);
        } catch (...) {
            failure = std::current_exception();
        }
        // Queued after every report, so the loop has shown them all when it quits.
        QMetaObject::invokeMethod(&loop, [&loop] { loop.quit(); }, Qt::QueuedConnection);
    });
    loop.exec();
    worker.join();
    delete dialog;
    if (failure) std::rethrow_exception(failure);
    return database;
}
