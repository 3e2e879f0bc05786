// QVResultsView: the page of up to 50 result rows under the browser's header. It shows
// samples or libraries, keeps the selection, forwards what the user did to a row as
// signals carrying the row's index on the page, and drags the selected samples out as
// file URLs.
//
// Rows are pooled: made the first time a page needs them, never destroyed, hidden when
// a shorter page comes, so that a new page only reconfigures rows. The playing marker
// follows the sample's path, so a refreshed page still shows it on the right row.
//
// A mouse press on a row's body selects by the desktop rules and emits rowClicked; a
// plain press on an already selected row keeps a multiple selection (it may be the start
// of a drag) and narrows it to that row on release. Space, Up, Down and Return are left
// to the window's key router.
// GUI thread only.
#pragma once

#include "row_selection.h"

#include <QScrollArea>
#include <QString>

#include <string>
#include <utility>
#include <vector>

class QGraphicsOpacityEffect;
class QMimeData;
class QTimer;
class QVBoxLayout;
class QVResultRow;
class QVWaveformView;

namespace qv {
struct Sample;
struct Library;
class WaveformQueue;
} // namespace qv

// Sample ids, comma-separated, on rows dragged within the application.
inline constexpr const char* kSampleIdsMimeType = "application/x-quorvalinder-sample-ids";

class QVResultsView : public QScrollArea {
    Q_OBJECT
public:
    explicit QVResultsView(qv::WaveformQueue& queue, QWidget* parent = nullptr);
    ~QVResultsView() override;

    void setSampleRows(const std::vector<qv::Sample>& rows);
    void setLibraryRows(const std::vector<qv::Library>& libs, const std::vector<bool>& available);
    int rowCount() const { return _rowCount; }
    bool libraryMode() const { return _libraryMode; }

    std::vector<int> selectedRows() const { return _selection.selectedRows(); }
    int selectedRow() const { return _selection.firstSelected(); }
    void selectOnly(int row);
    void clearSelection();
    void scrollToRow(int row);
    // First and last row whose rectangle meets the viewport; {-1, -1} when none does.
    std::pair<int, int> visibleRowRange() const;

    void setPlayingRow(int row, bool playing);
    void updateSample(int row, const qv::Sample& sample);
    QVWaveformView* rowWaveform(int row) const;
    QVResultRow* rowWidget(int row) const;
    void setContentOpacity(double opacity);

    // File URLs and the paths as text, for the samples among `rows`; null when none is one.
    // The caller owns the result.
    QMimeData* mimeDataForRows(const std::vector<int>& rows) const;

signals:
    void rowClicked(int row);
    void rowDoubleClicked(int row);
    void playClicked(int row);
    void heartClicked(int row);
    void metadataLinkActivated(int row, const QString& field, const QString& value);
    void rowWaveformSeek(int row, double seconds);
    void rowWaveformDoubleClicked(int row);
    void visibleRowsChanged();
    void selectionChanged();
    void contextMenuRequested(int row, const QPoint& globalPosition);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    void ensureRows(int count);
    void finishPage(int count);
    void applySelection();
    void updatePlayingMarks();
    void settleLayout();
    void scheduleVisibleCheck();
    void checkVisibleRows();
    bool handleMouse(QWidget* watched, QMouseEvent* event);
    void startDrag();

    qv::WaveformQueue& _queue;
    QWidget* _container;
    QVBoxLayout* _layout;
    QGraphicsOpacityEffect* _opacity;
    QTimer* _visibleCheck;
    std::vector<QVResultRow*> _rows; // the pool; only the first _rowCount are shown
    std::vector<qv::Sample> _samples;
    int _rowCount = 0;
    bool _libraryMode = false;
    qv::RowSelection _selection;
    std::string _playingPath; // empty when nothing plays
    std::pair<int, int> _lastVisible{-1, -1};
    bool _newPage = false;

    // The press that may become a drag, and a narrowing of the selection it put off.
    int _pressRow = -1;
    QPoint _pressGlobal;
    bool _narrowOnRelease = false;
};
