// The colour themes' table: one row per theme, every colour the window and the preview
// layer draw with.
//
// Themes are named by the setting QVThemeSelection ("Purple", "Classic", "Green"); any
// other value, or none, is "Purple". Every colour is chosen to read well on a dark
// window. The setting is read on each call of `currentThemeColors`, so a theme change
// shows at the next redraw of whatever draws with it.
// Any thread (QSettings is reentrant).
#pragma once

#include <QColor>
#include <QString>
#include <QStringList>

namespace qv {

struct ThemeColors {
    QString name;
    QColor background;      // the window behind every panel
    QColor panel;           // sidebar, player and header panels
    QColor accent;          // the playhead (drawn 12 % towards white), buttons that are on
    QColor waveformPlayed;  // bars already played
    QColor text;
    QColor mutedText;
};

ThemeColors themeColors(const QString& selection);
QStringList themeNames(); // in the table's order, the default first
QString currentThemeSelection();
ThemeColors currentThemeColors();

} // namespace qv
