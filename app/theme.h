#pragma once
// The window is always dark: Fusion with one dark palette, and per theme a background
// and an accent (the accent and waveform colours live in the preview layer's table).

#include <QColor>
#include <QString>

class QApplication;
class QWidget;

namespace qv {

struct WindowTheme {
    QString name;       // "Purple", "Classic" or "Green"
    QColor background;  // the window behind every panel
    QColor panel;       // sidebar, player and header panels
    QColor accent;
    QColor mutedText;
};

WindowTheme windowTheme(const QString& selection);
void applyDarkAppearance(QApplication& app, const WindowTheme& theme);

} // namespace qv
