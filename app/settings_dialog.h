#pragma once
// "Settings": the theme, the layout, the featured columns, the audio output and reduced
// motion. It shows the current choices and hands back the new ones; the controller
// stores and applies them.

#include "settings_logic.h"

#include <QDialog>

class QCheckBox;
class QComboBox;
class QSpinBox;

class QVSettingsDialog : public QDialog {
    Q_OBJECT
public:
    explicit QVSettingsDialog(const qv::AppSettings& current, QWidget* parent = nullptr);
    qv::AppSettings chosen() const;

    QComboBox* theme = nullptr;
    QComboBox* layout = nullptr;
    QSpinBox* featuredColumns = nullptr;
    QComboBox* output = nullptr;
    QCheckBox* reduceMotion = nullptr;
};
