#pragma once
// The first-run quick tour's decisions, as plain functions: its steps and their texts,
// which steps a window can show (a step whose every target is hidden is left out), when
// the tour starts by itself, what a key or a button does, and where the bubble goes
// beside its target. The overlay (`QVQuickTour`) only draws and forwards.
//
// The tour starts by itself once: the first time it shows, "QVQuickTourShown" is stored.

#include <QRect>
#include <QSettings>
#include <QString>

#include <functional>
#include <vector>

namespace qv {

inline constexpr char kQuickTourShownKey[] = "QVQuickTourShown";

// What a step points at, resolved to widgets by the overlay.
enum class TourTarget { EmptyStateAddButton, AddFolderButton, SearchField, Results, Player, FilterChips };

struct TourStep {
    QString title;
    QString text;
    std::vector<TourTarget> targets; // in preference order; the first visible one is used
};

// The keys the steps name, displayed as the user has bound them.
struct TourKeys {
    QString play;
    QString previousSample;
    QString nextSample;
    QString search;
};
TourKeys quickTourKeys(QSettings& settings);

std::vector<TourStep> quickTourSteps(const TourKeys& keys);

struct PlannedTourStep {
    TourStep step;
    TourTarget target;
};
// The steps in order, each on its first visible target; steps with none are skipped.
std::vector<PlannedTourStep> planQuickTour(const std::vector<TourStep>& steps,
                                           const std::function<bool(TourTarget)>& visible);

// At launch: only where the application asks for it, and only until it has been shown
// once (a tour with no step to show does not count as shown).
bool shouldStartQuickTour(bool enabled, bool alreadyShown);

enum class TourCommand { None, Next, Back, Close };
// Esc closes; Right, Return and Enter go on; Left goes back. Other keys do nothing.
TourCommand tourCommandForKey(int qtKey);

struct TourMove {
    bool close = false;
    int index = 0;
};
// Next on the last step closes the tour ("Done"); Back on the first stays.
TourMove moveQuickTour(int index, int count, TourCommand command);

QString tourPrimaryButtonTitle(int index, int count); // "Next", or "Done" on the last step
QString tourProgressText(int index, int count);       // "1 of 4"

// The side of the bubble its arrow leaves from, pointing at the target.
enum class TourArrow { None, Up, Down, Left, Right };
struct TourBubblePlacement {
    QRect bubble;
    TourArrow arrow = TourArrow::None;
};
// Below the target, else above, right, left; a target too large for any of them (the
// results) holds the bubble inside, near its top. Always within `bounds` where it fits.
TourBubblePlacement placeTourBubble(const QRect& target, const QSize& bubble, const QRect& bounds, int gap);

} // namespace qv
