#pragma once
// The twelve keyboard actions of the main window and their bindings, as plain functions.
//
// A binding is one or more parts joined by "|"; a part is a named choice ("Space", "1",
// "CommandF", …) or a recorded token "K<code>;M<mask>;D<display>". Key codes and modifier
// masks are the portable ones every stored binding uses (Shift 131072, Control 262144,
// Option 524288, Command 1048576); a Qt key press is translated into them by one table,
// with Ctrl as the Command mask, Meta as Control and Alt as Option.
//
// Bindings live in QSettings under "QVShortcut." + action id; reading one may delete a
// stored value that is invalid or a default of an older version. GUI thread only.

#include <QSettings>
#include <QString>
#include <QStringList>

#include <array>
#include <cstdint>

namespace qv {

inline constexpr unsigned long kShortcutShiftMask = 131072;
inline constexpr unsigned long kShortcutControlMask = 262144;
inline constexpr unsigned long kShortcutOptionMask = 524288;
inline constexpr unsigned long kShortcutCommandMask = 1048576;
inline constexpr quint16 kEscapeKeyCode = 53;

struct ShortcutAction {
    const char* id;
    const char* label;
    const char* defaultBinding;
};

// In matching order, which is also the order of the customise dialog's rows.
const std::array<ShortcutAction, 12>& shortcutActions();
QString defaultShortcut(const QString& actionId); // "" for an unknown action
QStringList shortcutChoices();
QString shortcutDisplayName(const QString& choice); // "" when it is not a named choice

// One key press in portable terms.
struct ShortcutKey {
    bool known = false; // the key is in the table; others never match and cannot be recorded
    quint16 keyCode = 0;
    unsigned long modifiers = 0;
    QString characters;                  // as typed, modifiers applied
    QString charactersIgnoringModifiers; // the key's own character, lower case
    bool autoRepeat = false;
};

// `modifiers` may carry Qt::KeypadModifier, which selects the keypad codes.
ShortcutKey shortcutKey(int qtKey, Qt::KeyboardModifiers modifiers, const QString& text, bool autoRepeat = false);
unsigned long shortcutModifiers(Qt::KeyboardModifiers modifiers);

QString keyName(const ShortcutKey& key);
QString displayForKey(const ShortcutKey& key);
QString bindingToken(const ShortcutKey& key);

bool isValidShortcutBinding(const QString& binding);
QString displayForBinding(const QString& binding);
QStringList signaturesForBinding(const QString& binding);
bool keyMatchesBinding(const ShortcutKey& key, const QString& binding);
// True when some signature occurs in two parts of these bindings.
bool bindingsConflict(const QStringList& bindings);

QString shortcutSettingsKey(const QString& actionId);
QString bindingForAction(QSettings& settings, const QString& actionId);
void saveBindings(QSettings& settings, const QStringList& bindings); // one per action, in order
// The first action whose binding the key matches, or "".
QString actionForKey(QSettings& settings, const ShortcutKey& key);

} // namespace qv
