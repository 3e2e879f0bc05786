#pragma once
// The filter bar's widgets: the rounded filter chips with their reset buttons, the
// searchable suggestion list shown under a chip, the choice menu, the "Custom BPM"
// dialog, and the two horizontally scrolling quick-filter rows with their reveal toggle.
// They show what they are given and forward what the user did; QVFilters decides.
// GUI thread only.

#include "theme.h"

#include <QFrame>
#include <QPointer>
#include <QLabel>
#include <QPushButton>
#include <QStringList>

#include <functional>
#include <optional>
#include <vector>

class QProgressBar;
class QLineEdit;
class QListWidget;
class QMenu;
class QHBoxLayout;
class QToolButton;

// One filter: its title is the filter's name, or the chosen value and four spaces, room
// for the reset button shown while a value is set. The tag is the chip's index.
class QVFilterChip : public QPushButton {
    Q_OBJECT
public:
    QVFilterChip(int tag, const QString& filterName, const qv::WindowTheme& theme, QWidget* parent = nullptr);

    int tag() const { return _tag; }
    const QString& filterName() const { return _filterName; }
    const QString& selectedValue() const { return _selectedValue; }
    const QStringList& choices() const { return _choices; }
    void setChoices(const QStringList& choices) { _choices = choices; }
    bool appearanceSelected() const { return _appearanceSelected; }
    bool hovering() const { return _hovering; }
    QToolButton* resetButton() const { return _resetButton; }
    void setPreservesTitle(bool preserves) { _preservesTitle = preserves; }

    void showValue(const QString& value);
    void setTheme(const qv::WindowTheme& theme);
    QSize sizeHint() const override;

signals:
    void resetPressed(int tag);

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;

private:
    void placeResetButton();

    int _tag;
    QString _filterName;
    QString _selectedValue;
    QStringList _choices;
    qv::WindowTheme _theme;
    QToolButton* _resetButton;
    bool _hovering = false;
    bool _appearanceSelected = false;
    bool _preservesTitle = false;
};

// A search field over a one-column list of choices, in a transient popup under a chip.
// Typing keeps the choices that contain the text, ignoring case; Enter or a double click
// chooses the highlighted row, Esc closes. The chosen value carries a check mark.
class QVFilterSuggestions : public QFrame {
    Q_OBJECT
public:
    QVFilterSuggestions(const QStringList& choices, const QString& title, const QString& selected,
                        const qv::WindowTheme& theme, QWidget* parent = nullptr);

    std::function<void(const QString& value)> selectionHandler;

    // 270 x 310, just under the anchor, kept on its screen; deleted once closed.
    void popUpBelow(QWidget* anchor);
    void controlTextDidChange(const QString& text);
    void chooseSuggestion(); // the highlighted row, or the first one
    void choose(const QString& value);

    QStringList visibleChoices() const;
    QLineEdit* searchField() const { return _search; }
    QListWidget* list() const { return _list; }
    QString caption() const;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;

private:
    QPointer<QWidget> _anchor;
    QStringList _choices;
    QString _selected;
    QLabel* _caption;
    QLineEdit* _search;
    QListWidget* _list;
    QIcon _check;
};

// The choices of a chip as a menu, the chosen one checked, 4 points under the chip.
QMenu* popUpChoiceMenu(QVFilterChip* chip, const std::function<void(const QString& value)>& chosen);

// The "Custom BPM" alert: the entry when "Apply" was pressed, nothing for "Cancel".
std::optional<QString> askCustomTempo(QWidget* parent);

// "Genres:" or "Instruments:" and a horizontally scrolling line of value chips, or a
// quiet line saying there is nothing to offer here.
class QVQuickFilterRow : public QWidget {
    Q_OBJECT
public:
    struct Chip {
        QString value;
        QString title; // shown; the tooltip names it
        bool selected = false;
        bool enabled = true;
        int tag = 0;
    };

    QVQuickFilterRow(const QString& caption, const qv::WindowTheme& theme, QWidget* parent = nullptr);

    // No chips shows "No suggestions in this selection"; a pending row shows nothing
    // until its values arrive.
    void setChips(const std::vector<Chip>& chips);
    void setPending();
    QList<QPushButton*> chipButtons() const;
    QLabel* emptyLabel() const { return _empty; }
    void setTheme(const qv::WindowTheme& theme);

signals:
    void chosen(int tag, const QString& value);

private:
    QWidget* _content;
    QHBoxLayout* _chipLayout;
    QLabel* _empty;
    std::vector<QPushButton*> _buttons;
};

// The status line: a long text is cut at its end and shown whole in the tooltip.
class QVStatusLabel : public QLabel {
    Q_OBJECT
public:
    using QLabel::QLabel;

protected:
    void paintEvent(QPaintEvent* event) override;
    bool event(QEvent* event) override;
};

// The row above the results: the chips, "Clear Filters", the quick-filter toggle and the
// status line; below it, hidden until revealed, the two quick-filter rows.
class QVFilterBar : public QWidget {
    Q_OBJECT
public:
    explicit QVFilterBar(const qv::WindowTheme& theme, QWidget* parent = nullptr);

    QVFilterChip* chip(int index) const { return _chips[static_cast<std::size_t>(index)]; }
    const qv::WindowTheme& theme() const { return _theme; }
    void setTheme(const qv::WindowTheme& theme);
    void setQuickFiltersRevealed(bool revealed);
    bool quickFiltersRevealed() const;

    QPushButton* clearFilters = nullptr;
    QToolButton* quickFiltersToggle = nullptr;
    QLabel* statusLabel = nullptr;
    QProgressBar* libraryScanProgress = nullptr;
    QVQuickFilterRow* genreRow = nullptr;
    QVQuickFilterRow* instrumentRow = nullptr;

private:
    qv::WindowTheme _theme;
    std::vector<QVFilterChip*> _chips;
    QWidget* _quickFilters = nullptr;
};
