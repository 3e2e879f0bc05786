#include "app_menu.h"

#include "main_window.h"
#include "startup_logic.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QCoreApplication>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QMenuBar>
#include <QMediaDevices>
#include <QAudioDevice>
#include <QMessageBox>
#include <QSettings>

void buildApplicationMenu(QVMainWindow& window, std::function<void()> settingsChanged)
{
    QMenu* menu = window.menuBar()->addMenu(QStringLiteral("Quorvalinder"));
    QAction* about = menu->addAction(QStringLiteral("About Quorvalinder"));
    QObject::connect(about, &QAction::triggered, &window, [&window] {
        QMessageBox::about(&window, QStringLiteral("About Quorvalinder"),
                           QStringLiteral("<b>Quorvalinder</b> %1<br>A sample browser for music producers.<br>© Ostrelle")
                               .arg(QCoreApplication::applicationVersion()));
    });
    menu->addSeparator();
    QAction* settings = menu->addAction(QStringLiteral("Settings\u2026"));
    settings->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Comma));
    QObject::connect(settings, &QAction::triggered, &window, [&window, settingsChanged] {
        QDialog dialog(&window);
        dialog.setWindowTitle(QStringLiteral("Settings"));
        auto* form = new QFormLayout(&dialog);
        auto* theme = new QComboBox(&dialog);
        theme->addItems({QStringLiteral("Purple"), QStringLiteral("Classic"), QStringLiteral("Green")});
        theme->setCurrentText(window.theme().name);
        form->addRow(QStringLiteral("Theme"), theme);
        // Producers listen through their audio interface: the choice is remembered, and
        // the default output stands in while the chosen one is not connected.
        auto* output = new QComboBox(&dialog);
        output->addItem(QStringLiteral("System Default"), QByteArray());
        const QByteArray chosen = QSettings().value(QLatin1String(qv::kAudioOutputDeviceKey)).toByteArray();
        for (const QAudioDevice& device : QMediaDevices::audioOutputs()) {
            output->addItem(device.description(), device.id());
            if (device.id() == chosen) output->setCurrentIndex(output->count() - 1);
        }
        if (!chosen.isEmpty() && output->currentIndex() == 0) {
            output->addItem(QStringLiteral("%1 (not connected)").arg(QString::fromUtf8(chosen)), chosen);
            output->setCurrentIndex(output->count() - 1);
        }
        form->addRow(QStringLiteral("Audio output"), output);
        auto* calm = new QCheckBox(QStringLiteral("Reduce motion (no fades between pages)"), &dialog);
        const bool reduced = QSettings().value(QLatin1String(qv::kReduceMotionKey), false).toBool();
        calm->setChecked(reduced);
        form->addRow(QString(), calm);
        auto* note = new QLabel(QStringLiteral("A new theme shows at the next start."), &dialog);
        note->setObjectName(QStringLiteral("caption"));
        form->addRow(note);
        auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, &dialog);
        form->addRow(buttons);
        QObject::connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
        QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
        if (dialog.exec() == QDialog::Accepted) {
            QSettings().setValue(QLatin1String(qv::kThemeSelectionKey), theme->currentText());
            const QByteArray device = output->currentData().toByteArray();
            const bool changed = device != chosen || calm->isChecked() != reduced;
            if (device != chosen) QSettings().setValue(QLatin1String(qv::kAudioOutputDeviceKey), device);
            if (calm->isChecked() != reduced) QSettings().setValue(QLatin1String(qv::kReduceMotionKey), calm->isChecked());
            if (changed && settingsChanged) settingsChanged();
        }
    });
    menu->addSeparator();
    QAction* quit = menu->addAction(QStringLiteral("Quit Quorvalinder"));
    quit->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q));
    quit->setShortcutContext(Qt::ApplicationShortcut);
    QObject::connect(quit, &QAction::triggered, qApp, &QCoreApplication::quit, Qt::QueuedConnection);
}
