// What the window suites share: scripted answers instead of a person, menu items by
// title, and the real controller launched over folders of short tones.
#pragma once

#include "alerts.h"
#include "main_window.h"
#include "qv_controller.h"
#include "sidebar.h"
#include "sound_files.h"
#include "temp_dir.h"

#include "db/database.h"
#include "scan/library_scanner.h"

#include <QCoreApplication>
#include <QMenu>
#include <QMenuBar>
#include <QSettings>
#include <QTest>

#include <sndfile.h>

#include <gtest/gtest.h>

#include <deque>

namespace qv::test {

struct Question {
    QString message, informative, initial;
    QStringList buttons;
};

// Answers in the order asked; with none left a question is dismissed.
class ScriptedAlerts : public QVAlerts {
public:
    std::deque<int> answers; // button indexes
    std::deque<std::optional<QString>> texts;
    std::vector<Question> asked, told;

    int ask(const QString& message, const QString& informative, const QStringList& buttons) override
    {
        asked.push_back({message, informative, {}, buttons});
        return next(answers, -1);
    }
    std::optional<QString> askText(const QString& message, const QString& informative, const QString&,
                                   const QString& initial, const QStringList& buttons) override
    {
        asked.push_back({message, informative, initial, buttons});
        return next(texts, std::optional<QString>());
    }
    void inform(const QString& message, const QString& informative) override { told.push_back({message, informative}); }

private:
    template <typename T>
    static T next(std::deque<T>& queue, T none)
    {
        if (queue.empty()) return none;
        none = std::move(queue.front());
        queue.pop_front();
        return none;
    }
};

inline QAction* menuItem(const QMenu* menu, const QString& title)
{
    for (QAction* action : menu->actions()) {
        if (action->text() == title) return action;
    }
    return nullptr;
}

inline QMenu* menuNamed(const QMenuBar* bar, const QString& title)
{
    QAction* item = nullptr;
    for (QAction* action : bar->actions()) {
        if (action->text() == title) item = action;
    }
    return item ? item->menu() : nullptr;
}

inline void trigger(const QMenu* menu, const QString& title)
{
    QAction* action = menuItem(menu, title);
    ASSERT_NE(action, nullptr) << "no item " << title.toStdString();
    action->trigger();
}

inline QString qpath(const std::filesystem::path& path, const char* relative)
{
    return QString::fromStdString((path / relative).string());
}

class WindowTest : public ::testing::Test {
protected:
    WindowTest()
    {
        QCoreApplication::setOrganizationName(QStringLiteral("Ostrelle"));
        QCoreApplication::setApplicationName(QStringLiteral("Quorvalinder"));
    }

    // Settings in this test's own folder, empty.
    void ownSettings()
    {
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, qv::test::qpath(dir / "config"));
        QSettings().clear();
    }

    // A mono tone at 8 kHz for each name, in `folder`.
    static void writeTones(const std::filesystem::path& folder, const std::vector<std::string>& names, double seconds)
    {
        std::filesystem::create_directories(folder);
        for (const std::string& name : names) writeTone(folder / name, SF_FORMAT_WAV | SF_FORMAT_PCM_16, seconds, 8000, 1);
    }

    void scan(const std::filesystem::path& folder)
    {
        qv::Database db(databasePath);
        qv::LibraryScanner(db).scan(folder, {}, false);
    }

    // Players run on a clock, without the warm-up.
    void launch(QVController::Options options = {})
    {
        options.databasePath = databasePath;
        options.warmUpAudio = false;
        options.useAudioDevice = false;
        controller.reset();
        controller = std::make_unique<QVController>(options);
        controller->applicationDidFinishLaunching();
    }
    bool folderTreeLoaded()
    {
        return QTest::qWaitFor([&] { return controller->sidebar()->folderTreeLoaded(); });
    }

    QVMainWindow& window() { return *controller->window(); }
    qv::BrowseState& state() { return controller->state(); }
    QString status() { return controller->window()->status(); }

    qv::testkit::TempDir dir;
    std::filesystem::path databasePath = dir / "index" / "quorvalinder.db";
    std::unique_ptr<QVController> controller;
};

} // namespace qv::test
