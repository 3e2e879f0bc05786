#include "inspector_logic.h"

#include "ascii.h"

#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <filesystem>

namespace qv {

namespace {

std::string printed(const char* format, ...)
{
    char buffer[256];
    va_list args;
    va_start(args, format);
    std::vsnprintf(buffer, sizeof buffer, format, args);
    va_end(args);
    return buffer;
}

std::string quoted(const std::string& text)
{
    return "\u201c" + text + "\u201d";
}

std::string joined(const std::vector<std::string>& items)
{
    std::string text;
    for (const auto& item : items) text += (text.empty() ? "" : ", ") + item;
    return text;
}

int percent(double fraction)
{
    return static_cast<int>(std::lround(fraction * 100.0));
}

std::string hits(std::uint64_t count)
{
    return count == 1 ? std::string("1 hit") : printed("%llu hits", static_cast<unsigned long long>(count));
}

// The token, and the word it hides in when it is only part of one ("tom" in "Custom").
std::string matchedWords(const Evidence& e)
{
    if (ascii::lowered(e.token) == ascii::lowered(e.word)) return quoted(e.token);
    return quoted(e.token) + " inside " + quoted(e.word);
}

std::string place(const Evidence& e)
{
    return e.source == NameSource::FileName ? "in the file name" : "in folder " + quoted(e.folder);
}

std::string overrideText(OverrideSource source)
{
    switch (source) {
    case OverrideSource::Sample: return "your override, set on this sample";
    case OverrideSource::Folder: return "your override, set on its folder";
    case OverrideSource::Unrecorded: break;
    }
    return "your override";
}

// A plain rescan skips a moved file whose size and time are unchanged; only a Full Scan reads it again.
constexpr const char* kRescan = "a Full Scan of its library updates it";

// The source of a value the name gives, or says it no longer gives what was indexed.
void explainField(InspectorField& field, bool agrees, const std::optional<std::string>& nowValue,
                  const std::string& source, const char* nothing)
{
    if (agrees) {
        field.notes.push_back(nowValue ? source : nothing);
        return;
    }
    field.notes.push_back(nowValue ? "the name now gives " + *nowValue + ", " + source
                                   : std::string("the name no longer gives one"));
    field.notes.emplace_back(kRescan);
}

std::string reasonText(const ScoreExplanation& step, const std::optional<AudioStructure>& structure)
{
    const AudioStructure measured = structure.value_or(AudioStructure{});
    const std::string spread = printed("%d%%", percent(measured.onsetSpan));
    const std::string length = durationText(measured.durationSeconds);
    switch (step.rule) {
    case ScoreRule::MidiExtension: return "A MIDI file";
    case ScoreRule::LoopWord: return "Loop word " + matchedWords(*step.from) + " " + place(*step.from);
    case ScoreRule::OneShotPhrase: return "One-shot word " + matchedWords(*step.from) + " " + place(*step.from);
    case ScoreRule::OneShotKeyword: return "Drum hit word " + matchedWords(*step.from) + " " + place(*step.from);
    case ScoreRule::ManyOnsetsWideSpan:
    case ScoreRule::ManyOnsetsSpan: return hits(measured.onsetCount) + " spread over " + spread + " of the file";
    case ScoreRule::TwoOnsetsWithDip:
        return printed("Two hits with a clear gap between them (the level falls to %d%%), in %s",
                       percent(measured.firstGapDip), length.c_str());
    case ScoreRule::TwoOnsetsSpan: return "Two hits " + spread + " of the file apart";
    case ScoreRule::SingleOnset: return "A single hit";
    case ScoreRule::VeryShort: return "Shorter than 1 second (" + length + ")";
    case ScoreRule::Short: return "Shorter than 2.5 seconds (" + length + ")";
    case ScoreRule::LongWithOnsets: return "Longer than 4 seconds (" + length + ") with several hits";
    case ScoreRule::TempoWithOnsets: return "A tempo in the name, and hits spread over " + spread;
    case ScoreRule::SpreadOnsets: return "Hits spread over " + spread + ": more than one hit";
    }
    return "";
}

std::string verdictText(const MetadataExplanation& why)
{
    const auto& result = why.classification;
    switch (result.type) {
    case SampleType::MIDI: return "MIDI files (.mid, .midi) are always MIDI.";
    case SampleType::Loop:
        for (const auto& step : why.steps) {
            if (step.rule == ScoreRule::LoopWord) return "A loop word in the name always makes a loop.";
        }
        return "The loop score leads by 15 or more.";
    case SampleType::OneShot: return "The one-shot score leads by 15 or more.";
    case SampleType::Unknown: break;
    }
    return "Neither score leads by 15 or more, so the type is left Unknown.";
}

std::vector<std::string> audioLines(const Sample& sample, const InspectorAnalysis& analysis)
{
    if (hasMidiExtension(sample.path)) return {"MIDI files hold notes, not audio: nothing to measure."};
    if (!analysis.fileFound) return {"The file could not be read."};
    const auto& structure = analysis.explanation.structure;
    if (!structure) return {"Not measured: only uncompressed WAVE files are, so the name decides alone."};

    const std::string length = durationText(structure->durationSeconds);
    if (structure->onsetCount == 0) return {"No hits found in " + length + ": silent, or no clear attack"};
    std::vector<std::string> lines;
    std::string first = hits(structure->onsetCount) + " in " + length;
    if (const auto rate = analysis.explanation.onsetRate()) first += printed(" (%.1f a second)", *rate);
    if (!structure->onsetTimes.empty()) first += printed(", the first at %.2f s", structure->onsetTimes.front());
    lines.push_back(first);
    if (structure->onsetCount >= 2) {
        lines.push_back(printed("Hits spread over %d%% of the file", percent(structure->onsetSpan)));
        const int dip = percent(structure->firstGapDip);
        if (dip == 0) {
            lines.emplace_back("Between the first two hits the level falls to silence");
        } else if (dip < 100) {
            lines.push_back(printed("Between the first two hits the level falls to %d%% of the quieter one", dip));
        }
    }
    return lines;
}

} // namespace

std::string sizeText(std::int64_t bytes)
{
    if (bytes < 1000) return bytes == 1 ? std::string("1 byte") : printed("%lld bytes", static_cast<long long>(bytes));
    const double value = static_cast<double>(bytes);
    if (bytes < 1000 * 1000) return printed("%.1f KB", value / 1e3);
    if (bytes < 1000 * 1000 * 1000) return printed("%.1f MB", value / 1e6);
    return printed("%.2f GB", value / 1e9);
}

std::string durationText(double seconds)
{
    if (!std::isfinite(seconds) || seconds < 0) seconds = 0;
    if (seconds < 10) return printed("%.2f s", seconds);
    if (seconds < 60) return printed("%.1f s", seconds);
    const auto whole = static_cast<long long>(seconds);
    return printed("%lld:%02lld", whole / 60, whole % 60);
}

std::string formatText(const std::string& path, const std::optional<AudioFormat>& format)
{
    std::string extension = std::filesystem::path(path).extension().string();
    if (!extension.empty()) extension.erase(0, 1);
    for (char& c : extension) c = ascii::upper(c);
    if (!format) return extension.empty() ? std::string("Unknown") : extension;

    std::string text = extension;
    const std::string rate = format->sampleRate % 1000 == 0 ? printed("%d kHz", format->sampleRate / 1000)
                                                            : printed("%.1f kHz", format->sampleRate / 1000.0);
    text += (text.empty() ? "" : " \u00b7 ") + rate;
    if (format->channels == 1) {
        text += " \u00b7 Mono";
    } else if (format->channels == 2) {
        text += " \u00b7 Stereo";
    } else {
        text += printed(" \u00b7 %d channels", format->channels);
    }
    return text;
}

std::string sourceText(const Evidence& e)
{
    if (e.source == NameSource::FolderName) {
        const bool whole = ascii::lowered(e.token) == ascii::lowered(e.folder);
        return "from folder " + quoted(e.folder) + (whole ? "" : ": " + matchedWords(e));
    }
    return (e.folder.empty() ? "from file name: " : "from file and folder names: ") + matchedWords(e);
}

InspectorTexts inspectorTexts(const Sample& sample, const InspectorRecord& record, const InspectorAnalysis* analysis)
{
    const std::filesystem::path path(sample.path);
    const auto& user = record.user;
    InspectorTexts t;
    t.name = sample.filename.empty() ? path.filename().string() : sample.filename;
    t.path = sample.path;
    t.folder = path.parent_path().string();
    t.library = sample.libraryName;
    if (user) {
        if (!user->libraryLabel.empty()) {
            t.library = user->libraryLabel;
        } else if (!user->libraryPath.empty()) {
            t.library = std::filesystem::path(user->libraryPath).filename().string();
        }
        t.libraryOnline = user->libraryAvailable;
        t.playlists = joined(user->playlists);
    }
    t.favorite = user ? user->favorite : sample.favorite;
    if (!user) {
        t.notice = "This sample is no longer in the index.";
    } else if (!t.libraryOnline) {
        t.notice = "Its library is offline.";
    } else if (analysis && !analysis->fileFound) {
        t.notice = "The file is missing from disk.";
    }

    t.size = sizeText(sample.fileSize);
    const auto& format = analysis ? analysis->format : std::nullopt;
    if (sample.duration) {
        t.duration = durationText(*sample.duration);
    } else if (format) {
        t.duration = durationText(format->durationSeconds);
    } else {
        t.duration = "\u2014";
    }
    t.format = hasMidiExtension(path) ? std::string("MIDI") : formatText(sample.path, format);

    const bool hasKey = !sample.musicalKey.empty() && sample.musicalKey != "None";
    t.tempo.value = sample.bpm ? printed("%d BPM", *sample.bpm) : "\u2014";
    t.key.value = hasKey ? sample.musicalKey : "\u2014";
    t.instrument.value = sample.instrument.empty() ? "\u2014" : sample.instrument;
    t.genre.value = sample.genre.empty() ? "\u2014" : sample.genre;
    t.type = toString(sample.type);

    const bool typeOverridden = user && user->typeOverride;
    const bool instrumentOverridden = user && user->instrumentOverride;
    t.typeSource = typeOverridden ? overrideText(user->typeSource) : "inferred";
    if (instrumentOverridden) t.instrument.notes.push_back(overrideText(user->instrumentSource));
    if (user) {
        for (const auto& genre : user->folderGenres) t.genre.notes.push_back(genre + ": your genre, set on its folder");
    }
    if (!analysis) return t;

    const MetadataExplanation& why = analysis->explanation;
    const auto& tempo = why.tempo;
    explainField(t.tempo, (tempo ? std::optional(tempo->bpm) : std::nullopt) == sample.bpm,
                 tempo ? std::optional(printed("%d BPM", tempo->bpm)) : std::nullopt,
                 tempo ? sourceText(tempo->from) : "", "not in the file or folder name");
    const auto& key = why.key;
    explainField(t.key, (key ? key->key : "None") == (hasKey ? sample.musicalKey : "None"),
                 key ? std::optional(key->key) : std::nullopt, key ? sourceText(key->from) : "",
                 "not in the file or folder name");

    const auto& instrument = why.instrument;
    if (instrumentOverridden) {
        t.instrument.notes.push_back(instrument ? "inferred " + instrument->value + " " + sourceText(instrument->from)
                                                : "nothing inferred from the names");
    } else {
        explainField(t.instrument, (instrument ? instrument->value : "") == sample.instrument,
                     instrument ? std::optional(instrument->value) : std::nullopt,
                     instrument ? sourceText(instrument->from) : "", "no instrument word in the file or folder name");
    }

    // Named only where the value holds more than the one genre the note is about.
    const bool nameGenres = why.genres.size() > 1 || !t.genre.notes.empty();
    for (std::size_t i = 0; i < why.genres.size(); ++i) {
        const auto& genre = why.genres[i];
        t.genre.notes.push_back((nameGenres ? genre.value + ", " : std::string()) + sourceText(genre.from)
                                + (i == 0 ? "" : " (only the first genre is kept)"));
    }
    if (why.genres.empty() && t.genre.notes.empty()) t.genre.notes.emplace_back("no genre word in the folder path");
    if (user) {
        const std::string indexed = user->inferredGenres.empty() ? "" : user->inferredGenres.front();
        if (indexed != (why.genres.empty() ? "" : why.genres.front().value)) t.genre.notes.emplace_back(kRescan);
    }

    const SampleType inferred = why.classification.type;
    t.verdict = verdictText(why);
    if (typeOverridden) {
        t.verdict = "Inferred as " + toString(inferred) + ": " + t.verdict;
    } else if (inferred != sample.type) {
        t.verdict = "The file now reads as " + toString(inferred) + " (" + kRescan + "). " + t.verdict;
    }
    if (inferred != SampleType::MIDI) {
        t.loopScore = why.classification.loopScore;
        t.oneShotScore = why.classification.oneShotScore;
        for (const auto& step : why.steps) {
            t.reasons.push_back({(step.points < 0 ? "\u2212" : "+") + std::to_string(std::abs(step.points)),
                                 reasonText(step, why.structure), step.towards == SampleType::Loop});
        }
    }
    t.audio = audioLines(sample, *analysis);
    return t;
}

} // namespace qv
