#include "alerts.h"

#include <QGridLayout>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>

#include <vector>

namespace {

// The first button is the default, the last the one Esc presses.
std::vector<QAbstractButton*> addButtons(QMessageBox& box, const QStringList& buttons)
{
    std::vector<QAbstractButton*> added;
    for (int i = 0; i < buttons.size(); ++i) {
        const bool last = i == buttons.size() - 1 && buttons.size() > 1;
        QPushButton* button = box.addButton(buttons[i], last ? QMessageBox::RejectRole : QMessageBox::AcceptRole);
        if (i == 0) box.setDefaultButton(button);
        if (last) box.setEscapeButton(button);
        added.push_back(button);
    }
    return added;
}

int pressedIndex(const QMessageBox& box, const std::vector<QAbstractButton*>& buttons)
{
    for (std::size_t i = 0; i < buttons.size(); ++i) {
        if (box.clickedButton() == buttons[i]) return static_cast<int>(i);
    }
    return -1;
}

} // namespace

int QVModalAlerts::ask(const QString& message, const QString& informative, const QStringList& buttons)
{
    QMessageBox box(QMessageBox::Question, message, message, QMessageBox::NoButton, _parent);
    box.setInformativeText(informative);
    const auto added = addButtons(box, buttons);
    box.exec();
    return pressedIndex(box, added);
}

std::optional<QString> QVModalAlerts::askText(const QString& message, const QString& informative,
                                              const QString& placeholder, const QString& initial,
                                              const QStringList& buttons)
{
    QMessageBox box(QMessageBox::NoIcon, message, message, QMessageBox::NoButton, _parent);
    box.setInformativeText(informative);
    auto* field = new QLineEdit(initial, &box);
    field->setPlaceholderText(placeholder);
    field->setFixedSize(280, 24);
    field->selectAll();
    // The field sits where a detail text would: below the informative text.
    if (auto* grid = qobject_cast<QGridLayout*>(box.layout())) {
        grid->addWidget(field, grid->rowCount(), 1, 1, grid->columnCount() - 1);
    }
    const auto added = addButtons(box, buttons);
    QTimer::singleShot(0, field, [field] { field->setFocus(); });
    box.exec();
    if (pressedIndex(box, added) != 0) return std::nullopt;
    return field->text();
}

void QVModalAlerts::inform(const QString& message, const QString& informative)
{
    QMessageBox box(QMessageBox::Warning, message, message, QMessageBox::Ok, _parent);
    box.setInformativeText(informative);
    box.exec();
}
