#include "key_router.h"

#include <QAbstractSpinBox>
#include <QApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QTextEdit>
#include <QWidget>

namespace qv {

KeyAction keyAction(int key, Qt::KeyboardModifiers modifiers, bool textFieldFocused, bool autoRepeat)
{
    const Qt::KeyboardModifiers significant = modifiers & ~Qt::KeypadModifier;
    if (key == Qt::Key_F && significant == Qt::ControlModifier) return KeyAction::FindSamples;
    // A held key would start a new preview on every repeat; one press, one step.
    if (textFieldFocused || autoRepeat || significant != Qt::NoModifier) return KeyAction::None;
    switch (key) {
    case Qt::Key_Space: return KeyAction::PlayPause;
    case Qt::Key_Down: return KeyAction::NextSample;
    case Qt::Key_Up: return KeyAction::PreviousSample;
    case Qt::Key_Left: return KeyAction::SeekBackward;
    case Qt::Key_Right: return KeyAction::SeekForward;
    default: return KeyAction::None;
    }
}

} // namespace qv

QVKeyRouter::QVKeyRouter(QWidget& window, std::function<void(qv::KeyAction)> perform, QObject* parent)
    : QObject(parent)
    , _window(window)
    , _perform(std::move(perform))
{
}

bool QVKeyRouter::eventFilter(QObject* watched, QEvent* event)
{
    QWidget* active = QApplication::activeWindow();
    if (event->type() != QEvent::KeyPress || QApplication::activeModalWidget() || (active && active != &_window)) {
        return QObject::eventFilter(watched, event);
    }
    // A key press passes the filter once for each widget it is offered to; act on its
    // first stop, the focus widget (or the window when nothing has focus).
    QWidget* focus = QApplication::focusWidget();
    if (watched != (focus ? focus : static_cast<QObject*>(&_window))) return QObject::eventFilter(watched, event);

    auto* key = static_cast<QKeyEvent*>(event);
    const bool typing = qobject_cast<QLineEdit*>(focus) || qobject_cast<QTextEdit*>(focus) ||
                        qobject_cast<QAbstractSpinBox*>(focus);
    const qv::KeyAction action = qv::keyAction(key->key(), key->modifiers(), typing, key->isAutoRepeat());
    if (action == qv::KeyAction::None) {
        // Swallow repeats of the stepping keys so a held key cannot scroll the list either.
        const bool steppingKey = key->key() == Qt::Key_Space || key->key() == Qt::Key_Up || key->key() == Qt::Key_Down;
        return !typing && key->isAutoRepeat() && steppingKey && key->modifiers() == Qt::NoModifier;
    }
    _perform(action);
    return true;
}
