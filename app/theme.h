#pragma once
// The window is always dark: Fusion with one dark palette made from the theme's row of
// the colour table. Switching themes re-applies the palette; the views re-style
// themselves from the same row.

#include "theme_colors.h"

#include <QString>

class QApplication;

namespace qv {

using WindowTheme = ThemeColors;

WindowTheme windowTheme(const QString& selection);
void applyDarkAppearance(QApplication& app, const WindowTheme& theme);

} // namespace qv
