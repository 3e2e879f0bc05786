#include "shortcut_monitor.h"

#include "quick_tour.h"
#include "shortcut_logic.h"
#include "shortcut_recorder.h"

#include <QAbstractSpinBox>
#include <QApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QSettings>
#include <QTextEdit>
#include <QWidget>

QVShortcutMonitor::QVShortcutMonitor(QWidget& window, Hooks hooks, QObject* parent)
    : QObject(parent)
    , _window(window)
    , _hooks(std::move(hooks))
{
}

bool QVShortcutMonitor::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() != QEvent::KeyPress) return QObject::eventFilter(watched, event);
    QWidget* target = qobject_cast<QWidget*>(watched);
    QWidget* window = target ? target->window() : QApplication::activeWindow();
    QWidget* responder = QApplication::focusWidget();
    // A press passes the filter once for each widget it propagates to; decide on its
    // first stop only, the focus widget (or the window when nothing has focus).
    if (watched != (responder ? static_cast<QObject*>(responder) : static_cast<QObject*>(window))) {
        return QObject::eventFilter(watched, event);
    }
    auto* press = static_cast<QKeyEvent*>(event);
    const qv::ShortcutKey key = qv::shortcutKey(press->key(), press->modifiers(), press->text(), press->isAutoRepeat());

    if (auto* recorder = qobject_cast<QVShortcutRecorderButton*>(responder)) {
        if (!key.autoRepeat) recorder->keyDown(key);
        return true;
    }
    if (qobject_cast<QVQuickTour*>(responder)) return false; // Esc and the arrows move the tour
    QWidget* active = QApplication::activeWindow();
    if (QApplication::activeModalWidget() || (active && active != &_window) || window != &_window) return false;
    if (key.known && key.keyCode == qv::kEscapeKeyCode) {
        if (_hooks.clearSelection) _hooks.clearSelection();
        return true;
    }
    if (qobject_cast<QLineEdit*>(responder) || qobject_cast<QTextEdit*>(responder) ||
        qobject_cast<QPlainTextEdit*>(responder) || qobject_cast<QAbstractSpinBox*>(responder)) {
        return false;
    }
    if (key.autoRepeat) return true; // holding a key never repeats an action
    QSettings settings;
    const QString action = qv::actionForKey(settings, key);
    if (action.isEmpty()) return false;
    _hooks.perform(action);
    return true;
}
