#include "settings_logic.h"

#include "featured_items.h"
#include "startup_logic.h"

#include <QSettings>

namespace qv {

AppSettings readAppSettings(const QSettings& settings)
{
    AppSettings read;
    read.theme = normalizedTheme(settings.value(QLatin1String(kThemeSelectionKey)).toString());
    const QVariant mode = settings.value(QLatin1String(kLayoutModeKey));
    read.layoutMode = normalizedLayoutMode(mode.isValid(), mode.toLongLong());
    read.featuredColumns = featuredColumns(settings.value(QLatin1String(kFeaturedColumnsKey)).toInt());
    read.audioOutput = settings.value(QLatin1String(kAudioOutputDeviceKey)).toByteArray();
    read.reduceMotion = settings.value(QLatin1String(kReduceMotionKey), false).toBool();
    return read;
}

SettingsChanges writeAppSettings(QSettings& settings, const AppSettings& before, const AppSettings& chosen)
{
    SettingsChanges changes;
    changes.theme = normalizedTheme(chosen.theme) != before.theme;
    changes.layout = (chosen.layoutMode != 0) != (before.layoutMode != 0);
    changes.featuredColumns = featuredColumns(chosen.featuredColumns) != before.featuredColumns;
    changes.audioOutput = chosen.audioOutput != before.audioOutput;
    changes.reduceMotion = chosen.reduceMotion != before.reduceMotion;
    if (changes.theme) settings.setValue(QLatin1String(kThemeSelectionKey), normalizedTheme(chosen.theme));
    if (changes.layout) settings.setValue(QLatin1String(kLayoutModeKey), chosen.layoutMode != 0 ? 1 : 0);
    if (changes.featuredColumns) settings.setValue(QLatin1String(kFeaturedColumnsKey), featuredColumns(chosen.featuredColumns));
    if (changes.audioOutput) settings.setValue(QLatin1String(kAudioOutputDeviceKey), chosen.audioOutput);
    if (changes.reduceMotion) settings.setValue(QLatin1String(kReduceMotionKey), chosen.reduceMotion);
    return changes;
}

QSize sizeForLayout(int mode, const QSettings& settings, const QRect& visible)
{
    const QString stored = settings.value(QLatin1String(sizeKeyForMode(mode))).toString();
    return clampedContentSize(storedContentSize(mode, stored), mode, visible);
}

} // namespace qv
