// The filters in the real controller, offscreen, over two folders: "Drums" of kicks and
// snares whose genre is "Unknown", and a trap kit tagged "trap", "rnb" and "hip hop". A chip's
// suggestions narrow the results, quick filters toggle, the tempo entry keeps its limits.
#include "filter_chips.h"
#include "filter_logic.h"
#include "filters.h"
#include "window_test.h"

#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QToolButton>

#include <deque>

namespace {

namespace fs = std::filesystem;

class FiltersTest : public qv::test::WindowTest {
protected:
    void SetUp() override
    {
        std::vector<std::string> names;
        for (int i = 0; i < 8; ++i) names.push_back(std::string(i % 2 ? "Snare " : "Kick ") + std::to_string(i) + ".wav");
        writeTones(drums, names, 0.3);
        writeTones(trap, {"Piano Chords 01.wav", "Guitar Riff 02.wav", "Piano Stab 03.wav"}, 0.3);
        qv::testkit::writeFile(trap / "Piano Melody 04.mid", std::string("MThd\0\0\0\x06\0\0\0\x01\0\x60", 14));
        scan(drums);
        scan(trap);
        qv::Database db(databasePath);
        db.setFolderGenreOverride(drums, "Unknown", true);
        for (const char* genre : {"hip hop", "trap", "rnb"}) db.setFolderGenreOverride(trap, genre, true);
    }

    void launch()
    {
        WindowTest::launch();
        ASSERT_TRUE(folderTreeLoaded());
        bar = window().filterBar;
        filters = controller->filters();
    }

    // Runs the action and waits for the refresh it causes and any quick-filter read.
    template <typename Action>
    bool refreshedAfter(Action action)
    {
        const std::uint64_t before = state().queryGeneration;
        action();
        return QTest::qWaitFor([&] { return state().queryGeneration > before && !filters->quickFiltersPending(); });
    }

    static QStringList texts(const QList<QPushButton*>& buttons)
    {
        QStringList list;
        for (const QPushButton* button : buttons) list.append(button->text().replace("&&", "&"));
        return list;
    }

    bool rowsAre(const std::string& word, std::size_t count)
    {
        return QTest::qWaitFor([&] {
            if (state().rows.size() != count) return false;
            return std::all_of(state().rows.begin(), state().rows.end(),
                               [&](const qv::Sample& s) { return s.filename.find(word) != std::string::npos; });
        });
    }

    fs::path drums = dir / "Drums 100% Größe";
    fs::path trap = dir / "Trap \"Kit\"";
    QVFilterBar* bar = nullptr;
    QVFilters* filters = nullptr;
};

TEST_F(FiltersTest, ASuggestionChosenWithTheKeyboardNarrowsTheResultsAndItsResetWidensThem)
{
    launch();
    ASSERT_EQ(state().rows.size(), 12u);
    QVFilterChip* chip = bar->chip(qv::kInstrumentChip);
    EXPECT_EQ(chip->text(), "Instruments");
    chip->click();
    QVFilterSuggestions* suggestions = filters->openSuggestions();
    ASSERT_NE(suggestions, nullptr);
    EXPECT_EQ(suggestions->caption(), "Instruments suggestions");
    EXPECT_EQ(suggestions->visibleChoices(), (QStringList{"All", "Guitar", "Kick", "Piano", "Snare"}))
        << "the values present, not the built-in list";

    QTest::keyClicks(suggestions->searchField(), QStringLiteral("NA"));
    EXPECT_EQ(suggestions->visibleChoices(), (QStringList{"Snare"}));
    QTest::keyClick(suggestions->searchField(), Qt::Key_Return);
    EXPECT_EQ(filters->openSuggestions(), nullptr) << "choosing closes the popup";
    ASSERT_TRUE(rowsAre("Snare", 4));
    EXPECT_EQ(chip->text(), "Snare    ");
    EXPECT_TRUE(chip->appearanceSelected());
    EXPECT_TRUE(chip->resetButton()->isVisible());

    // Opened again, the chosen value carries the check mark; Esc closes without a choice.
    chip->click();
    suggestions = filters->openSuggestions();
    ASSERT_NE(suggestions, nullptr);
    const QList<QListWidgetItem*> snare = suggestions->list()->findItems("Snare", Qt::MatchExactly);
    ASSERT_EQ(snare.size(), 1);
    EXPECT_FALSE(snare.front()->icon().isNull());
    EXPECT_EQ(suggestions->list()->currentItem(), snare.front());
    QTest::keyClick(suggestions->searchField(), Qt::Key_Escape);
    EXPECT_EQ(filters->openSuggestions(), nullptr);
    EXPECT_EQ(state().instrumentFilter, "Snare");

    chip->resetButton()->click();
    ASSERT_TRUE(QTest::qWaitFor([&] { return state().rows.size() == 12; }));
    EXPECT_EQ(chip->text(), "Instruments");
    EXPECT_FALSE(chip->resetButton()->isVisible());
}

TEST_F(FiltersTest, QuickFiltersOfferThePlacesValuesAndToggle)
{
    launch();
    EXPECT_FALSE(bar->quickFiltersRevealed());
    EXPECT_EQ(bar->quickFiltersToggle->toolTip(), "Show the Genres and Instruments quick filters");
    bar->quickFiltersToggle->click();
    EXPECT_TRUE(filters->quickFiltersPending()) << "the lists are read off the GUI thread";
    EXPECT_FALSE(bar->genreRow->emptyLabel()->isVisibleTo(bar)) << "nothing is said before the values arrive";
    ASSERT_TRUE(QTest::qWaitFor([&] { return !filters->quickFiltersPending(); }));
    EXPECT_EQ(texts(bar->genreRow->chipButtons()), (QStringList{"trap", "R&B", "Hip Hop"})) << "\"Unknown\" is no genre";
    EXPECT_EQ(bar->genreRow->chipButtons()[2]->toolTip(), "Filter by Hip Hop");
    EXPECT_EQ(texts(bar->instrumentRow->chipButtons()), (QStringList{"Piano", "Guitar", "Kick", "Snare"}));
    EXPECT_FALSE(bar->genreRow->emptyLabel()->isVisibleTo(bar));

    // Choosing a genre selects it alone; choosing it again clears it.
    ASSERT_TRUE(refreshedAfter([&] { bar->genreRow->chipButtons()[2]->click(); }));
    EXPECT_EQ(state().rows.size(), 4u);
    EXPECT_EQ(state().selectedGenres, std::vector<std::string>{"hip hop"});
    EXPECT_EQ(texts(bar->genreRow->chipButtons()), (QStringList{"trap", "R&B", "Hip Hop \u00d7"}));
    EXPECT_EQ(bar->chip(qv::kGenreChip)->text(), "hip hop    ");
    ASSERT_TRUE(refreshedAfter([&] { bar->genreRow->chipButtons()[2]->click(); }));
    EXPECT_EQ(state().rows.size(), 12u);
    EXPECT_TRUE(state().selectedGenres.empty());
    EXPECT_EQ(bar->chip(qv::kGenreChip)->text(), "Genres");
    EXPECT_EQ(texts(bar->genreRow->chipButtons()), (QStringList{"trap", "R&B", "Hip Hop"}));

    // In the drums folder every genre is "Unknown": nothing to suggest there.
    ASSERT_TRUE(refreshedAfter([&] { controller->sidebar()->navigateToFolderPath(QString::fromStdString(drums.string()), false); }));
    EXPECT_EQ(state().rows.size(), 8u);
    EXPECT_TRUE(bar->genreRow->chipButtons().isEmpty());
    EXPECT_TRUE(bar->genreRow->emptyLabel()->isVisibleTo(bar));
    EXPECT_EQ(bar->genreRow->emptyLabel()->text(), "No suggestions in this selection");
    EXPECT_EQ(texts(bar->instrumentRow->chipButtons()), (QStringList{"Kick", "Snare"}));

    // The MIDI section has no instrument chip, so its instrument quick filters are off.
    ASSERT_TRUE(refreshedAfter([&] { controller->sidebar()->pressButton(qv::kAllSamplesTag); }));
    ASSERT_TRUE(refreshedAfter([&] { controller->sidebar()->pressButton(qv::kMidiTag); }));
    EXPECT_EQ(state().rows.size(), 1u);
    EXPECT_FALSE(bar->chip(qv::kInstrumentChip)->isVisibleTo(bar));
    EXPECT_TRUE(bar->chip(qv::kKeyChip)->isVisibleTo(bar));
    ASSERT_EQ(texts(bar->instrumentRow->chipButtons()), (QStringList{"Piano"}));
    EXPECT_FALSE(bar->instrumentRow->chipButtons()[0]->isEnabled());
    ASSERT_FALSE(bar->genreRow->chipButtons().isEmpty());
    EXPECT_TRUE(bar->genreRow->chipButtons()[0]->isEnabled());
}

TEST_F(FiltersTest, ACustomTempoOutsideTwentyToThreeHundredBeepsAndChangesNothing)
{
    launch();
    // The limits themselves are the filter logic's; here: a refusal beeps, Cancel is silent.
    std::deque<std::optional<QString>> answers{QStringLiteral("301"), std::nullopt, QStringLiteral("20")};
    int beeps = 0;
    filters->setHooks({.askCustomTempo =
                           [&] {
                               const std::optional<QString> answer = answers.front();
                               answers.pop_front();
                               return answer;
                           },
                       .beep = [&] { ++beeps; }});
    int contextChanges = 0;
    QObject::connect(filters, &QVFilters::contextChanged, [&] { ++contextChanges; });
    QVFilterChip* chip = bar->chip(qv::kBpmChip);
    const QString custom = QString::fromUtf8(qv::kCustomTempoChoice);

    filters->filterChosen(qv::kBpmChip, custom); // 301
    EXPECT_EQ(beeps, 1);
    filters->filterChosen(qv::kBpmChip, custom); // Cancel
    EXPECT_EQ(beeps, 1);
    EXPECT_EQ(state().bpmFilter, "All");
    EXPECT_EQ(chip->text(), "BPM");
    EXPECT_EQ(contextChanges, 0);
    filters->filterChosen(qv::kBpmChip, custom); // 20
    EXPECT_TRUE(answers.empty());
    EXPECT_EQ(state().bpmFilter, "20");
    EXPECT_EQ(chip->text(), "20    ");
    EXPECT_EQ(beeps, 1);
    EXPECT_EQ(contextChanges, 1);

    // A row's key link chooses the compact key, as the key chip lists it; Clear Filters
    // resets every chip.
    filters->applyLink(QStringLiteral("key"), QStringLiteral("C# minor"));
    EXPECT_EQ(state().keyFilter, "C#m");
    EXPECT_EQ(bar->chip(qv::kKeyChip)->text(), "C#m    ");
    bar->clearFilters->click();
    EXPECT_EQ(state().bpmFilter, "All");
    EXPECT_EQ(state().keyFilter, "All");
    EXPECT_EQ(chip->text(), "BPM");
    EXPECT_EQ(contextChanges, 3);
}

} // namespace
