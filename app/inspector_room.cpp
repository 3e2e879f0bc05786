#include "inspector_room.h"

#include "inspector.h"
#include "inspector_analysis.h"
#include "main_window.h"
#include "results_view.h"

#include <QAction>
#include <QMenuBar>
#include <QSettings>
#include <QSignalBlocker>
#include <QTimer>
#include <QToolButton>

QVInspectorRoom::QVInspectorRoom(qv::Database& database, qv::BrowseState& state, QVMainWindow& window, QObject* parent)
    : QObject(parent)
    , _database(database)
    , _state(state)
    , _window(window)
    , _settle(new QTimer(this))
{
    _settle->setSingleShot(true);
    _settle->setInterval(120);
    connect(_settle, &QTimer::timeout, this, &QVInspectorRoom::showSelectedNow);
    connect(_window.inspectorToggle, &QToolButton::toggled, this, &QVInspectorRoom::setVisible);

    QMenu* view = _window.menuBar()->addMenu(QStringLiteral("View"));
    _toggle = view->addAction(QStringLiteral("Inspector"));
    _toggle->setCheckable(true);
    _toggle->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_I));
    connect(_toggle, &QAction::toggled, this, &QVInspectorRoom::setVisible);

    // Shown by default where there is room for it beside the results.
    const QVariant stored = QSettings().value(QLatin1String(qv::kInspectorVisibleKey));
    apply(stored.isValid() ? stored.toBool() : _window.width() >= 1400);
}

bool QVInspectorRoom::visible() const
{
    return !_window.inspector->isHidden();
}

void QVInspectorRoom::setVisible(bool visible)
{
    apply(visible);
    QSettings().setValue(QLatin1String(qv::kInspectorVisibleKey), visible);
}

void QVInspectorRoom::apply(bool visible)
{
    const QSignalBlocker quietButton(_window.inspectorToggle);
    const QSignalBlocker quietAction(_toggle);
    _window.inspectorToggle->setChecked(visible);
    _toggle->setChecked(visible);
    // The compact layout has no room beside the results; the choice waits for the desktop.
    _window.inspector->setVisible(visible && _window.layoutMode() == 1);
    if (visible) showSelectedNow();
}

void QVInspectorRoom::selectionChanged()
{
    if (visible()) _settle->start();
}

void QVInspectorRoom::showSelectedNow()
{
    _settle->stop();
    QVInspector& inspector = *_window.inspector;
    const int row = _window.table->selectedRow();
    if (_state.libraryMode || row < 0 || row >= static_cast<int>(_state.rows.size())) {
        inspector.clear();
        return;
    }
    const qv::Sample& sample = _state.rows[static_cast<std::size_t>(row)];
    inspector.showSample(sample, qv::inspectorRecord(_database, sample.id));
}
