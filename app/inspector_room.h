#pragma once
// The inspector beside the results: shows the selected sample (a moment after the
// selection settles, so that stepping through rows does not read every file), follows
// edits, and is shown or hidden by the header's toggle and Ctrl+I, remembered.

#include "browse_state.h"

#include <QObject>

class QAction;
class QTimer;
class QVMainWindow;

namespace qv {
class Database;
inline constexpr const char* kInspectorVisibleKey = "QVInspectorVisible";
}

class QVInspectorRoom : public QObject {
    Q_OBJECT
public:
    QVInspectorRoom(qv::Database& database, qv::BrowseState& state, QVMainWindow& window, QObject* parent = nullptr);

    void setVisible(bool visible);
    bool visible() const;
    // The selection or the rows changed: show the selected sample soon.
    void selectionChanged();
    void showSelectedNow();

private:
    void apply(bool visible);

    qv::Database& _database;
    qv::BrowseState& _state;
    QVMainWindow& _window;
    QTimer* _settle;
    QAction* _toggle = nullptr;
};
