#include "inspector.h"

#include "icons.h"

#include <QAbstractTextDocumentLayout>
#include <QApplication>
#include <QBoxLayout>
#include <QGridLayout>
#include <QLabel>
#include <QPainter>
#include <QPointer>
#include <QPushButton>
#include <QScrollArea>
#include <QStackedWidget>
#include <QTextEdit>

#include <algorithm>
#include <cmath>
#include <filesystem>

namespace qv {

// One score as a rounded bar; negative scores draw empty.
class ScoreBar : public QWidget {
public:
    ScoreBar(const QColor& fill, const QColor& track, QWidget* parent)
        : QWidget(parent)
        , _fill(fill)
        , _track(track)
    {
        setFixedHeight(8);
        setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    }

    void setColors(const QColor& fill, const QColor& track)
    {
        _fill = fill;
        _track = track;
        update();
    }

    void setFraction(double fraction)
    {
        _fraction = std::clamp(fraction, 0.0, 1.0);
        update();
    }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        const QRectF track = QRectF(rect()).adjusted(0, 1, 0, -1);
        const double radius = track.height() / 2;
        painter.setBrush(_track);
        painter.drawRoundedRect(track, radius, radius);
        if (_fraction <= 0) return;
        QRectF fill = track;
        fill.setWidth(std::max(track.height(), track.width() * _fraction));
        painter.setBrush(_fill);
        painter.drawRoundedRect(fill, radius, radius);
    }

private:
    QColor _fill;
    QColor _track;
    double _fraction = 0;
};

} // namespace qv

namespace {

constexpr int kWidth = 300;
// The loudest a score gets in practice (a loop word, many hits, length and tempo).
constexpr double kFullScore = 240.0;
const QColor kOneShotColor(0xf2, 0xa6, 0x5a);
const QColor kOnlineColor(0x5f, 0xd0, 0x8a);
const QColor kOfflineColor(0xe0, 0x6c, 0x75);

QString styleSheetFor(const qv::WindowTheme& t)
{
    const QString line = t.panel.lighter(160).name();
    return QStringLiteral(R"(
QWidget#inspector { background: %1; border-left: 1px solid %2; }
QScrollArea#inspectorScroll, QWidget#inspectorContent, QWidget#inspectorEmptyPage { background: transparent; border: none; }
QLabel#inspectorHeading { color: %3; font-size: 10px; font-weight: 700; letter-spacing: 1px; }
QLabel#inspectorName { font-size: 15px; font-weight: 700; }
QLabel#inspectorFavorite { color: %4; font-size: 15px; }
QTextEdit#inspectorPath { background: transparent; border: none; color: %3; font-size: 11px; }
QLabel#inspectorNotice { color: #f2c07a; background: rgba(242, 166, 90, 0.13); border-radius: 6px; padding: 6px 8px; }
QPushButton#inspectorAction { padding: 4px 9px; border-radius: 7px; background: %5; border: 1px solid %2; font-size: 12px; }
QPushButton#inspectorAction:hover { background: %6; }
QLabel#inspectorLabel { color: %3; }
QLabel#inspectorValue { font-weight: 600; }
QLabel#inspectorNote, QLabel#inspectorAudio, QLabel#inspectorReasons { color: %3; font-size: 11px; }
QLabel#inspectorType { background: %4; color: white; border-radius: 10px; padding: 3px 12px; font-weight: 700; }
QLabel#inspectorVerdict { font-size: 12px; }
QLabel#inspectorEmptyTitle { font-size: 14px; font-weight: 700; }
QLabel#inspectorEmptyLine { color: %3; }
QFrame#inspectorRule { background: %2; max-height: 1px; border: none; }
QScrollArea#inspectorScroll QScrollBar:vertical { background: transparent; width: 8px; }
QScrollArea#inspectorScroll QScrollBar::handle:vertical { background: %2; border-radius: 4px; min-height: 30px; }
QScrollArea#inspectorScroll QScrollBar::add-line:vertical, QScrollArea#inspectorScroll QScrollBar::sub-line:vertical { height: 0; }
)")
        .arg(t.panel.name(), line, t.mutedText.name(), t.accent.name(), t.panel.lighter(125).name(),
             t.panel.lighter(145).name());
}

QString lines(const std::vector<std::string>& texts)
{
    QStringList list;
    for (const auto& text : texts) list << QString::fromStdString(text);
    return list.join(QLatin1Char('\n'));
}

void setNotes(QLabel* label, const std::vector<std::string>& notes)
{
    label->setText(lines(notes));
    label->setVisible(!notes.empty());
}

// A read-only path that wraps anywhere (a path has few spaces) and is as tall as its text.
class PathView : public QTextEdit {
public:
    explicit PathView(QWidget* parent)
        : QTextEdit(parent)
    {
        setReadOnly(true);
        setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
        setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
        setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        setFrameShape(QFrame::NoFrame);
        setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
        document()->setDocumentMargin(0);
        connect(document()->documentLayout(), &QAbstractTextDocumentLayout::documentSizeChanged, this,
                [this] { fitHeight(); });
    }

protected:
    void resizeEvent(QResizeEvent* event) override
    {
        QTextEdit::resizeEvent(event);
        fitHeight();
    }

private:
    void fitHeight()
    {
        document()->setTextWidth(viewport()->width());
        const int height = static_cast<int>(std::ceil(document()->size().height()));
        if (height != this->height()) setFixedHeight(std::max(height, fontMetrics().height()));
    }
};

} // namespace

QVInspector::QVInspector(const qv::WindowTheme& theme, QWidget* parent)
    : QWidget(parent)
    , _theme(theme)
{
    setObjectName(QStringLiteral("inspector"));
    setAttribute(Qt::WA_StyledBackground);
    setFixedWidth(kWidth);
    _pool.setMaxThreadCount(1);
    _pool.setObjectName(QStringLiteral("com.ostrelle.quorvalinder.inspector"));

    _stack = new QStackedWidget(this);
    auto* outer = new QVBoxLayout(this);
    outer->setContentsMargins(1, 0, 0, 0); // the left border line
    outer->addWidget(_stack);

    // The empty state.
    auto* empty = new QWidget(_stack);
    empty->setObjectName(QStringLiteral("inspectorEmptyPage"));
    auto* emptyLayout = new QVBoxLayout(empty);
    emptyLayout->setContentsMargins(16, 14, 16, 0);
    QLabel* emptyHeading = heading(tr("INSPECTOR"));
    emptyHeading->setParent(empty);
    emptyLayout->addWidget(emptyHeading);
    emptyLayout->addStretch();
    auto* emptyIcon = _emptyIcon = new QLabel(empty);
    emptyIcon->setAlignment(Qt::AlignCenter);
    auto* emptyTitle = label(QStringLiteral("inspectorEmptyTitle"), tr("No Sample Selected"));
    auto* emptyLine = label(QStringLiteral("inspectorEmptyLine"),
                            tr("Select a sample to see where it lives and why it was sorted the way it was."));
    for (QLabel* l : {emptyTitle, emptyLine}) {
        l->setParent(empty);
        l->setAlignment(Qt::AlignCenter);
        l->setWordWrap(true);
    }
    emptyLayout->addWidget(emptyIcon);
    emptyLayout->addSpacing(6);
    emptyLayout->addWidget(emptyTitle);
    emptyLayout->addWidget(emptyLine);
    emptyLayout->addStretch();
    emptyLayout->addSpacing(30); // the heading above: keep the message at the middle
    _stack->addWidget(empty);

    // The sample.
    auto* scroll = new QScrollArea(_stack);
    scroll->setObjectName(QStringLiteral("inspectorScroll"));
    scroll->setWidgetResizable(true);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll->setFrameShape(QFrame::NoFrame);
    auto* content = new QWidget(scroll);
    content->setObjectName(QStringLiteral("inspectorContent"));
    scroll->setWidget(content);
    _stack->addWidget(scroll);

    auto* column = new QVBoxLayout(content);
    column->setContentsMargins(16, 14, 12, 18);
    column->setSpacing(6);

    auto* top = new QHBoxLayout;
    top->addWidget(heading(tr("INSPECTOR")));
    top->addStretch();
    _favorite = label(QStringLiteral("inspectorFavorite"), QStringLiteral("\u2665"));
    _favorite->setToolTip(tr("Loved"));
    top->addWidget(_favorite);
    column->addLayout(top);

    _name = label(QStringLiteral("inspectorName"));
    _name->setWordWrap(true);
    _name->setTextInteractionFlags(Qt::TextSelectableByMouse);
    column->addWidget(_name);
    _path = new PathView(content);
    _path->setObjectName(QStringLiteral("inspectorPath"));
    column->addWidget(_path);
    _notice = label(QStringLiteral("inspectorNotice"));
    _notice->setWordWrap(true);
    column->addWidget(_notice);

    auto* actions = new QHBoxLayout;
    actions->setSpacing(6);
    // No icons: both must fit beside each other in the panel's width.
    _showInFolder = new QPushButton(tr("Show in Folder"), content);
    _showInFolder->setToolTip(tr("Open the folder holding this file in the file manager"));
    _revealFolder = new QPushButton(tr("Reveal in Sidebar"), content);
    _revealFolder->setToolTip(tr("Select this sample's folder in the sidebar"));
    for (QPushButton* b : {_showInFolder, _revealFolder}) {
        b->setObjectName(QStringLiteral("inspectorAction"));
        b->setFocusPolicy(Qt::NoFocus);
        b->setCursor(Qt::PointingHandCursor);
        b->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
        actions->addWidget(b);
    }
    column->addSpacing(4);
    column->addLayout(actions);

    // Label and value rows; values take the rest of the width and wrap.
    const auto section = [&](const QString& title) {
        column->addSpacing(12);
        auto* rule = new QFrame(content);
        rule->setObjectName(QStringLiteral("inspectorRule"));
        rule->setFixedHeight(1);
        column->addWidget(rule);
        column->addSpacing(6);
        column->addWidget(heading(title));
        auto* grid = new QGridLayout;
        grid->setHorizontalSpacing(10);
        grid->setVerticalSpacing(5);
        grid->setColumnMinimumWidth(0, 74);
        grid->setColumnStretch(1, 1);
        column->addLayout(grid);
        return grid;
    };
    const auto row = [&](QGridLayout* grid, const QString& name, QLabel*& value, QLabel** notes = nullptr) {
        const int at = grid->rowCount();
        QLabel* caption = label(QStringLiteral("inspectorLabel"), name);
        grid->addWidget(caption, at, 0, Qt::AlignTop);
        auto* stack = new QVBoxLayout;
        stack->setSpacing(1);
        value = label(QStringLiteral("inspectorValue"));
        value->setWordWrap(true);
        value->setTextInteractionFlags(Qt::TextSelectableByMouse);
        stack->addWidget(value);
        if (notes) {
            *notes = label(QStringLiteral("inspectorNote"));
            (*notes)->setWordWrap(true);
            stack->addWidget(*notes);
        }
        grid->addLayout(stack, at, 1);
        return caption;
    };

    QGridLayout* file = section(tr("FILE"));
    row(file, tr("Library"), _library);
    _library->setTextFormat(Qt::RichText);
    row(file, tr("Size"), _size);
    row(file, tr("Length"), _duration);
    row(file, tr("Format"), _format);
    _playlistsLabel = row(file, tr("Playlists"), _playlists);

    QGridLayout* inferred = section(tr("DETAILS"));
    row(inferred, tr("Tempo"), _tempo, &_tempoNotes);
    row(inferred, tr("Key"), _key, &_keyNotes);
    row(inferred, tr("Instrument"), _instrument, &_instrumentNotes);
    row(inferred, tr("Genre"), _genre, &_genreNotes);

    section(tr("TYPE"));
    auto* typeRow = new QHBoxLayout;
    typeRow->setSpacing(8);
    _type = label(QStringLiteral("inspectorType"));
    _typeSource = label(QStringLiteral("inspectorNote"));
    _typeSource->setWordWrap(true);
    typeRow->addWidget(_type, 0, Qt::AlignVCenter);
    typeRow->addWidget(_typeSource, 1, Qt::AlignVCenter);
    column->addLayout(typeRow);
    _verdict = label(QStringLiteral("inspectorVerdict"));
    _verdict->setWordWrap(true);
    column->addWidget(_verdict);

    _scores = new QWidget(content);
    auto* scoreGrid = new QGridLayout(_scores);
    scoreGrid->setContentsMargins(0, 4, 0, 2);
    scoreGrid->setHorizontalSpacing(10);
    scoreGrid->setVerticalSpacing(4);
    _loopBar = new qv::ScoreBar(theme.accent.lighter(125), theme.panel.lighter(150), _scores);
    _oneShotBar = new qv::ScoreBar(kOneShotColor, theme.panel.lighter(150), _scores);
    _loopScore = label(QStringLiteral("inspectorValue"));
    _oneShotScore = label(QStringLiteral("inspectorValue"));
    for (QLabel* l : {_loopScore, _oneShotScore}) {
        l->setMinimumWidth(30);
        l->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    }
    scoreGrid->addWidget(label(QStringLiteral("inspectorLabel"), tr("Loop")), 0, 0);
    scoreGrid->addWidget(_loopBar, 0, 1);
    scoreGrid->addWidget(_loopScore, 0, 2);
    scoreGrid->addWidget(label(QStringLiteral("inspectorLabel"), tr("One-shot")), 1, 0);
    scoreGrid->addWidget(_oneShotBar, 1, 1);
    scoreGrid->addWidget(_oneShotScore, 1, 2);
    scoreGrid->setColumnMinimumWidth(0, 64);
    scoreGrid->setColumnStretch(1, 1);
    column->addWidget(_scores);

    _reasons = label(QStringLiteral("inspectorReasons"));
    _reasons->setTextFormat(Qt::RichText);
    _reasons->setWordWrap(true);
    column->addWidget(_reasons);

    section(tr("AUDIO"));
    _audio = label(QStringLiteral("inspectorAudio"));
    _audio->setWordWrap(true);
    column->addWidget(_audio);
    column->addStretch();

    connect(_showInFolder, &QPushButton::clicked, this, [this] { emit showInFolderRequested(_filePath); });
    connect(_revealFolder, &QPushButton::clicked, this, [this] { emit revealFolderRequested(_folderPath); });

    setTheme(theme);
    clear();
}

void QVInspector::setTheme(const qv::WindowTheme& theme)
{
    _theme = theme;
    setStyleSheet(styleSheetFor(theme));
    _emptyIcon->setPixmap(qv::symbolIcon(QStringLiteral("audio-x-generic"), theme.mutedText).pixmap(36, 36));
    _loopBar->setColors(theme.accent.lighter(125), theme.panel.lighter(150));
    _oneShotBar->setColors(kOneShotColor, theme.panel.lighter(150));
}

QVInspector::~QVInspector()
{
    _wanted->store(0);
    _pool.clear();
    _pool.waitForDone();
}

QLabel* QVInspector::heading(const QString& text)
{
    return label(QStringLiteral("inspectorHeading"), text);
}

QLabel* QVInspector::label(const QString& objectName, const QString& text)
{
    auto* l = new QLabel(text, this);
    l->setObjectName(objectName);
    return l;
}

void QVInspector::clear()
{
    ++_generation;
    _wanted->store(_generation);
    _pool.clear();
    _sampleId.reset();
    _pending = false;
    _sample = {};
    _record = {};
    _stack->setCurrentIndex(0);
}

void QVInspector::showSample(const qv::Sample& sample, const qv::InspectorRecord& record)
{
    const std::uint64_t generation = ++_generation;
    _wanted->store(generation);
    _pool.clear(); // readings for samples no longer shown never start
    _sample = sample;
    _record = record;
    _sampleId = sample.id;
    _pending = true;
    render(qv::inspectorTexts(sample, record, nullptr));
    _stack->setCurrentIndex(1);

    const std::filesystem::path file(sample.path);
    const std::filesystem::path root = record.user ? std::filesystem::path(record.user->libraryPath) : std::filesystem::path();
    _pool.start([self = QPointer<QVInspector>(this), wanted = _wanted, generation, file, root] {
        if (wanted->load() != generation) return;
        auto analysis = std::make_shared<qv::InspectorAnalysis>(qv::analyzeForInspector(file, root));
        // Posted to the application: the panel may be gone by the time it runs.
        QMetaObject::invokeMethod(
            qApp,
            [self, generation, analysis] {
                if (self) self->applyAnalysis(generation, *analysis);
            },
            Qt::QueuedConnection);
    });
}

void QVInspector::applyAnalysis(std::uint64_t generation, const qv::InspectorAnalysis& analysis)
{
    if (generation != _generation || !_sampleId) return;
    _pending = false;
    render(qv::inspectorTexts(_sample, _record, &analysis));
    emit analysisShown(*_sampleId);
}

void QVInspector::render(const qv::InspectorTexts& t)
{
    const auto q = [](const std::string& text) { return QString::fromStdString(text); };
    _filePath = q(t.path);
    _folderPath = q(t.folder);
    _name->setText(q(t.name));
    _favorite->setVisible(t.favorite);
    _path->setPlainText(q(t.path));
    _notice->setText(q(t.notice));
    _notice->setVisible(!t.notice.empty());

    const QColor status = t.libraryOnline ? kOnlineColor : kOfflineColor;
    _library->setText(QStringLiteral("%1 &nbsp;<span style=\"color:%2; font-weight:400;\">\u25cf %3</span>")
                          .arg(q(t.library).toHtmlEscaped(), status.name(),
                               t.libraryOnline ? tr("Online") : tr("Offline")));
    _size->setText(q(t.size));
    _duration->setText(q(t.duration));
    _format->setText(q(t.format));
    _playlists->setText(q(t.playlists));
    _playlistsLabel->setVisible(!t.playlists.empty());
    _playlists->setVisible(!t.playlists.empty());

    // The verdict alone says the file is being read: one line, not one per field.
    const bool pending = _pending;
    const auto field = [&](QLabel* value, QLabel* notes, const qv::InspectorField& f) {
        value->setText(q(f.value));
        setNotes(notes, f.notes);
    };
    field(_tempo, _tempoNotes, t.tempo);
    field(_key, _keyNotes, t.key);
    field(_instrument, _instrumentNotes, t.instrument);
    field(_genre, _genreNotes, t.genre);

    _type->setText(q(t.type));
    _typeSource->setText(q(t.typeSource));
    _verdict->setText(pending ? tr("Reading the file\u2026") : q(t.verdict));

    const bool scored = t.loopScore && t.oneShotScore;
    _scores->setVisible(scored);
    if (scored) {
        _loopBar->setFraction(*t.loopScore / kFullScore);
        _oneShotBar->setFraction(*t.oneShotScore / kFullScore);
        const auto score = [](std::int32_t value) {
            return value < 0 ? QStringLiteral("\u2212%1").arg(-value) : QString::number(value);
        };
        _loopScore->setText(score(*t.loopScore));
        _oneShotScore->setText(score(*t.oneShotScore));
    }

    QString reasons;
    for (const auto& reason : t.reasons) {
        const QColor color = reason.towardsLoop ? _theme.accent.lighter(135) : kOneShotColor;
        reasons += QStringLiteral("<tr><td style=\"color:%1; font-weight:700; padding-right:8px;\" align=\"right\">%2</td>"
                                  "<td style=\"color:%1; padding-right:6px;\">%3</td><td>%4</td></tr>")
                       .arg(color.name(), q(reason.points).toHtmlEscaped(),
                            reason.towardsLoop ? tr("loop") : tr("one-shot"), q(reason.text).toHtmlEscaped());
    }
    _reasons->setText(reasons.isEmpty() ? QString() : QStringLiteral("<table cellspacing=\"2\">%1</table>").arg(reasons));
    _reasons->setVisible(!reasons.isEmpty());
    _audio->setText(lines(t.audio));
    _audio->setVisible(!t.audio.empty());
}
