#include "tour_logic.h"

#include "shortcut_logic.h"

#include <algorithm>

namespace qv {

TourKeys quickTourKeys(QSettings& settings)
{
    const auto display = [&settings](const char* action) {
        return displayForBinding(bindingForAction(settings, QLatin1String(action)));
    };
    return {display("play"), display("previousSample"), display("nextSample"), display("search")};
}

std::vector<TourStep> quickTourSteps(const TourKeys& keys)
{
    using T = TourTarget;
    return {
        {QStringLiteral("Add your samples"),
         QStringLiteral("Press Add Sample Folder, or drop folders anywhere on the window. "
                        "Quorvalinder indexes them in the background and keeps them up to date."),
         {T::EmptyStateAddButton, T::AddFolderButton}},
        {QStringLiteral("Search as you type"),
         QStringLiteral("Type part of a name, a tempo or a key; the results follow as you type. "
                        "%1 brings you here from anywhere.")
             .arg(keys.search),
         {T::SearchField}},
        {QStringLiteral("Listen and step"),
         QStringLiteral("Click a sample to hear it. %1 plays and pauses; %2 and %3 step to the "
                        "previous and next sample, across pages.")
             .arg(keys.play, keys.previousSample, keys.nextSample),
         {T::Results, T::Player}},
        {QStringLiteral("Narrow it down"),
         QStringLiteral("The chips filter by instrument, tempo, key and genre. Clear Filters puts "
                        "them all back."),
         {T::FilterChips}},
    };
}

std::vector<PlannedTourStep> planQuickTour(const std::vector<TourStep>& steps,
                                           const std::function<bool(TourTarget)>& visible)
{
    std::vector<PlannedTourStep> planned;
    for (const TourStep& step : steps) {
        const auto target = std::find_if(step.targets.begin(), step.targets.end(), visible);
        if (target != step.targets.end()) planned.push_back({step, *target});
    }
    return planned;
}

bool shouldStartQuickTour(bool enabled, bool alreadyShown)
{
    return enabled && !alreadyShown;
}

TourCommand tourCommandForKey(int qtKey)
{
    switch (qtKey) {
    case Qt::Key_Escape: return TourCommand::Close;
    case Qt::Key_Right:
    case Qt::Key_Return:
    case Qt::Key_Enter: return TourCommand::Next;
    case Qt::Key_Left: return TourCommand::Back;
    default: return TourCommand::None;
    }
}

TourMove moveQuickTour(int index, int count, TourCommand command)
{
    switch (command) {
    case TourCommand::Close: return {true, index};
    case TourCommand::Next: return index + 1 >= count ? TourMove{true, index} : TourMove{false, index + 1};
    case TourCommand::Back: return {false, std::max(index - 1, 0)};
    case TourCommand::None: break;
    }
    return {false, index};
}

QString tourPrimaryButtonTitle(int index, int count)
{
    return index + 1 >= count ? QStringLiteral("Done") : QStringLiteral("Next");
}

QString tourProgressText(int index, int count)
{
    return QStringLiteral("%1 of %2").arg(index + 1).arg(count);
}

TourBubblePlacement placeTourBubble(const QRect& target, const QSize& bubble, const QRect& bounds, int gap)
{
    // Slides the bubble along the side it sits on so that it stays inside the window.
    const auto clampX = [&](int x) { return std::clamp(x, bounds.left(), std::max(bounds.left(), bounds.right() + 1 - bubble.width())); };
    const auto clampY = [&](int y) { return std::clamp(y, bounds.top(), std::max(bounds.top(), bounds.bottom() + 1 - bubble.height())); };
    const int centredX = clampX(target.center().x() - bubble.width() / 2);
    const int centredY = clampY(target.center().y() - bubble.height() / 2);

    if (target.bottom() + 1 + gap + bubble.height() <= bounds.bottom() + 1) {
        return {QRect(QPoint(centredX, target.bottom() + 1 + gap), bubble), TourArrow::Up};
    }
    if (target.top() - gap - bubble.height() >= bounds.top()) {
        return {QRect(QPoint(centredX, target.top() - gap - bubble.height()), bubble), TourArrow::Down};
    }
    if (target.right() + 1 + gap + bubble.width() <= bounds.right() + 1) {
        return {QRect(QPoint(target.right() + 1 + gap, centredY), bubble), TourArrow::Left};
    }
    if (target.left() - gap - bubble.width() >= bounds.left()) {
        return {QRect(QPoint(target.left() - gap - bubble.width(), centredY), bubble), TourArrow::Right};
    }
    return {QRect(QPoint(centredX, clampY(target.top() + gap)), bubble), TourArrow::None};
}

} // namespace qv
