#include "settings_dialog.h"

#include "theme_colors.h"

#include <QAudioDevice>
#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QMediaDevices>
#include <QSpinBox>

QVSettingsDialog::QVSettingsDialog(const qv::AppSettings& current, QWidget* parent)
    : QDialog(parent)
{
    setWindowTitle(QStringLiteral("Settings"));
    // Its own surface and edge, as the shortcuts dialog has: on the window's background
    // colour it read as part of the results, and the unchecked box was all but invisible.
    const QString accent = (parent ? parent->palette() : palette()).color(QPalette::Highlight).name();
    setObjectName(QStringLiteral("settingsDialog"));
    setStyleSheet(QStringLiteral(
        "QDialog#settingsDialog { background: rgb(30, 30, 32); border: 1px solid rgb(72, 72, 76); }"
        "QCheckBox::indicator { width: 13px; height: 13px; border: 1px solid rgb(130, 130, 136); border-radius: 3px;"
        " background: rgb(9, 9, 9); }"
        "QCheckBox::indicator:checked { background: %1; border-color: %1; }"
        "QDialogButtonBox QPushButton { color: white; background: rgb(58, 58, 62); border: none; border-radius: 6px;"
        " padding: 5px 14px; min-width: 56px; }"
        "QDialogButtonBox QPushButton:hover { background: rgb(72, 72, 76); }"
        "QDialogButtonBox QPushButton:default { background: %1; }")
                      .arg(accent));
    auto* form = new QFormLayout(this);
    form->setContentsMargins(20, 18, 20, 14);
    form->setHorizontalSpacing(14);
    form->setVerticalSpacing(10);

    theme = new QComboBox(this);
    theme->addItems(qv::themeNames());
    theme->setCurrentText(current.theme);
    form->addRow(QStringLiteral("Theme"), theme);

    layout = new QComboBox(this);
    layout->addItem(QStringLiteral("Desktop"), 1);
    layout->addItem(QStringLiteral("Compact Vertical"), 0);
    layout->setCurrentIndex(current.layoutMode == 0 ? 1 : 0);
    layout->setToolTip(QStringLiteral("Compact Vertical: a narrow, tall window beside your DAW; the sidebar opens from the menu button"));
    form->addRow(QStringLiteral("Layout"), layout);

    featuredColumns = new QSpinBox(this);
    featuredColumns->setRange(2, 8);
    featuredColumns->setValue(current.featuredColumns);
    featuredColumns->setSuffix(QStringLiteral(" columns"));
    form->addRow(QStringLiteral("Featured"), featuredColumns);

    // Producers listen through their audio interface: the choice is remembered, and the
    // default output stands in while the chosen one is not connected.
    output = new QComboBox(this);
    output->addItem(QStringLiteral("System Default"), QByteArray());
    for (const QAudioDevice& device : QMediaDevices::audioOutputs()) {
        output->addItem(device.description(), device.id());
        if (device.id() == current.audioOutput) output->setCurrentIndex(output->count() - 1);
    }
    if (!current.audioOutput.isEmpty() && output->currentIndex() == 0) {
        output->addItem(QStringLiteral("%1 (not connected)").arg(QString::fromUtf8(current.audioOutput)), current.audioOutput);
        output->setCurrentIndex(output->count() - 1);
    }
    form->addRow(QStringLiteral("Audio output"), output);

    reduceMotion = new QCheckBox(QStringLiteral("Reduce motion (no fades between pages)"), this);
    reduceMotion->setChecked(current.reduceMotion);
    form->addRow(QString(), reduceMotion);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    form->addRow(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
}

qv::AppSettings QVSettingsDialog::chosen() const
{
    qv::AppSettings chosen;
    chosen.theme = theme->currentText();
    chosen.layoutMode = layout->currentData().toInt();
    chosen.featuredColumns = featuredColumns->value();
    chosen.audioOutput = output->currentData().toByteArray();
    chosen.reduceMotion = reduceMotion->isChecked();
    return chosen;
}
