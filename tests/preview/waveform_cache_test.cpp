// The cache key, the file names and the property-list files of the waveform cache.
#include "peak_builder.h"
#include "sound_files.h"
#include "support/files.h"
#include "temp_dir.h"
#include "waveform_disk_cache.h"
#include "waveform_notifier.h"
#include "waveform_queue.h"

#include <QRegularExpression>

#include <sndfile.h>

#include <gtest/gtest.h>

#include <atomic>

namespace {

using qv::test::qpath;
using qv::testkit::TempDir;

TEST(WaveformCacheKey, KeyTextAndFileNameAreStable)
{
    EXPECT_EQ(qv::waveformCacheKey(QStringLiteral("/S\u00e4mples/a \"b\" 100%.wav"), -5, 18446744073709551615ull),
              QStringLiteral("v2:/S\u00e4mples/a \"b\" 100%.wav:-5:18446744073709551615"));
    // FNV-1a's published test vectors: the names must not change between releases.
    EXPECT_EQ(qv::stableKeyHash(QString()), 0xcbf29ce484222325ull);
    EXPECT_EQ(qv::stableKeyHash(QStringLiteral("a")), 0xaf63dc4c8601ec8cull);
    EXPECT_EQ(qv::stableKeyHash(QStringLiteral("foobar")), 0x85944171f73967e8ull);

    const qv::WaveformDiskCache cache(QStringLiteral("/cache"));
    EXPECT_EQ(cache.filePath(QStringLiteral("a")), QStringLiteral("/cache/af63dc4c8601ec8c.plist"));
    // Small hashes keep their leading zeros.
    const QRegularExpression name(QStringLiteral("^/cache/[0-9a-f]{16}\\.plist$"));
    for (int i = 0; i < 200; ++i) {
        EXPECT_TRUE(name.match(cache.filePath(qv::waveformCacheKey(QString::number(i), i, i))).hasMatch());
    }
}

TEST(WaveformDiskCache, PeaksRoundTripExactlyAndOnlyWholeListsAreRead)
{
    TempDir dir;
    const qv::WaveformDiskCache cache(qpath(dir / "Waveforms/nested"));
    const QString key = qv::waveformCacheKey(QStringLiteral("/x.wav"), 1, 2);
    std::vector<float> peaks(qv::kPeakCount);
    for (int i = 0; i < qv::kPeakCount; ++i) peaks[std::size_t(i)] = float(i) / 191.0f / 3.0f;
    peaks[7] = 1.0f;
    peaks[8] = 1e-7f;

    EXPECT_FALSE(cache.read(key).has_value());
    ASSERT_TRUE(cache.write(key, peaks));
    EXPECT_EQ(cache.read(key), peaks);

    const auto xml = QByteArray::fromStdString(qv::test::readFile(cache.filePath(key).toStdString()));
    EXPECT_TRUE(xml.contains("<plist version=\"1.0\">"));
    EXPECT_EQ(xml.count("<real>"), 192);

    // Another program's plist of the same shape, with integers and blanks, reads too.
    QByteArray foreign = "<?xml version=\"1.0\"?><plist version=\"1.0\"><array>";
    for (int i = 0; i < 192; ++i) foreign += i % 2 ? "<integer>1</integer>" : "<real> 0.5 </real>";
    foreign += "</array></plist>";
    const auto parsed = qv::peaksFromPropertyList(foreign);
    ASSERT_TRUE(parsed.has_value());
    EXPECT_EQ((*parsed)[0], 0.5f);
    EXPECT_EQ((*parsed)[1], 1.0f);

    for (const char* bad : {"", "<plist><dict/></plist>", "<plist><array><string>1</string></array></plist>",
                            "<plist><array><real>x</real></array></plist>", "<plist><array><real>1</real>"}) {
        EXPECT_FALSE(qv::peaksFromPropertyList(bad).has_value()) << bad;
    }
}

TEST(WaveformDiskCache, AFileOf191EntriesIsDecodedAgainAndRewritten)
{
    TempDir dir;
    qv::test::writeSound(dir / "loop.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, 44100, 1,
                         qv::test::makeFrames(4410, 1, [](long p, int) { return p % 2 ? 0.5f : -0.25f; }));
    const QString path = qpath(dir / "loop.wav");
    const QString key = qv::waveformCacheKey(path, 10, 20);
    const qv::WaveformDiskCache disk(qpath(dir / "cache"));
    ASSERT_TRUE(disk.write(key, std::vector<float>(191, 0.5f)));

    std::atomic<int> decodes{0};
    qv::WaveformNotifier notifier;
    {
        qv::WaveformQueue queue(
            [&](const QString& p) {
                ++decodes;
                return qv::decodePeaks(p.toStdString());
            },
            disk, notifier, false);
        queue.requestKey(key, path, false);
        ASSERT_TRUE(queue.waitUntilIdleWithTimeout(10));
        EXPECT_EQ(decodes, 1);
        EXPECT_EQ(queue.cachedPeaks(key), std::vector<float>(192, 1.0f));
    }
    EXPECT_EQ(disk.read(key), std::vector<float>(192, 1.0f));

    // A new process finds the rewritten file and decodes nothing.
    qv::WaveformQueue later([&](const QString&) { ++decodes; return qv::PeakDecode{}; }, disk, notifier, false);
    later.requestKey(key, path, true);
    ASSERT_TRUE(later.waitUntilIdleWithTimeout(10));
    EXPECT_EQ(decodes, 1);
    EXPECT_TRUE(later.hasCached(key));
}

} // namespace
