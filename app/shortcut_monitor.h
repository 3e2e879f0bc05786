#pragma once
// The window's key-down monitor: an application-wide event filter that runs the first
// shortcut action whose binding a key press matches. In order: a recorder field takes
// every press; so does the quick tour while it is up; dialogs, menus and other windows are left alone; Esc clears the result
// selection even while typing; text fields type; a held key acts once; first match wins.
// GUI thread only; installed once.

#include <QObject>
#include <QString>

#include <functional>

class QWidget;

class QVShortcutMonitor : public QObject {
    Q_OBJECT
public:
    struct Hooks {
        std::function<void()> clearSelection;
        std::function<void(const QString& actionId)> perform;
    };

    QVShortcutMonitor(QWidget& window, Hooks hooks, QObject* parent = nullptr);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QWidget& _window;
    Hooks _hooks;
};
