// qv-grab: the screenshot script's image tool (no image packages needed on the machine).
//   qv-grab OUT.png                        saves what the X display shows
//   qv-grab --check-not-blank IN.png       fails when the picture is (nearly) one colour
//   qv-grab --reduce WIDTH IN.png OUT.png  the picture for the docs: the empty screen
//                                          around the windows cut away, scaled down to at
//                                          most WIDTH pixels
#include <QGuiApplication>
#include <QHash>
#include <QImage>
#include <QPixmap>
#include <QScreen>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

int grab(int argc, char** argv, const char* out)
{
    QGuiApplication app(argc, argv);
    QScreen* screen = QGuiApplication::primaryScreen();
    if (!screen) {
        std::fprintf(stderr, "qv-grab: no screen\n");
        return 1;
    }
    if (!screen->grabWindow(0).save(QString::fromLocal8Bit(out))) {
        std::fprintf(stderr, "qv-grab: cannot write %s\n", out);
        return 1;
    }
    return 0;
}

QImage load(const char* path)
{
    QImage image(QString::fromLocal8Bit(path));
    if (image.isNull()) std::fprintf(stderr, "qv-grab: cannot read %s\n", path);
    return image.convertToFormat(QImage::Format_RGB32);
}

// A crashed or unpainted window grabs as one flat colour on the black screen; a drawn one
// has text, so many shades. Colours are counted on a 4-bit-per-channel grid so that
// dithering noise alone does not pass.
int checkNotBlank(const char* path)
{
    const QImage image = load(path);
    if (image.isNull()) return 1;
    QHash<QRgb, qint64> counts;
    for (int y = 0; y < image.height(); ++y) {
        const QRgb* line = reinterpret_cast<const QRgb*>(image.constScanLine(y));
        for (int x = 0; x < image.width(); ++x) ++counts[line[x] & 0xf0f0f0];
    }
    // The screen's black around the window is not the window's content.
    counts.remove(0);
    qint64 drawn = 0;
    qint64 largest = 0;
    for (const qint64 count : counts) {
        drawn += count;
        largest = std::max(largest, count);
    }
    const bool blank = counts.size() < 24 || largest * 100 > drawn * 97;
    if (blank) {
        std::fprintf(stderr, "qv-grab: %s looks empty (%lld colours, %lld of %lld pixels one colour)\n", path,
                     static_cast<long long>(counts.size()), static_cast<long long>(largest),
                     static_cast<long long>(drawn));
        return 1;
    }
    return 0;
}

int reduce(const char* widthText, const char* in, const char* out)
{
    const int width = std::atoi(widthText);
    QImage image = load(in);
    if (image.isNull() || width <= 0) return 1;
    // The bounding box of everything that is not the screen's black.
    QRect box;
    for (int y = 0; y < image.height(); ++y) {
        const QRgb* line = reinterpret_cast<const QRgb*>(image.constScanLine(y));
        for (int x = 0; x < image.width(); ++x)
            if ((line[x] & 0xffffff) != 0) box |= QRect(x, y, 1, 1);
    }
    if (!box.isEmpty()) image = image.copy(box);
    if (image.width() > width) image = image.scaledToWidth(width, Qt::SmoothTransformation);
    // Full compression: a flat window picture this size stays well under 150 KB in true
    // colour (Qt's own palette reduction shifted the dark backgrounds' hue).
    if (!image.convertToFormat(QImage::Format_RGB888).save(QString::fromLocal8Bit(out), "PNG", 0)) {
        std::fprintf(stderr, "qv-grab: cannot write %s\n", out);
        return 1;
    }
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc == 2 && argv[1][0] != '-') return grab(argc, argv, argv[1]);
    if (argc == 3 && std::strcmp(argv[1], "--check-not-blank") == 0) return checkNotBlank(argv[2]);
    if (argc == 5 && std::strcmp(argv[1], "--reduce") == 0) return reduce(argv[2], argv[3], argv[4]);
    std::fprintf(stderr, "usage: qv-grab OUT.png | --check-not-blank IN.png | --reduce WIDTH IN.png OUT.png\n");
    return 2;
}
