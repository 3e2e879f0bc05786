#pragma once
// Launch's decisions: the settings keys and their defaults, the layout mode's
// normalisation, window sizes parsed from and written to their stored text, centring and
// clamping to the screen, the theme's name, and the silent WAV of the audio warm-up.

#include <QByteArray>
#include <QRect>
#include <QSize>
#include <QString>

namespace qv {

inline constexpr const char* kLayoutModeKey = "QVLayoutMode";
inline constexpr const char* kDesktopSizeKey = "QVDesktopSize";
inline constexpr const char* kCompactVerticalSizeKey = "QVCompactVerticalSize";
inline constexpr const char* kThemeSelectionKey = "QVThemeSelection";
inline constexpr const char* kPlayerRepeatKey = "QVPlayerRepeat";
inline constexpr const char* kPlayerVolumeKey = "QVPlayerVolume";
inline constexpr double kDefaultPlayerVolume = 0.8;
inline constexpr const char* kReduceMotionKey = "QVReduceMotion"; // true: no fades
// The chosen output's id; absent or not connected: the system's default output.
inline constexpr const char* kAudioOutputDeviceKey = "QVAudioOutputDevice";
inline constexpr const char* kWindowTitle = "Quorvalinder \u2014 Ostrelle";

// Absent means 1 (desktop); any non-zero stored value is 1.
int normalizedLayoutMode(bool present, long long stored);
const char* sizeKeyForMode(int mode);
QSize defaultContentSize(int mode);

// "{w, h}" as written, and "w x h" as a person types it; anything else is 0 x 0.
QSize parseSize(const QString& text);
QString formatSize(QSize size);

// The stored text's size, or the mode's default when the text is empty.
QSize storedContentSize(int mode, const QString& text);
// Never larger than the screen's visible area, never smaller than the window's minimum.
QSize clampedContentSize(QSize size, int mode, const QRect& visible);
QRect centeredFrame(QSize size, const QRect& visible);

// "Classic" and "Green" are themselves; anything else, empty included, is "Purple".
QString normalizedTheme(const QString& stored);

// A tenth of a second of silence: 44-byte RIFF header, mono 16-bit 44.1 kHz, 8820 zeros.
QByteArray silentWaveBytes();

} // namespace qv
