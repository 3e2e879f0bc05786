#pragma once
// One field of the customise dialog: shows a binding, and after a click records the next
// key press. The key monitor hands it every press while it has focus, so no shortcut of
// the window fires while a key is being recorded. Esc gives up; losing focus restores the
// title and removes the accent border.

#include "shortcut_logic.h"

#include <QColor>
#include <QPushButton>

#include <functional>

class QVShortcutRecorderButton : public QPushButton {
    Q_OBJECT
public:
    using CaptureHandler = std::function<void(QVShortcutRecorderButton& button, const qv::ShortcutKey& key)>;

    QVShortcutRecorderButton(QColor accent, QWidget* parent = nullptr);

    QString recordedBinding;
    QString recordedTitle; // shown when not capturing
    CaptureHandler captureHandler;

    void setRecorded(const QString& binding); // binding and title together
    void restoreTitle();
    void beginCapture();
    void keyDown(const qv::ShortcutKey& key);
    bool capturing() const { return _capturing; }

protected:
    bool event(QEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;

private:
    void applyLook();

    QColor _accent;
    bool _capturing = false;
};
