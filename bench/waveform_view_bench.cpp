// Drawing a page of waveform rows offscreen: 50 views of 600 × 40 with peaks, progress
// and playhead, rendered into one image, against the bare cost of the same rectangles
// filled with QPainter directly. Also a wider and a longer page.
//   waveform_view_bench [--reps N]          (default 200 pages)
#include "peak_decoder.h"
#include "waveform_notifier.h"
#include "waveform_queue.h"
#include "waveform_view.h"

#include <QApplication>
#include <QImage>
#include <QPainter>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    int reps = 200;
    for (int i = 1; i + 1 < argc; i += 2) {
        if (std::string(argv[i]) == "--reps") reps = std::stoi(argv[i + 1]);
    }
    // Peaks of a decaying hit, as the queue would have them; set straight into the cache.
    std::vector<float> peaks(192);
    for (int i = 0; i < 192; ++i) peaks[std::size_t(i)] = std::exp(-float(i % 48) / 12.0f);
    qv::WaveformNotifier notifier;
    qv::WaveformQueue queue([&](const QString&) { return qv::PeakDecode{peaks, 2.0, {}}; },
                            qv::WaveformDiskCache(QStringLiteral("/tmp/qv-view-bench-cache")), notifier, false);

    struct Page {
        int rows, width, height;
    };
    std::printf("%-22s %14s %16s %8s\n", "page", "views (ms)", "bare rects (ms)", "ratio");
    for (const Page page : {Page{50, 600, 40}, Page{50, 1200, 40}, Page{200, 600, 40}}) {
        std::vector<std::unique_ptr<QVWaveformView>> views;
        for (int r = 0; r < page.rows; ++r) {
            auto view = std::make_unique<QVWaveformView>(nullptr, &queue);
            view->resize(page.width, page.height);
            const QString path = QStringLiteral("/bench/row %1.wav").arg(r);
            queue.request(path, 1, 1, false);
            queue.waitUntilIdleWithTimeout(10);
            view->loadCachedAudioAtPath(path, 1, 1);
            view->setDuration(2);
            view->setShowsPlayhead(true);
            view->setProgress(0.3 + 0.01 * r);
            views.push_back(std::move(view));
        }
        QImage image(page.width, page.height * page.rows, QImage::Format_ARGB32_Premultiplied);
        std::vector<double> drawn, bare;
        for (int rep = 0; rep < reps; ++rep) {
            auto start = Clock::now();
            for (int r = 0; r < page.rows; ++r) views[std::size_t(r)]->render(&image, QPoint(0, r * page.height));
            drawn.push_back(std::chrono::duration<double, std::milli>(Clock::now() - start).count());

            start = Clock::now();
            QPainter painter(&image);
            for (int r = 0; r < page.rows; ++r) {
                const double y = r * page.height + 5, h = page.height - 10, w = page.width - 10;
                painter.fillRect(QRectF(0, r * page.height, page.width, page.height), QColor(14, 14, 14));
                for (int i = 0; i < 192; ++i) {
                    const double bar = std::max(h * peaks[std::size_t(i)], 1.0);
                    painter.fillRect(QRectF(5 + w / 192 * i, y + (h - bar) / 2, std::max(w / 192 - 1, 1.0), bar),
                                     QColor(107, 107, 107));
                }
                painter.fillRect(QRectF(5 + w * 0.3, y, 1, h), QColor(200, 180, 255));
            }
            painter.end();
            bare.push_back(std::chrono::duration<double, std::milli>(Clock::now() - start).count());
        }
        const std::string name = std::to_string(page.rows) + " × " + std::to_string(page.width) + " × "
                                 + std::to_string(page.height);
        std::printf("%-22s %14.2f %16.2f %8.2f\n", name.c_str(), median(drawn), median(bare), median(drawn) / median(bare));
    }
    return 0;
}
