// The "Customize Shortcuts" dialog driven as a user would: recording, Esc, a key already
// in use, a conflict on saving, "Restore Defaults" and "Cancel".
#include "shortcuts_dialog.h"
#include "window_test.h"

#include <QAction>
#include <QSignalSpy>
#include <QTemporaryDir>

namespace {

// What the dialog told, as "message / informative".
QStringList told(const qv::test::ScriptedAlerts& alerts)
{
    QStringList lines;
    for (const qv::test::Question& q : alerts.told) lines << q.message + " / " + q.informative;
    return lines;
}

QStringList titles(const QVShortcutsDialog& dialog)
{
    QStringList all;
    for (const auto& row : dialog.recorders()) {
        for (const auto* recorder : row) all << recorder->text();
    }
    return all;
}

void showActive(QVShortcutsDialog& dialog)
{
    dialog.show();
    dialog.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&dialog));
}

TEST(ShortcutsDialog, RecordRefuseInUseThenSaveAndRefuseConflicts)
{
    QTemporaryDir dir(QDir::tempPath() + QStringLiteral("/qv keys 'ü%_XXXXXX"));
    QSettings settings(dir.filePath(QStringLiteral("s.ini")), QSettings::IniFormat);
    qv::test::ScriptedAlerts alerts;
    int shows = 0;

    const bool saved = runCustomizeShortcuts(settings, Qt::magenta, alerts, nullptr, [&](QVShortcutsDialog& dialog) {
        ++shows;
        showActive(dialog);
        EXPECT_EQ(titles(dialog), QStringList({"Space", "Ctrl ←", "0", "1", "2", "↑", "↓", "←", "→", "+", "−",
                                               "Ctrl R", "Ctrl F"}));
        QVShortcutRecorderButton* seekForward = dialog.recorders()[3][0];
        QTest::mouseClick(seekForward, Qt::LeftButton);
        EXPECT_EQ(seekForward->text(), "Press shortcut…");
        QTest::keyClick(seekForward, Qt::Key_Escape);
        EXPECT_EQ(seekForward->text(), "2");
        EXPECT_FALSE(seekForward->hasFocus());

        QTest::mouseClick(seekForward, Qt::LeftButton);
        QTest::keyClick(seekForward, Qt::Key_1, Qt::KeypadModifier); // the keypad 1 belongs to "1"
        EXPECT_EQ(told(alerts), QStringList({"Shortcut Already In Use / Num 1 is already assigned to another function."}));
        EXPECT_EQ(seekForward->recordedBinding, "2");
        QTest::keyClick(seekForward, Qt::Key_Q, Qt::ShiftModifier);
        EXPECT_EQ(seekForward->recordedBinding, "K12;M131072;DShift Q");
        EXPECT_EQ(seekForward->text(), "Shift Q");

        // A key equivalent of a menu is recorded, not run.
        QAction quit(QStringLiteral("Quit"));
        quit.setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q));
        quit.setShortcutContext(Qt::ApplicationShortcut);
        dialog.addAction(&quit);
        QSignalSpy triggered(&quit, &QAction::triggered);
        QVShortcutRecorderButton* search = dialog.recorders()[11][0];
        QTest::mouseClick(search, Qt::LeftButton);
        QTest::keyClick(search, Qt::Key_Q, Qt::ControlModifier);
        EXPECT_EQ(triggered.count(), 0);
        EXPECT_EQ(search->recordedBinding, "K12;M1048576;DCtrl Q");
        return int(QVShortcutsDialog::Save);
    });
    EXPECT_TRUE(saved);
    EXPECT_EQ(shows, 1);
    EXPECT_EQ(settings.value("QVShortcut.seekForward").toString(), "K12;M131072;DShift Q");
    EXPECT_EQ(settings.value("QVShortcut.search").toString(), "K12;M1048576;DCtrl Q");
    EXPECT_EQ(settings.value("QVShortcut.restart").toString(), "CommandLeft|0");

    // A token of the main-row 1 clashes with "1" on saving; the edit survives the refusal,
    // "Restore Defaults" shows the defaults without saving, "Cancel" keeps what was stored.
    alerts.told.clear();
    shows = 0;
    const bool savedAgain = runCustomizeShortcuts(settings, Qt::magenta, alerts, nullptr, [&](QVShortcutsDialog& dialog) {
        ++shows;
        QVShortcutRecorderButton* seekForward = dialog.recorders()[3][0];
        switch (shows) {
        case 1:
            EXPECT_EQ(seekForward->text(), "Shift Q");
            seekForward->setRecorded(QStringLiteral("K18;M0;D1"));
            return int(QVShortcutsDialog::Save);
        case 2:
            EXPECT_EQ(told(alerts), QStringList({"Shortcut Conflict / Each key combination can only be assigned once."}));
            EXPECT_EQ(seekForward->recordedBinding, "K18;M0;D1");
            return int(QVShortcutsDialog::RestoreDefaults);
        case 3: EXPECT_EQ(seekForward->text(), "2"); return int(QVShortcutsDialog::Cancel);
        default: ADD_FAILURE() << "shown too often"; return int(QVShortcutsDialog::Cancel);
        }
    });
    EXPECT_FALSE(savedAgain);
    EXPECT_EQ(shows, 3);
    EXPECT_EQ(settings.value("QVShortcut.seekForward").toString(), "K12;M131072;DShift Q");
}

} // namespace
