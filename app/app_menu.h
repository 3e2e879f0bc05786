#pragma once

#include <functional>
// The application menu: "About Quorvalinder", "Settings…" (Ctrl+,) and "Quit Quorvalinder"
// (Ctrl+Q, wherever the focus is).

class QVMainWindow;

// `settingsChanged` runs when Settings saved a change that applies at once (the audio
// output device, reduced motion).
void buildApplicationMenu(QVMainWindow& window, std::function<void()> settingsChanged = {});
