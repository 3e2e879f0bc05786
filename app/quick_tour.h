#pragma once
// The quick tour's overlay: it covers the main window, dims it around the step's target,
// rings the target in the theme's accent and shows a bubble with the step's text, its
// place in the tour and "Back", "Next"/"Done" and "Skip tour". While it is up it holds
// the keyboard focus and every key press is its own (the shortcut monitor lets them
// through); a click outside the bubble closes it. Which steps, and what keys and buttons
// do, come from tour_logic. GUI thread only.

#include "tour_logic.h"

#include <QPointer>
#include <QWidget>

#include <vector>

class QFrame;
class QLabel;
class QPushButton;
class QVMainWindow;

class QVQuickTour : public QWidget {
    Q_OBJECT
public:
    explicit QVQuickTour(QVMainWindow& window);

    // Plans the steps on what the window shows now and shows the first; false, with
    // nothing shown, when no step has a visible target.
    bool start();
    void apply(qv::TourCommand command);

    bool running() const { return isVisible(); }
    int stepIndex() const { return _index; }
    int stepCount() const { return static_cast<int>(_steps.size()); }
    qv::TourTarget currentTarget() const;
    QString stepTitle() const;
    QRect bubbleGeometry() const;

signals:
    void closed();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    bool targetVisible(qv::TourTarget target) const;
    QRect targetRect(qv::TourTarget target) const; // in this widget's coordinates
    void showStep();
    void layoutBubble();
    void finish();

    QVMainWindow& _window;
    std::vector<qv::PlannedTourStep> _steps;
    int _index = 0;
    QRect _ring;
    qv::TourArrow _arrow = qv::TourArrow::None;
    QPointer<QWidget> _focusBefore;
    QFrame* _bubble = nullptr;
    QLabel* _progress = nullptr;
    QLabel* _title = nullptr;
    QLabel* _text = nullptr;
    QPushButton* _skip = nullptr;
    QPushButton* _back = nullptr;
    QPushButton* _next = nullptr;
};
