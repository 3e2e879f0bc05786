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

NameClues MetadataParser::readNames(const std::filesystem::path& path, const std::filesystem::path& libraryRoot) const
{
    NameClues names;
    const std::filesystem::path parent = path.parent_path();
    names.stem = path.stem().string();
    names.folder = parent.filename().string();
    names.parentPath = parent.string();
    names.instrumentText = names.stem + " " + names.folder;
    names.classificationText = classificationText(path, libraryRoot);

    names.tempo = matchBpm(names.stem);
    if (!names.tempo) {
        names.tempo = matchBpm(names.folder);
        if (names.tempo) names.tempo->source = NameSource::FolderName;
    }
    names.key = matchKey(names.stem);
    if (!names.key) names.key = matchFolderKey(names.folder);
    names.instrument = matchInstrument(names.instrumentText);
    names.genres = matchGenres(names.parentPath);
    return names;
}

Sample MetadataParser::parse(const std::filesystem::path& path, const std::filesystem::path& libraryRoot,
                             const std::optional<AudioStructure>& structure) const
{
    Sample sample;
    sample.path = path.string();
    sample.filename = path.filename().string();
    // A root written with a trailing separator still names its last folder.
    sample.libraryName = (libraryRoot.has_filename() ? libraryRoot : libraryRoot.parent_path()).filename().string();

    NameClues names = readNames(path, libraryRoot);
    if (names.tempo) sample.bpm = names.tempo->bpm;
    sample.musicalKey = names.key ? std::move(names.key->key) : "None";
    if (names.instrument) sample.instrument = std::move(names.instrument->value);

    sample.type = classify(path, names.classificationText, sample.bpm, structure);

    if (structure) sample.duration = structure->durationSeconds;

    std::error_code error;
    const auto size = std::filesystem::file_size(path, error);
    sample.fileSize = error ? 0 : static_cast<std::int64_t>(size);
    sample.modifiedAt = lastWriteSeconds(path, error).value_or(0);

    for (auto& genre : names.genres) sample.genres.push_back(std::move(genre.value));
    if (!sample.genres.empty()) sample.genre = sample.genres.front();
    return sample;
}

} // namespace qv
