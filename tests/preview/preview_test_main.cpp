// The preview suites need a QApplication (widgets, timers, queued signals). Settings go
// to a private folder so that no test reads or changes the user's.
#include "temp_dir.h"

#include <QApplication>
#include <QSettings>

#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    const qv::testkit::TempDir settings;
    const QString settingsPath = QString::fromStdString(settings.path().string());
    qputenv("XDG_CONFIG_HOME", settingsPath.toUtf8());
    qputenv("XDG_CACHE_HOME", (settingsPath + "/cache").toUtf8());
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, settingsPath);
    QApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
