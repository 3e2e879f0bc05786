#include "app_menu.h"

#include "main_window.h"

#include <QAction>
#include <QCoreApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenuBar>
#include <QMessageBox>

#include <algorithm>

void buildApplicationMenu(QVMainWindow& window, std::function<void()> openSettings)
{
    QMenu* menu = window.menuBar()->addMenu(QStringLiteral("Quorvalinder"));
    QAction* about = menu->addAction(QStringLiteral("About Quorvalinder"));
    QObject::connect(about, &QAction::triggered, &window, [&window] {
        QMessageBox::about(&window, QStringLiteral("About Quorvalinder"),
                           QStringLiteral("<b>Quorvalinder</b> %1<br>A sample browser for music producers.<br>© Ostrelle")
                               .arg(QCoreApplication::applicationVersion()));
    });
    menu->addSeparator();
    QAction* settings = menu->addAction(QStringLiteral("Settings\u2026"));
    settings->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Comma));
    QObject::connect(settings, &QAction::triggered, &window, std::move(openSettings));
    menu->addSeparator();
    QAction* quit = menu->addAction(QStringLiteral("Quit Quorvalinder"));
    quit->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q));
    quit->setShortcutContext(Qt::ApplicationShortcut);
    QObject::connect(quit, &QAction::triggered, qApp, &QCoreApplication::quit, Qt::QueuedConnection);
}

namespace {

bool hasMenuTitled(QMenuBar* bar, const QString& title)
{
    const auto actions = bar->actions();
    return std::any_of(actions.begin(), actions.end(), [&title](QAction* a) { return a->text() == title; });
}

// A menu command goes to the focused widget: a text field directly, anything else as the
// key press it would have received.
void editCommand(QWidget& window, QKeySequence::StandardKey key, void (*edit)(QLineEdit&))
{
    QWidget* focus = window.focusWidget();
    if (auto* field = qobject_cast<QLineEdit*>(focus)) {
        edit(*field);
    } else if (focus) {
        const QKeyCombination combination = QKeySequence(key)[0];
        QKeyEvent press(QEvent::KeyPress, combination.key(), combination.keyboardModifiers());
        QCoreApplication::sendEvent(focus, &press);
    }
}

} // namespace

void installShortcutMenu(QVMainWindow& window, std::function<void()> customize)
{
    QMenuBar* bar = window.menuBar();
    if (hasMenuTitled(bar, QStringLiteral("Help"))) return;
    QMenu* help = bar->addMenu(QStringLiteral("Help"));
    QAction* item = help->addAction(QStringLiteral("Customize Shortcuts\u2026"));
    QObject::connect(item, &QAction::triggered, &window, std::move(customize));
}

void installFindMenu(QVMainWindow& window, std::function<void()> findSamples)
{
    QMenuBar* bar = window.menuBar();
    if (hasMenuTitled(bar, QStringLiteral("Edit"))) return;
    auto* edit = new QMenu(QStringLiteral("Edit"), bar);
    const QList<QAction*> menus = bar->actions();
    bar->insertMenu(menus.size() > 1 ? menus[1] : nullptr, edit); // right after the application menu
    struct Command {
        const char* title;
        QKeySequence::StandardKey key;
        void (*edit)(QLineEdit&);
    };
    const Command commands[] = {{"Undo", QKeySequence::Undo, [](QLineEdit& f) { f.undo(); }},
                                {"Redo", QKeySequence::Redo, [](QLineEdit& f) { f.redo(); }},
                                {nullptr, QKeySequence::UnknownKey, nullptr},
                                {"Cut", QKeySequence::Cut, [](QLineEdit& f) { f.cut(); }},
                                {"Copy", QKeySequence::Copy, [](QLineEdit& f) { f.copy(); }},
                                {"Paste", QKeySequence::Paste, [](QLineEdit& f) { f.paste(); }},
                                {"Select All", QKeySequence::SelectAll, [](QLineEdit& f) { f.selectAll(); }}};
    for (const Command& c : commands) {
        if (!c.title) {
            edit->addSeparator();
            continue;
        }
        QAction* action = edit->addAction(QString::fromLatin1(c.title));
        action->setShortcut(c.key);
        action->setShortcutContext(Qt::WidgetShortcut); // shown in the menu, never taken from the focus
        QObject::connect(action, &QAction::triggered, &window, [&window, c] { editCommand(window, c.key, c.edit); });
    }
    edit->addSeparator();
    QAction* find = edit->addAction(QStringLiteral("Find Samples"));
    QObject::connect(find, &QAction::triggered, &window, std::move(findSamples));

    QLineEdit* search = window.search;
    if (!search) return;
    search->setContextMenuPolicy(Qt::CustomContextMenu);
    QObject::connect(search, &QWidget::customContextMenuRequested, search, [search](QPoint at) {
        QMenu menu(search);
        QObject::connect(menu.addAction(QStringLiteral("Cut")), &QAction::triggered, search, &QLineEdit::cut);
        QObject::connect(menu.addAction(QStringLiteral("Copy")), &QAction::triggered, search, &QLineEdit::copy);
        QObject::connect(menu.addAction(QStringLiteral("Paste")), &QAction::triggered, search, &QLineEdit::paste);
        menu.addSeparator();
        QObject::connect(menu.addAction(QStringLiteral("Select All")), &QAction::triggered, search, &QLineEdit::selectAll);
        menu.exec(search->mapToGlobal(at));
    });
}

void installQuickTourMenu(QVMainWindow& window, std::function<void()> showTour)
{
    QMenuBar* bar = window.menuBar();
    QMenu* help = nullptr;
    for (QAction* action : bar->actions()) {
        if (action->text() == QLatin1String("Help")) help = action->menu();
    }
    if (!help) help = bar->addMenu(QStringLiteral("Help"));
    const QList<QAction*> items = help->actions();
    auto* tour = new QAction(QStringLiteral("Quick Tour"), help);
    help->insertAction(items.isEmpty() ? nullptr : items.first(), tour);
    QObject::connect(tour, &QAction::triggered, &window, std::move(showTour));
}
