#include "shortcut_recorder.h"

#include <QKeyEvent>

QVShortcutRecorderButton::QVShortcutRecorderButton(QColor accent, QWidget* parent)
    : QPushButton(parent)
    , _accent(accent)
{
    setObjectName(QStringLiteral("shortcutRecorder"));
    setFlat(true);
    // Only a click starts recording; Tab must not land in a field and swallow keys.
    setFocusPolicy(Qt::ClickFocus);
    setAutoDefault(false);
    connect(this, &QPushButton::clicked, this, &QVShortcutRecorderButton::beginCapture);
    applyLook();
}

void QVShortcutRecorderButton::setRecorded(const QString& binding)
{
    recordedBinding = binding;
    recordedTitle = qv::displayForBinding(binding);
    setText(recordedTitle);
}

void QVShortcutRecorderButton::restoreTitle()
{
    setText(recordedTitle);
}

void QVShortcutRecorderButton::beginCapture()
{
    setFocus(Qt::MouseFocusReason);
    _capturing = true;
    setText(QStringLiteral("Press shortcut…"));
    applyLook();
}

void QVShortcutRecorderButton::keyDown(const qv::ShortcutKey& key)
{
    if (key.keyCode == qv::kEscapeKeyCode && key.known) {
        restoreTitle();
        clearFocus();
        return;
    }
    if (captureHandler) captureHandler(*this, key);
}

void QVShortcutRecorderButton::focusOutEvent(QFocusEvent* event)
{
    _capturing = false;
    restoreTitle();
    applyLook();
    QPushButton::focusOutEvent(event);
}

// While recording, a menu's key equivalent (Ctrl+Q) is a key to record, not a command.
bool QVShortcutRecorderButton::event(QEvent* event)
{
    if (event->type() == QEvent::ShortcutOverride) {
        event->accept();
        return true;
    }
    return QPushButton::event(event);
}

// Without the window's monitor (a dialog on its own) the button records by itself; Space
// and Return must never click it.
void QVShortcutRecorderButton::keyPressEvent(QKeyEvent* event)
{
    if (!event->isAutoRepeat()) keyDown(qv::shortcutKey(event->key(), event->modifiers(), event->text()));
    event->accept();
}

void QVShortcutRecorderButton::keyReleaseEvent(QKeyEvent* event)
{
    event->accept();
}

void QVShortcutRecorderButton::applyLook()
{
    const QString border = _capturing ? QStringLiteral("1px solid %1").arg(_accent.name()) : QStringLiteral("1px solid transparent");
    setStyleSheet(QStringLiteral("QPushButton#shortcutRecorder { background: rgb(41, 41, 41); color: white; border: %1;"
                                 " border-radius: 6px; padding: 0 8px; font-size: 12px; }"
                                 "QPushButton#shortcutRecorder:hover { background: rgb(51, 51, 51); }")
                      .arg(border));
}
