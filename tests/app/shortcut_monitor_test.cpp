// The window's key monitor fed synthetic key presses on an offscreen window: typing in a
// text field, Esc, a held key, modifiers, and windows in front.
#include "shortcut_monitor.h"

#include <QApplication>
#include <QDialog>
#include <QKeyEvent>
#include <QLineEdit>
#include <QSettings>
#include <QTest>
#include <QVBoxLayout>

#include <gtest/gtest.h>

namespace {

// Stands in for the results table: counts the presses that got past the monitor.
class KeyCounter : public QWidget {
public:
    int presses = 0;
    KeyCounter() { setFocusPolicy(Qt::StrongFocus); }

protected:
    void keyPressEvent(QKeyEvent* event) override
    {
        ++presses;
        event->accept();
    }
};

class ShortcutMonitorTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        QCoreApplication::setOrganizationName(QStringLiteral("Ostrelle"));
        QCoreApplication::setApplicationName(QStringLiteral("Quorvalinder"));
        QSettings settings;
        for (const char* id : {"play", "seekBack", "nextSample", "search"}) settings.remove(QStringLiteral("QVShortcut.") + id);
        auto* layout = new QVBoxLayout(&window);
        layout->addWidget(search);
        layout->addWidget(table);
        QVShortcutMonitor::Hooks hooks;
        hooks.clearSelection = [this] { ++clears; };
        hooks.perform = [this](const QString& action) { performed << action; };
        monitor = std::make_unique<QVShortcutMonitor>(window, hooks);
        qApp->installEventFilter(monitor.get());
        window.show();
        window.activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    }

    void press(QWidget* target, int key, Qt::KeyboardModifiers modifiers, const QString& text, bool autoRepeat = false)
    {
        QKeyEvent event(QEvent::KeyPress, key, modifiers, text, autoRepeat);
        QApplication::sendEvent(target, &event);
    }

    QWidget window;
    QLineEdit* search = new QLineEdit;
    KeyCounter* table = new KeyCounter;
    std::unique_ptr<QVShortcutMonitor> monitor;
    int clears = 0;
    QStringList performed;
};

TEST_F(ShortcutMonitorTest, TypingEscAndHeldKeysInTheWindow)
{
    // The search field types its digits; Esc clears the selection and keeps the text.
    search->setFocus();
    QTest::keyClick(search, Qt::Key_1);
    QTest::keyClick(search, Qt::Key_Space);
    EXPECT_EQ(search->text(), "1 ");
    QTest::keyClick(search, Qt::Key_Escape);
    EXPECT_EQ(clears, 1);
    EXPECT_EQ(search->text(), "1 ");
    QTest::keyClick(search, Qt::Key_F, Qt::ControlModifier);
    EXPECT_TRUE(performed.isEmpty());

    // Elsewhere a held key acts once and its repeats go nowhere.
    table->setFocus();
    press(table, Qt::Key_Down, Qt::NoModifier, {});
    for (int i = 0; i < 3; ++i) press(table, Qt::Key_Down, Qt::NoModifier, {}, true);
    EXPECT_EQ(performed, QStringList({"nextSample"}));
    EXPECT_EQ(table->presses, 0);

    // Shift-1 seeks, Alt-1 and Ctrl-1 pass through to the focused widget; so does a key of no action.
    press(table, Qt::Key_Exclam, Qt::ShiftModifier, QStringLiteral("!"));
    press(table, Qt::Key_1, Qt::AltModifier, QStringLiteral("1"));
    press(table, Qt::Key_1, Qt::ControlModifier, QStringLiteral("1"));
    press(table, Qt::Key_Q, Qt::NoModifier, QStringLiteral("q"));
    press(table, Qt::Key_F, Qt::ControlModifier, {});
    EXPECT_EQ(performed, QStringList({"nextSample", "seekBack", "search"}));
    EXPECT_EQ(table->presses, 3);
    QTest::keyClick(table, Qt::Key_Escape);
    EXPECT_EQ(clears, 2);

    // A stored binding applies at the next press; the first action in the table that
    // matches wins over seeking, and Space plays no more.
    QSettings().setValue(QStringLiteral("QVShortcut.play"), QStringLiteral("1"));
    press(table, Qt::Key_1, Qt::NoModifier, QStringLiteral("1"));
    press(table, Qt::Key_Space, Qt::NoModifier, QStringLiteral(" "));
    QSettings().remove(QStringLiteral("QVShortcut.play"));
    EXPECT_EQ(performed.join(u' ').toStdString(), "nextSample seekBack search play");
}

TEST_F(ShortcutMonitorTest, AWindowInFrontKeepsItsKeys)
{
    QDialog dialog(&window);
    auto* field = new KeyCounter;
    (new QVBoxLayout(&dialog))->addWidget(field);
    dialog.setModal(true);
    dialog.show();
    dialog.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&dialog));
    field->setFocus();
    press(field, Qt::Key_Space, Qt::NoModifier, QStringLiteral(" "));
    press(field, Qt::Key_Escape, Qt::NoModifier, {});
    EXPECT_EQ(field->presses, 2);
    EXPECT_TRUE(performed.isEmpty());
    EXPECT_EQ(clears, 0);
}

} // namespace
