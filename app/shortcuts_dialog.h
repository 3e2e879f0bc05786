#pragma once
// "Customize Shortcuts": one row per action, one recorder field per part of the action's
// default binding. The dialog only edits a working copy; `runCustomizeShortcuts` runs it
// until the user saves a copy without conflicts, cancels, or restores the defaults (which
// shows it again, unsaved). Saved bindings apply at once: the key monitor reads them on
// every press.

#include "shortcut_recorder.h"

#include <QDialog>
#include <QStringList>

#include <functional>
#include <vector>

class QSettings;
class QVAlerts;

class QVShortcutsDialog : public QDialog {
    Q_OBJECT
public:
    // Apart from QDialog's own results, so closing the window reads as "Cancel".
    enum Choice { Save = 10, Cancel, RestoreDefaults };

    QVShortcutsDialog(const QStringList& working, QColor accent, QVAlerts& alerts, QWidget* parent = nullptr);

    // Per action, its recorders' bindings joined with "|".
    QStringList bindings() const;
    const std::vector<std::vector<QVShortcutRecorderButton*>>& recorders() const { return _recorders; }

private:
    void capture(QVShortcutRecorderButton& button, const qv::ShortcutKey& key);

    QVAlerts& _alerts;
    std::vector<std::vector<QVShortcutRecorderButton*>> _recorders;
};

// Runs the dialog (through `run`, which returns a Choice; tests press the buttons) and
// saves on "Save". True when something was saved.
bool runCustomizeShortcuts(QSettings& settings, QColor accent, QVAlerts& alerts, QWidget* parent,
                        const std::function<int(QVShortcutsDialog&)>& run);
