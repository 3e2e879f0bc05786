#include "library_generator.h"

#include "audio_synthesis.h"
#include "file_writers.h"
#include "sndfile_writer.h"

#include <stdexcept>

namespace qv::testkit {

namespace fs = std::filesystem;

namespace {

std::optional<ListAt> infoChunkFor(std::uint64_t audioSeed)
{
    Rng rng(audioSeed ^ 0x5851F42D4C957F2Dull);
    const double r = rng.unit();
    if (r < 0.15) return ListAt::BeforeData;
    if (r < 0.25) return ListAt::Last;
    return std::nullopt;
}

void writeFile(const fs::path& path, const PlannedFile& file, bool tiny, std::uint64_t seed)
{
    Rng rng(fnv1a(file.relativePath, seed ^ 0xcbf29ce484222325ull));
    switch (file.kind) {
    case FileKind::Wav:
        writeBytes(path, waveBytes(synthesize(file.sound, tiny), file.sound.encoding,
                                   infoChunkFor(file.sound.audioSeed)));
        break;
    case FileKind::CorruptWav:
        writeBytes(path, corruptWaveBytes(synthesize(file.sound, true), file.corruption, rng));
        break;
    case FileKind::Aiff: writeAiff(path, synthesize(file.sound, tiny), file.sound.encoding); break;
    case FileKind::Mp3:
        if (file.stub) {
            writeBytes(path, "Stub: this machine's libsndfile cannot encode MP3, so no audio was written.\n");
        } else {
            writeMp3(path, synthesize(file.sound, tiny));
        }
        break;
    case FileKind::Midi: writeBytes(path, midiBytes(file.sound, tiny, rng)); break;
    case FileKind::ZeroByte: writeBytes(path, ""); break;
    case FileKind::HiddenCompanion:
        writeBytes(path, appleDoubleBytes(file.relativePath.substr(file.relativePath.rfind("/._") + 3)));
        break;
    case FileKind::Unsupported: writeBytes(path, unsupportedBytes(file.relativePath, rng)); break;
    }
}

} // namespace

std::uint64_t Manifest::indexable() const
{
    return count(FileKind::Wav) + count(FileKind::Aiff) + count(FileKind::Mp3) + count(FileKind::Midi)
        + count(FileKind::CorruptWav);
}

fs::path pathFromUtf8(const std::string& text)
{
    return fs::path(std::u8string(text.begin(), text.end()));
}

LibraryGenerator::LibraryGenerator(GeneratorOptions options) : _options(options)
{
    if (_options.files < kMinFiles || _options.files > kMaxFiles) {
        throw std::invalid_argument("file count must be between 10 and 1000000");
    }
}

Manifest LibraryGenerator::generate(const fs::path& outDir, const std::function<void(std::uint64_t)>& progress) const
{
    if (fs::exists(outDir) && !fs::is_empty(outDir)) {
        throw std::runtime_error("output folder is not empty: " + outDir.string());
    }
    fs::create_directories(outDir);

    LibraryPlan plan(_options.seed, diskMix(_options.files), mp3Encodable());
    Manifest manifest;
    manifest.files.reserve(_options.files);
    std::string lastFolder;
    while (auto file = plan.next()) {
        const fs::path path = outDir / pathFromUtf8(file->relativePath);
        const std::string folder = file->relativePath.substr(0, file->relativePath.rfind('/'));
        if (folder != lastFolder) {
            fs::create_directories(path.parent_path());
            lastFolder = folder;
        }
        writeFile(path, *file, _options.tinyAudio, _options.seed);

        ++manifest.counts[static_cast<std::size_t>(file->kind)];
        if (file->stub) ++manifest.mp3Stubs;
        const bool named = file->kind != FileKind::HiddenCompanion && file->kind != FileKind::Unsupported;
        manifest.files.push_back({std::move(file->relativePath), file->kind, file->sound.encoding,
                                  named ? file->sound.bpm : std::nullopt, named ? file->sound.key.indexed : "None",
                                  intendedType(*file)});
        if (progress && manifest.files.size() % 1000 == 0) progress(manifest.files.size());
    }
    return manifest;
}

} // namespace qv::testkit
