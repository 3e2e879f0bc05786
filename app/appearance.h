#pragma once
// The window's look and shape: the theme switched in place and the two layouts, each
// window size remembered per layout. The window shows; this room decides when.

#include <QObject>

#include <functional>

class QVMainWindow;

namespace qv {
struct BrowseState;
}

class QVAppearance : public QObject {
    Q_OBJECT
public:
    struct Hooks {
        std::function<void()> themeChanged;  // for what draws from stored settings (the player)
        std::function<void()> layoutChanged; // the results and quick filters follow the mode
    };

    QVAppearance(qv::BrowseState& state, QVMainWindow& window, Hooks hooks, QObject* parent = nullptr);

    // The palette and every panel in the theme's colours, at once.
    void applyTheme(const QString& name);
    // Panels for the mode; with `resize`, the window takes the size last left in it.
    void applyLayoutMode(int mode, bool resize);
    // The compact layout's drawer closes once a place is chosen in it.
    void placeChosen();

private:
    qv::BrowseState& _state;
    QVMainWindow& _window;
    Hooks _hooks;
};
