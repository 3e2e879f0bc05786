#pragma once
// Modal questions and messages, behind an interface so that the commands that ask them
// are tested with scripted answers instead of a person at the screen.

#include <QString>
#include <QStringList>

#include <memory>
#include <optional>

class QWidget;

class QVAlerts {
public:
    virtual ~QVAlerts() = default;
    // The index of the button pressed, buttons in the given order; -1 when dismissed.
    virtual int ask(const QString& message, const QString& informative, const QStringList& buttons) = 0;
    // A question with a one-line text field. The text when the first button was pressed.
    virtual std::optional<QString> askText(const QString& message, const QString& informative,
                                           const QString& placeholder, const QString& initial,
                                           const QStringList& buttons) = 0;
    // A failure, with the default button only.
    virtual void inform(const QString& message, const QString& informative) = 0;
};

// The real thing: window-modal message boxes over `parent`.
class QVModalAlerts : public QVAlerts {
public:
    explicit QVModalAlerts(QWidget* parent) : _parent(parent) {}
    int ask(const QString& message, const QString& informative, const QStringList& buttons) override;
    std::optional<QString> askText(const QString& message, const QString& informative, const QString& placeholder,
                                   const QString& initial, const QStringList& buttons) override;
    void inform(const QString& message, const QString& informative) override;

private:
    QWidget* _parent;
};

// Forwards to a target that may be replaced after the commands that ask were built (a
// test answers instead of a person).
class QVReplaceableAlerts : public QVAlerts {
public:
    void setTarget(std::unique_ptr<QVAlerts> target) { _target = std::move(target); }
    bool hasTarget() const { return _target != nullptr; }
    int ask(const QString& message, const QString& informative, const QStringList& buttons) override
    {
        return _target->ask(message, informative, buttons);
    }
    std::optional<QString> askText(const QString& message, const QString& informative, const QString& placeholder,
                                   const QString& initial, const QStringList& buttons) override
    {
        return _target->askText(message, informative, placeholder, initial, buttons);
    }
    void inform(const QString& message, const QString& informative) override { _target->inform(message, informative); }

private:
    std::unique_ptr<QVAlerts> _target;
};
