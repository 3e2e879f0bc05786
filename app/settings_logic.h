#pragma once
// What the Settings window reads and writes: the theme, the layout, the featured column
// count, the audio output and reduced motion, each under its own key, and which of them
// a save changed so that only those are applied again.

#include <QByteArray>
#include <QRect>
#include <QSize>
#include <QString>

class QSettings;

namespace qv {

struct AppSettings {
    QString theme;          // a name from the colour table
    int layoutMode = 1;     // 1 desktop, 0 compact vertical
    int featuredColumns = 6;
    QByteArray audioOutput; // empty: the system's default output
    bool reduceMotion = false;
};

struct SettingsChanges {
    bool theme = false;
    bool layout = false;
    bool featuredColumns = false;
    bool audioOutput = false;
    bool reduceMotion = false;
    bool any() const { return theme || layout || featuredColumns || audioOutput || reduceMotion; }
};

// Stored values made usable: the theme and layout normalised, the columns clamped.
AppSettings readAppSettings(const QSettings& settings);
// Writes the fields of `chosen` that differ from `before`.
SettingsChanges writeAppSettings(QSettings& settings, const AppSettings& before, const AppSettings& chosen);

// The window's size in a layout it switches to: the size last left in that layout (or
// the layout's default), kept on the screen.
QSize sizeForLayout(int mode, const QSettings& settings, const QRect& visible);

} // namespace qv
