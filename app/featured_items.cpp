#include "featured_items.h"

#include "alerts.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QImageReader>
#include <QPainter>
#include <QSaveFile>
#include <QSettings>
#include <QStandardPaths>
#include <QUuid>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <set>

namespace fs = std::filesystem;

namespace qv {
int featuredColumns(int stored)
{
    if (stored == 0) return 6;
    if (stored > 7) return 8;
    if (stored < 3) return 2;
    return stored;
}
} // namespace qv

namespace {
QString newUuid() { return QUuid::createUuid().toString(QUuid::WithoutBraces); }

bool isDirectory(const fs::path& path)
{
    std::error_code error;
    return fs::is_directory(path, error);
}

// The folder the files of `folder` went to, judged by one moved pair: the new path with
// as many components dropped as the old path lies below the folder. Empty when the file
// was not inside it or the candidate is no folder.
fs::path candidateFor(const fs::path& folder, const std::string& oldPath, const std::string& newPath)
{
    const fs::path rel = fs::path(oldPath).lexically_relative(folder);
    if (rel.empty() || *rel.begin() == "..") return {};
    fs::path candidate = fs::path(newPath);
    for (auto it = rel.begin(); it != rel.end(); ++it) candidate = candidate.parent_path();
    return isDirectory(candidate) ? candidate : fs::path();
}
} // namespace

QVFeaturedItems::QVFeaturedItems(QString avatarDirectory, QObject* parent)
    : QObject(parent)
    , _avatarDirectory(std::move(avatarDirectory))
    , _items(QSettings().value(QLatin1String(qv::kFeaturedItemsKey)).toList())
{
}

QString QVFeaturedItems::defaultAvatarDirectory()
{
    const QString base = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    return QDir(base).filePath(QStringLiteral("Ostrelle/Quorvalinder/Featured Avatars"));
}

QString QVFeaturedItems::avatarDirectory() const
{
    QDir().mkpath(_avatarDirectory);
    return _avatarDirectory;
}

QVariantMap QVFeaturedItems::entry(int index) const
{
    return index >= 0 && index < count() ? _items.at(index).toMap() : QVariantMap();
}

int QVFeaturedItems::columns() const
{
    return qv::featuredColumns(QSettings().value(QLatin1String(qv::kFeaturedColumnsKey)).toInt());
}

void QVFeaturedItems::save(QVariantList items)
{
    _items = std::move(items);
    QSettings().setValue(QLatin1String(qv::kFeaturedItemsKey), _items);
    emit changed();
}

bool QVFeaturedItems::addEntry(const QVariantMap& entry)
{
    QVariantList items = _items;
    const QString kind = entry.value(QStringLiteral("kind")).toString();
    const QVariant value = entry.value(QStringLiteral("value"));
    const bool present = std::any_of(items.cbegin(), items.cend(), [&](const QVariant& item) {
        const QVariantMap existing = item.toMap();
        return existing.value(QStringLiteral("kind")).toString() == kind &&
               existing.value(QStringLiteral("value")) == value;
    });
    if (present) return false;
    if (items.size() >= qv::kFeaturedLimit) items.removeFirst();
    QVariantMap added = entry;
    added.insert(QStringLiteral("uuid"), newUuid());
    items.append(added);
    save(std::move(items));
    return true;
}

bool QVFeaturedItems::addFolder(const QString& path)
{
    if (path.isEmpty()) return false;
    QString title = QFileInfo(path).fileName();
    if (title.isEmpty()) title = QStringLiteral("Folder");
    return addEntry({{QStringLiteral("kind"), QStringLiteral("folder")},
                     {QStringLiteral("value"), path},
                     {QStringLiteral("title"), title}});
}

bool QVFeaturedItems::addPlaylist(std::int64_t playlistId, const QString& name)
{
    return addEntry({{QStringLiteral("kind"), QStringLiteral("playlist")},
                     {QStringLiteral("value"), qlonglong(playlistId)},
                     {QStringLiteral("title"), name}});
}

bool QVFeaturedItems::remove(int index)
{
    if (index < 0 || index >= count()) return false;
    const QString avatar = entry(index).value(QStringLiteral("avatar")).toString();
    if (!avatar.isEmpty()) QFile::remove(avatar);
    QVariantList items = _items;
    items.removeAt(index);
    save(std::move(items));
    return true;
}

bool QVFeaturedItems::rename(int index, const QString& title)
{
    const QString trimmed = title.trimmed();
    if (index < 0 || index >= count() || trimmed.isEmpty()) return false;
    QVariantMap changedEntry = entry(index);
    changedEntry.insert(QStringLiteral("title"), trimmed);
    QVariantList items = _items;
    items[index] = changedEntry;
    save(std::move(items));
    return true;
}

bool QVFeaturedItems::renameAsking(int index, QVAlerts& alerts)
{
    if (index < 0 || index >= count()) return false;
    const std::optional<QString> title =
        alerts.askText(QStringLiteral("Name Featured Set"), QStringLiteral("This name is shown beside its initial avatar."),
                       QString(), entry(index).value(QStringLiteral("title")).toString(),
                       {QStringLiteral("Save"), QStringLiteral("Cancel")});
    return title && rename(index, *title);
}

bool QVFeaturedItems::setAvatar(int index, const QString& imagePath)
{
    if (index < 0 || index >= count()) return false;
    const QImage image = QImageReader(imagePath).read();
    if (image.isNull() || image.width() == 0 || image.height() == 0) return false;

    const int side = std::min(image.width(), image.height());
    const QRect square((image.width() - side) / 2, (image.height() - side) / 2, side, side);
    QImage avatar(qv::kFeaturedAvatarSide, qv::kFeaturedAvatarSide, QImage::Format_ARGB32_Premultiplied);
    avatar.fill(Qt::transparent);
    {
        QPainter painter(&avatar);
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        painter.drawImage(avatar.rect(), image, square);
    }

    QVariantMap changedEntry = entry(index);
    QString uuid = changedEntry.value(QStringLiteral("uuid")).toString();
    if (uuid.isEmpty()) uuid = newUuid(); // the file's name only; the entry keeps none
    const QString path = QDir(avatarDirectory()).filePath(uuid + QStringLiteral(".png"));
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || !avatar.save(&file, "PNG") || !file.commit()) return false;

    changedEntry.insert(QStringLiteral("avatar"), path);
    QVariantList items = _items;
    items[index] = changedEntry;
    save(std::move(items));
    return true;
}

bool QVFeaturedItems::relinkFromMoves(const std::vector<std::pair<std::string, std::string>>& moved)
{
    if (moved.empty()) return false;
    QVariantList items = QSettings().value(QLatin1String(qv::kFeaturedItemsKey)).toList();
    bool anyChanged = false;
    for (QVariant& item : items) {
        QVariantMap folderEntry = item.toMap();
        const QVariant value = folderEntry.value(QStringLiteral("value"));
        if (folderEntry.value(QStringLiteral("kind")).toString() != QLatin1String("folder") ||
            value.typeId() != QMetaType::QString)
            continue;
        const fs::path folder(value.toString().toStdString());
        if (isDirectory(folder)) continue;
        std::set<fs::path> candidates;
        for (const auto& [oldPath, newPath] : moved) {
            fs::path candidate = candidateFor(folder, oldPath, newPath);
            if (!candidate.empty()) candidates.insert(std::move(candidate));
        }
        if (candidates.size() != 1) continue;
        folderEntry.insert(QStringLiteral("value"), QString::fromStdString(candidates.begin()->string()));
        item = folderEntry;
        anyChanged = true;
    }
    if (anyChanged) save(std::move(items));
    return anyChanged;
}
