#pragma once

#include <functional>
// The application menu: "About Quorvalinder", "Settings…" (Ctrl+,) and "Quit Quorvalinder"
// (Ctrl+Q, wherever the focus is).

class QVMainWindow;

// `audioOutputChanged` runs when Settings saved another output device.
void buildApplicationMenu(QVMainWindow& window, std::function<void()> audioOutputChanged = {});
