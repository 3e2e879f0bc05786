#pragma once
// The side panel that answers "why is this a one-shot?" for the selected sample: where
// the file is, its library, size, length and format, and each inferred value beside the
// word it was read from or the user's override, with the type's two scores and the rules
// that moved them.
//
// Shows what it is given and forwards what the user does. What the file says now (the
// audio measurement and the explanation) is read on the panel's own one-thread pool;
// the result comes back to the GUI thread and is dropped when another sample, or none,
// is shown by then (a generation number). GUI thread only.

#include "inspector_logic.h"
#include "theme.h"

#include <QThreadPool>
#include <QWidget>

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>

class QLabel;
class QPushButton;
class QStackedWidget;
class QTextEdit;

namespace qv {
class ScoreBar;
}

class QVInspector : public QWidget {
    Q_OBJECT
public:
    explicit QVInspector(const qv::WindowTheme& theme, QWidget* parent = nullptr);
    ~QVInspector() override; // waits for a reading in hand; drops the rest

    // Shows the stored values at once and the explanation once the file is read.
    void showSample(const qv::Sample& sample, const qv::InspectorRecord& record);
    // The empty state.
    void clear();
    void setTheme(const qv::WindowTheme& theme);

    std::optional<std::int64_t> sampleId() const { return _sampleId; }
    bool analysisPending() const { return _pending; }

signals:
    void showInFolderRequested(const QString& path);
    void revealFolderRequested(const QString& folder);
    // The explanation of the shown sample is on screen.
    void analysisShown(qint64 sampleId);

private:
    void render(const qv::InspectorTexts& texts);
    void applyAnalysis(std::uint64_t generation, const qv::InspectorAnalysis& analysis);

    QLabel* heading(const QString& text);
    QLabel* label(const QString& objectName, const QString& text = {});

    qv::WindowTheme _theme;
    QLabel* _emptyIcon = nullptr;
    QStackedWidget* _stack;
    QLabel* _name;
    QLabel* _favorite;
    QTextEdit* _path;
    QLabel* _notice;
    QPushButton* _showInFolder;
    QPushButton* _revealFolder;
    QLabel* _library;
    QLabel* _size;
    QLabel* _duration;
    QLabel* _format;
    QLabel* _playlistsLabel;
    QLabel* _playlists;
    QLabel* _tempo;
    QLabel* _tempoNotes;
    QLabel* _key;
    QLabel* _keyNotes;
    QLabel* _instrument;
    QLabel* _instrumentNotes;
    QLabel* _genre;
    QLabel* _genreNotes;
    QLabel* _type;
    QLabel* _typeSource;
    QLabel* _verdict;
    QWidget* _scores;
    qv::ScoreBar* _loopBar;
    qv::ScoreBar* _oneShotBar;
    QLabel* _loopScore;
    QLabel* _oneShotScore;
    QLabel* _reasons;
    QLabel* _audio;

    qv::Sample _sample;
    qv::InspectorRecord _record;
    QString _filePath;
    QString _folderPath;
    std::optional<std::int64_t> _sampleId;
    bool _pending = false;
    std::uint64_t _generation = 0;
    // The generation a waiting reading must still match to be worth doing.
    std::shared_ptr<std::atomic<std::uint64_t>> _wanted = std::make_shared<std::atomic<std::uint64_t>>(0);
    QThreadPool _pool;
};
