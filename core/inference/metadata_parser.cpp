// The metadata pipeline: one file on disk to one Sample record.
#include "inference/metadata_parser.h"

#include "ascii.h"
#include "scan/file_time.h"

#include <system_error>

namespace qv {

std::string MetadataParser::prepareText(std::string_view text)
{
    std::string prepared(text);
    for (char& c : prepared) {
        if (c == '-' || c == '_' || c == '/' || c == '\\') {
            c = ' ';
        } else {
            c = ascii::lower(c);
        }
    }
    return prepared;
}

// relative() resolves both paths on disk; when that fails the lexical form still carries
// the folder words, and an unrelated root leaves the folder part empty.
std::string MetadataParser::classificationText(const std::filesystem::path& path,
                                               const std::filesystem::path& libraryRoot)
{
    std::error_code error;
    auto folder = std::filesystem::relative(path.parent_path(), libraryRoot, error);
    if (error) folder = path.parent_path().lexically_relative(libraryRoot);
    return folder.string() + " " + path.stem().string();
}

Sample MetadataParser::parse(const std::filesystem::path& path, const std::filesystem::path& libraryRoot,
                             const std::optional<AudioStructure>& structure) const
{
    Sample sample;
    sample.path = path.string();
    sample.filename = path.filename().string();
    // A root written with a trailing separator still names its last folder.
    sample.libraryName = (libraryRoot.has_filename() ? libraryRoot : libraryRoot.parent_path()).filename().string();

    const std::filesystem::path parent = path.parent_path();
    const std::string stem = path.stem().string();
    const std::string folder = parent.filename().string();

    sample.bpm = parseBpm(stem);
    if (!sample.bpm) sample.bpm = parseBpm(folder);

    sample.musicalKey = parseKey(stem);
    if (sample.musicalKey == "None") sample.musicalKey = folderKey(folder);

    sample.instrument = parseInstrument(stem + " " + folder);

    sample.type = classifyDetailed(path, classificationText(path, libraryRoot), sample.bpm, structure).type;

    if (structure) sample.duration = structure->durationSeconds;

    std::error_code error;
    const auto size = std::filesystem::file_size(path, error);
    sample.fileSize = error ? 0 : static_cast<std::int64_t>(size);
    sample.modifiedAt = lastWriteSeconds(path, error).value_or(0);

    sample.genres = genresOf(parent.string());
    if (!sample.genres.empty()) sample.genre = sample.genres.front();
    return sample;
}

} // namespace qv
