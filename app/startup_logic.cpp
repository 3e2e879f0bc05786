#include "startup_logic.h"

#include <QRegularExpression>
#include <QtEndian>

#include <algorithm>
#include <cstring>

namespace qv {

namespace {

// The smallest window in which every panel still fits.
QSize minimumContentSize(int mode)
{
    return mode == 0 ? QSize(560, 640) : QSize(980, 600);
}

} // namespace

int normalizedLayoutMode(bool present, long long stored)
{
    if (!present) return 1;
    return stored != 0 ? 1 : 0;
}

const char* sizeKeyForMode(int mode)
{
    return mode == 0 ? kCompactVerticalSizeKey : kDesktopSizeKey;
}

QSize defaultContentSize(int mode)
{
    return mode == 0 ? QSize(704, 1536) : QSize(1536, 770);
}

QSize parseSize(const QString& text)
{
    static const QRegularExpression braces(QStringLiteral(R"(^\s*\{\s*(-?\d+(?:\.\d*)?)\s*,\s*(-?\d+(?:\.\d*)?)\s*\}\s*$)"));
    static const QRegularExpression times(QStringLiteral(R"(^\s*(\d+(?:\.\d*)?)\s*[xX\x{00d7}]\s*(\d+(?:\.\d*)?)\s*$)"));
    for (const QRegularExpression* pattern : {&braces, &times}) {
        const QRegularExpressionMatch match = pattern->match(text);
        if (match.hasMatch()) {
            const double w = match.captured(1).toDouble();
            const double h = match.captured(2).toDouble();
            return {static_cast<int>(std::clamp(w, 0.0, 100000.0)), static_cast<int>(std::clamp(h, 0.0, 100000.0))};
        }
    }
    return {0, 0};
}

QString formatSize(QSize size)
{
    return QStringLiteral("{%1, %2}").arg(size.width()).arg(size.height());
}

QSize storedContentSize(int mode, const QString& text)
{
    return text.isEmpty() ? defaultContentSize(mode) : parseSize(text);
}

QSize clampedContentSize(QSize size, int mode, const QRect& visible)
{
    const QSize minimum = minimumContentSize(mode).boundedTo(visible.size());
    return size.expandedTo(minimum).boundedTo(visible.size());
}

QRect centeredFrame(QSize size, const QRect& visible)
{
    const int x = visible.x() + visible.width() / 2 - size.width() / 2;
    const int y = visible.y() + visible.height() / 2 - size.height() / 2;
    return {QPoint(x, y), size};
}

QString normalizedTheme(const QString& stored)
{
    if (stored == QLatin1String("Classic") || stored == QLatin1String("Green")) return stored;
    return QStringLiteral("Purple");
}

QByteArray silentWaveBytes()
{
    constexpr quint32 kDataBytes = 8820;
    QByteArray bytes(44 + kDataBytes, '\0');
    char* p = bytes.data();
    auto put32 = [&](int at, quint32 value) { qToLittleEndian(value, p + at); };
    auto put16 = [&](int at, quint16 value) { qToLittleEndian(value, p + at); };
    std::memcpy(p, "RIFF", 4);
    put32(4, 36 + kDataBytes);
    std::memcpy(p + 8, "WAVEfmt ", 8);
    put32(16, 16);
    put16(20, 1);     // PCM
    put16(22, 1);     // mono
    put32(24, 44100);
    put32(28, 88200); // bytes per second
    put16(32, 2);     // block align
    put16(34, 16);
    std::memcpy(p + 36, "data", 4);
    put32(40, kDataBytes);
    return bytes;
}

} // namespace qv
