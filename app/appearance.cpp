#include "appearance.h"

#include "browse_state.h"
#include "main_window.h"
#include "settings_logic.h"
#include "startup_logic.h"
#include "theme.h"

#include <QApplication>
#include <QScreen>
#include <QSettings>

QVAppearance::QVAppearance(qv::BrowseState& state, QVMainWindow& window, Hooks hooks, QObject* parent)
    : QObject(parent)
    , _state(state)
    , _window(window)
    , _hooks(std::move(hooks))
{
}

void QVAppearance::applyTheme(const QString& name)
{
    const qv::WindowTheme theme = qv::windowTheme(name);
    if (auto* app = qobject_cast<QApplication*>(QCoreApplication::instance())) qv::applyDarkAppearance(*app, theme);
    _window.setTheme(theme);
    if (_hooks.themeChanged) _hooks.themeChanged();
}

void QVAppearance::applyLayoutMode(int mode, bool resize)
{
    _state.layoutMode = mode == 0 ? 0 : 1;
    _window.setLayoutMode(_state.layoutMode);
    if (resize) {
        const QScreen* screen = _window.screen() ? _window.screen() : QGuiApplication::primaryScreen();
        const QRect visible = screen ? screen->availableGeometry() : QRect(0, 0, 1920, 1080);
        const QSize size = qv::sizeForLayout(_state.layoutMode, QSettings(), visible);
        _window.setGeometry(qv::centeredFrame(size, visible));
    }
    if (_hooks.layoutChanged) _hooks.layoutChanged();
}

void QVAppearance::placeChosen()
{
    if (_state.layoutMode == 0) _window.setSidebarOpen(false);
}
