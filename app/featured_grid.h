#pragma once
// The featured sets above the results: at most two rows of compact cards, each an avatar
// (the user's image, or an initial drawn in the theme's colours) beside its title. The
// grid only shows and forwards: a click, the card menu's rename and remove, and an image
// dropped on a card come out as signals carrying the entry's index in the stored list.
// With nothing featured it is one quiet line saying what the space is for.

#include "theme.h"

#include <QPixmap>
#include <QVariantList>
#include <QVariantMap>
#include <QWidget>

class QGridLayout;
class QLabel;
class QMenu;

// Draws an entry's avatar at `side` pixels: its image when it has one that loads, else
// its initial on a tile tinted from the theme's accent.
QPixmap featuredAvatar(const QVariantMap& entry, int side, const qv::WindowTheme& theme);

class QVFeaturedCard : public QWidget {
    Q_OBJECT
public:
    QVFeaturedCard(const QVariantMap& entry, const qv::WindowTheme& theme, QWidget* parent = nullptr);
    QString title() const { return _title; }
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

signals:
    void clicked();
    void menuRequested(const QPoint& globalPos);
    void imageDropped(const QString& path);

protected:
    void paintEvent(QPaintEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    QString _title;
    QString _subtitle;
    QPixmap _avatar;
    qv::WindowTheme _theme;
    bool _hovered = false;
};

class QVFeaturedGrid : public QWidget {
    Q_OBJECT
public:
    explicit QVFeaturedGrid(const qv::WindowTheme& theme, QWidget* parent = nullptr);

    // The whole stored list; the newest `columns` x 2 are shown, oldest first.
    void setEntries(const QVariantList& entries, int columns);
    void setTheme(const qv::WindowTheme& theme); // cards redrawn, initials retinted
    int columns() const { return _columns; }
    int shownCount() const { return int(_cards.size()); }
    QVFeaturedCard* card(int shown) const { return _cards.at(shown); }
    int indexOfCard(int shown) const { return _firstShown + shown; }
    // The card's menu, built but not shown, so that tests can trigger it.
    QMenu* cardMenu(int index, QWidget* parent);

signals:
    void openRequested(int index);
    void renameRequested(int index);
    void removeRequested(int index);
    void avatarDropped(int index, const QString& imagePath);

private:
    qv::WindowTheme _theme;
    QLabel* _title = nullptr;
    QLabel* _hint = nullptr;
    QWidget* _cardArea = nullptr;
    QGridLayout* _cardGrid = nullptr;
    QList<QVFeaturedCard*> _cards;
    QVariantList _entries;
    int _columns = 0;
    int _firstShown = 0;
};
