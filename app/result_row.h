// QVResultRow: one row of the results page. A sample row (56 px) shows a round play
// control, the file name over a line of metadata links, a love heart and the sample's
// waveform; a library row (76 px) shows the library's label, its path, its sample count
// and whether it is offline.
//
// Rows are pooled by QVResultsView and reused across pages, so `configure` only sets
// texts and states on child widgets made once in the constructor. The row knows its
// index on the page and puts it on every signal; mouse presses on the body are left to
// the view (the row does not accept them).
//
// Metadata links have hrefs "field:value", the value percent-encoded; fields are "type",
// "instrument", "genre", "key", "bpm" and "duration" (seconds, as text).
// GUI thread only.
#pragma once

#include <QString>
#include <QWidget>

#include <utility>
#include <vector>

class QFontMetrics;
class QLabel;
class QToolButton;
class QVWaveformView;

namespace qv {
struct Sample;
struct Library;
class WaveformQueue;
} // namespace qv

class QVResultRow : public QWidget {
    Q_OBJECT
public:
    explicit QVResultRow(qv::WaveformQueue& queue, QWidget* parent = nullptr);

    void configure(const qv::Sample& sample, int row);
    void configureLibrary(const qv::Library& library, bool available, int row);

    int row() const { return _row; }
    bool isLibraryRow() const { return _libraryRow; }
    bool isSelected() const { return _selected; }
    void setSelected(bool selected);
    bool isPlaying() const { return _playing; }
    void setPlaying(bool playing);

    QVWaveformView* waveform() const { return _waveform; }
    QToolButton* playButton() const { return _play; }
    QToolButton* heartButton() const { return _heart; }
    QString fileName() const;
    QLabel* metadataLabel() const { return _metadata; }

    // One linked value of a sample's metadata line: its field, value and the text shown.
    struct MetadataPart {
        QString field;
        QString value;
        QString shown;
    };
    static std::vector<MetadataPart> metadataParts(const qv::Sample& sample);
    // The metadata line's rich text, links in `linkColour`: as many whole parts as fit
    // `width` (all when it is negative), then "…" when some were left out.
    static QString metadataHtml(const std::vector<MetadataPart>& parts, const QColor& linkColour,
                                const QFontMetrics& metrics, int width = -1);
    // (field, value) of a metadata href; an empty field when it is not one of ours.
    static std::pair<QString, QString> parseMetadataLink(const QString& href);

signals:
    void playClicked(int row);
    void heartClicked(int row);
    void metadataLinkActivated(int row, const QString& field, const QString& value);
    void waveformSeek(int row, double seconds);
    void waveformDoubleClicked(int row);

protected:
    void paintEvent(QPaintEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;

private:
    void setLibraryMode(bool library);
    void fitMetadata();

    QToolButton* _play;
    QLabel* _name;
    QLabel* _detail;   // a library's path
    QLabel* _metadata;
    std::vector<MetadataPart> _metadataParts;
    QToolButton* _heart;
    QVWaveformView* _waveform;
    int _row = -1;
    bool _libraryRow = false;
    bool _selected = false;
    bool _hovered = false;
    bool _playing = false;
};
