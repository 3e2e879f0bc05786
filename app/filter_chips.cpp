#include "filter_chips.h"

#include "filter_logic.h"
#include "icons.h"

#include <QApplication>
#include <QBoxLayout>
#include <QDialog>
#include <QDialogButtonBox>
#include <QKeyEvent>
#include <QLabel>
#include <QProgressBar>
#include <QLineEdit>
#include <QListWidget>
#include <QMouseEvent>
#include <QMenu>
#include <QHelpEvent>
#include <QPainter>
#include <QToolTip>
#include <QPainterPath>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QToolButton>

namespace {

constexpr int kChipHeight = 28;
constexpr int kChipPadding = 14;
constexpr int kChevronRoom = 14;
constexpr int kResetSize = 16;
constexpr int kMenuGap = 4;
constexpr QSize kSuggestionsSize(270, 310);

QString barStyleSheet(const qv::WindowTheme& t)
{
    const QString raised = t.panel.lighter(125).name();
    const QString hover = t.panel.lighter(145).name();
    const QString line = t.panel.lighter(160).name();
    return QStringLiteral(R"(
QPushButton#quickFilter { padding: 0; border-radius: 13px; background: %1; border: 1px solid %3; }
QPushButton#quickFilter:hover { background: %2; }
QPushButton#quickFilter[selected="true"] { background: %4; border: 1px solid %4; color: white; font-weight: 600; }
QPushButton#quickFilter:disabled { color: #6e6a7a; background: transparent; }
QLabel#quickCaption { color: %5; font-size: 11px; font-weight: 700; }
QLabel#quickEmpty { color: %5; font-size: 11pt; }
QToolButton#quickToggle { padding: 4px; border-radius: 7px; background: %1; border: 1px solid %3; }
QToolButton#quickToggle:hover { background: %2; }
QToolButton#quickToggle:checked { background: %4; border: 1px solid %4; }
QToolButton#chipReset { padding: 0; border: none; border-radius: 8px; background: rgba(255, 255, 255, 46); color: white; font-size: 12px; font-weight: 700; }
QToolButton#chipReset:hover { background: rgba(255, 255, 255, 90); }
QScrollArea#quickScroll, QWidget#quickContent { background: transparent; border: none; }
QProgressBar#libraryScanProgress { background: %1; border: 1px solid %3; border-radius: 5px; }
QProgressBar#libraryScanProgress::chunk { background: %4; border-radius: 4px; }
QScrollArea#quickScroll QScrollBar:horizontal { height: 5px; background: transparent; }
QScrollArea#quickScroll QScrollBar::handle:horizontal { background: %3; border-radius: 2px; min-width: 30px; }
QScrollArea#quickScroll QScrollBar::add-line:horizontal, QScrollArea#quickScroll QScrollBar::sub-line:horizontal { width: 0; }
)")
        .arg(raised, hover, line, t.accent.name(), t.mutedText.name());
}

QString popupStyleSheet(const qv::WindowTheme& t)
{
    const QString raised = t.panel.lighter(125).name();
    const QString line = t.panel.lighter(160).name();
    return QStringLiteral(R"(
QFrame#suggestions { background: %1; border: 1px solid %3; }
QLabel#suggestionsCaption { color: %4; font-size: 11px; font-weight: 700; }
QLineEdit { padding: 5px 8px; border-radius: 7px; background: %2; border: 1px solid %3; }
QLineEdit:focus { border: 1px solid %5; }
QListWidget { background: transparent; border: none; outline: none; }
QListWidget::item { padding: 4px 2px; border-radius: 5px; }
QListWidget::item:hover { background: %2; }
QListWidget::item:selected { background: %5; color: white; }
QScrollBar:vertical { background: transparent; width: 8px; }
QScrollBar::handle:vertical { background: %3; border-radius: 4px; min-height: 30px; }
QScrollBar::add-line:vertical, QScrollBar::sub-line:vertical { height: 0; }
)")
        .arg(t.panel.name(), raised, line, t.mutedText.name(), t.accent.name());
}

QString qs(const std::string& text)
{
    return QString::fromStdString(text);
}

// Buttons and menus read "&" as a shortcut marker; a value shows it as written ("R&B").
QString literal(QString text)
{
    return text.replace(QLatin1Char('&'), QLatin1String("&&"));
}

} // namespace

QVFilterChip::QVFilterChip(int tag, const QString& filterName, const qv::WindowTheme& theme, QWidget* parent)
    : QPushButton(filterName, parent)
    , _tag(tag)
    , _filterName(filterName)
    , _selectedValue(QString::fromUtf8(qv::kAllValue))
    , _theme(theme)
    , _resetButton(new QToolButton(this))
{
    setObjectName(QStringLiteral("filterChip"));
    setFocusPolicy(Qt::NoFocus);
    setCursor(Qt::PointingHandCursor);
    setAttribute(Qt::WA_Hover);
    setFixedHeight(kChipHeight);
    _resetButton->setObjectName(QStringLiteral("chipReset"));
    _resetButton->setText(QStringLiteral("\u00d7"));
    _resetButton->setFixedSize(kResetSize, kResetSize);
    _resetButton->setFocusPolicy(Qt::NoFocus);
    _resetButton->setCursor(Qt::PointingHandCursor);
    _resetButton->setProperty("tag", tag);
    _resetButton->hide();
    connect(_resetButton, &QToolButton::clicked, this, [this] { emit resetPressed(_tag); });
}

void QVFilterChip::setTheme(const qv::WindowTheme& theme)
{
    _theme = theme;
    update();
}

void QVFilterChip::showValue(const QString& value)
{
    _selectedValue = value;
    _appearanceSelected = value != QLatin1String(qv::kAllValue);
    _resetButton->setVisible(_appearanceSelected);
    if (!_preservesTitle) setText(qs(qv::chipTitle(_filterName.toStdString(), value.toStdString())));
    updateGeometry();
    placeResetButton();
    update();
}

QSize QVFilterChip::sizeHint() const
{
    const int textWidth = fontMetrics().horizontalAdvance(text());
    return {textWidth + 2 * kChipPadding + (_appearanceSelected ? 0 : kChevronRoom), kChipHeight};
}

void QVFilterChip::placeResetButton()
{
    _resetButton->move(width() - kResetSize - 6, (height() - kResetSize) / 2);
}

void QVFilterChip::resizeEvent(QResizeEvent* event)
{
    QPushButton::resizeEvent(event);
    placeResetButton();
}

void QVFilterChip::enterEvent(QEnterEvent* event)
{
    _hovering = true;
    update();
    QPushButton::enterEvent(event);
}

void QVFilterChip::leaveEvent(QEvent* event)
{
    _hovering = false;
    update();
    QPushButton::leaveEvent(event);
}

void QVFilterChip::paintEvent(QPaintEvent*)
{
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    const QRectF frame = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    const qreal radius = frame.height() / 2;
    QColor fill = _theme.panel.lighter(_hovering ? 145 : 125);
    QColor border = _theme.panel.lighter(160);
    if (_appearanceSelected) {
        fill = _theme.accent;
        fill.setAlpha(_hovering ? 120 : 90);
        border = _theme.accent;
    }
    if (isDown()) fill = fill.darker(115);
    p.setPen(QPen(border, 1));
    p.setBrush(fill);
    p.drawRoundedRect(frame, radius, radius);

    const QColor ink = isEnabled() ? palette().color(QPalette::ButtonText)
                                   : palette().color(QPalette::Disabled, QPalette::ButtonText);
    p.setPen(ink);
    const QRect textRect = rect().adjusted(kChipPadding, 0, -kChipPadding, 0);
    p.drawText(textRect, Qt::AlignVCenter | Qt::AlignLeft, text());
    if (!_appearanceSelected) {
        // A small chevron: the chip opens a list.
        const qreal x = width() - kChipPadding - 3.5;
        const qreal y = height() / 2.0;
        p.setPen(QPen(_theme.mutedText, 1.4, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        p.setBrush(Qt::NoBrush);
        p.drawPolyline(QPolygonF({QPointF(x - 3.5, y - 1.8), QPointF(x, y + 1.8), QPointF(x + 3.5, y - 1.8)}));
    }
}

QVFilterSuggestions::QVFilterSuggestions(const QStringList& choices, const QString& title, const QString& selected,
                                         const qv::WindowTheme& theme, QWidget* parent)
    : QFrame(parent, Qt::Popup)
    , _choices(choices)
    , _selected(selected)
    , _caption(new QLabel(QStringLiteral("%1 suggestions").arg(title), this))
    , _search(new QLineEdit(this))
    , _list(new QListWidget(this))
    , _check(qv::symbolIcon(QStringLiteral("object-select"), theme.accent.lighter(140)))
{
    setObjectName(QStringLiteral("suggestions"));
    setAttribute(Qt::WA_DeleteOnClose);
    setStyleSheet(popupStyleSheet(theme));
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(10, 10, 10, 10);
    column->setSpacing(8);
    _caption->setObjectName(QStringLiteral("suggestionsCaption"));
    _search->setPlaceholderText(QStringLiteral("Search"));
    _search->setClearButtonEnabled(true);
    _search->installEventFilter(this);
    _list->setUniformItemSizes(true);
    _list->setIconSize(QSize(14, 14));
    _list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    column->addWidget(_caption);
    column->addWidget(_search);
    column->addWidget(_list, 1);

    QPixmap blank(14, 14);
    blank.fill(Qt::transparent);
    for (const QString& choice : _choices) {
        auto* item = new QListWidgetItem(choice == _selected ? _check : QIcon(blank), choice, _list);
        item->setToolTip(choice);
    }
    connect(_search, &QLineEdit::textChanged, this, &QVFilterSuggestions::controlTextDidChange);
    connect(_list, &QListWidget::itemActivated, this, [this](QListWidgetItem* item) { choose(item->text()); });
    controlTextDidChange(QString());
    const QList<QListWidgetItem*> chosen = _list->findItems(_selected, Qt::MatchExactly);
    if (!chosen.isEmpty()) {
        _list->setCurrentItem(chosen.front());
        _list->scrollToItem(chosen.front(), QAbstractItemView::PositionAtCenter);
    }
}

QString QVFilterSuggestions::caption() const
{
    return _caption->text();
}

void QVFilterSuggestions::popUpBelow(QWidget* anchor)
{
    _anchor = anchor;
    setFixedSize(kSuggestionsSize);
    QPoint at = anchor->mapToGlobal(QPoint(0, anchor->height() + kMenuGap));
    if (const QScreen* screen = anchor->screen()) {
        const QRect area = screen->availableGeometry();
        at.setX(std::clamp(at.x(), area.left(), std::max(area.left(), area.right() - width())));
        if (at.y() + height() > area.bottom()) at.setY(anchor->mapToGlobal(QPoint(0, 0)).y() - height() - kMenuGap);
    }
    move(at);
    show();
    _search->setFocus();
}

void QVFilterSuggestions::controlTextDidChange(const QString& text)
{
    QListWidgetItem* first = nullptr;
    for (int row = 0; row < _list->count(); ++row) {
        QListWidgetItem* item = _list->item(row);
        const bool shown = text.isEmpty() || item->text().contains(text, Qt::CaseInsensitive);
        item->setHidden(!shown);
        if (shown && !first) first = item;
    }
    if (!text.isEmpty() || !_list->currentItem()) _list->setCurrentItem(first);
}

QStringList QVFilterSuggestions::visibleChoices() const
{
    QStringList shown;
    for (int row = 0; row < _list->count(); ++row) {
        if (!_list->item(row)->isHidden()) shown.append(_list->item(row)->text());
    }
    return shown;
}

void QVFilterSuggestions::chooseSuggestion()
{
    QListWidgetItem* item = _list->currentItem();
    if (!item || item->isHidden()) {
        const QStringList shown = visibleChoices();
        if (shown.isEmpty()) return;
        choose(shown.front());
        return;
    }
    choose(item->text());
}

void QVFilterSuggestions::choose(const QString& value)
{
    // Closed first: the handler may open the next popup or refresh the window.
    const auto handler = selectionHandler;
    close();
    if (handler) handler(value);
}

bool QVFilterSuggestions::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == _search && event->type() == QEvent::KeyPress) {
        auto* key = static_cast<QKeyEvent*>(event);
        if (key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter) {
            chooseSuggestion();
            return true;
        }
        if (key->key() == Qt::Key_Down || key->key() == Qt::Key_Up) {
            // The arrows walk the visible rows while the text keeps the focus.
            const int step = key->key() == Qt::Key_Down ? 1 : -1;
            int row = _list->currentRow();
            do {
                row += step;
            } while (row >= 0 && row < _list->count() && _list->item(row)->isHidden());
            if (row >= 0 && row < _list->count()) _list->setCurrentRow(row);
            return true;
        }
    }
    return QFrame::eventFilter(watched, event);
}

void QVFilterSuggestions::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Escape) {
        close();
        return;
    }
    QFrame::keyPressEvent(event);
}

void QVFilterSuggestions::mousePressEvent(QMouseEvent* event)
{
    // A click on the chip that opened the list only closes it, as a second click on a
    // menu's button does; anywhere else the click goes on to what is under it.
    const QPoint global = event->globalPosition().toPoint();
    if (!rect().contains(event->position().toPoint()) && _anchor
        && _anchor->rect().contains(_anchor->mapFromGlobal(global))) {
        setAttribute(Qt::WA_NoMouseReplay);
    }
    QFrame::mousePressEvent(event);
}

QMenu* popUpChoiceMenu(QVFilterChip* chip, const std::function<void(const QString& value)>& chosen)
{
    auto* menu = new QMenu(chip);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    for (const QString& choice : chip->choices()) {
        QAction* action = menu->addAction(literal(choice));
        action->setCheckable(true);
        action->setChecked(choice == chip->selectedValue());
        QObject::connect(action, &QAction::triggered, chip, [chosen, choice] { chosen(choice); });
    }
    menu->popup(chip->mapToGlobal(QPoint(0, chip->height() + kMenuGap)));
    return menu;
}

std::optional<QString> askCustomTempo(QWidget* parent)
{
    QDialog dialog(parent);
    dialog.setWindowTitle(QStringLiteral("Custom BPM"));
    auto* column = new QVBoxLayout(&dialog);
    column->setContentsMargins(20, 18, 20, 14);
    column->setSpacing(10);
    auto* title = new QLabel(QStringLiteral("Custom BPM"), &dialog);
    QFont bold = title->font();
    bold.setBold(true);
    title->setFont(bold);
    auto* text = new QLabel(QStringLiteral("Enter a BPM from 20 to 300. Results use \u00b110 BPM."), &dialog);
    auto* field = new QLineEdit(QStringLiteral("120"), &dialog);
    field->setFixedSize(180, 24);
    field->selectAll();
    auto* buttons = new QDialogButtonBox(&dialog);
    QPushButton* apply = buttons->addButton(QStringLiteral("Apply"), QDialogButtonBox::AcceptRole);
    buttons->addButton(QStringLiteral("Cancel"), QDialogButtonBox::RejectRole);
    apply->setDefault(true);
    QObject::connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
    QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    column->addWidget(title);
    column->addWidget(text);
    column->addWidget(field);
    column->addWidget(buttons);
    if (dialog.exec() != QDialog::Accepted) return std::nullopt;
    return field->text();
}

QVQuickFilterRow::QVQuickFilterRow(const QString& caption, const qv::WindowTheme& theme, QWidget* parent)
    : QWidget(parent)
{
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(8);
    auto* label = new QLabel(caption, this);
    label->setObjectName(QStringLiteral("quickCaption"));
    label->setFixedSize(78, qv::kQuickFilterHeight);
    row->addWidget(label, 0, Qt::AlignTop);

    auto* scroll = new QScrollArea(this);
    scroll->setObjectName(QStringLiteral("quickScroll"));
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setWidgetResizable(true);
    scroll->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    scroll->setFixedHeight(qv::kQuickFilterHeight + 7); // the thin bar sits under the chips
    _content = new QWidget(scroll);
    _content->setObjectName(QStringLiteral("quickContent"));
    _chipLayout = new QHBoxLayout(_content);
    _chipLayout->setContentsMargins(0, 0, 0, 0);
    _chipLayout->setSpacing(qv::kQuickFilterSpacing);
    _chipLayout->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    _empty = new QLabel(QStringLiteral("No suggestions in this selection"), _content);
    _empty->setObjectName(QStringLiteral("quickEmpty"));
    _empty->setFixedWidth(260);
    _empty->setFixedHeight(qv::kQuickFilterHeight);
    setTheme(theme);
    _chipLayout->addWidget(_empty);
    _chipLayout->addStretch(1);
    scroll->setWidget(_content);
    row->addWidget(scroll, 1);
}

void QVQuickFilterRow::setTheme(const qv::WindowTheme& theme)
{
    QPalette quiet = _empty->palette();
    quiet.setColor(QPalette::WindowText, theme.mutedText);
    _empty->setPalette(quiet);
}

void QVQuickFilterRow::setChips(const std::vector<Chip>& chips)
{
    for (QPushButton* button : _buttons) button->deleteLater();
    _buttons.clear();
    _empty->setVisible(chips.empty());
    int at = 0;
    for (const Chip& chip : chips) {
        auto* button = new QPushButton(_content);
        button->setObjectName(QStringLiteral("quickFilter"));
        button->setProperty("selected", chip.selected);
        button->setProperty("tag", chip.tag);
        button->setText(literal(qs(qv::quickFilterLabel(chip.title.toStdString(), chip.selected))));
        button->setToolTip(QStringLiteral("Filter by %1").arg(chip.title));
        button->setFocusPolicy(Qt::NoFocus);
        button->setCursor(Qt::PointingHandCursor);
        button->setEnabled(chip.enabled);
        button->ensurePolished();
        button->setFixedSize(qv::quickFilterWidth(button->fontMetrics().horizontalAdvance(chip.title)),
                             qv::kQuickFilterHeight);
        connect(button, &QPushButton::clicked, this, [this, tag = chip.tag, value = chip.value] { emit chosen(tag, value); });
        _chipLayout->insertWidget(at++, button);
        _buttons.push_back(button);
    }
}

void QVQuickFilterRow::setPending()
{
    setChips({});
    _empty->hide();
}

QList<QPushButton*> QVQuickFilterRow::chipButtons() const
{
    return QList<QPushButton*>(_buttons.begin(), _buttons.end());
}

void QVStatusLabel::paintEvent(QPaintEvent*)
{
    // Cut at the end, never the start: "…need attention" alone would mislead.
    QPainter painter(this);
    painter.setPen(palette().color(foregroundRole()));
    const QString shown = fontMetrics().elidedText(text(), Qt::ElideRight, contentsRect().width());
    painter.drawText(contentsRect(), static_cast<int>(alignment()), shown);
}

bool QVStatusLabel::event(QEvent* event)
{
    // The whole text as a tooltip, only while it is cut.
    if (event->type() == QEvent::ToolTip) {
        if (fontMetrics().horizontalAdvance(text()) > contentsRect().width()) {
            QToolTip::showText(static_cast<QHelpEvent*>(event)->globalPos(), text(), this);
        } else {
            QToolTip::hideText();
        }
        return true;
    }
    return QLabel::event(event);
}

QVFilterBar::QVFilterBar(const qv::WindowTheme& theme, QWidget* parent)
    : QWidget(parent)
    , _theme(theme)
{
    setObjectName(QStringLiteral("filterBar"));
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(8);

    auto* row = new QHBoxLayout;
    row->setSpacing(8);
    for (int index = 0; index < qv::kFilterChipCount; ++index) {
        auto* chip = new QVFilterChip(index, qs(qv::filterChipName(index)), theme, this);
        QStringList choices;
        for (const std::string& choice : qv::builtInChoices(index)) choices.append(qs(choice));
        chip->setChoices(choices);
        chip->setVisible(qv::chipVisible(index, {}));
        _chips.push_back(chip);
        row->addWidget(chip);
    }
    clearFilters = new QPushButton(QStringLiteral("Clear Filters"), this);
    clearFilters->setObjectName(QStringLiteral("pill"));
    clearFilters->setFocusPolicy(Qt::NoFocus);
    clearFilters->setCursor(Qt::PointingHandCursor);
    quickFiltersToggle = new QToolButton(this);
    quickFiltersToggle->setObjectName(QStringLiteral("quickToggle"));
    quickFiltersToggle->setIconSize(QSize(16, 16));
    quickFiltersToggle->setCheckable(true);
    quickFiltersToggle->setFocusPolicy(Qt::NoFocus);
    quickFiltersToggle->setCursor(Qt::PointingHandCursor);
    quickFiltersToggle->setToolTip(QStringLiteral("Show the Genres and Instruments quick filters"));
    row->addSpacing(4);
    row->addWidget(clearFilters);
    row->addWidget(quickFiltersToggle);
    statusLabel = new QVStatusLabel(this);
    statusLabel->setObjectName(QStringLiteral("status"));
    // A long status (a scan's summary) gives way to the chips instead of widening the
    // window past a small screen.
    statusLabel->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    statusLabel->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    row->addWidget(statusLabel, 1);
    // The start-up check's progress, at the right end of the status line while it runs.
    libraryScanProgress = new QProgressBar(this);
    libraryScanProgress->setObjectName(QStringLiteral("libraryScanProgress"));
    libraryScanProgress->setFixedSize(120, 10);
    libraryScanProgress->setTextVisible(false);
    libraryScanProgress->hide();
    row->addWidget(libraryScanProgress);
    column->addLayout(row);

    _quickFilters = new QWidget(this);
    auto* rows = new QVBoxLayout(_quickFilters);
    rows->setContentsMargins(0, 0, 0, 0);
    rows->setSpacing(4);
    genreRow = new QVQuickFilterRow(QStringLiteral("Genres:"), theme, _quickFilters);
    instrumentRow = new QVQuickFilterRow(QStringLiteral("Instruments:"), theme, _quickFilters);
    rows->addWidget(genreRow);
    rows->addWidget(instrumentRow);
    _quickFilters->hide();
    column->addWidget(_quickFilters);
    setTheme(theme);
}

void QVFilterBar::setTheme(const qv::WindowTheme& theme)
{
    _theme = theme;
    setStyleSheet(barStyleSheet(theme));
    quickFiltersToggle->setIcon(qv::symbolIcon(QStringLiteral("view-filter"), theme.mutedText.lighter(120)));
    for (QVFilterChip* chip : _chips) chip->setTheme(theme);
    genreRow->setTheme(theme);
    instrumentRow->setTheme(theme);
}

void QVFilterBar::setQuickFiltersRevealed(bool revealed)
{
    _quickFilters->setVisible(revealed);
    quickFiltersToggle->setChecked(revealed);
}

bool QVFilterBar::quickFiltersRevealed() const
{
    return !_quickFilters->isHidden();
}
