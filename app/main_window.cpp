#include "main_window.h"

#include "featured_grid.h"
#include "filter_chips.h"
#include "icons.h"
#include "inspector.h"
#include "player_panel.h"
#include "results_view.h"
#include "sidebar_logic.h"
#include "sidebar_views.h"
#include "startup_logic.h"

#include <QApplication>
#include <QBoxLayout>
#include <QComboBox>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileInfo>
#include <QFrame>
#include <QGridLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMimeData>
#include <QPainter>
#include <QPushButton>
#include <QScrollArea>
#include <QStackedWidget>
#include <QTimer>
#include <QToolButton>
#include <QResizeEvent>
#include <QSignalBlocker>
#include <QTreeWidget>

namespace {

QString styleSheetFor(const qv::WindowTheme& t)
{
    const QString accent = t.accent.name();
    const QString panel = t.panel.name();
    const QString raised = t.panel.lighter(125).name();
    const QString hover = t.panel.lighter(145).name();
    const QString muted = t.mutedText.name();
    const QString line = t.panel.lighter(160).name();
    return QStringLiteral(R"(
QWidget#sidebar, QWidget#playerPanel { background: %2; }
QWidget#playerPanel { border-top: 1px solid %6; }
QWidget#sidebar { border-right: 1px solid %6; }
QLabel#brand { font-weight: 700; letter-spacing: 2px; font-size: 13px; }
QLabel#heading { color: %5; font-size: 10px; font-weight: 700; letter-spacing: 1px; padding-top: 8px; }
QLabel#caption { color: %5; font-size: 11px; }
QLabel#status { color: %5; }
QLabel#playerDetail, QLabel#playerClock { color: %5; }
QLabel#playerTitle { font-weight: 600; }
QPushButton#nav { text-align: left; padding: 5px 10px; border: none; border-radius: 6px; background: transparent; }
QPushButton#nav:hover { background: %4; }
QPushButton#nav:checked { background: %1; color: white; }
QPushButton#typePill { padding: 4px 6px; border-radius: 6px; background: %3; border: 1px solid %6; }
QPushButton#typePill:hover { background: %4; }
QPushButton#typePill:checked { background: %1; border: 1px solid %1; color: white; }
QLabel#resultsTitle { font-size: 20px; font-weight: 700; }
QPushButton#crumb, QPushButton#crumbCurrent { border: none; background: transparent; padding: 1px 4px; color: %5; }
QPushButton#crumb:hover { color: white; text-decoration: underline; }
QPushButton#crumbCurrent { color: white; font-weight: 600; }
QLabel#crumbSeparator { color: %5; }
QToolButton#crumbBack { font-size: 16px; padding: 0 6px; color: white; }
QToolButton#crumbBack:disabled { color: #5c586a; }
QToolButton#headingButton { color: %5; font-size: 14px; padding: 0 4px; }
QPushButton#addLibrary { padding: 7px 10px; border-radius: 7px; background: %3; border: 1px solid %6; }
QPushButton#addLibrary:hover, QPushButton#emptyAdd:hover { background: %4; }
QPushButton#emptyAdd { padding: 9px 22px; border-radius: 8px; background: %1; color: white; border: none; font-weight: 600; }
QLineEdit#search { padding: 7px 10px; border-radius: 9px; background: %3; border: 1px solid %6; font-size: 13px; }
QLineEdit#search:focus { border: 1px solid %1; }
QComboBox { padding: 4px 10px; border-radius: 7px; background: %3; border: 1px solid %6; min-width: 110px; }
QPushButton#pill, QPushButton#pager { padding: 4px 12px; border-radius: 7px; background: %3; border: 1px solid %6; }
QPushButton#pill:hover, QPushButton#pager:hover { background: %4; }
QPushButton#pager:disabled { color: #6e6a7a; background: transparent; }
QPushButton#header { border: none; background: transparent; color: %5; font-weight: 600; padding: 2px 6px; text-align: left; }
QPushButton#header:hover { color: white; }
QPushButton#header:disabled { color: %5; }
QTreeWidget, QListWidget { background: transparent; border: none; }
QTreeWidget::item, QListWidget::item { padding: 3px 2px; border-radius: 5px; }
QTreeWidget::item:selected, QListWidget::item:selected { background: %1; color: white; }
QTreeWidget::item { border-radius: 0; }
QTreeWidget { show-decoration-selected: 1; }
QWidget#discovery { background: %2; border-radius: 10px; }
QLabel#discoveryTitle { font-weight: 700; }
QLabel#emptyTitle { font-size: 26px; font-weight: 800; letter-spacing: 4px; }
QLabel#emptyLine { color: %5; font-size: 14px; }
QToolButton#playButton { background: %1; border-radius: 22px; }
QToolButton#playButton:disabled { background: %3; }
QToolButton:hover { background: %4; border-radius: 6px; }
QToolButton#playerHeart { font-size: 18px; color: %1; }
QToolButton#playerHeart:disabled { color: #6e6a7a; }
QSlider::groove:horizontal { height: 4px; background: %6; border-radius: 2px; }
QSlider::sub-page:horizontal { background: %1; border-radius: 2px; }
QSlider::handle:horizontal { background: white; width: 12px; margin: -5px 0; border-radius: 6px; }
QSlider#seekSlider::handle:horizontal { width: 8px; margin: -3px 0; border-radius: 4px; }
QScrollBar:vertical { background: transparent; width: 10px; }
QScrollBar::handle:vertical { background: %6; border-radius: 4px; min-height: 30px; }
QScrollBar::add-line:vertical, QScrollBar::sub-line:vertical { height: 0; }
)")
        .arg(accent, panel, raised, hover, muted, line);
}

} // namespace

QVMainWindow::QVMainWindow(const qv::WindowTheme& theme, qv::WaveformQueue& waveforms, QWidget* parent)
    : QMainWindow(parent)
    , _theme(theme)
    , _waveforms(waveforms)
{
    setWindowTitle(QString::fromUtf8(qv::kWindowTitle));
    setAcceptDrops(true);
    setStyleSheet(styleSheetFor(theme));

    // Launch step 7: the root view; every panel goes inside it.
    auto* root = new QWidget(this);
    root->setObjectName(QStringLiteral("root"));
    setCentralWidget(root);
    _outerLayout = new QVBoxLayout(root);
    _outerLayout->setContentsMargins(0, 0, 0, 0);
    _outerLayout->setSpacing(0);
    auto* body = _body = new QHBoxLayout;
    body->setSpacing(0);
    _outerLayout->addLayout(body, 1);

    _sidebar = new QWidget(root);
    _sidebar->setObjectName(QStringLiteral("sidebar"));
    _sidebar->setAttribute(Qt::WA_StyledBackground);
    _sidebar->setFixedWidth(248);
    _sidebarLayout = new QVBoxLayout(_sidebar);
    _sidebarLayout->setContentsMargins(14, 14, 14, 12);
    _sidebarLayout->setSpacing(2);
    body->addWidget(_sidebar);

    _resizeSettle = new QTimer(this);
    _resizeSettle->setSingleShot(true);
    _resizeSettle->setInterval(500);
    connect(_resizeSettle, &QTimer::timeout, this, [this] { emit contentResized(size()); });

    auto* main = new QWidget(root);
    _mainLayout = new QVBoxLayout(main);
    _mainLayout->setContentsMargins(18, 14, 18, 8);
    _mainLayout->setSpacing(10);
    body->addWidget(main, 1);
}

QLabel* QVMainWindow::heading(const QString& text)
{
    auto* label = new QLabel(text, _sidebar);
    label->setObjectName(QStringLiteral("heading"));
    return label;
}

QPushButton* QVMainWindow::sidebarButton(const QString& text, const QString& symbol)
{
    auto* button = new QPushButton(qv::symbolIcon(symbol, _theme.mutedText), text, _sidebar);
    button->setObjectName(QStringLiteral("nav"));
    button->setProperty("symbol", symbol); // drawn again in a new theme
    button->setCheckable(true);
    button->setFocusPolicy(Qt::NoFocus);
    button->setCursor(Qt::PointingHandCursor);
    return button;
}

void QVMainWindow::buildBrandHeader()
{
    auto* row = new QHBoxLayout;
    auto* icon = _brandIcon = new QLabel(_sidebar);
    icon->setPixmap(qv::brandMark(28, _theme.accent));
    auto* brand = new QLabel(QStringLiteral("QUORVALINDER"), _sidebar);
    brand->setObjectName(QStringLiteral("brand"));
    row->addWidget(icon);
    row->addWidget(brand, 1);
    _sidebarLayout->addLayout(row);
    _sidebarLayout->addSpacing(10);
}

QPushButton* QVMainWindow::typeButton(const QString& text)
{
    auto* button = new QPushButton(text, _sidebar);
    button->setObjectName(QStringLiteral("typePill"));
    button->setCheckable(true);
    button->setFocusPolicy(Qt::NoFocus);
    button->setCursor(Qt::PointingHandCursor);
    return button;
}

void QVMainWindow::buildSidebar()
{
    _sidebarLayout->addWidget(heading(QStringLiteral("LIBRARY")));
    const struct {
        const char* title;
        const char* symbol;
        int tag;
    } nav[] = {{"All Samples", "folder", qv::kAllSamplesTag},
               {"Favorites", "emblem-favorite", qv::kFavoritesTag},
               {"Libraries", "drive-harddisk", qv::kLibrariesTag}};
    for (const auto& entry : nav) {
        const QString title = QString::fromUtf8(entry.title);
        QPushButton* button = sidebarButton(title, QString::fromUtf8(entry.symbol));
        navButtons.push_back({button, entry.tag, title});
        _sidebarLayout->addWidget(button);
    }

    _sidebarLayout->addWidget(heading(QStringLiteral("TYPES")));
    auto* types = new QGridLayout;
    types->setSpacing(6);
    const struct {
        const char* text;
        const char* title;
        int tag;
    } kinds[] = {{"All", "All Samples", qv::kAllTypesTag},
                 {"Loops", "Loops", qv::kLoopTag},
                 {"One Shots", "One Shots", qv::kOneShotTag},
                 {"MIDI", "MIDI", qv::kMidiTag}};
    for (int i = 0; i < 4; ++i) {
        QPushButton* button = typeButton(QString::fromUtf8(kinds[i].text));
        button->setToolTip(kinds[i].tag == qv::kAllTypesTag ? QStringLiteral("Every type")
                                                             : QStringLiteral("Only %1; press again for every type").arg(button->text()));
        typeButtons.push_back({button, kinds[i].tag, QString::fromUtf8(kinds[i].title)});
        types->addWidget(button, i / 2, i % 2);
    }
    _sidebarLayout->addLayout(types);

    _sidebarLayout->addWidget(heading(QStringLiteral("FOLDERS")));
    folderTree = new QVFolderTreeView(_theme.mutedText, _sidebar);
    _sidebarLayout->addWidget(folderTree, 3);

    auto* playlistsHeading = new QHBoxLayout;
    playlistsHeading->addWidget(heading(QStringLiteral("PLAYLISTS")), 1);
    newPlaylistButton = new QToolButton(_sidebar);
    newPlaylistButton->setObjectName(QStringLiteral("headingButton"));
    newPlaylistButton->setIcon(qv::symbolIcon(QStringLiteral("list-add"), _theme.mutedText));
    newPlaylistButton->setToolTip(QStringLiteral("New Playlist"));
    newPlaylistButton->setAutoRaise(true);
    newPlaylistButton->setFocusPolicy(Qt::NoFocus);
    newPlaylistButton->setCursor(Qt::PointingHandCursor);
    playlistsHeading->addWidget(newPlaylistButton, 0, Qt::AlignBottom);
    _sidebarLayout->addLayout(playlistsHeading);
    playlistTable = new QVPlaylistList(_sidebar);
    _sidebarLayout->addWidget(playlistTable, 1);

    // The plus is drawn: the full-width plus sign is missing from common Linux fonts.
    addLibraryButton = new QPushButton(qv::symbolIcon(QStringLiteral("list-add")), QStringLiteral("Add Sample Folder"), _sidebar);
    addLibraryButton->setObjectName(QStringLiteral("addLibrary"));
    addLibraryButton->setCursor(Qt::PointingHandCursor);
    addLibraryButton->setFocusPolicy(Qt::NoFocus);
    connect(addLibraryButton, &QPushButton::clicked, this, &QVMainWindow::addLibraryRequested);
    _sidebarLayout->addSpacing(6);
    _sidebarLayout->addWidget(addLibraryButton);
    auto* caption = new QLabel(QStringLiteral("Enjoy finding your samples easily."), _sidebar);
    caption->setObjectName(QStringLiteral("caption"));
    caption->setAlignment(Qt::AlignCenter);
    _sidebarLayout->addWidget(caption);
}

void QVMainWindow::buildSearchRow()
{
    auto* row = new QHBoxLayout;
    sidebarToggle = new QToolButton(this);
    sidebarToggle->setObjectName(QStringLiteral("sidebarToggle"));
    sidebarToggle->setIcon(qv::symbolIcon(QStringLiteral("view-sidebar"), _theme.mutedText));
    sidebarToggle->setIconSize(QSize(20, 20));
    sidebarToggle->setCheckable(true);
    sidebarToggle->setAutoRaise(true);
    sidebarToggle->setFocusPolicy(Qt::NoFocus);
    sidebarToggle->setToolTip(QStringLiteral("Library, folders and playlists"));
    sidebarToggle->setVisible(false);
    connect(sidebarToggle, &QToolButton::toggled, this, &QVMainWindow::setSidebarOpen);
    row->addWidget(sidebarToggle);
    search = new QLineEdit(this);
    search->setObjectName(QStringLiteral("search"));
    search->setPlaceholderText(QStringLiteral("Search samples\u2026"));
    _searchIcon = search->addAction(qv::symbolIcon(QStringLiteral("edit-find"), _theme.mutedText), QLineEdit::LeadingPosition);
    search->setAttribute(Qt::WA_MacShowFocusRect, false);
    search->setClearButtonEnabled(false);
    clearSearch = new QToolButton(this);
    clearSearch->setText(QStringLiteral("\u2715"));
    clearSearch->setToolTip(QStringLiteral("Clear search"));
    clearSearch->setAutoRaise(true);
    clearSearch->setFocusPolicy(Qt::NoFocus);
    clearSearch->setVisible(false);
    row->addWidget(search, 1);
    row->addWidget(clearSearch);
    _mainLayout->addLayout(row);

    // Where the results come from: the breadcrumbs over the place's title.
    auto* place = new QVBoxLayout;
    place->setSpacing(0);
    breadcrumbs = new QVBreadcrumbBar(this);
    resultsTitle = new QLabel(QStringLiteral("All Samples"), this);
    resultsTitle->setObjectName(QStringLiteral("resultsTitle"));
    place->addWidget(breadcrumbs);
    place->addWidget(resultsTitle);
    _mainLayout->addLayout(place);
}

void QVMainWindow::buildFilters()
{
    filterBar = new QVFilterBar(_theme, this);
    _filtersRow = filterBar;
    clearFilters = filterBar->clearFilters;
    statusLabel = filterBar->statusLabel;
    _mainLayout->addWidget(_filtersRow);
}

void QVMainWindow::buildPagination()
{
    paginationGroup = new QWidget(this);
    auto* row = new QHBoxLayout(paginationGroup);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(8);
    pagePrevious = new QPushButton(QStringLiteral("\u2039 Previous"), paginationGroup);
    pageLabel = new QLabel(QStringLiteral("Page 1 of 1"), paginationGroup);
    pageLabel->setObjectName(QStringLiteral("caption"));
    pageNext = new QPushButton(QStringLiteral("Next \u203a"), paginationGroup);
    for (QPushButton* b : {pagePrevious, pageNext}) {
        b->setObjectName(QStringLiteral("pager"));
        b->setFocusPolicy(Qt::NoFocus);
        b->setEnabled(false);
    }
    row->addWidget(pagePrevious);
    row->addWidget(pageLabel);
    row->addWidget(pageNext);
}

void QVMainWindow::buildResultsHeader()
{
    _headerRow = new QWidget(this);
    auto* row = new QHBoxLayout(_headerRow);
    row->setContentsMargins(56, 0, 0, 0);
    row->setSpacing(12);
    filenameHeader = new QPushButton(QStringLiteral("Filename"), _headerRow);
    filenameHeader->setToolTip(QStringLiteral("Sort by filename"));
    timeHeader = new QPushButton(QStringLiteral("Time"), _headerRow);
    timeHeader->setToolTip(QStringLiteral("Sort by duration"));
    bpmHeader = new QPushButton(QStringLiteral("BPM"), _headerRow);
    bpmHeader->setToolTip(QStringLiteral("Sort by BPM"));
    for (QPushButton* b : {filenameHeader, timeHeader, bpmHeader}) {
        b->setObjectName(QStringLiteral("header"));
        b->setFocusPolicy(Qt::NoFocus);
        b->setCursor(Qt::PointingHandCursor);
        b->setMinimumWidth(86);
        row->addWidget(b);
    }
    row->addStretch(1);
    row->addWidget(paginationGroup);
    inspectorToggle = new QToolButton(_headerRow);
    inspectorToggle->setIcon(qv::symbolIcon(QStringLiteral("help-about"), _theme.mutedText));
    inspectorToggle->setCheckable(true);
    inspectorToggle->setAutoRaise(true);
    inspectorToggle->setFocusPolicy(Qt::NoFocus);
    inspectorToggle->setToolTip(QStringLiteral("Show the inspector: where a sample is and why it is what it is (Ctrl+I)"));
    row->addWidget(inspectorToggle);
    _mainLayout->addWidget(_headerRow);
}

void QVMainWindow::buildResultsTable()
{
    _resultsStack = new QStackedWidget(this);
    table = new QVResultsView(_waveforms, _resultsStack);
    _resultsStack->addWidget(table);
    _mainLayout->addWidget(_resultsStack, 1);
}

void QVMainWindow::buildEmptyState()
{
    empty = new QWidget(_resultsStack);
    auto* column = new QVBoxLayout(empty);
    column->addStretch(2);
    auto* title = new QLabel(QStringLiteral("QUORVALINDER"), empty);
    title->setObjectName(QStringLiteral("emptyTitle"));
    auto* line1 = new QLabel(QStringLiteral("Find every sample on your computer."), empty);
    auto* line2 = new QLabel(QStringLiteral("Drag your sample folders here, or add them manually."), empty);
    for (QLabel* label : {title, line1, line2}) {
        label->setAlignment(Qt::AlignCenter);
        column->addWidget(label);
    }
    line1->setObjectName(QStringLiteral("emptyLine"));
    line2->setObjectName(QStringLiteral("emptyLine"));
    column->addSpacing(18);
    emptyAddButton = new QPushButton(QStringLiteral("Add Sample Folder"), empty);
    emptyAddButton->setObjectName(QStringLiteral("emptyAdd"));
    emptyAddButton->setCursor(Qt::PointingHandCursor);
    connect(emptyAddButton, &QPushButton::clicked, this, &QVMainWindow::addLibraryRequested);
    column->addWidget(emptyAddButton, 0, Qt::AlignHCenter);
    column->addStretch(3);
    _resultsStack->addWidget(empty);
}

void QVMainWindow::buildDiscoveryArea()
{
    // The featured sets: a quiet line until the first is pinned, then two rows of cards
    // at most, so that the results keep most of the height.
    discovery = new QWidget(this);
    discovery->setObjectName(QStringLiteral("discovery"));
    discovery->setAttribute(Qt::WA_StyledBackground);
    auto* row = new QHBoxLayout(discovery);
    row->setContentsMargins(14, 10, 14, 10);
    featuredGrid = new QVFeaturedGrid(_theme, discovery);
    row->addWidget(featuredGrid);
    _mainLayout->insertWidget(_mainLayout->indexOf(_headerRow), discovery);
}

void QVMainWindow::setPlayerPanel(QVPlayerPanel* panel)
{
    player = panel;
    panel->setParent(centralWidget());
    panel->setCompact(_layoutMode == 0);
    _outerLayout->addWidget(panel);
}

void QVMainWindow::setInspector(QVInspector* panel)
{
    inspector = panel;
    _body->addWidget(panel);
}

void QVMainWindow::setTheme(const qv::WindowTheme& theme)
{
    _theme = theme;
    setStyleSheet(styleSheetFor(theme));
    if (_brandIcon) _brandIcon->setPixmap(qv::brandMark(28, theme.accent));
    if (_searchIcon) _searchIcon->setIcon(qv::symbolIcon(QStringLiteral("edit-find"), theme.mutedText));
    for (const TaggedButton& nav : navButtons) {
        nav.button->setIcon(qv::symbolIcon(nav.button->property("symbol").toString(), theme.mutedText));
    }
    if (newPlaylistButton) newPlaylistButton->setIcon(qv::symbolIcon(QStringLiteral("list-add"), theme.mutedText));
    if (inspectorToggle) inspectorToggle->setIcon(qv::symbolIcon(QStringLiteral("help-about"), theme.mutedText));
    if (sidebarToggle) sidebarToggle->setIcon(qv::symbolIcon(QStringLiteral("view-sidebar"), theme.mutedText));
    if (folderTree) folderTree->setIconTint(theme.mutedText);
    if (filterBar) filterBar->setTheme(theme);
    if (featuredGrid) featuredGrid->setTheme(theme);
    if (inspector) inspector->setTheme(theme);
    // Rows, waveforms and the player read the table when they paint.
    for (QWidget* child : findChildren<QWidget*>()) child->update();
}

void QVMainWindow::setLayoutMode(int mode)
{
    _layoutMode = mode == 0 ? 0 : 1;
    const bool desktop = _layoutMode == 1;
    sidebarToggle->setVisible(!desktop);
    setSidebarOpen(desktop);
    if (discovery) discovery->setVisible(desktop);
    for (QPushButton* header : {filenameHeader, timeHeader, bpmHeader}) {
        header->setEnabled(desktop);
        header->setCursor(desktop ? Qt::PointingHandCursor : Qt::ArrowCursor);
    }
    paginationGroup->setVisible(desktop);
    inspectorToggle->setVisible(desktop);
    if (inspector) inspector->setVisible(desktop && !emptyStateVisible() && inspectorToggle->isChecked());
    if (player) player->setCompact(!desktop);
    // The new minimum size now, so that a resize right after is not held to the old one.
    centralWidget()->layout()->activate();
    layout()->activate();
}

void QVMainWindow::setSidebarOpen(bool open)
{
    _sidebar->setVisible(open || _layoutMode == 1);
    if (sidebarToggle->isChecked() != open) {
        const QSignalBlocker quiet(sidebarToggle);
        sidebarToggle->setChecked(open && _layoutMode == 0);
    }
}

bool QVMainWindow::sidebarOpen() const
{
    return !_sidebar->isHidden();
}

void QVMainWindow::setEmptyStateVisible(bool visible)
{
    _resultsStack->setCurrentWidget(visible ? empty : static_cast<QWidget*>(table));
    _headerRow->setVisible(!visible);
    // Before the first folder there is nothing to inspect; the panel comes back with it.
    if (inspector) inspector->setVisible(!visible && _layoutMode == 1 && inspectorToggle->isChecked());
}

bool QVMainWindow::emptyStateVisible() const
{
    return _resultsStack->currentWidget() == empty;
}

void QVMainWindow::setStatus(const QString& text)
{
    statusLabel->setText(text);
}

QString QVMainWindow::status() const
{
    return statusLabel->text();
}

void QVMainWindow::resizeEvent(QResizeEvent* event)
{
    QMainWindow::resizeEvent(event);
    // Only a resize of the shown window is the user's; launch sets the stored size.
    if (isVisible() && event->oldSize().isValid()) _resizeSettle->start();
}

void QVMainWindow::dragEnterEvent(QDragEnterEvent* event)
{
    // Our own rows dragged out pass over the window too; only folders are taken.
    if (event->source() == nullptr && event->mimeData()->hasUrls()) {
        for (const QUrl& url : event->mimeData()->urls()) {
            if (url.isLocalFile() && QFileInfo(url.toLocalFile()).isDir()) {
                event->acceptProposedAction();
                return;
            }
        }
    }
    event->ignore();
}

void QVMainWindow::dropEvent(QDropEvent* event)
{
    QList<QUrl> folders;
    for (const QUrl& url : event->mimeData()->urls()) {
        if (url.isLocalFile() && QFileInfo(url.toLocalFile()).isDir()) folders.append(url);
    }
    if (folders.isEmpty()) return;
    event->acceptProposedAction();
    emit foldersDropped(folders);
}
