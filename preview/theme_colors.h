// The colour themes' table: one row per theme, the colours the preview layer draws with.
//
// Themes are named by the setting QVThemeSelection ("Purple", "Classic", "Green"); any
// other value, or none, is "Purple". Every colour is chosen to read well on the dark
// window (the view's background is 5.5 % white). The setting is read on each call of
// `currentThemeColors`, so a theme change shows at the next redraw.
// Any thread (QSettings is reentrant).
#pragma once

#include <QColor>
#include <QString>

namespace qv {

struct ThemeColors {
    QString name;
    QColor waveformPlayed;  // bars already played
    QColor accent;          // the playhead (drawn 12 % towards white), buttons that are on
};

ThemeColors themeColors(const QString& selection);
QString currentThemeSelection();
ThemeColors currentThemeColors();

} // namespace qv
