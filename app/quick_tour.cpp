#include "quick_tour.h"

#include "filter_chips.h"
#include "filter_logic.h"
#include "main_window.h"
#include "player_panel.h"
#include "results_view.h"

#include <QFrame>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPainterPath>
#include <QPushButton>
#include <QSettings>
#include <QVBoxLayout>

#include <algorithm>

namespace {

constexpr int kBubbleWidth = 340;
constexpr int kRingMargin = 6;  // between the target and its ring
constexpr int kArrowSize = 10;
constexpr int kWindowMargin = 12;

} // namespace

QVQuickTour::QVQuickTour(QVMainWindow& window)
    : QWidget(&window)
    , _window(window)
{
    setObjectName(QStringLiteral("quickTour"));
    setFocusPolicy(Qt::StrongFocus);
    hide();

    const qv::WindowTheme& t = window.theme();
    _bubble = new QFrame(this);
    _bubble->setObjectName(QStringLiteral("quickTourBubble"));
    _bubble->setFixedWidth(kBubbleWidth);
    _bubble->setStyleSheet(QStringLiteral(
        "QFrame#quickTourBubble { background: %1; border: 1px solid %2; border-radius: 12px; }"
        "QLabel { background: transparent; border: none; }"
        "QLabel#quickTourProgress { color: %3; font-size: 11px; }"
        "QLabel#quickTourTitle { color: #ffffff; font-size: 15px; font-weight: 600; }"
        "QLabel#quickTourText { color: #e6e4ee; font-size: 13px; }"
        "QPushButton { border-radius: 6px; padding: 5px 14px; font-size: 12px; color: #eceaf2;"
        " background: %4; border: 1px solid %5; }"
        "QPushButton:hover { background: %5; }"
        "QPushButton#quickTourNext { background: %2; border-color: %2; color: #ffffff; font-weight: 600; }"
        "QPushButton#quickTourNext:hover { background: %6; }"
        "QPushButton#quickTourSkip { background: transparent; border: none; color: %3; padding: 5px 4px; }"
        "QPushButton#quickTourSkip:hover { color: #eceaf2; }")
                               .arg(t.panel.darker(125).name(), t.accent.name(), t.mutedText.name(),
                                    t.panel.lighter(130).name(), t.panel.lighter(165).name(), t.accent.lighter(115).name()));
    auto* column = new QVBoxLayout(_bubble);
    column->setContentsMargins(18, 14, 18, 14);
    column->setSpacing(6);
    _progress = new QLabel(_bubble);
    _progress->setObjectName(QStringLiteral("quickTourProgress"));
    _title = new QLabel(_bubble);
    _title->setObjectName(QStringLiteral("quickTourTitle"));
    _text = new QLabel(_bubble);
    _text->setObjectName(QStringLiteral("quickTourText"));
    _text->setWordWrap(true);
    column->addWidget(_progress);
    column->addWidget(_title);
    column->addWidget(_text);
    column->addSpacing(6);
    auto* buttons = new QHBoxLayout;
    _skip = new QPushButton(QStringLiteral("Skip tour"), _bubble);
    _skip->setObjectName(QStringLiteral("quickTourSkip"));
    _back = new QPushButton(QStringLiteral("Back"), _bubble);
    _next = new QPushButton(QStringLiteral("Next"), _bubble);
    _next->setObjectName(QStringLiteral("quickTourNext"));
    // The keys stay with the overlay: Esc and the arrows work after a click on a button.
    for (QPushButton* button : {_skip, _back, _next}) {
        button->setFocusPolicy(Qt::NoFocus);
        button->setCursor(Qt::PointingHandCursor);
    }
    buttons->addWidget(_skip);
    buttons->addStretch(1);
    buttons->addWidget(_back);
    buttons->addWidget(_next);
    column->addLayout(buttons);
    connect(_skip, &QPushButton::clicked, this, [this] { apply(qv::TourCommand::Close); });
    connect(_back, &QPushButton::clicked, this, [this] { apply(qv::TourCommand::Back); });
    connect(_next, &QPushButton::clicked, this, [this] { apply(qv::TourCommand::Next); });

    window.installEventFilter(this);
}

bool QVQuickTour::start()
{
    QSettings settings;
    _steps = qv::planQuickTour(qv::quickTourSteps(qv::quickTourKeys(settings)),
                               [this](qv::TourTarget target) { return targetVisible(target); });
    if (_steps.empty()) return false;
    _index = 0;
    if (!isVisible()) _focusBefore = _window.focusWidget();
    setGeometry(_window.rect());
    raise();
    show();
    setFocus(Qt::OtherFocusReason);
    showStep();
    return true;
}

void QVQuickTour::apply(qv::TourCommand command)
{
    if (!running() || command == qv::TourCommand::None) return;
    const qv::TourMove move = qv::moveQuickTour(_index, stepCount(), command);
    if (move.close) {
        finish();
        return;
    }
    _index = move.index;
    showStep();
}

qv::TourTarget QVQuickTour::currentTarget() const
{
    return _steps.empty() ? qv::TourTarget::AddFolderButton : _steps[static_cast<std::size_t>(_index)].target;
}

QString QVQuickTour::stepTitle() const
{
    return _steps.empty() ? QString() : _steps[static_cast<std::size_t>(_index)].step.title;
}

QRect QVQuickTour::bubbleGeometry() const
{
    return _bubble->geometry();
}

bool QVQuickTour::targetVisible(qv::TourTarget target) const
{
    return !targetRect(target).isEmpty();
}

QRect QVQuickTour::targetRect(qv::TourTarget target) const
{
    const auto rectOf = [this](const QWidget* widget) {
        if (!widget || !widget->isVisible() || widget->size().isEmpty()) return QRect();
        return QRect(widget->mapTo(&_window, QPoint(0, 0)), widget->size()) & _window.rect();
    };
    switch (target) {
    case qv::TourTarget::EmptyStateAddButton: return _window.emptyStateVisible() ? rectOf(_window.emptyAddButton) : QRect();
    case qv::TourTarget::AddFolderButton: return rectOf(_window.addLibraryButton);
    case qv::TourTarget::SearchField: return rectOf(_window.search);
    case qv::TourTarget::Results: return rectOf(_window.table);
    case qv::TourTarget::Player: return rectOf(_window.player);
    case qv::TourTarget::FilterChips: {
        QRect chips;
        if (!_window.filterBar) return chips;
        for (int i = 0; i < qv::kFilterChipCount; ++i) chips |= rectOf(_window.filterBar->chip(i));
        return chips;
    }
    }
    return {};
}

void QVQuickTour::showStep()
{
    const int count = stepCount();
    const qv::TourStep& step = _steps[static_cast<std::size_t>(_index)].step;
    _progress->setText(qv::tourProgressText(_index, count));
    _title->setText(step.title);
    _text->setText(step.text);
    _back->setVisible(_index > 0);
    _skip->setVisible(_index + 1 < count);
    _next->setText(qv::tourPrimaryButtonTitle(_index, count));
    layoutBubble();
}

void QVQuickTour::layoutBubble()
{
    if (_steps.empty()) return;
    // The height of this step's text now, not of the last step's: the layout has not
    // been told of the new texts yet.
    QLayout* layout = _bubble->layout();
    layout->invalidate();
    const QSize size(kBubbleWidth, layout->hasHeightForWidth() ? layout->totalHeightForWidth(kBubbleWidth)
                                                               : layout->totalSizeHint().height());
    _ring = targetRect(currentTarget()).adjusted(-kRingMargin, -kRingMargin, kRingMargin, kRingMargin);
    const QRect bounds = rect().adjusted(kWindowMargin, kWindowMargin, -kWindowMargin, -kWindowMargin);
    const qv::TourBubblePlacement place = qv::placeTourBubble(_ring, size, bounds, kArrowSize + 4);
    _bubble->setGeometry(place.bubble);
    _arrow = place.arrow;
    update();
}

void QVQuickTour::finish()
{
    hide();
    _steps.clear();
    _index = 0;
    if (_focusBefore) _focusBefore->setFocus(Qt::OtherFocusReason);
    emit closed();
}

bool QVQuickTour::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == &_window && event->type() == QEvent::Resize && running()) {
        setGeometry(_window.rect());
        layoutBubble();
    }
    return QWidget::eventFilter(watched, event);
}

void QVQuickTour::keyPressEvent(QKeyEvent* event)
{
    // Every key is the tour's while it is up; only its own do anything.
    apply(qv::tourCommandForKey(event->key()));
    event->accept();
}

void QVQuickTour::mousePressEvent(QMouseEvent* event)
{
    if (!_bubble->geometry().contains(event->position().toPoint())) apply(qv::TourCommand::Close);
    event->accept();
}

void QVQuickTour::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QColor accent = _window.theme().accent;

    QPainterPath shade;
    shade.addRect(rect());
    QPainterPath hole;
    hole.addRoundedRect(QRectF(_ring), 10, 10);
    painter.fillPath(shade.subtracted(hole), QColor(0, 0, 0, 150));

    QColor glow = accent;
    glow.setAlpha(70);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(glow, 7));
    painter.drawRoundedRect(QRectF(_ring), 10, 10);
    painter.setPen(QPen(accent, 2.5));
    painter.drawRoundedRect(QRectF(_ring), 10, 10);

    if (_arrow == qv::TourArrow::None) return;
    // A triangle on the bubble's edge facing the target, aimed at the target's middle
    // and kept clear of the bubble's rounded corners.
    const QRectF b = _bubble->geometry();
    const qreal s = kArrowSize;
    const qreal x = std::clamp<qreal>(_ring.center().x(), b.left() + 20, b.right() - 20);
    const qreal y = std::clamp<qreal>(_ring.center().y(), b.top() + 20, b.bottom() - 20);
    QPolygonF arrow;
    switch (_arrow) {
    case qv::TourArrow::Up: arrow << QPointF(x - s, b.top() + 1) << QPointF(x, b.top() - s) << QPointF(x + s, b.top() + 1); break;
    case qv::TourArrow::Down: arrow << QPointF(x - s, b.bottom()) << QPointF(x, b.bottom() + s + 1) << QPointF(x + s, b.bottom()); break;
    case qv::TourArrow::Left: arrow << QPointF(b.left() + 1, y - s) << QPointF(b.left() - s, y) << QPointF(b.left() + 1, y + s); break;
    case qv::TourArrow::Right: arrow << QPointF(b.right(), y - s) << QPointF(b.right() + s + 1, y) << QPointF(b.right(), y + s); break;
    case qv::TourArrow::None: break;
    }
    painter.setPen(QPen(accent, 1));
    painter.setBrush(_window.theme().panel.darker(125));
    painter.drawPolygon(arrow);
}
