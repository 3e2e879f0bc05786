// The quick tour in the real window, offscreen: shown on a first start and not on the
// next, its keys kept from the shortcut monitor, closed by Esc and by a click outside its
// bubble, and opened again from "Help".
#include "playback.h"
#include "quick_tour.h"
#include "results_view.h"
#include "window_test.h"

#include <QApplication>

namespace {

class QuickTourTest : public qv::test::WindowTest {
protected:
    void SetUp() override
    {
        QSettings settings;
        settings.remove(QLatin1String(qv::kQuickTourShownKey));
        for (const char* id : {"play", "nextSample", "previousSample"}) settings.remove(QStringLiteral("QVShortcut.") + id);
    }

    void addLibrary()
    {
        const std::filesystem::path library = dir / "Tour's 100% Größe";
        writeTones(library, {"Kick 1.wav", "Kick 2.wav"}, 1.0);
        scan(library);
    }

    void launch() { WindowTest::launch({.showQuickTour = true}); }
    bool tourRunning() const { return controller->quickTour() && controller->quickTour()->running(); }
    // As a person types: to whatever has the focus, past the shortcut monitor.
    void press(Qt::Key key) { QTest::keyClick(QApplication::focusWidget(), key); }
};

TEST_F(QuickTourTest, AFirstStartShowsItOnceAndHelpOpensItAgain)
{
    addLibrary();
    launch();
    ASSERT_TRUE(QTest::qWaitFor([this] { return tourRunning(); }, 5000));
    QVQuickTour& tour = *controller->quickTour();
    EXPECT_EQ(tour.stepCount(), 4);
    EXPECT_EQ(tour.currentTarget(), qv::TourTarget::AddFolderButton);
    EXPECT_TRUE(window().rect().contains(tour.bubbleGeometry()));
    EXPECT_TRUE(QSettings().value(QLatin1String(qv::kQuickTourShownKey)).toBool());

    // Its keys are its own: Space plays nothing, the arrows move the tour, Esc closes it
    // and leaves the selection alone.
    window().table->selectOnly(1);
    press(Qt::Key_Space);
    press(Qt::Key_Right);
    press(Qt::Key_Right);
    press(Qt::Key_Left);
    EXPECT_EQ(controller->playback()->playbackState(), qv::PlaybackState::Idle);
    EXPECT_EQ(tour.stepIndex(), 1);
    EXPECT_EQ(tour.stepTitle(), QStringLiteral("Search as you type"));
    press(Qt::Key_Escape);
    EXPECT_FALSE(tour.running());
    EXPECT_EQ(window().table->selectedRows(), std::vector<int>{1});
    EXPECT_EQ(QApplication::focusWidget(), window().table) << "the focus goes back where it was";

    // The second start stays quiet.
    launch();
    QCoreApplication::processEvents();
    controller->showQuickTourWelcomeIfNeeded();
    EXPECT_FALSE(tourRunning());

    // "Help" opens it before "Customize Shortcuts…"; a click outside the bubble closes it.
    QMenu* help = qv::test::menuNamed(window().menuBar(), "Help");
    ASSERT_NE(help, nullptr);
    ASSERT_GE(help->actions().size(), 2);
    EXPECT_EQ(help->actions()[0]->text(), "Quick Tour");
    EXPECT_EQ(help->actions()[1]->text(), QString::fromUtf8("Customize Shortcuts\u2026"));
    help->actions()[0]->trigger();
    ASSERT_TRUE(tourRunning());
    EXPECT_EQ(controller->quickTour()->stepIndex(), 0);
    const QRect bubble = controller->quickTour()->bubbleGeometry();
    QTest::mouseClick(controller->quickTour(), Qt::LeftButton, {}, bubble.center());
    EXPECT_TRUE(tourRunning()) << "a click on the bubble keeps it";
    QTest::mouseClick(controller->quickTour(), Qt::LeftButton, {}, QPoint(bubble.right() + 30, bubble.bottom() + 30));
    EXPECT_FALSE(tourRunning());
}

TEST_F(QuickTourTest, TheEmptyStateStartsAtItsOwnAddButton)
{
    launch();
    ASSERT_TRUE(QTest::qWaitFor([this] { return tourRunning(); }, 5000));
    ASSERT_TRUE(controller->window()->emptyStateVisible());
    EXPECT_EQ(controller->quickTour()->currentTarget(), qv::TourTarget::EmptyStateAddButton);
    // Enter walks to the end, where "Done" closes it.
    for (int i = 0; i < controller->quickTour()->stepCount(); ++i) press(Qt::Key_Return);
    EXPECT_FALSE(tourRunning());
}

} // namespace
