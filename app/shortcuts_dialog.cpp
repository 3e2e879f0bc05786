#include "shortcuts_dialog.h"

#include "alerts.h"
#include "shortcut_logic.h"

#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSettings>
#include <QVBoxLayout>

namespace {

constexpr int kRowHeight = 34;
constexpr int kAccessoryWidth = 500;

} // namespace

QVShortcutsDialog::QVShortcutsDialog(const QStringList& working, QColor accent, QVAlerts& alerts, QWidget* parent)
    : QDialog(parent)
    , _alerts(alerts)
{
    setObjectName(QStringLiteral("shortcutsDialog"));
    setWindowTitle(QStringLiteral("Customize Shortcuts"));
    setStyleSheet(QStringLiteral(
        "QDialog#shortcutsDialog { background: rgb(30, 30, 32); }"
        "QLabel#shortcutsMessage { color: white; font-size: 14px; font-weight: 600; }"
        "QLabel#shortcutsInformative { color: rgb(170, 170, 170); font-size: 12px; }"
        "QFrame#shortcutsAccessory { background: rgb(9, 9, 9); border-radius: 10px; }"
        "QLabel#shortcutLabel { color: rgb(235, 235, 235); font-size: 12px; font-weight: 500; background: transparent; }"
        "QPushButton#shortcutsButton { color: white; background: rgb(58, 58, 62); border: none; border-radius: 6px;"
        " padding: 5px 14px; font-size: 12px; }"
        "QPushButton#shortcutsButton:hover { background: rgb(72, 72, 76); }"
        "QPushButton#shortcutsButton:default { background: %1; }")
                      .arg(accent.name()));

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(20, 18, 20, 16);
    layout->setSpacing(8);
    auto* message = new QLabel(QStringLiteral("Customize Shortcuts"), this);
    message->setObjectName(QStringLiteral("shortcutsMessage"));
    auto* informative =
        new QLabel(QStringLiteral("Click a shortcut field, then press the key or key combination you want."), this);
    informative->setObjectName(QStringLiteral("shortcutsInformative"));
    informative->setWordWrap(true);
    layout->addWidget(message);
    layout->addWidget(informative);

    const auto& actions = qv::shortcutActions();
    const int height = kRowHeight * static_cast<int>(actions.size());
    auto* accessory = new QFrame(this);
    accessory->setObjectName(QStringLiteral("shortcutsAccessory"));
    accessory->setFixedSize(kAccessoryWidth, height);
    for (std::size_t r = 0; r < actions.size(); ++r) {
        const int top = kRowHeight * static_cast<int>(r) + 4;
        auto* label = new QLabel(QString::fromUtf8(actions[r].label), accessory);
        label->setObjectName(QStringLiteral("shortcutLabel"));
        label->setGeometry(14, top, 220, 24);
        const QStringList defaults = QString::fromLatin1(actions[r].defaultBinding).split(u'|');
        const QStringList current = working.value(static_cast<qsizetype>(r)).split(u'|', Qt::SkipEmptyParts);
        const int width = defaults.size() == 1 ? 246 : 116;
        std::vector<QVShortcutRecorderButton*> row;
        for (qsizetype i = 0; i < defaults.size(); ++i) {
            auto* recorder = new QVShortcutRecorderButton(accent, accessory);
            recorder->setGeometry(240 + static_cast<int>(i) * (width + 8), top - 1, width, 27);
            recorder->setRecorded(i < current.size() ? current[i] : defaults[i]);
            recorder->captureHandler = [this](QVShortcutRecorderButton& button, const qv::ShortcutKey& key) {
                capture(button, key);
            };
            row.push_back(recorder);
        }
        _recorders.push_back(std::move(row));
    }
    layout->addSpacing(4);
    layout->addWidget(accessory);
    layout->addSpacing(6);

    auto* buttons = new QHBoxLayout;
    auto addButton = [this, buttons](const QString& title, Choice choice) {
        auto* button = new QPushButton(title, this);
        button->setObjectName(QStringLiteral("shortcutsButton"));
        connect(button, &QPushButton::clicked, this, [this, choice] { done(choice); });
        buttons->addWidget(button);
        return button;
    };
    addButton(QStringLiteral("Restore Defaults"), RestoreDefaults);
    buttons->addStretch();
    addButton(QStringLiteral("Cancel"), Cancel);
    addButton(QStringLiteral("Save"), Save)->setDefault(true);
    layout->addLayout(buttons);
}

QStringList QVShortcutsDialog::bindings() const
{
    QStringList all;
    for (const auto& row : _recorders) {
        QStringList parts;
        for (const auto* recorder : row) parts << recorder->recordedBinding;
        all << parts.join(u'|');
    }
    return all;
}

void QVShortcutsDialog::capture(QVShortcutRecorderButton& button, const qv::ShortcutKey& key)
{
    if (!key.known) return; // a key outside the table could never match
    const QString token = qv::bindingToken(key);
    for (const auto& row : _recorders) {
        for (const auto* other : row) {
            if (other == &button || !qv::keyMatchesBinding(key, other->recordedBinding)) continue;
            button.restoreTitle();
            _alerts.inform(QStringLiteral("Shortcut Already In Use"),
                           QStringLiteral("%1 is already assigned to another function.").arg(qv::displayForBinding(token)));
            return;
        }
    }
    button.setRecorded(token);
    button.clearFocus();
}

bool runCustomizeShortcuts(QSettings& settings, QColor accent, QVAlerts& alerts, QWidget* parent,
                        const std::function<int(QVShortcutsDialog&)>& run)
{
    QStringList working;
    for (const auto& action : qv::shortcutActions()) working << qv::bindingForAction(settings, QLatin1String(action.id));
    for (;;) {
        QVShortcutsDialog dialog(working, accent, alerts, parent);
        const int choice = run(dialog);
        if (choice == QVShortcutsDialog::RestoreDefaults) {
            working.clear();
            for (const auto& action : qv::shortcutActions()) working << QLatin1String(action.defaultBinding);
            continue;
        }
        if (choice != QVShortcutsDialog::Save) return false;
        working = dialog.bindings();
        if (qv::bindingsConflict(working)) {
            alerts.inform(QStringLiteral("Shortcut Conflict"), QStringLiteral("Each key combination can only be assigned once."));
            continue;
        }
        qv::saveBindings(settings, working);
        return true;
    }
}
