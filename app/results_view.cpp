#include "results_view.h"

#include "db/database.h"
#include "result_row.h"
#include "sample.h"
#include "waveform_view.h"

#include <QApplication>
#include <QDrag>
#include <QGraphicsOpacityEffect>
#include <QKeyEvent>
#include <QLabel>
#include <QMimeData>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>
#include <QTimer>
#include <QUrl>
#include <QVBoxLayout>

#include <algorithm>

namespace {

// What the pointer carries during a drag: the file's name, or how many files.
QPixmap dragBadge(const QString& text, const QPalette& palette, qreal ratio)
{
    QFont font = QApplication::font();
    font.setBold(true);
    const QFontMetrics metrics(font);
    const QString shown = metrics.elidedText(text, Qt::ElideMiddle, 320);
    const QSize size(metrics.horizontalAdvance(shown) + 24, metrics.height() + 12);
    QPixmap pixmap(size * ratio);
    pixmap.setDevicePixelRatio(ratio);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    QColor back = palette.color(QPalette::Highlight);
    back.setAlphaF(0.92f);
    painter.setPen(Qt::NoPen);
    painter.setBrush(back);
    painter.drawRoundedRect(QRectF(QPointF(0, 0), QSizeF(size)), 7, 7);
    painter.setFont(font);
    painter.setPen(palette.color(QPalette::HighlightedText));
    painter.drawText(QRect(QPoint(0, 0), size), Qt::AlignCenter, shown);
    return pixmap;
}

} // namespace

QVResultsView::QVResultsView(qv::WaveformQueue& queue, QWidget* parent)
    : QScrollArea(parent)
    , _queue(queue)
    , _container(new QWidget)
    , _layout(new QVBoxLayout(_container))
    , _opacity(new QGraphicsOpacityEffect)
    , _visibleCheck(new QTimer(this))
{
    setFocusPolicy(Qt::StrongFocus);
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setWidgetResizable(true);
    setBackgroundRole(QPalette::Window);
    viewport()->setBackgroundRole(QPalette::Window);
    viewport()->setAutoFillBackground(true);

    _layout->setContentsMargins(0, 0, 0, 0);
    _layout->setSpacing(0);
    _layout->addStretch(1); // a short page sits at the top
    _opacity->setEnabled(false);
    _container->setGraphicsEffect(_opacity);
    setWidget(_container);
    _container->setAutoFillBackground(false);

    // Scrolling moves the range many times a frame; the controller hears once per turn.
    _visibleCheck->setSingleShot(true);
    _visibleCheck->setInterval(0);
    connect(_visibleCheck, &QTimer::timeout, this, &QVResultsView::checkVisibleRows);
    connect(verticalScrollBar(), &QScrollBar::valueChanged, this, &QVResultsView::scheduleVisibleCheck);
}

QVResultsView::~QVResultsView() = default;

void QVResultsView::ensureRows(int count)
{
    while (static_cast<int>(_rows.size()) < count) {
        auto* row = new QVResultRow(_queue, _container);
        row->hide();
        _layout->insertWidget(static_cast<int>(_rows.size()), row);
        connect(row, &QVResultRow::playClicked, this, &QVResultsView::playClicked);
        connect(row, &QVResultRow::heartClicked, this, &QVResultsView::heartClicked);
        connect(row, &QVResultRow::metadataLinkActivated, this, &QVResultsView::metadataLinkActivated);
        connect(row, &QVResultRow::waveformSeek, this, &QVResultsView::rowWaveformSeek);
        connect(row, &QVResultRow::waveformDoubleClicked, this, &QVResultsView::rowWaveformDoubleClicked);
        // Labels take the move events of a press on them, so drags are watched there too.
        row->installEventFilter(this);
        for (QLabel* label : row->findChildren<QLabel*>()) label->installEventFilter(this);
        _rows.push_back(row);
    }
}

void QVResultsView::setSampleRows(const std::vector<qv::Sample>& rows)
{
    const int count = static_cast<int>(rows.size());
    _libraryMode = false;
    _samples = rows;
    ensureRows(count);
    for (int i = 0; i < count; ++i) _rows[static_cast<std::size_t>(i)]->configure(rows[static_cast<std::size_t>(i)], i);
    finishPage(count);
}

void QVResultsView::setLibraryRows(const std::vector<qv::Library>& libs, const std::vector<bool>& available)
{
    const int count = static_cast<int>(libs.size());
    _libraryMode = true;
    _samples.clear();
    ensureRows(count);
    for (int i = 0; i < count; ++i) {
        const auto index = static_cast<std::size_t>(i);
        _rows[index]->configureLibrary(libs[index], index >= available.size() || available[index], i);
    }
    finishPage(count);
}

void QVResultsView::finishPage(int count)
{
    const bool hadSelection = _selection.firstSelected() >= 0;
    for (int i = 0; i < static_cast<int>(_rows.size()); ++i) {
        QVResultRow* row = _rows[static_cast<std::size_t>(i)];
        if (i < count) {
            if (row->isHidden()) row->show();
        } else if (!row->isHidden()) {
            row->hide();
            row->waveform()->clear(); // stops its polling for a file no longer shown
        }
    }
    _rowCount = count;
    _selection.setRowCount(count);
    _pressRow = -1;
    _narrowOnRelease = false;
    applySelection();
    updatePlayingMarks();
    verticalScrollBar()->setValue(0);
    settleLayout();
    _newPage = true;
    scheduleVisibleCheck();
    if (hadSelection) emit selectionChanged();
}

void QVResultsView::settleLayout()
{
    // The scroll area sizes its widget on a posted layout request; asking now lets
    // scrollToRow and visibleRowRange see this page's geometry rather than the last one's.
    QEvent request(QEvent::LayoutRequest);
    QCoreApplication::sendEvent(this, &request);
    _layout->activate();
}

void QVResultsView::selectOnly(int row)
{
    const auto before = _selection.selectedRows();
    _selection.selectOnly(row);
    applySelection();
    if (_selection.selectedRows() != before) emit selectionChanged();
}

void QVResultsView::clearSelection()
{
    const bool had = _selection.firstSelected() >= 0;
    _selection.clear();
    applySelection();
    if (had) emit selectionChanged();
}

void QVResultsView::applySelection()
{
    for (int i = 0; i < static_cast<int>(_rows.size()); ++i) {
        _rows[static_cast<std::size_t>(i)]->setSelected(i < _rowCount && _selection.isSelected(i));
    }
}

void QVResultsView::scrollToRow(int row)
{
    if (row < 0 || row >= _rowCount) return;
    settleLayout();
    ensureWidgetVisible(_rows[static_cast<std::size_t>(row)], 0, 0);
}

std::pair<int, int> QVResultsView::visibleRowRange() const
{
    if (!isVisible() || _rowCount == 0) return {-1, -1};
    const QRect port = viewport()->rect();
    int first = -1;
    int last = -1;
    for (int i = 0; i < _rowCount; ++i) {
        const QRect area = _rows[static_cast<std::size_t>(i)]->geometry().translated(_container->pos());
        if (area.isEmpty()) continue;
        if (area.intersects(port)) {
            if (first < 0) first = i;
            last = i;
        } else if (first >= 0) {
            break; // rows are laid out top to bottom: the rest are below the viewport
        }
    }
    return {first, last};
}

void QVResultsView::setPlayingRow(int row, bool playing)
{
    const bool valid = playing && !_libraryMode && row >= 0 && row < _rowCount;
    _playingPath = valid ? _samples[static_cast<std::size_t>(row)].path : std::string();
    updatePlayingMarks();
}

void QVResultsView::updatePlayingMarks()
{
    for (int i = 0; i < _rowCount; ++i) {
        const bool playing = !_libraryMode && !_playingPath.empty() && _samples[static_cast<std::size_t>(i)].path == _playingPath;
        _rows[static_cast<std::size_t>(i)]->setPlaying(playing);
    }
}

void QVResultsView::updateSample(int row, const qv::Sample& sample)
{
    if (_libraryMode || row < 0 || row >= _rowCount) return;
    _samples[static_cast<std::size_t>(row)] = sample;
    QVResultRow* widget = _rows[static_cast<std::size_t>(row)];
    widget->configure(sample, row);
    widget->setPlaying(!_playingPath.empty() && sample.path == _playingPath);
}

QVResultRow* QVResultsView::rowWidget(int row) const
{
    return row >= 0 && row < _rowCount ? _rows[static_cast<std::size_t>(row)] : nullptr;
}

QVWaveformView* QVResultsView::rowWaveform(int row) const
{
    if (_libraryMode) return nullptr;
    QVResultRow* widget = rowWidget(row);
    return widget ? widget->waveform() : nullptr;
}

void QVResultsView::setContentOpacity(double opacity)
{
    // Fully opaque draws directly: an enabled effect renders the page offscreen first.
    if (!(opacity < 1.0)) {
        _opacity->setEnabled(false);
        _opacity->setOpacity(1.0);
        return;
    }
    _opacity->setOpacity(std::max(opacity, 0.0));
    _opacity->setEnabled(true);
}

QMimeData* QVResultsView::mimeDataForRows(const std::vector<int>& rows) const
{
    if (_libraryMode) return nullptr;
    std::vector<int> chosen = rows;
    std::sort(chosen.begin(), chosen.end());
    chosen.erase(std::unique(chosen.begin(), chosen.end()), chosen.end());
    QList<QUrl> urls;
    QStringList paths;
    for (int row : chosen) {
        if (row < 0 || row >= _rowCount) continue;
        const QString path = QString::fromStdString(_samples[static_cast<std::size_t>(row)].path);
        urls << QUrl::fromLocalFile(path);
        paths << path;
    }
    if (urls.isEmpty()) return nullptr;
    auto* mime = new QMimeData;
    mime->setUrls(urls);
    mime->setText(paths.join(QLatin1Char('\n')));
    // Inside the window (a playlist in the sidebar) the samples are known by id.
    QStringList ids;
    for (int row : chosen) {
        if (row >= 0 && row < _rowCount) ids << QString::number(_samples[static_cast<std::size_t>(row)].id);
    }
    mime->setData(QString::fromLatin1(kSampleIdsMimeType), ids.join(QLatin1Char(',')).toLatin1());
    return mime;
}

void QVResultsView::startDrag()
{
    const int pressed = _pressRow;
    _pressRow = -1;
    _narrowOnRelease = false;
    std::vector<int> rows = _selection.selectedRows();
    if (!_selection.isSelected(pressed)) rows = {pressed};
    QMimeData* mime = mimeDataForRows(rows);
    if (!mime) return;
    const QString label = rows.size() == 1 ? QString::fromStdString(_samples[static_cast<std::size_t>(rows.front())].filename)
                                           : tr("%n samples", nullptr, static_cast<int>(rows.size()));
    auto* drag = new QDrag(this);
    drag->setMimeData(mime);
    drag->setPixmap(dragBadge(label, palette(), devicePixelRatioF()));
    drag->setHotSpot(QPoint(-12, -12));
    drag->exec(Qt::CopyAction);
}

bool QVResultsView::eventFilter(QObject* watched, QEvent* event)
{
    switch (event->type()) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonDblClick:
    case QEvent::MouseMove:
    case QEvent::MouseButtonRelease:
        if (watched != _container && watched->isWidgetType()) {
            return handleMouse(static_cast<QWidget*>(watched), static_cast<QMouseEvent*>(event));
        }
        break;
    default:
        break;
    }
    return QScrollArea::eventFilter(watched, event);
}

bool QVResultsView::handleMouse(QWidget* watched, QMouseEvent* event)
{
    QVResultRow* row = nullptr;
    for (QWidget* w = watched; w && !row; w = w->parentWidget()) row = qobject_cast<QVResultRow*>(w);
    if (!row || row->row() < 0 || row->row() >= _rowCount) return false;
    const int index = row->row();
    // A label passes presses it does not want up to its row: handle them there, once.
    const bool atRow = watched == row;

    switch (event->type()) {
    case QEvent::MouseButtonPress: {
        if (event->button() == Qt::RightButton) {
            // The menu acts on the selection and this row; the selection stays as it is.
            emit contextMenuRequested(index, event->globalPosition().toPoint());
            return true;
        }
        if (!atRow || event->button() != Qt::LeftButton) return false;
        setFocus(Qt::MouseFocusReason);
        const bool toggle = event->modifiers() & Qt::ControlModifier;
        const bool range = event->modifiers() & Qt::ShiftModifier;
        _pressRow = index;
        _pressGlobal = event->globalPosition().toPoint();
        _narrowOnRelease = !toggle && !range && _selection.isSelected(index) && _selection.selectedRows().size() > 1;
        if (!_narrowOnRelease) {
            const auto before = _selection.selectedRows();
            _selection.click(index, toggle, range);
            applySelection();
            if (_selection.selectedRows() != before) emit selectionChanged();
        }
        emit rowClicked(index);
        return true;
    }
    case QEvent::MouseButtonDblClick:
        if (!atRow || event->button() != Qt::LeftButton) return false;
        emit rowDoubleClicked(index);
        return true;
    case QEvent::MouseMove:
        if (_pressRow < 0 || _libraryMode || !(event->buttons() & Qt::LeftButton)) return false;
        if ((event->globalPosition().toPoint() - _pressGlobal).manhattanLength() < QApplication::startDragDistance()) {
            return false;
        }
        startDrag();
        return true;
    case QEvent::MouseButtonRelease:
        if (event->button() == Qt::LeftButton && _pressRow >= 0) {
            if (_narrowOnRelease) selectOnly(_pressRow);
            _pressRow = -1;
            _narrowOnRelease = false;
        }
        return atRow; // a label's release may activate a link
    default:
        return false;
    }
}

void QVResultsView::keyPressEvent(QKeyEvent* event)
{
    if (event->matches(QKeySequence::SelectAll)) {
        if (_rowCount > 0) {
            _selection.selectAll();
            applySelection();
            emit selectionChanged();
        }
        event->accept();
        return;
    }
    const int key = event->key();
    const Qt::KeyboardModifiers modifiers = event->modifiers() & ~Qt::KeypadModifier;
    if (modifiers == Qt::ShiftModifier && (key == Qt::Key_Up || key == Qt::Key_Down)) {
        int from = _selection.current();
        if (from < 0) from = _selection.firstSelected();
        if (from < 0) {
            event->ignore();
            return;
        }
        const int to = from + (key == Qt::Key_Down ? 1 : -1);
        if (to >= 0 && to < _rowCount) {
            if (_selection.anchor() < 0) _selection.selectOnly(from);
            _selection.extendTo(to);
            applySelection();
            scrollToRow(to);
            emit selectionChanged();
        }
        event->accept();
        return;
    }
    switch (key) {
    case Qt::Key_Space:
    case Qt::Key_Up:
    case Qt::Key_Down:
    case Qt::Key_Return:
    case Qt::Key_Enter:
        event->ignore(); // the window's key router owns these
        return;
    default:
        QScrollArea::keyPressEvent(event);
    }
}

void QVResultsView::resizeEvent(QResizeEvent* event)
{
    QScrollArea::resizeEvent(event);
    scheduleVisibleCheck();
}

void QVResultsView::showEvent(QShowEvent* event)
{
    QScrollArea::showEvent(event);
    scheduleVisibleCheck();
}

void QVResultsView::scheduleVisibleCheck()
{
    _visibleCheck->start();
}

void QVResultsView::checkVisibleRows()
{
    const auto range = visibleRowRange();
    if (range == _lastVisible && !_newPage) return;
    _lastVisible = range;
    _newPage = false;
    emit visibleRowsChanged();
}
