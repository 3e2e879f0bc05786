#include "database_filler.h"
#include "library_generator.h"
#include "audio/audio_structure_analyzer.h"
#include "db/database.h"
#include "inference/metadata_parser.h"
#include "raw_db.h"
#include "temp_dir.h"

#include <gtest/gtest.h>
#include <sndfile.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <optional>
#include <sstream>

namespace {

namespace fs = std::filesystem;
using qv::testkit::Encoding;
using qv::testkit::FileKind;
using qv::testkit::LibraryGenerator;
using qv::testkit::Manifest;
using qv::testkit::TempDir;

std::string readAll(const fs::path& path)
{
    std::ifstream in(path, std::ios::binary);
    std::ostringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
}

// Relative path (UTF-8) to contents, for every regular file below `root`.
std::map<std::string, std::string> readTree(const fs::path& root)
{
    std::map<std::string, std::string> tree;
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
        if (!entry.is_regular_file()) continue;
        const auto relative = fs::relative(entry.path(), root).u8string();
        tree[std::string(relative.begin(), relative.end())] = readAll(entry.path());
    }
    return tree;
}

Manifest generate(const fs::path& out, std::uint64_t seed, std::uint64_t files, bool tiny)
{
    return LibraryGenerator({.seed = seed, .files = files, .tinyAudio = tiny}).generate(out);
}

std::uint32_t le(const std::string& b, std::size_t at, int bytes)
{
    std::uint32_t v = 0;
    for (int i = bytes - 1; i >= 0; --i) v = (v << 8) | static_cast<unsigned char>(b[at + static_cast<std::size_t>(i)]);
    return v;
}

std::uint32_t be(const std::string& b, std::size_t at, int bytes)
{
    std::uint32_t v = 0;
    for (int i = 0; i < bytes; ++i) v = (v << 8) | static_cast<unsigned char>(b[at + static_cast<std::size_t>(i)]);
    return v;
}

struct WaveFormat {
    std::uint32_t tag, channels, rate, bits, dataBytes;
};

// A strict reader: every size must agree with the file, as a careful decoder expects.
std::optional<WaveFormat> parseWave(const std::string& b)
{
    if (b.size() < 12 || b.compare(0, 4, "RIFF") != 0 || b.compare(8, 4, "WAVE") != 0) return std::nullopt;
    if (le(b, 4, 4) + 8ull != b.size()) return std::nullopt;
    std::optional<WaveFormat> format;
    std::optional<std::uint32_t> data;
    for (std::size_t at = 12; at < b.size();) {
        if (at + 8 > b.size()) return std::nullopt;
        const std::uint32_t size = le(b, at + 4, 4);
        if (at + 8 + size > b.size()) return std::nullopt;
        if (b.compare(at, 4, "fmt ") == 0 && size >= 16) {
            format = WaveFormat{le(b, at + 8, 2), le(b, at + 10, 2), le(b, at + 12, 4), le(b, at + 22, 2), 0};
            const std::uint32_t align = format->channels * format->bits / 8;
            if (align == 0 || le(b, at + 20, 2) != align || le(b, at + 16, 4) != format->rate * align) {
                return std::nullopt;
            }
        }
        if (b.compare(at, 4, "data") == 0) data = size;
        at += 8 + size + size % 2;
    }
    if (!format || !data || *data == 0 || *data % (format->channels * format->bits / 8) != 0) return std::nullopt;
    format->dataBytes = *data;
    return format;
}

bool validMidi(const std::string& b)
{
    if (b.size() < 14 || b.compare(0, 4, "MThd") != 0 || be(b, 4, 4) != 6) return false;
    const std::uint32_t tracks = be(b, 10, 2);
    std::uint32_t seen = 0;
    std::size_t at = 14;
    while (at < b.size()) {
        if (at + 8 > b.size() || b.compare(at, 4, "MTrk") != 0) return false;
        const std::uint32_t size = be(b, at + 4, 4);
        if (at + 8 + size > b.size() || size < 4 || b.compare(at + 8 + size - 3, 3, "\xFF\x2F\x00", 3) != 0) {
            return false;
        }
        at += 8 + size;
        ++seen;
    }
    return seen == tracks;
}

TEST(LibraryGenerator, SameSeedWritesTheSameBytesAndAnotherSeedDoesNot)
{
    TempDir dir;
    for (const bool tiny : {true, false}) {
        const std::uint64_t files = tiny ? 150 : 30;
        const std::string tag = tiny ? "tiny " : "full ";
        generate(dir / (tag + "a"), 11, files, tiny);
        generate(dir / (tag + "b"), 11, files, tiny);
        generate(dir / (tag + "c"), 12, files, tiny);
        const auto a = readTree(dir / (tag + "a"));
        EXPECT_EQ(a.size(), files);
        EXPECT_TRUE(a == readTree(dir / (tag + "b"))) << tag;
        EXPECT_FALSE(a == readTree(dir / (tag + "c"))) << tag;
    }
    EXPECT_THROW(generate(dir / "tiny a", 11, 10, true), std::runtime_error); // never writes into a full folder
    EXPECT_THROW(generate(dir / "d", 11, 9, true), std::invalid_argument);
}

TEST(LibraryGenerator, ManifestCountsMatchWhatIsOnDisk)
{
    for (const auto& [files, seed] : {std::pair<std::uint64_t, std::uint64_t>{10, 1}, {10, 2}, {700, 3}}) {
        SCOPED_TRACE(files);
        TempDir dir;
        const Manifest manifest = generate(dir.path(), seed, files, true);
        ASSERT_EQ(manifest.files.size(), files);
        for (std::size_t k = 0; k < qv::testkit::kFileKindCount; ++k) EXPECT_GE(manifest.counts[k], 1u) << k;

        // Tally the tree the way a scanner sees it, independently of the manifest's kinds.
        std::uint64_t onDisk = 0, empty = 0, hidden = 0, unsupported = 0, indexable = 0;
        for (const auto& entry : fs::recursive_directory_iterator(dir.path())) {
            if (!entry.is_regular_file()) continue;
            ++onDisk;
            const std::string name = entry.path().filename().string();
            std::string extension = entry.path().extension().string();
            for (char& c : extension) c = (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
            const bool supported = extension == ".wav" || extension == ".aif" || extension == ".aiff"
                || extension == ".mp3" || extension == ".mid" || extension == ".midi";
            if (name.starts_with("._")) {
                ++hidden;
                EXPECT_TRUE(fs::is_regular_file(entry.path().parent_path() / name.substr(2))) << name;
            } else if (!supported) {
                ++unsupported;
            } else if (entry.file_size() == 0) {
                ++empty;
            } else {
                ++indexable;
            }
        }
        EXPECT_EQ(onDisk, files); // also proves that no planned path was written twice
        EXPECT_EQ(empty, manifest.count(FileKind::ZeroByte));
        EXPECT_EQ(hidden, manifest.count(FileKind::HiddenCompanion));
        EXPECT_EQ(unsupported, manifest.count(FileKind::Unsupported));
        EXPECT_EQ(indexable, manifest.indexable());
        for (const auto& file : manifest.files) {
            EXPECT_TRUE(fs::is_regular_file(dir / file.relativePath)) << file.relativePath;
        }
    }
}

TEST(LibraryGenerator, MixAddsUpToTheRequestedCountWithEveryKind)
{
    for (const std::uint64_t files : {10ull, 11ull, 57ull, 1000ull, 999'999ull, 1'000'000ull}) {
        for (const auto& mix : {qv::testkit::diskMix(files), qv::testkit::indexMix(files)}) {
            std::uint64_t total = 0;
            for (const auto n : mix) total += n;
            EXPECT_EQ(total, files);
            if (files >= 1000) {
                EXPECT_GT(mix[static_cast<std::size_t>(FileKind::Wav)], files / 2) << files;
            }
        }
        for (const auto n : qv::testkit::diskMix(files)) EXPECT_GE(n, 1u) << files;
    }
}

TEST(LibraryGenerator, NamesReadBackAsTheTempoAndKeyTheyWereGiven)
{
    TempDir dir;
    const Manifest manifest = generate(dir.path(), 21, 2500, true);
    const qv::MetadataParser parser;
    std::vector<std::string> wrong;
    std::size_t withTempo = 0, withKey = 0;
    for (const auto& file : manifest.files) {
        if (file.kind == FileKind::HiddenCompanion || file.kind == FileKind::Unsupported) continue;
        const auto sample = parser.parse(qv::testkit::pathFromUtf8(dir.path().string() + "/" + file.relativePath),
                                         dir.path(), std::nullopt);
        withTempo += file.bpm.has_value();
        withKey += file.key != "None";
        if (sample.bpm != file.bpm || sample.musicalKey != file.key) {
            wrong.push_back(file.relativePath + " reads as " + std::to_string(sample.bpm.value_or(0)) + " / "
                            + sample.musicalKey + ", made as " + std::to_string(file.bpm.value_or(0)) + " / "
                            + file.key);
        }
    }
    EXPECT_GT(withTempo, 500u);
    EXPECT_GT(withKey, 500u);
    EXPECT_TRUE(wrong.empty()) << wrong.size() << " names, first: " << wrong.front();
}

class GeneratedAudio : public ::testing::Test {
protected:
    static void SetUpTestSuite()
    {
        _dir = new TempDir;
        _manifest = new Manifest(generate(_dir->path(), 4, 160, false));
    }
    static void TearDownTestSuite()
    {
        delete _manifest;
        delete _dir;
    }

    static std::vector<qv::testkit::ManifestEntry> filesOf(FileKind kind)
    {
        std::vector<qv::testkit::ManifestEntry> result;
        for (const auto& file : _manifest->files) {
            if (file.kind == kind) result.push_back(file);
        }
        return result;
    }

    static inline TempDir* _dir = nullptr;
    static inline Manifest* _manifest = nullptr;
};

TEST_F(GeneratedAudio, WaveFilesDeclareTheFormatTheyCarryAndBrokenOnesDoNotParse)
{
    std::map<Encoding, int> seen;
    for (const auto& file : filesOf(FileKind::Wav)) {
        const auto format = parseWave(readAll(_dir->path() / file.relativePath));
        ASSERT_TRUE(format) << file.relativePath;
        ++seen[file.encoding];
        const bool isFloat = file.encoding == Encoding::Float32;
        EXPECT_EQ(format->tag, isFloat ? 3u : 1u) << file.relativePath;
        EXPECT_EQ(format->bits, file.encoding == Encoding::Pcm24 ? 24u : isFloat ? 32u : 16u) << file.relativePath;
        EXPECT_TRUE(format->channels == 1 || format->channels == 2);
        EXPECT_TRUE(format->rate == 44100 || format->rate == 48000 || format->rate == 96000);
        const double bytesPerSecond = format->rate * format->channels * format->bits / 8.0;
        const double seconds = format->dataBytes / bytesPerSecond;
        EXPECT_GT(seconds, 0.02) << file.relativePath;
        EXPECT_LE(seconds, 6.0) << file.relativePath;
    }
    EXPECT_GT(seen[Encoding::Pcm16], seen[Encoding::Pcm24]);
    EXPECT_GT(seen[Encoding::Pcm24], 0);
    EXPECT_GT(seen[Encoding::Float32], 0);

    const auto broken = filesOf(FileKind::CorruptWav);
    ASSERT_FALSE(broken.empty());
    for (const auto& file : broken) {
        EXPECT_FALSE(parseWave(readAll(_dir->path() / file.relativePath))) << file.relativePath;
    }
}

TEST_F(GeneratedAudio, AiffMp3AndMidiFilesOpenWithTheirReaders)
{
    const auto decode = [](const fs::path& path, int majorFormat) {
        SF_INFO info{};
        SNDFILE* file = sf_open(path.string().c_str(), SFM_READ, &info);
        EXPECT_NE(file, nullptr) << path << ": " << sf_strerror(nullptr);
        if (!file) return info;
        EXPECT_EQ(info.format & SF_FORMAT_TYPEMASK, majorFormat) << path;
        std::vector<float> samples(static_cast<std::size_t>(info.frames * info.channels));
        EXPECT_EQ(sf_readf_float(file, samples.data(), info.frames), info.frames) << path;
        float peak = 0;
        for (float s : samples) peak = std::max(peak, std::abs(s));
        EXPECT_GT(peak, 0.1f) << path << " decodes to silence";
        sf_close(file);
        return info;
    };

    const auto aiffs = filesOf(FileKind::Aiff);
    ASSERT_FALSE(aiffs.empty());
    for (const auto& file : aiffs) {
        const SF_INFO info = decode(_dir->path() / file.relativePath, SF_FORMAT_AIFF);
        const int subtype = file.encoding == Encoding::Pcm24 ? SF_FORMAT_PCM_24 : SF_FORMAT_PCM_16;
        EXPECT_EQ(info.format & SF_FORMAT_SUBMASK, subtype) << file.relativePath;
    }

    const auto mp3s = filesOf(FileKind::Mp3);
    ASSERT_FALSE(mp3s.empty());
    std::uint64_t stubs = 0;
    for (const auto& file : mp3s) {
        if (file.relativePath.find(" (mp3 stub)") != std::string::npos) {
            ++stubs;
            continue;
        }
        decode(_dir->path() / file.relativePath, SF_FORMAT_MPEG);
    }
    EXPECT_EQ(stubs, _manifest->mp3Stubs);

    const auto midis = filesOf(FileKind::Midi);
    ASSERT_FALSE(midis.empty());
    for (const auto& file : midis) {
        EXPECT_TRUE(validMidi(readAll(_dir->path() / file.relativePath))) << file.relativePath;
    }
}

TEST_F(GeneratedAudio, AudioClassifiesAsTheKindOfSampleItWasMadeAs)
{
    // Loops keep a regular hit pattern and one-shots one hit, so that the scanner's own
    // measurement agrees with the names even where a name holds no loop keyword.
    const qv::MetadataParser parser;
    const qv::AudioStructureAnalyzer analyzer;
    std::map<qv::SampleType, int> checked;
    std::vector<std::string> wrong;
    for (const auto& file : filesOf(FileKind::Wav)) {
        if (file.type != qv::SampleType::Loop && file.type != qv::SampleType::OneShot) continue;
        const fs::path path = _dir->path() / file.relativePath;
        const auto structure = analyzer.analyze(path);
        ASSERT_TRUE(structure) << file.relativePath;
        ++checked[file.type];
        const auto type = parser.parse(path, _dir->path(), structure).type;
        if (type != file.type) wrong.push_back(file.relativePath + " is " + qv::toString(type));
    }
    EXPECT_GT(checked[qv::SampleType::Loop], 10);
    EXPECT_GT(checked[qv::SampleType::OneShot], 10);
    EXPECT_TRUE(wrong.empty()) << testing::PrintToString(wrong);
}

TEST(FillDatabase, StoresTheRequestedRecordsWithUserDataAndAnOfflineLibrary)
{
    TempDir dir;
    const auto digest = [](qv::testkit::RawDb& raw) {
        return raw.text("SELECT group_concat(path||type||coalesce(bpm,'')||musical_key||coalesce(duration,''),'|') "
                        "FROM (SELECT * FROM samples ORDER BY path)");
    };

    qv::Database db(dir / "a.db");
    const auto summary = qv::testkit::fillDatabase(db, 3000, 5);
    EXPECT_EQ(summary.records, 3000u);
    EXPECT_GT(summary.hiddenRows, 0u);
    EXPECT_EQ(static_cast<std::uint64_t>(db.countSamples()) + summary.hiddenRows, 3000u);

    const auto libraries = db.libraries();
    ASSERT_EQ(libraries.size(), 4u);
    std::int64_t listed = 0;
    for (const auto& library : libraries) {
        EXPECT_GT(library.sampleCount, 0) << library.path;
        listed += library.sampleCount;
    }
    EXPECT_EQ(listed, db.countSamples());

    qv::testkit::RawDb raw(dir / "a.db");
    EXPECT_EQ(raw.integer("SELECT count(*) FROM samples"), 3000);
    EXPECT_EQ(raw.integer("SELECT count(*) FROM app_metadata WHERE key=?", {"offline_library:" + summary.offlineLibrary}),
              1);
    EXPECT_GT(raw.integer("SELECT count(*) FROM samples WHERE favorite=1"), 20);
    EXPECT_EQ(raw.integer("SELECT count(*) FROM playlists"), 4);
    EXPECT_GE(raw.integer("SELECT max(n) FROM (SELECT count(*) n FROM playlist_items GROUP BY playlist_id)"), 300);
    EXPECT_GT(raw.integer("SELECT count(*) FROM samples WHERE type='MIDI'"), 0);
    EXPECT_GT(raw.integer("SELECT count(*) FROM samples WHERE bpm IS NOT NULL AND musical_key<>'None'"), 0);
    EXPECT_GT(raw.integer("SELECT count(*) FROM sample_search WHERE sample_search MATCH 'kick'"), 0);

    qv::Database same(dir / "b.db");
    qv::testkit::fillDatabase(same, 3000, 5);
    qv::Database other(dir / "c.db");
    qv::testkit::fillDatabase(other, 3000, 6);
    qv::testkit::RawDb rawSame(dir / "b.db");
    qv::testkit::RawDb rawOther(dir / "c.db");
    EXPECT_EQ(digest(raw), digest(rawSame));
    EXPECT_NE(digest(raw), digest(rawOther));
}

} // namespace
