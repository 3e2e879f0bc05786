// The quick tour's decisions without a window: the keys its texts name, which steps a
// window can show, moving through the steps, and where the bubble sits.
#include "tour_logic.h"

#include <QCoreApplication>
#include <QSettings>

#include <gtest/gtest.h>

#include <set>

namespace {

using qv::TourArrow;
using qv::TourCommand;
using qv::TourTarget;

TEST(TourLogic, ThePlayingStepNamesTheKeysAsBound)
{
    QCoreApplication::setOrganizationName(QStringLiteral("Ostrelle"));
    QCoreApplication::setApplicationName(QStringLiteral("Quorvalinder"));
    QSettings settings;
    for (const char* id : {"play", "previousSample", "nextSample", "search"}) settings.remove(QStringLiteral("QVShortcut.") + id);
    const auto playingText = [&settings] { return qv::quickTourSteps(qv::quickTourKeys(settings))[2].text; };

    const QString defaults = playingText();
    EXPECT_TRUE(defaults.contains(QStringLiteral("Space plays")));
    EXPECT_TRUE(defaults.contains(QString::fromUtf8("\u2191 and \u2193 step")));
    EXPECT_TRUE(qv::quickTourSteps(qv::quickTourKeys(settings))[1].text.contains(QStringLiteral("Ctrl F")));

    // A key the user recorded shows as recorded, and the default is no longer named.
    settings.setValue(QStringLiteral("QVShortcut.play"), QStringLiteral("K35;M0;DP"));
    settings.setValue(QStringLiteral("QVShortcut.nextSample"), QStringLiteral("K45;M0;DN"));
    const QString customised = playingText();
    settings.remove(QStringLiteral("QVShortcut.play"));
    settings.remove(QStringLiteral("QVShortcut.nextSample"));
    EXPECT_TRUE(customised.contains(QStringLiteral("P plays"))) << customised.toStdString();
    EXPECT_TRUE(customised.contains(QString::fromUtf8("\u2191 and N step"))) << customised.toStdString();
    EXPECT_FALSE(customised.contains(QStringLiteral("Space")));
}

TEST(TourLogic, StepsWhoseTargetsAreHiddenAreSkipped)
{
    using T = TourTarget;
    const std::vector<qv::TourStep> steps = qv::quickTourSteps({"Space", "Up", "Down", "Ctrl F"});
    struct Case {
        const char* window;
        std::set<T> visible;
        std::vector<T> expected;
    };
    const Case cases[] = {
        {"a library", {T::AddFolderButton, T::SearchField, T::Results, T::Player, T::FilterChips},
         {T::AddFolderButton, T::SearchField, T::Results, T::FilterChips}},
        {"the empty state", {T::EmptyStateAddButton, T::AddFolderButton, T::SearchField, T::Player},
         {T::EmptyStateAddButton, T::SearchField, T::Player}},
        {"nothing shown", {}, {}},
    };
    for (const Case& c : cases) {
        const auto planned = qv::planQuickTour(steps, [&c](T target) { return c.visible.count(target) > 0; });
        std::vector<T> targets;
        for (const qv::PlannedTourStep& p : planned) targets.push_back(p.target);
        EXPECT_EQ(targets, c.expected) << c.window;
    }
}

TEST(TourLogic, KeysAndButtonsWalkTheSteps)
{
    // The window's test walks the tour with Space, the arrows, Return and Esc; here the
    // other keys, Back on the first step, and the button and progress texts.
    EXPECT_EQ(qv::tourCommandForKey(Qt::Key_Enter), TourCommand::Next);
    for (int key : {Qt::Key_Down, Qt::Key_Up}) EXPECT_EQ(qv::tourCommandForKey(key), TourCommand::None);
    const qv::TourMove back = qv::moveQuickTour(0, 4, TourCommand::Back);
    EXPECT_EQ(back.index, 0);
    EXPECT_FALSE(back.close);
    EXPECT_EQ(qv::tourPrimaryButtonTitle(2, 4), "Next");
    EXPECT_EQ(qv::tourPrimaryButtonTitle(3, 4), "Done");
    EXPECT_EQ(qv::tourProgressText(1, 3), "2 of 3");
}

TEST(TourLogic, TheBubbleSitsBesideItsTargetInsideTheWindow)
{
    const QRect bounds(12, 12, 1342, 744); // a 1366 x 768 window less its margin
    const QSize bubble(340, 170);
    struct Case {
        const char* target;
        QRect rect;
        TourArrow arrow;
    };
    const Case cases[] = {
        {"search field", QRect(260, 60, 600, 30), TourArrow::Up},
        {"sidebar button at the bottom", QRect(16, 680, 220, 30), TourArrow::Down},
        {"chip at the right edge", QRect(1250, 120, 100, 28), TourArrow::Up},
        {"full-height sidebar", QRect(12, 12, 230, 744), TourArrow::Left},
        {"full-height panel at the right", QRect(1000, 12, 354, 744), TourArrow::Right},
        {"the whole window", bounds, TourArrow::None},
    };
    for (const Case& c : cases) {
        const qv::TourBubblePlacement place = qv::placeTourBubble(c.rect, bubble, bounds, 14);
        EXPECT_EQ(place.arrow, c.arrow) << c.target;
        EXPECT_EQ(place.bubble.size(), bubble) << c.target;
        EXPECT_TRUE(bounds.contains(place.bubble)) << c.target;
        if (c.arrow != TourArrow::None) {
            EXPECT_FALSE(place.bubble.intersects(c.rect)) << c.target;
        }
    }
}

} // namespace
