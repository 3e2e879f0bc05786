// The inspector offscreen over a scanned library of generated WAVE files: what it shows
// before and after the file is read, overrides and their sources, stale readings, and
// the texts of an index that no longer matches its files.
#include "db/database.h"
#include "inspector.h"
#include "inspector_logic.h"
#include "scan/library_scanner.h"
#include "temp_dir.h"
#include "wave_writer.h"

#include <QCoreApplication>
#include <QLabel>
#include <QPushButton>
#include <QSignalSpy>
#include <QStackedWidget>
#include <QTextEdit>

#include <gtest/gtest.h>

#include <memory>

namespace {

namespace fs = std::filesystem;
using qv::testkit::TempDir;

class InspectorTest : public ::testing::Test {
protected:
    TempDir _dir;
    fs::path _root = _dir / "My Samples";
    qv::Database _db{_dir / "index.db"};
    QVInspector _inspector{qv::windowTheme(QStringLiteral("Purple"))};

    void SetUp() override
    {
        // One hit 50 ms into 0.4 s; 2 s with hits spread across.
        qv::testkit::writeWave(_root / "Drums/Custom Texture.wav", qv::testkit::hitSignal(0.4, 44100, {0.05}));
        qv::testkit::writeWave(_root / "Trap Loops Am/Dark Keys 140bpm.wav",
                               qv::testkit::hitSignal(2.0, 48000, {0.1, 0.6, 1.1, 1.6}, 2), {.sampleRate = 48000, .channels = 2});
        qv::LibraryScanner(_db).scan(_root, {}, false);
        _inspector.resize(300, 900);
    }

    qv::Sample stored(const std::string& name)
    {
        qv::SearchQuery query;
        query.text = name;
        const auto rows = _db.search(query);
        EXPECT_EQ(rows.size(), 1u) << name;
        return rows.empty() ? qv::Sample{} : rows.front();
    }

    void show(const qv::Sample& sample)
    {
        QSignalSpy shown(&_inspector, &QVInspector::analysisShown);
        _inspector.showSample(sample, qv::inspectorRecord(_db, sample.id));
        ASSERT_TRUE(shown.wait(10000));
        EXPECT_EQ(shown.first().first().toLongLong(), sample.id);
    }

    // The visible labels of one object name, or all that say something, one a line.
    QString text(const char* objectName = nullptr) const
    {
        QStringList texts;
        for (const QLabel* label : _inspector.findChildren<QLabel*>(objectName ? QString::fromLatin1(objectName) : QString())) {
            if (label->isVisibleTo(&_inspector) && (objectName || !label->text().isEmpty())) texts << label->text();
        }
        return texts.join(QLatin1Char('\n'));
    }
};

TEST_F(InspectorTest, ExplainsAOneShotOnceItsFileIsReadAndForwardsTheTwoActions)
{
    const qv::Sample hit = stored("Custom Texture");
    _inspector.showSample(hit, qv::inspectorRecord(_db, hit.id));
    // At once: the stored row, with its sources still to come.
    EXPECT_EQ(_inspector.findChild<QStackedWidget*>()->currentIndex(), 1);
    EXPECT_TRUE(_inspector.analysisPending());
    EXPECT_EQ(text("inspectorName"), QStringLiteral("Custom Texture.wav"));
    EXPECT_EQ(_inspector.findChild<QTextEdit*>(QStringLiteral("inspectorPath"))->toPlainText(),
              QString::fromStdString(hit.path));
    EXPECT_TRUE(text("inspectorVerdict").startsWith(QStringLiteral("Reading the file")));

    QSignalSpy shown(&_inspector, &QVInspector::analysisShown);
    ASSERT_TRUE(shown.wait(10000));
    EXPECT_FALSE(_inspector.analysisPending());
    const QString all = text();
    for (const QString& expected : {
             QStringLiteral("My Samples &nbsp;"), QStringLiteral("Online"), QStringLiteral("0.40 s"),
             QStringLiteral("WAV \u00b7 44.1 kHz \u00b7 Mono"), QStringLiteral("One Shot"), QStringLiteral("inferred"),
             QStringLiteral("The one-shot score leads by 15 or more."), QStringLiteral("A single hit"),
             QStringLiteral("Shorter than 1 second (0.40 s)"),
             QStringLiteral("Drum hit word \u201ctom\u201d inside \u201cCustom\u201d in the file name"),
             QStringLiteral("1 hit in 0.40 s (2.5 a second), the first at"),
             QStringLiteral("not in the file or folder name"),
         }) {
        EXPECT_TRUE(all.contains(expected)) << expected.toStdString() << "\n" << all.toStdString();
    }
    EXPECT_EQ(text("inspectorValue").split('\n').filter(QStringLiteral("122")).size(), 1); // 62 + 32 + 28
    EXPECT_FALSE(all.contains(QStringLiteral("Reading the file")));

    QSignalSpy inFolder(&_inspector, &QVInspector::showInFolderRequested);
    QSignalSpy reveal(&_inspector, &QVInspector::revealFolderRequested);
    for (QPushButton* button : _inspector.findChildren<QPushButton*>(QStringLiteral("inspectorAction"))) button->click();
    ASSERT_EQ(inFolder.size(), 1);
    ASSERT_EQ(reveal.size(), 1);
    EXPECT_EQ(inFolder.first().first().toString(), QString::fromStdString(hit.path));
    EXPECT_EQ(reveal.first().first().toString(), QString::fromStdString((_root / "Drums").string()));

    _inspector.clear();
    EXPECT_EQ(_inspector.findChild<QStackedWidget*>()->currentIndex(), 0);
    EXPECT_EQ(_inspector.sampleId(), std::nullopt);
}

TEST_F(InspectorTest, OverridesShowTheirSourceBesideWhatWasInferred)
{
    const qv::Sample loop = stored("Dark Keys");
    _db.setFolderTypeOverride((_root / "Trap Loops Am").string(), qv::SampleType::OneShot);
    _db.setFolderInstrumentOverride((_root / "Trap Loops Am").string(), "piano");
    _db.setFolderGenreOverride((_root / "Trap Loops Am").string(), "House", true);
    _db.setFavorite(loop.id, true);
    _db.setLibraryDisplayLabel(qv::inspectorRecord(_db, loop.id).user->libraryId, "Main Kit");
    show(stored("Dark Keys"));

    const QString all = text();
    for (const QString& expected : {
             QStringLiteral("Main Kit"), QStringLiteral("48 kHz \u00b7 Stereo"), QStringLiteral("140 BPM"),
             QStringLiteral("from file name: \u201c140bpm\u201d"), QStringLiteral("A minor"),
             QStringLiteral("from folder \u201cTrap Loops Am\u201d: \u201cAm\u201d"), QStringLiteral("Piano"),
             QStringLiteral("your override, set on its folder"), QStringLiteral("inferred Keys from file name: \u201cKeys\u201d"),
             QStringLiteral("House: your genre, set on its folder"), QStringLiteral("trap, from folder"),
             QStringLiteral("Inferred as Loop: A loop word in the name always makes a loop."),
             QStringLiteral("Loop word \u201cLoop\u201d inside \u201cLoops\u201d in folder \u201cTrap Loops Am\u201d"),
         }) {
        EXPECT_TRUE(all.contains(expected)) << expected.toStdString() << "\n" << all.toStdString();
    }
    EXPECT_EQ(text("inspectorType"), QStringLiteral("One Shot"));
    EXPECT_TRUE(_inspector.findChild<QLabel*>(QStringLiteral("inspectorFavorite"))->isVisibleTo(&_inspector));
}

TEST_F(InspectorTest, AReadingForASampleNoLongerShownIsDropped)
{
    const qv::Sample first = stored("Custom Texture"), second = stored("Dark Keys");
    QSignalSpy shown(&_inspector, &QVInspector::analysisShown);
    // The panel reads one file at a time in order, so a stale result would arrive first.
    _inspector.showSample(first, qv::inspectorRecord(_db, first.id));
    _inspector.clear();
    _inspector.showSample(first, qv::inspectorRecord(_db, first.id));
    _inspector.showSample(second, qv::inspectorRecord(_db, second.id));
    ASSERT_TRUE(shown.wait(10000));
    ASSERT_EQ(shown.size(), 1);
    EXPECT_EQ(shown.first().first().toLongLong(), second.id);
    EXPECT_EQ(text("inspectorName"), QStringLiteral("Dark Keys 140bpm.wav"));

    // A panel closed mid-reading: it waits for the reading, whose result then finds no one.
    auto closing = std::make_unique<QVInspector>(qv::windowTheme(QStringLiteral("Green")));
    closing->showSample(first, qv::inspectorRecord(_db, first.id));
    closing.reset();
    QCoreApplication::sendPostedEvents();
    EXPECT_EQ(shown.size(), 1);
}

TEST(InspectorLogicTest, AnIndexThatNoLongerMatchesItsFileSaysSoAndHowToFixIt)
{
    const qv::MetadataParser parser;
    qv::Sample sample;
    sample.id = 7;
    sample.path = "/lib/Loops/Pad 140bpm.wav";
    sample.bpm = 128;            // indexed before the file was renamed
    sample.musicalKey = "None";
    sample.type = qv::SampleType::OneShot;
    sample.fileSize = 1'250'000;
    qv::InspectorRecord record{qv::SampleUserData{.libraryPath = "/lib", .libraryAvailable = false}};
    qv::InspectorAnalysis analysis{.fileFound = false,
                                   .explanation = qv::explainMetadata(parser, sample.path, "/lib", std::nullopt)};

    const auto t = qv::inspectorTexts(sample, record, &analysis);
    EXPECT_EQ(t.notice, "Its library is offline.");
    EXPECT_EQ(t.size, "1.2 MB");
    EXPECT_EQ(t.tempo.notes, (std::vector<std::string>{"the name now gives 140 BPM, from file name: \u201c140bpm\u201d",
                                                        "a Full Scan of its library updates it"}));
    EXPECT_EQ(t.verdict, "The file now reads as Loop (a Full Scan of its library updates it). "
                         "A loop word in the name always makes a loop.");
    EXPECT_EQ(t.audio, (std::vector<std::string>{"The file could not be read."}));

    sample.path = "/lib/Loops/song.MID";
    analysis.explanation = qv::explainMetadata(parser, sample.path, "/lib", std::nullopt);
    const auto midi = qv::inspectorTexts(sample, {}, &analysis);
    EXPECT_EQ(midi.notice, "This sample is no longer in the index.");
    EXPECT_EQ(midi.format, "MIDI");
    EXPECT_FALSE(midi.loopScore); // MIDI is decided by its extension alone
    EXPECT_TRUE(midi.reasons.empty());

    EXPECT_EQ(qv::formatText("/a/b.aif", qv::AudioFormat{88200, 6, 1.0}), "AIF \u00b7 88.2 kHz \u00b7 6 channels");
    EXPECT_EQ(qv::formatText("/a/b", std::nullopt), "Unknown");
    EXPECT_EQ(qv::durationText(75.9), "1:15");
    EXPECT_EQ(qv::sizeText(999), "999 bytes");
}

} // namespace
