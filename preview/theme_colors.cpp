#include "theme_colors.h"

#include <QSettings>

#include <array>

namespace qv {

namespace {

struct ThemeRow {
    const char* name;
    QRgb background;
    QRgb panel;
    QRgb accent;
    QRgb waveformPlayed;
    QRgb text;
    QRgb mutedText;
};

// The first row is the default. Muted text keeps at least 4.5:1 against its panel.
constexpr std::array<ThemeRow, 3> kThemes{{
    {"Purple", 0xff1a1724, 0xff231f30, 0xff8c6cf2, 0xffa98bff, 0xffeceaf2, 0xffa7a3b4},
    {"Classic", 0xff1c1e22, 0xff24272d, 0xff3d8df5, 0xff5fa8ff, 0xffe9ecf1, 0xffa2a8b3},
    {"Green", 0xff151d19, 0xff1c2721, 0xff2fbf71, 0xff4cd98a, 0xffe7f0ea, 0xff9fb2a7},
}};

} // namespace

ThemeColors themeColors(const QString& selection)
{
    const ThemeRow* row = &kThemes.front();
    for (const ThemeRow& theme : kThemes) {
        if (selection == QLatin1String(theme.name)) row = &theme;
    }
    return {QString::fromLatin1(row->name), QColor::fromRgb(row->background), QColor::fromRgb(row->panel),
            QColor::fromRgb(row->accent),   QColor::fromRgb(row->waveformPlayed), QColor::fromRgb(row->text),
            QColor::fromRgb(row->mutedText)};
}

QStringList themeNames()
{
    QStringList names;
    for (const ThemeRow& theme : kThemes) names.append(QString::fromLatin1(theme.name));
    return names;
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
