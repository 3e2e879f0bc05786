// The shortcut bindings without a window: validity, stored values and their migrations,
// display texts, signatures, matching of translated Qt key presses, conflicts.
#include "shortcut_logic.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

class ShortcutSettings : public ::testing::Test {
protected:
    QTemporaryDir dir{QDir::tempPath() + QStringLiteral("/qv shortcuts 'é%_XXXXXX")};
    QSettings settings{dir.filePath(QStringLiteral("settings.ini")), QSettings::IniFormat};
};

qv::ShortcutKey press(int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier, const QString& text = {})
{
    return qv::shortcutKey(key, modifiers, text);
}

TEST(ShortcutBindings, ValidityOfNamedChoicesAndTokens)
{
    for (const QString& choice : qv::shortcutChoices()) EXPECT_TRUE(qv::isValidShortcutBinding(choice)) << choice.toStdString();
    EXPECT_TRUE(qv::isValidShortcutBinding("CommandLeft|0"));
    EXPECT_TRUE(qv::isValidShortcutBinding("K18;M131072;DShift 1"));
    EXPECT_TRUE(qv::isValidShortcutBinding("Space|K0;M0;DA"));
    EXPECT_TRUE(qv::isValidShortcutBinding("K5;M0;DG;extra"));

    for (const char* bad : {"", "space", "Space|", "|1", "K;M0;DA", "K12;M;DA", "K12;M0;D", "K1x;M0;DA",
                            "K12;M0", "X12;M0;DA", "K12;MA;DA", "K12;M0;A"}) {
        EXPECT_FALSE(qv::isValidShortcutBinding(bad)) << bad;
    }
}

TEST(ShortcutBindings, DisplaysAndSignatures)
{
    EXPECT_EQ(qv::displayForBinding("CommandLeft|0"), "Ctrl ← / 0");
    EXPECT_EQ(qv::displayForBinding("K18;M131072;DShift 1"), "Shift 1");
    EXPECT_EQ(qv::displayForBinding("K18;M0;D1;x"), "1;x");
    EXPECT_EQ(qv::displayForBinding("whatever"), "whatever");

    EXPECT_EQ(qv::signaturesForBinding("CommandLeft|0"), QStringList({"K123M1048576", "K29M0", "K82M0"}));
    EXPECT_EQ(qv::signaturesForBinding("Plus"), QStringList({"K69M0", "K24M131072"}));
    EXPECT_EQ(qv::signaturesForBinding("Less"), QStringList({"K43M131072"}));
    EXPECT_EQ(qv::signaturesForBinding("K18;M0;D1"), QStringList({"K18M0"}));
    EXPECT_EQ(qv::signaturesForBinding("Nope"), QStringList({"Nope"}));

    // The token of a translated press, its display, and the key names of the table.
    const qv::ShortcutKey ctrlShiftA = press(Qt::Key_A, Qt::ControlModifier | Qt::ShiftModifier, "A");
    EXPECT_EQ(qv::bindingToken(ctrlShiftA), "K0;M1179648;DShift Ctrl A");
    EXPECT_EQ(qv::displayForKey(press(Qt::Key_Semicolon, Qt::AltModifier | Qt::MetaModifier)), "Meta Alt ;");
    EXPECT_EQ(qv::bindingToken(press(Qt::Key_Semicolon)), "K41;M0;D");
    EXPECT_EQ(qv::displayForKey(press(Qt::Key_PageDown)), "Page Down");
    EXPECT_EQ(qv::displayForKey(press(Qt::Key_Backspace)), "Delete");
    EXPECT_EQ(qv::displayForKey(press(Qt::Key_Exclam, Qt::ShiftModifier, "!")), "Shift 1");
    EXPECT_FALSE(press(Qt::Key_F5).known);
}

TEST(ShortcutBindings, MatchingTranslatedPresses)
{
    // Shift is allowed on named non-Command choices; Alt, Meta and Ctrl are not. The key
    // monitor's test presses Shift, Alt and Ctrl with 1, and Ctrl F.
    EXPECT_TRUE(qv::keyMatchesBinding(press(Qt::Key_1, Qt::NoModifier, "1"), "1"));
    EXPECT_FALSE(qv::keyMatchesBinding(press(Qt::Key_1, Qt::MetaModifier, "1"), "1"));
    EXPECT_TRUE(qv::keyMatchesBinding(press(Qt::Key_1, Qt::KeypadModifier, "1"), "1"));
    EXPECT_TRUE(qv::keyMatchesBinding(press(Qt::Key_0, Qt::KeypadModifier, "0"), "CommandLeft|0"));
    EXPECT_TRUE(qv::keyMatchesBinding(press(Qt::Key_Left, Qt::ControlModifier | Qt::ShiftModifier), "CommandLeft|0"));
    EXPECT_FALSE(qv::keyMatchesBinding(press(Qt::Key_Left), "CommandLeft"));
    EXPECT_FALSE(qv::keyMatchesBinding(press(Qt::Key_Left, Qt::ControlModifier), "Left"));
    EXPECT_TRUE(qv::keyMatchesBinding(press(Qt::Key_Left, Qt::KeypadModifier), "Left"));
    EXPECT_FALSE(qv::keyMatchesBinding(press(Qt::Key_F, Qt::ControlModifier | Qt::AltModifier), "CommandF"));

    // "Plus" by keypad key or by the typed character, whatever key typed it.
    EXPECT_TRUE(qv::keyMatchesBinding(press(Qt::Key_Plus, Qt::KeypadModifier, "+"), "Plus"));
    EXPECT_TRUE(qv::keyMatchesBinding(press(Qt::Key_Plus, Qt::ShiftModifier, "+"), "Plus"));
    EXPECT_TRUE(qv::keyMatchesBinding(press(Qt::Key_Plus, Qt::NoModifier, "+"), "Plus"));
    EXPECT_FALSE(qv::keyMatchesBinding(press(Qt::Key_Equal, Qt::NoModifier, "="), "Plus"));
    EXPECT_TRUE(qv::keyMatchesBinding(press(Qt::Key_Minus, Qt::KeypadModifier, "-"), "Minus"));
    EXPECT_TRUE(qv::keyMatchesBinding(press(Qt::Key_Less, Qt::ShiftModifier, "<"), "Less"));
    EXPECT_TRUE(qv::keyMatchesBinding(press(Qt::Key_Period, Qt::ShiftModifier, ">"), "Greater"));

    // A token needs the exact mask.
    EXPECT_TRUE(qv::keyMatchesBinding(press(Qt::Key_A, Qt::ShiftModifier, "A"), "Space|K0;M131072;DShift A"));
    EXPECT_FALSE(qv::keyMatchesBinding(press(Qt::Key_A, Qt::NoModifier, "a"), "K0;M131072;DShift A"));
    EXPECT_FALSE(qv::keyMatchesBinding(press(Qt::Key_A), "K0"));
}

TEST(ShortcutBindings, ConflictsAreSharedSignatures)
{
    EXPECT_TRUE(qv::bindingsConflict({"1", "K18;M0;D1"}));
    EXPECT_TRUE(qv::bindingsConflict({"K83;M0;DNum 1", "Space", "1"}));
    EXPECT_FALSE(qv::bindingsConflict({"1", "K18;M131072;DShift 1"}));
    QStringList defaults;
    for (const auto& action : qv::shortcutActions()) defaults << action.defaultBinding;
    EXPECT_FALSE(qv::bindingsConflict(defaults));
}

TEST_F(ShortcutSettings, DefaultsMigrationsAndTheTwoPartRestart)
{
    EXPECT_EQ(qv::bindingForAction(settings, "restart"), "CommandLeft|0");
    EXPECT_EQ(qv::displayForBinding(qv::bindingForAction(settings, "restart")), "Ctrl ← / 0");

    // Old defaults are deleted and read as the new ones; a user's own choice stays.
    const struct {
        const char* id;
        QVariant stored;
        const char* read;
        bool kept;
    } cases[] = {{"seekBack", "Left|1", "1", false},         {"seekForward", "Right", "2", false},
                 {"previousPage", "Less", "Left", false},    {"nextPage", "Greater", "Right", false},
                 {"love", "Less", "Less", true},             {"unlove", "minus", "Minus", false},
                 {"repeat", 5, "CommandR", true}};
    for (const auto& c : cases) settings.setValue(qv::shortcutSettingsKey(c.id), c.stored);
    for (const auto& c : cases) {
        EXPECT_EQ(qv::bindingForAction(settings, c.id), c.read) << c.id;
        EXPECT_EQ(settings.contains(qv::shortcutSettingsKey(c.id)), c.kept) << c.id;
    }

    // One stored part of the two-part default: the "Alt" key when valid, else the last default part.
    settings.setValue("QVShortcut.restart", "K0;M0;DA");
    EXPECT_EQ(qv::bindingForAction(settings, "restart"), "K0;M0;DA|0");
    settings.setValue("QVShortcut.restartAlt", "broken");
    EXPECT_EQ(qv::bindingForAction(settings, "restart"), "K0;M0;DA|0");
    settings.setValue("QVShortcut.restartAlt", "K1;M0;DS");
    EXPECT_EQ(qv::bindingForAction(settings, "restart"), "K0;M0;DA|K1;M0;DS");
    settings.setValue("QVShortcut.restart", "Space|Up");
    EXPECT_EQ(qv::bindingForAction(settings, "restart"), "Space|Up");
}

} // namespace
