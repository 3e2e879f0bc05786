#include "waveform_disk_cache.h"

#include "peak_builder.h"

#include <QDir>
#include <QFile>
#include <QTemporaryFile>
#include <QStandardPaths>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

#include <algorithm>
#include <filesystem>

namespace qv {

QString waveformCacheKey(const QString& path, std::int64_t modifiedAt, std::uint64_t fileSize)
{
    return QStringLiteral("v2:%1:%2:%3").arg(path).arg(qlonglong(modifiedAt)).arg(qulonglong(fileSize));
}

std::uint64_t stableKeyHash(const QString& key)
{
    // FNV-1a: fixed across runs, builds and platforms, unlike qHash with its seed.
    std::uint64_t hash = 0xcbf29ce484222325ull;
    for (const char byte : key.toUtf8()) {
        hash ^= static_cast<unsigned char>(byte);
        hash *= 0x100000001b3ull;
    }
    return hash;
}

WaveformDiskCache::WaveformDiskCache(QString directory)
    : _directory(std::move(directory))
{
}

QString WaveformDiskCache::defaultDirectory()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation)
           + QStringLiteral("/Ostrelle/Quorvalinder/Waveforms");
}

QString WaveformDiskCache::filePath(const QString& key) const
{
    return _directory + QStringLiteral("/%1.plist").arg(stableKeyHash(key), 16, 16, QLatin1Char('0'));
}

std::optional<std::vector<float>> WaveformDiskCache::read(const QString& key) const
{
    QDir().mkpath(_directory);
    QFile file(filePath(key));
    // Far above any 192-entry list: a stray large file is not worth parsing.
    constexpr qint64 kMaxBytes = 64 * 1024;
    if (!file.open(QIODevice::ReadOnly) || file.size() > kMaxBytes) return std::nullopt;
    auto peaks = peaksFromPropertyList(file.readAll());
    if (!peaks || peaks->size() != kPeakCount) return std::nullopt;
    // The view draws whatever it is given; a hand-edited file must not draw outside it.
    for (float& peak : *peaks) peak = peak > 0.0f ? std::min(peak, 1.0f) : 0.0f;
    return peaks;
}

bool WaveformDiskCache::write(const QString& key, const std::vector<float>& peaks) const
{
    if (!QDir().mkpath(_directory)) return false;
    const QString target = filePath(key);
    // A temporary file renamed over the target: readers see the old file or the new one.
    // No fsync (QSaveFile's cost, five times the decode): after a crash a torn file
    // only reads as malformed and is decoded again.
    QTemporaryFile file(target + QStringLiteral(".XXXXXX"));
    file.setAutoRemove(false);
    if (!file.open()) return false;
    const QByteArray xml = peaksToPropertyList(peaks);
    const bool written = file.write(xml) == xml.size() && file.flush();
    file.close();
    std::error_code error;
    if (written) std::filesystem::rename(QFile::encodeName(file.fileName()).toStdString(),
                                         QFile::encodeName(target).toStdString(), error);
    if (!written || error) {
        file.remove();
        return false;
    }
    return true;
}

QByteArray peaksToPropertyList(const std::vector<float>& peaks)
{
    QByteArray xml;
    QXmlStreamWriter writer(&xml);
    writer.setAutoFormatting(true);
    writer.setAutoFormattingIndent(-1);
    writer.writeStartDocument();
    writer.writeStartElement(QStringLiteral("plist"));
    writer.writeAttribute(QStringLiteral("version"), QStringLiteral("1.0"));
    writer.writeStartElement(QStringLiteral("array"));
    for (const float peak : peaks) {
        // Nine significant digits give back the same float.
        writer.writeTextElement(QStringLiteral("real"), QString::number(double(peak), 'g', 9));
    }
    writer.writeEndElement();
    writer.writeEndElement();
    writer.writeEndDocument();
    return xml;
}

std::optional<std::vector<float>> peaksFromPropertyList(const QByteArray& xml)
{
    QXmlStreamReader reader(xml);
    std::vector<float> values;
    int depth = 0;  // 1 inside <plist>, 2 inside the root <array>
    bool sawArray = false;
    while (!reader.atEnd()) {
        switch (reader.readNext()) {
        case QXmlStreamReader::StartElement: {
            const auto name = reader.name();
            if (depth == 0 && name == QLatin1String("plist")) {
                depth = 1;
            } else if (depth == 1 && name == QLatin1String("array") && !sawArray) {
                depth = 2;
                sawArray = true;
            } else if (depth == 2 && (name == QLatin1String("real") || name == QLatin1String("integer"))) {
                bool ok = false;
                const double value = reader.readElementText().trimmed().toDouble(&ok);
                if (!ok) return std::nullopt;
                values.push_back(static_cast<float>(value));
            } else {
                return std::nullopt;
            }
            break;
        }
        case QXmlStreamReader::EndElement:
            --depth;
            break;
        default:
            break;
        }
    }
    if (reader.hasError() || !sawArray) return std::nullopt;
    return values;
}

} // namespace qv
