#pragma once
// The featured sets: a short, user-curated list of folder and playlist shortcuts, kept
// in the per-user settings under "QVFeaturedItems" (oldest first, at most 32), each a
// map of "kind", "value", "title", "uuid" and, once given an image, "avatar". Memory and
// settings are written together, so they never differ. Avatars are 512 x 512 PNG files
// named after the entry's uuid in a folder given at construction (tests use a temp dir).

#include <QObject>
#include <QString>
#include <QVariantList>
#include <QVariantMap>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace qv {
inline constexpr char kFeaturedItemsKey[] = "QVFeaturedItems";
inline constexpr char kFeaturedColumnsKey[] = "QVFeaturedColumns";
inline constexpr int kFeaturedLimit = 32;
inline constexpr int kFeaturedRows = 2;
inline constexpr int kFeaturedAvatarSide = 512;

// The stored column count made usable: absent or 0 gives 6, otherwise 2 to 8.
int featuredColumns(int stored);
} // namespace qv

class QVAlerts;

class QVFeaturedItems : public QObject {
    Q_OBJECT
public:
    // Reads the stored list. `avatarDirectory` is created when an avatar is written.
    explicit QVFeaturedItems(QString avatarDirectory, QObject* parent = nullptr);
    // "Ostrelle/Quorvalinder/Featured Avatars" under the per-user data folder.
    static QString defaultAvatarDirectory();

    const QVariantList& items() const { return _items; }
    int count() const { return int(_items.size()); }
    QVariantMap entry(int index) const;
    int columns() const; // from "QVFeaturedColumns"

    // Each returns whether the list changed; `changed` is emitted when it did.
    bool addEntry(const QVariantMap& entry); // "kind", "value", "title"
    bool addFolder(const QString& path);
    bool addPlaylist(std::int64_t playlistId, const QString& name);
    bool remove(int index);                              // and its avatar file
    bool rename(int index, const QString& title);        // blanks change nothing
    bool renameAsking(int index, QVAlerts& alerts);      // "Name Featured Set"
    bool setAvatar(int index, const QString& imagePath); // the centred square, 512 x 512
    // After a Full Scan: a featured folder that no longer exists follows its files when
    // they all went to one place.
    bool relinkFromMoves(const std::vector<std::pair<std::string, std::string>>& moved);

    QString avatarDirectory() const;

signals:
    void changed();

private:
    void save(QVariantList items);

    QString _avatarDirectory;
    QVariantList _items;
};
