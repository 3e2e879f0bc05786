#include "inference/metadata_explanation.h"

#include "ascii.h"

#include <algorithm>
#include <string_view>

namespace qv {

namespace {

// What preparing a text turns into a space, and spaces: the edges of a word.
bool isWordEdge(char c)
{
    return ascii::isSpace(c) || c == '-' || c == '_' || c == '/' || c == '\\';
}

bool isPathSeparator(char c)
{
    return c == '/' || c == static_cast<char>(std::filesystem::path::preferred_separator);
}

Evidence evidenceIn(std::string_view text, TextMatch at, NameSource source)
{
    const std::size_t begin = std::min(at.position, text.size());
    const std::size_t end = std::min(begin + at.length, text.size());
    std::size_t wordBegin = begin;
    std::size_t wordEnd = end;
    while (wordBegin > 0 && !isWordEdge(text[wordBegin - 1])) --wordBegin;
    while (wordEnd < text.size() && !isWordEdge(text[wordEnd])) ++wordEnd;
    Evidence evidence;
    evidence.token = std::string(text.substr(begin, end - begin));
    evidence.word = std::string(text.substr(wordBegin, wordEnd - wordBegin));
    evidence.source = source;
    return evidence;
}

// The path components the range [begin, end) of `path` touches.
std::string foldersAround(std::string_view path, std::size_t begin, std::size_t end)
{
    begin = std::min(begin, path.size());
    end = std::clamp(end, begin, path.size());
    while (begin > 0 && !isPathSeparator(path[begin - 1])) --begin;
    while (end < path.size() && !isPathSeparator(path[end])) ++end;
    return std::string(path.substr(begin, end - begin));
}

// Tempo and key are read from the stem, or from the folder name alone.
Evidence nameEvidence(const NameClues& names, NameSource source, TextMatch at)
{
    if (source == NameSource::FileName) return evidenceIn(names.stem, at, source);
    Evidence evidence = evidenceIn(names.folder, at, source);
    evidence.folder = names.folder;
    return evidence;
}

// `text` is a folder part, a space and the stem, as the classification text is.
Evidence classificationEvidence(std::string_view text, std::string_view stem, TextMatch at)
{
    const std::size_t folderEnd = text.size() >= stem.size() + 1 ? text.size() - stem.size() - 1 : 0;
    const bool inFolder = at.position < folderEnd;
    Evidence evidence = evidenceIn(text, at, inFolder ? NameSource::FolderName : NameSource::FileName);
    if (inFolder) {
        evidence.folder = foldersAround(text.substr(0, folderEnd), at.position, at.position + at.length);
    }
    return evidence;
}

} // namespace

std::optional<double> MetadataExplanation::onsetRate() const
{
    if (!structure || structure->durationSeconds <= 0.0) return std::nullopt;
    return static_cast<double>(structure->onsetCount) / structure->durationSeconds;
}

MetadataExplanation explainMetadata(const MetadataParser& parser, const std::filesystem::path& path,
                                    const std::filesystem::path& libraryRoot,
                                    const std::optional<AudioStructure>& structure)
{
    const NameClues names = parser.readNames(path, libraryRoot);
    MetadataExplanation explanation;
    explanation.structure = structure;
    explanation.classificationText = names.classificationText;

    if (names.tempo) {
        explanation.tempo = TempoExplanation{names.tempo->bpm, nameEvidence(names, names.tempo->source, names.tempo->at)};
    }
    if (names.key) {
        explanation.key = KeyExplanation{names.key->key, nameEvidence(names, names.key->source, names.key->at)};
    }
    if (names.instrument) {
        // The instrument text is the stem, a space and the folder name.
        const TextMatch at = names.instrument->at;
        const std::size_t folderBegin = names.stem.size() + 1;
        Evidence from = evidenceIn(names.instrumentText, at,
                                   at.position < folderBegin ? NameSource::FileName : NameSource::FolderName);
        if (at.position + at.length > folderBegin) from.folder = names.folder;
        explanation.instrument = KeywordExplanation{names.instrument->value, names.instrument->keyword, std::move(from)};
    }
    for (const auto& genre : names.genres) {
        Evidence from = evidenceIn(names.parentPath, genre.at, NameSource::FolderName);
        from.folder = foldersAround(names.parentPath, genre.at.position, genre.at.position + genre.at.length);
        explanation.genres.push_back({genre.value, genre.keyword, std::move(from)});
    }

    const auto bpm = names.tempo ? std::optional(names.tempo->bpm) : std::nullopt;
    const ClassificationTrace trace = parser.traceClassification(path, names.classificationText, bpm, structure);
    explanation.classification = trace.result;
    for (const auto& step : trace.steps) {
        ScoreExplanation score{step.rule, step.towards, step.points, std::nullopt};
        if (!step.keyword.empty()) score.from = classificationEvidence(names.classificationText, names.stem, step.at);
        explanation.steps.push_back(std::move(score));
    }
    return explanation;
}

} // namespace qv
