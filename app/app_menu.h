#pragma once
// The menu bar: the application menu ("About Quorvalinder", "Settings…" (Ctrl+,) and "Quit
// Quorvalinder" (Ctrl+Q, wherever the focus is)), "Edit" and "Help".

#include <functional>

class QVMainWindow;

// "Settings…" runs `openSettings`.
void buildApplicationMenu(QVMainWindow& window, std::function<void()> openSettings = {});
// "Help" with "Customize Shortcuts…", unless the menu bar has a "Help" menu already.
void installShortcutMenu(QVMainWindow& window, std::function<void()> customize);
// "Edit" after the application menu, ending in "Find Samples"; and the search field's own
// context menu. The key equivalents are shown only: the focused widget handles its keys.
void installFindMenu(QVMainWindow& window, std::function<void()> findSamples);
// "Quick Tour" at the top of "Help", before "Customize Shortcuts…".
void installQuickTourMenu(QVMainWindow& window, std::function<void()> showTour);
