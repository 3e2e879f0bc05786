#include "icons.h"

#include <QPainter>
#include <QPainterPath>
#include <QPixmap>

namespace qv {

namespace {

void drawSpeaker(QPainter& p, int waves)
{
    QPainterPath body;
    body.moveTo(4, 12);
    body.lineTo(8, 12);
    body.lineTo(13, 7);
    body.lineTo(13, 25);
    body.lineTo(8, 20);
    body.lineTo(4, 20);
    body.closeSubpath();
    p.fillPath(body, p.pen().color());
    if (waves < 0) {
        p.drawLine(17, 12, 25, 20);
        p.drawLine(25, 12, 17, 20);
        return;
    }
    for (int w = 0; w < waves; ++w) {
        const int r = 5 + 5 * w;
        p.drawArc(QRectF(13 - r, 16 - r, 2 * r, 2 * r), -45 * 16, 90 * 16);
    }
}

QPixmap drawn(const QString& name, const QColor& color)
{
    QPixmap pixmap(32, 32);
    pixmap.fill(Qt::transparent);
    QPainter p(&pixmap);
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(QPen(color, 2.4, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    p.setBrush(color);
    if (name == QLatin1String("media-playback-start")) {
        p.drawPolygon(QPolygonF({QPointF(10, 6), QPointF(26, 16), QPointF(10, 26)}));
    } else if (name == QLatin1String("media-playback-pause")) {
        p.drawRoundedRect(QRectF(8, 6, 5, 20), 1.5, 1.5);
        p.drawRoundedRect(QRectF(19, 6, 5, 20), 1.5, 1.5);
    } else if (name == QLatin1String("media-playback-stop")) {
        p.drawRoundedRect(QRectF(8, 8, 16, 16), 2, 2);
    } else if (name == QLatin1String("media-skip-backward")) {
        p.drawRect(QRectF(7, 8, 2.5, 16));
        p.drawPolygon(QPolygonF({QPointF(25, 8), QPointF(12, 16), QPointF(25, 24)}));
    } else if (name == QLatin1String("media-skip-forward")) {
        p.drawRect(QRectF(22.5, 8, 2.5, 16));
        p.drawPolygon(QPolygonF({QPointF(7, 8), QPointF(20, 16), QPointF(7, 24)}));
    } else if (name == QLatin1String("media-playlist-repeat")) {
        p.setBrush(Qt::NoBrush);
        p.drawArc(QRectF(6, 8, 20, 16), 30 * 16, 300 * 16);
        p.setBrush(color);
        p.drawPolygon(QPolygonF({QPointF(22, 5), QPointF(27, 10), QPointF(21, 12)}));
    } else if (name == QLatin1String("audio-volume-muted")) {
        drawSpeaker(p, -1);
    } else if (name == QLatin1String("audio-volume-low")) {
        p.setBrush(Qt::NoBrush);
        drawSpeaker(p, 1);
    } else if (name == QLatin1String("audio-volume-high")) {
        p.setBrush(Qt::NoBrush);
        drawSpeaker(p, 2);
    } else if (name == QLatin1String("folder") || name == QLatin1String("folder-new")) {
        QPainterPath folder;
        folder.moveTo(4, 9);
        folder.lineTo(12, 9);
        folder.lineTo(14, 11);
        folder.lineTo(28, 11);
        folder.lineTo(28, 25);
        folder.lineTo(4, 25);
        folder.closeSubpath();
        p.setBrush(Qt::NoBrush);
        p.drawPath(folder);
    } else if (name == QLatin1String("list-add")) {
        p.drawLine(QPointF(16, 7), QPointF(16, 25));
        p.drawLine(QPointF(7, 16), QPointF(25, 16));
    } else if (name == QLatin1String("edit-find")) {
        p.setBrush(Qt::NoBrush);
        p.drawEllipse(QRectF(6, 6, 14, 14));
        p.drawLine(QPointF(18, 18), QPointF(26, 26));
    } else if (name == QLatin1String("emblem-favorite")) {
        QPainterPath heart;
        heart.moveTo(16, 26);
        heart.cubicTo(2, 16, 6, 5, 16, 11);
        heart.cubicTo(26, 5, 30, 16, 16, 26);
        p.drawPath(heart);
    } else if (name == QLatin1String("view-filter")) {
        p.setBrush(Qt::NoBrush);
        p.drawPolygon(QPolygonF({QPointF(5, 7), QPointF(27, 7), QPointF(19, 17), QPointF(19, 25), QPointF(13, 22),
                                 QPointF(13, 17)}));
    } else if (name == QLatin1String("object-select")) {
        p.setBrush(Qt::NoBrush);
        p.setPen(QPen(color, 3.2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        p.drawPolyline(QPolygonF({QPointF(6, 17), QPointF(13, 24), QPointF(26, 8)}));
    } else if (name == QLatin1String("audio-x-generic")) {
        // A short waveform: what a sample looks like everywhere else in the window.
        const double heights[] = {6, 12, 20, 14, 24, 10, 16, 8, 4};
        for (int i = 0; i < 9; ++i) {
            const double x = 4.5 + i * 2.9;
            p.drawLine(QPointF(x, 16 - heights[i] / 2), QPointF(x, 16 + heights[i] / 2));
        }
    } else if (name == QLatin1String("drive-harddisk")) {
        p.setBrush(Qt::NoBrush);
        p.drawRoundedRect(QRectF(4, 9, 24, 14), 3, 3);
        p.setBrush(color);
        p.drawEllipse(QPointF(22, 16), 1.6, 1.6);
    } else if (name == QLatin1String("view-media-playlist")) {
        p.drawLine(QPointF(5, 9), QPointF(19, 9));
        p.drawLine(QPointF(5, 15), QPointF(19, 15));
        p.drawLine(QPointF(5, 21), QPointF(13, 21));
        p.drawLine(QPointF(24, 10), QPointF(24, 22));
        p.drawEllipse(QPointF(21.5, 23), 2.8, 2.4);
    } else if (name == QLatin1String("help-about")) {
        p.setBrush(Qt::NoBrush);
        p.drawEllipse(QRectF(4, 4, 24, 24));
        p.setBrush(color);
        p.drawEllipse(QPointF(16, 10.5), 1.7, 1.7);
        p.drawLine(QPointF(16, 15), QPointF(16, 22.5));
    } else if (name == QLatin1String("view-sidebar")) {
        p.setBrush(Qt::NoBrush);
        p.drawRoundedRect(QRectF(4, 6, 24, 20), 3, 3);
        p.drawLine(QPointF(12, 6), QPointF(12, 26));
        p.drawLine(QPointF(6.5, 11), QPointF(9.5, 11));
        p.drawLine(QPointF(6.5, 15), QPointF(9.5, 15));
    } else {
        p.setBrush(Qt::NoBrush);
        p.drawEllipse(QRectF(9, 9, 14, 14));
    }
    return pixmap;
}

} // namespace

QPixmap brandMark(int size, const QColor& accent)
{
    QPixmap mark(size, size);
    mark.fill(Qt::transparent);
    QPainter p(&mark);
    p.setRenderHint(QPainter::Antialiasing);
    p.scale(size / 28.0, size / 28.0); // drawn on a 28-unit square
    p.setBrush(accent);
    p.setPen(Qt::NoPen);
    p.drawRoundedRect(QRectF(0, 0, 28, 28), 7, 7);
    p.setPen(QPen(Qt::white, 2.2, Qt::SolidLine, Qt::RoundCap));
    const int bars[] = {6, 12, 18, 10, 4};
    for (int i = 0; i < 5; ++i) p.drawLine(QPointF(6 + i * 4, 14 - bars[i] / 2.0), QPointF(6 + i * 4, 14 + bars[i] / 2.0));
    return mark;
}

QIcon symbolIcon(const QString& name, const QColor& color)
{
    // Drawn in the window's own colours: a desktop theme's icons are often dark glyphs
    // meant for light windows and would vanish on this one.
    QIcon icon(drawn(name, color));
    return icon;
}

} // namespace qv
