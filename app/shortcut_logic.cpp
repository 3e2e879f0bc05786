#include "shortcut_logic.h"

#include <QHash>
#include <QSet>

#include <algorithm>

namespace qv {

namespace {

struct Choice {
    const char* name;
    const char* display;
};

// Displays of the Command choices follow the platform's modifier name.
constexpr std::array<Choice, 15> kChoices{{
    {"Space", "Space"},
    {"CommandLeft", "Ctrl ←"},
    {"Left", "←"},
    {"Right", "→"},
    {"Up", "↑"},
    {"Down", "↓"},
    {"1", "1"},
    {"2", "2"},
    {"0", "0"},
    {"Less", "<"},
    {"Greater", ">"},
    {"Plus", "+"},
    {"Minus", "−"},
    {"CommandR", "Ctrl R"},
    {"CommandF", "Ctrl F"},
}};

QString signature(int code, unsigned long mask)
{
    return QStringLiteral("K%1M%2").arg(code).arg(mask);
}

QStringList choiceSignatures(const QString& name)
{
    if (name == u"Space") return {signature(49, 0)};
    if (name == u"CommandLeft") return {signature(123, kShortcutCommandMask)};
    if (name == u"Left") return {signature(123, 0)};
    if (name == u"Right") return {signature(124, 0)};
    if (name == u"Up") return {signature(126, 0)};
    if (name == u"Down") return {signature(125, 0)};
    if (name == u"1") return {signature(18, 0), signature(83, 0)};
    if (name == u"2") return {signature(19, 0), signature(84, 0)};
    if (name == u"0") return {signature(29, 0), signature(82, 0)};
    if (name == u"Less") return {signature(43, kShortcutShiftMask)};
    if (name == u"Greater") return {signature(47, kShortcutShiftMask)};
    if (name == u"Plus") return {signature(69, 0), signature(24, kShortcutShiftMask)};
    if (name == u"Minus") return {signature(27, 0), signature(78, 0)};
    if (name == u"CommandR") return {signature(15, kShortcutCommandMask)};
    if (name == u"CommandF") return {signature(3, kShortcutCommandMask)};
    return {};
}

bool isChoice(const QString& part)
{
    for (const Choice& c : kChoices) {
        if (part == QLatin1String(c.name)) return true;
    }
    return false;
}

bool isDigits(QStringView text)
{
    for (QChar c : text) {
        if (c < u'0' || c > u'9') return false;
    }
    return true;
}

bool isValidPart(const QString& part)
{
    if (isChoice(part)) return true;
    const QStringList fields = part.split(u';');
    if (fields.size() < 3) return false;
    const QString& key = fields[0];
    const QString& mask = fields[1];
    const QString& display = fields[2];
    return key.size() >= 2 && key.startsWith(u'K') && isDigits(QStringView(key).mid(1)) && mask.size() >= 2 &&
           mask.startsWith(u'M') && isDigits(QStringView(mask).mid(1)) && display.startsWith(u'D') &&
           display.size() >= 2;
}

// The main block's keys by their unshifted character; Qt reports a shifted symbol
// ("!" for Shift-1) as its own key, so those map back to the key that types them.
int codeForCharacter(QChar c)
{
    static const QHash<QChar, int> codes = [] {
        QHash<QChar, int> map;
        const char* letters = "asdfhgzxcvbqwerytoupilj";
        const int letterCodes[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 11, 12, 13, 14, 15, 16, 17, 31, 32, 35, 34, 37, 38};
        for (int i = 0; letters[i]; ++i) map.insert(QChar(letters[i]), letterCodes[i]);
        const std::pair<char, int> rest[] = {{'k', 40}, {'n', 45}, {'m', 46}, {'1', 18}, {'2', 19}, {'3', 20},
                                             {'4', 21}, {'6', 22}, {'5', 23}, {'=', 24}, {'9', 25}, {'7', 26},
                                             {'-', 27}, {'8', 28}, {'0', 29}, {']', 30}, {'[', 33}, {'\'', 39},
                                             {';', 41}, {'\\', 42}, {',', 43}, {'/', 44}, {'.', 47}, {'`', 50}};
        for (auto [ch, code] : rest) map.insert(QChar(ch), code);
        return map;
    }();
    return codes.value(c, -1);
}

QChar unshifted(QChar c)
{
    static const QString shifted = QStringLiteral("!@#$%^&*()_+{}|:\"<>?~");
    static const QString base = QStringLiteral("1234567890-=[]\\;',./`");
    const qsizetype i = shifted.indexOf(c);
    return i >= 0 ? base[i] : c.toLower();
}

quint32 parseNumber(QStringView digits, bool* ok)
{
    return digits.toUInt(ok);
}

bool matchesPart(const ShortcutKey& key, const QString& part)
{
    if (part.startsWith(u'K') && !isChoice(part)) {
        const QStringList fields = part.split(u';');
        if (fields.size() < 2) return false;
        bool codeOk = false, maskOk = false;
        const quint32 code = parseNumber(QStringView(fields[0]).mid(1), &codeOk);
        const quint32 mask = fields[1].startsWith(u'M') ? parseNumber(QStringView(fields[1]).mid(1), &maskOk) : 0;
        return key.known && codeOk && maskOk && code == key.keyCode && mask == key.modifiers;
    }
    if (!key.known || key.modifiers & (kShortcutControlMask | kShortcutOptionMask)) return false;
    const bool command = key.modifiers & kShortcutCommandMask;
    const int code = key.keyCode;
    if (part == u"CommandLeft") return command && code == 123;
    if (part == u"CommandR") return command && code == 15;
    if (part == u"CommandF") return command && code == 3;
    if (command) return false;
    const QString plain = key.charactersIgnoringModifiers.toLower();
    if (part == u"Space") return code == 49;
    if (part == u"Left") return code == 123;
    if (part == u"Right") return code == 124;
    if (part == u"Up") return code == 126;
    if (part == u"Down") return code == 125;
    if (part == u"1") return code == 18 || code == 83 || plain == u"1";
    if (part == u"2") return code == 19 || code == 84 || plain == u"2";
    if (part == u"0") return code == 29 || code == 82 || plain == u"0";
    const bool shift = key.modifiers & kShortcutShiftMask;
    if (part == u"Less") return key.characters == u"<" || (code == 43 && shift);
    if (part == u"Greater") return key.characters == u">" || (code == 47 && shift);
    if (part == u"Plus") return code == 69 || key.characters == u"+";
    if (part == u"Minus") return code == 27 || code == 78 || plain == u"-";
    return false;
}

} // namespace

const std::array<ShortcutAction, 12>& shortcutActions()
{
    static constexpr std::array<ShortcutAction, 12> actions{{
        {"play", "Play / Pause", "Space"},
        {"restart", "Restart from Beginning", "CommandLeft|0"},
        {"seekBack", "Seek Backward 7%", "1"},
        {"seekForward", "Seek Forward 7%", "2"},
        {"previousSample", "Previous Sample", "Up"},
        {"nextSample", "Next Sample", "Down"},
        {"previousPage", "Previous Page", "Left"},
        {"nextPage", "Next Page", "Right"},
        {"love", "Love / Unlove", "Plus"},
        {"unlove", "Remove Love", "Minus"},
        {"repeat", "Repeat / Unrepeat", "CommandR"},
        {"search", "Focus Search", "CommandF"},
    }};
    return actions;
}

QString defaultShortcut(const QString& actionId)
{
    for (const ShortcutAction& a : shortcutActions()) {
        if (actionId == QLatin1String(a.id)) return QLatin1String(a.defaultBinding);
    }
    return {};
}

QStringList shortcutChoices()
{
    QStringList names;
    for (const Choice& c : kChoices) names << QLatin1String(c.name);
    return names;
}

QString shortcutDisplayName(const QString& choice)
{
    for (const Choice& c : kChoices) {
        if (choice == QLatin1String(c.name)) return QString::fromUtf8(c.display);
    }
    return {};
}

unsigned long shortcutModifiers(Qt::KeyboardModifiers modifiers)
{
    unsigned long mask = 0;
    if (modifiers & Qt::ShiftModifier) mask |= kShortcutShiftMask;
    if (modifiers & Qt::MetaModifier) mask |= kShortcutControlMask;
    if (modifiers & Qt::AltModifier) mask |= kShortcutOptionMask;
    if (modifiers & Qt::ControlModifier) mask |= kShortcutCommandMask;
    return mask;
}

ShortcutKey shortcutKey(int qtKey, Qt::KeyboardModifiers modifiers, const QString& text, bool autoRepeat)
{
    ShortcutKey key;
    key.modifiers = shortcutModifiers(modifiers);
    key.characters = text;
    key.autoRepeat = autoRepeat;
    auto set = [&key](int code, QString plain = {}) {
        key.known = true;
        key.keyCode = static_cast<quint16>(code);
        key.charactersIgnoringModifiers = std::move(plain);
    };
    if (modifiers & Qt::KeypadModifier) {
        if (qtKey >= Qt::Key_0 && qtKey <= Qt::Key_9) {
            const int digit = qtKey - Qt::Key_0;
            set(digit <= 7 ? 82 + digit : 83 + digit, QString(QChar(u'0' + digit)));
            return key;
        }
        switch (qtKey) {
        case Qt::Key_Period:
        case Qt::Key_Comma: set(65, QStringLiteral(".")); return key;
        case Qt::Key_Asterisk: set(67, QStringLiteral("*")); return key;
        case Qt::Key_Plus: set(69, QStringLiteral("+")); return key;
        case Qt::Key_Slash: set(75, QStringLiteral("/")); return key;
        case Qt::Key_Enter: set(76, QStringLiteral("\r")); return key;
        case Qt::Key_Minus: set(78, QStringLiteral("-")); return key;
        default: break; // the keypad's arrows and Home are the ordinary keys
        }
    }
    switch (qtKey) {
    case Qt::Key_Return: set(36, QStringLiteral("\r")); return key;
    case Qt::Key_Enter: set(76, QStringLiteral("\r")); return key;
    case Qt::Key_Tab:
    case Qt::Key_Backtab: set(48, QStringLiteral("\t")); return key;
    case Qt::Key_Space: set(49, QStringLiteral(" ")); return key;
    case Qt::Key_Backspace: set(51, QString(QChar(0x7f))); return key;
    case Qt::Key_Escape: set(53, QString(QChar(0x1b))); return key;
    case Qt::Key_Home: set(115); return key;
    case Qt::Key_PageUp: set(116); return key;
    case Qt::Key_End: set(119); return key;
    case Qt::Key_PageDown: set(121); return key;
    case Qt::Key_Left: set(123); return key;
    case Qt::Key_Right: set(124); return key;
    case Qt::Key_Down: set(125); return key;
    case Qt::Key_Up: set(126); return key;
    default: break;
    }
    if (qtKey > 0x20 && qtKey < 0x7f) {
        const QChar base = unshifted(QChar(qtKey));
        const int code = codeForCharacter(base);
        if (code >= 0) set(code, QString(base));
    }
    return key;
}

QString keyName(const ShortcutKey& key)
{
    switch (key.keyCode) {
    case 49: return QStringLiteral("Space");
    case 36: return QStringLiteral("Return");
    case 48: return QStringLiteral("Tab");
    case 51: return QStringLiteral("Delete");
    case 53: return QStringLiteral("Esc");
    case 115: return QStringLiteral("Home");
    case 119: return QStringLiteral("End");
    case 116: return QStringLiteral("Page Up");
    case 121: return QStringLiteral("Page Down");
    case 123: return QStringLiteral("←");
    case 124: return QStringLiteral("→");
    case 125: return QStringLiteral("↓");
    case 126: return QStringLiteral("↑");
    case 82: return QStringLiteral("Num 0");
    case 83: return QStringLiteral("Num 1");
    case 84: return QStringLiteral("Num 2");
    case 85: return QStringLiteral("Num 3");
    case 86: return QStringLiteral("Num 4");
    case 87: return QStringLiteral("Num 5");
    case 88: return QStringLiteral("Num 6");
    case 89: return QStringLiteral("Num 7");
    case 91: return QStringLiteral("Num 8");
    case 92: return QStringLiteral("Num 9");
    case 69: return QStringLiteral("Num +");
    case 78: return QStringLiteral("Num −");
    default: break;
    }
    const QString plain = key.charactersIgnoringModifiers.toUpper();
    if (!plain.isEmpty() && plain[0].unicode() > 31) return plain;
    return QStringLiteral("Key %1").arg(key.keyCode);
}

QString displayForKey(const ShortcutKey& key)
{
    QString text;
    if (key.modifiers & kShortcutControlMask) text += QLatin1String("Meta ");
    if (key.modifiers & kShortcutOptionMask) text += QLatin1String("Alt ");
    if (key.modifiers & kShortcutShiftMask) text += QLatin1String("Shift ");
    if (key.modifiers & kShortcutCommandMask) text += QLatin1String("Ctrl ");
    return text + keyName(key);
}

QString bindingToken(const ShortcutKey& key)
{
    return QStringLiteral("K%1;M%2;D%3").arg(key.keyCode).arg(key.modifiers).arg(displayForKey(key).remove(u';'));
}

bool isValidShortcutBinding(const QString& binding)
{
    if (binding.isEmpty()) return false;
    const QStringList parts = binding.split(u'|');
    return std::all_of(parts.begin(), parts.end(), isValidPart);
}

QString displayForBinding(const QString& binding)
{
    const QStringList parts = binding.split(u'|');
    if (parts.size() > 1) {
        QStringList displays;
        for (const QString& part : parts) displays << displayForBinding(part);
        return displays.join(QLatin1String(" / "));
    }
    const QString named = shortcutDisplayName(binding);
    if (!named.isEmpty()) return named;
    const qsizetype d = binding.indexOf(QLatin1String(";D"));
    return d >= 0 ? binding.mid(d + 2) : binding;
}

QStringList signaturesForBinding(const QString& binding)
{
    const QStringList parts = binding.split(u'|');
    if (parts.size() > 1) {
        QStringList all;
        for (const QString& part : parts) all += signaturesForBinding(part);
        return all;
    }
    if (isChoice(binding)) return choiceSignatures(binding);
    const QStringList fields = binding.split(u';');
    if (binding.startsWith(u'K') && fields.size() >= 2) return {fields[0] + fields[1]};
    return {binding};
}

bool keyMatchesBinding(const ShortcutKey& key, const QString& binding)
{
    const QStringList parts = binding.split(u'|');
    return std::any_of(parts.begin(), parts.end(), [&key](const QString& part) { return matchesPart(key, part); });
}

bool bindingsConflict(const QStringList& bindings)
{
    QSet<QString> seen;
    for (const QString& binding : bindings) {
        for (const QString& s : signaturesForBinding(binding)) {
            if (seen.contains(s)) return true;
            seen.insert(s);
        }
    }
    return false;
}

QString shortcutSettingsKey(const QString& actionId)
{
    return QLatin1String("QVShortcut.") + actionId;
}

QString bindingForAction(QSettings& settings, const QString& actionId)
{
    const QString fallback = defaultShortcut(actionId);
    const QString key = shortcutSettingsKey(actionId);
    const QVariant value = settings.value(key);
    QString stored = value.typeId() == QMetaType::QString ? value.toString() : QString();
    // Defaults of older versions, when the arrows and < > still sought.
    const bool legacy = (actionId == u"seekBack" && (stored == u"Left" || stored == u"Left|1")) ||
                        (actionId == u"seekForward" && (stored == u"Right" || stored == u"Right|2")) ||
                        (actionId == u"previousPage" && stored == u"Less") ||
                        (actionId == u"nextPage" && stored == u"Greater");
    if (legacy || (!stored.isEmpty() && !isValidShortcutBinding(stored))) {
        settings.remove(key);
        stored.clear();
    }
    if (stored.isEmpty()) return fallback;
    if (!fallback.contains(u'|') || stored.contains(u'|')) return stored;
    const QVariant alt = settings.value(key + QLatin1String("Alt"));
    const QString altText = alt.typeId() == QMetaType::QString ? alt.toString() : QString();
    const QString second = isValidShortcutBinding(altText) ? altText : fallback.split(u'|').last();
    return stored + u'|' + second;
}

void saveBindings(QSettings& settings, const QStringList& bindings)
{
    const auto& actions = shortcutActions();
    for (std::size_t i = 0; i < actions.size() && i < static_cast<std::size_t>(bindings.size()); ++i) {
        settings.setValue(shortcutSettingsKey(QLatin1String(actions[i].id)), bindings[static_cast<qsizetype>(i)]);
    }
}

QString actionForKey(QSettings& settings, const ShortcutKey& key)
{
    for (const ShortcutAction& a : shortcutActions()) {
        if (keyMatchesBinding(key, bindingForAction(settings, QLatin1String(a.id)))) return QLatin1String(a.id);
    }
    return {};
}

} // namespace qv
