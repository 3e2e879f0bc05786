#pragma once
// The application menu: "About Quorvalinder", "Settings…" (Ctrl+,) and "Quit Quorvalinder"
// (Ctrl+Q, wherever the focus is).

class QVMainWindow;

void buildApplicationMenu(QVMainWindow& window);
