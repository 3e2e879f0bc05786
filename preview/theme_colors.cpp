#include "theme_colors.h"

#include <QSettings>

#include <array>

namespace qv {

namespace {

struct ThemeRow {
    const char* name;
    QRgb waveformPlayed;
    QRgb accent;
};

// The first row is the default.
constexpr std::array<ThemeRow, 3> kThemes{{
    {"Purple", 0xffa98bff, 0xff8c6cf2},
    {"Classic", 0xff5fa8ff, 0xff3d8df5},
    {"Green", 0xff4cd98a, 0xff2fbf71},
}};

} // namespace

ThemeColors themeColors(const QString& selection)
{
    const ThemeRow* row = &kThemes.front();
    for (const ThemeRow& theme : kThemes) {
        if (selection == QLatin1String(theme.name)) row = &theme;
    }
    return {QString::fromLatin1(row->name), QColor::fromRgb(row->waveformPlayed), QColor::fromRgb(row->accent)};
}

QString currentThemeSelection()
{
    return QSettings(QStringLiteral("Ostrelle"), QStringLiteral("Quorvalinder"))
        .value(QStringLiteral("QVThemeSelection"))
        .toString();
}

ThemeColors currentThemeColors()
{
    return themeColors(currentThemeSelection());
}

} // namespace qv
