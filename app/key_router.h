#pragma once
// Space, Up and Down play and step from anywhere in the window, Left and Right seek by
// 7 %, and Ctrl+F goes to the search field, but never while a text field is typing or another window (a dialog) is
// in front. The full customisable table of shortcuts replaces the decision later; the
// filter stays.

#include <QObject>

#include <functional>

class QWidget;

namespace qv {

enum class KeyAction { None, PlayPause, NextSample, PreviousSample, SeekBackward, SeekForward, FindSamples };

KeyAction keyAction(int key, Qt::KeyboardModifiers modifiers, bool textFieldFocused, bool autoRepeat);

} // namespace qv

class QVKeyRouter : public QObject {
    Q_OBJECT
public:
    QVKeyRouter(QWidget& window, std::function<void(qv::KeyAction)> perform, QObject* parent = nullptr);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QWidget& _window;
    std::function<void(qv::KeyAction)> _perform;
};
