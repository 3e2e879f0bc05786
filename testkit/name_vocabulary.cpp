#include "name_vocabulary.h"

#include <algorithm>

namespace qv::testkit {

namespace {

using T = SampleType;

// Weights give roughly two thirds one-shots and one third loops, as in typical packs.
constexpr std::array<SoundInfo, 26> kSounds = {{
    {Sound::Kick, {"Kick", "Kick", "Kick Drum", "BD"}, "Drums/Kicks", "Kicks", T::OneShot, false, 10},
    {Sound::Snare, {"Snare", "Snare", "Snr"}, "Drums/Snares", "Snares", T::OneShot, false, 8},
    {Sound::Clap, {"Clap", "Clap", "Handclap"}, "Drums/Claps", "Claps", T::OneShot, false, 5},
    {Sound::HiHat, {"Hi Hat", "HiHat", "Hat", "Closed Hat"}, "Drums/Hi-Hats", "Hats", T::OneShot, false, 8},
    {Sound::OpenHat, {"Open Hat", "Open Hat", "OH"}, "Drums/Hi-Hats/Open", "Hats", T::OneShot, false, 4},
    {Sound::Perc, {"Perc", "Shaker", "Conga", "Tom", "Tambourine"}, "Drums/Percussion", "Perc", T::OneShot, false, 5},
    {Sound::Rim, {"Rim", "Rimshot", "Snap", "Click"}, "Drums/Percussion/Rims", "Perc", T::OneShot, false, 2},
    {Sound::Cymbal, {"Crash", "Ride", "Cymbal"}, "Drums/Cymbals", "Cymbals", T::OneShot, false, 3},
    {Sound::Bass808, {"808", "808 Bass", "Sub 808"}, "808s", "808s", T::OneShot, true, 5},
    {Sound::BassShot, {"Bass", "Sub Bass", "Reese"}, "One Shots/Bass", "Bass", T::OneShot, true, 3},
    {Sound::KeysShot, {"Keys", "Piano", "Rhodes", "Organ"}, "One Shots/Keys", "Keys", T::OneShot, true, 4},
    {Sound::SynthShot, {"Synth", "Lead", "Stab"}, "One Shots/Synths", "Synths", T::OneShot, true, 4},
    {Sound::Pluck, {"Pluck", "Pluck Synth"}, "One Shots/Plucks", "Synths", T::OneShot, true, 2},
    {Sound::Bell, {"Bell", "Bells", "Glock"}, "One Shots/Bells", "Bells", T::OneShot, true, 2},
    {Sound::VocalChop, {"Vocal Chop", "Vox Chop", "Vocal"}, "Vocals/Chops", "Vocals", T::OneShot, true, 3},
    {Sound::Fx, {"FX", "Riser", "Impact", "Downlifter", "Sweep"}, "FX", "FX", T::OneShot, false, 3},
    {Sound::Pad, {"Pad", "Warm Pad", "Drone"}, "One Shots/Pads", "Pads", T::Unknown, true, 2},
    {Sound::Texture, {"Texture", "Ambience", "Foley", "Atmos"}, "Textures & Atmospheres", "Textures",
     T::Unknown, false, 2},
    {Sound::DrumLoop, {"Drum Loop", "Drums Loop", "Top Loop", "Full Drum Loop", "Groove"}, "Loops/Drum Loops",
     "Drum Loops", T::Loop, false, 9},
    {Sound::PercLoop, {"Perc Loop", "Percussion Loop", "Shaker Loop"}, "Loops/Percussion Loops", "Drum Loops",
     T::Loop, false, 4},
    {Sound::MelodyLoop, {"Melody Loop", "Lead Loop", "Melody"}, "Loops/Melody Loops", "Melodies", T::Loop, true, 8},
    {Sound::BassLoop, {"Bass Loop", "Bassline"}, "Loops/Bass Loops", "Bass Loops", T::Loop, true, 4},
    {Sound::GuitarLoop, {"Guitar Loop", "Guitar Phrase"}, "Loops/Guitar Loops", "Guitar", T::Loop, true, 3},
    {Sound::KeysLoop, {"Keys Loop", "Piano Loop", "Chords Loop"}, "Loops/Keys Loops", "Keys", T::Loop, true, 4},
    {Sound::VocalLoop, {"Vocal Loop", "Vox Phrase", "Vocal Phrase"}, "Vocals/Vocal Loops", "Vocals", T::Loop, true,
     3},
    {Sound::Midi, {"Melody", "Chords", "Bassline", "Arp", "Progression"}, "MIDI", "MIDI Files", T::MIDI, true, 0},
}};

constexpr std::array<Genre, 17> kGenres = {{
    {"Trap", 130, 160},       {"Hip-Hop", 80, 100},    {"Lo-Fi Hip Hop", 70, 90}, {"Boom Bap", 85, 98},
    {"Deep House", 118, 124}, {"Tech House", 124, 128}, {"RnB", 60, 100},         {"Pop", 95, 128},
    {"Cinematic", 60, 120},   {"Acoustic", 70, 120},   {"Neo Soul", 70, 95},      {"Latin", 90, 110},
    {"Drill", 138, 145},      {"Techno", 125, 140},    {"Afrobeats", 100, 115},   {"Drum & Bass", 170, 176},
    {"Reggaeton", 88, 100},
}};

constexpr std::array<std::string_view, 9> kGenreKeywords = {"trap",     "hip hop",  "house", "rnb",  "pop",
                                                            "cinematic", "acoustic", "soul",  "latin"};

// A few names carry an apostrophe or non-ASCII letters, as real downloads do.
constexpr std::array<std::string_view, 24> kAdjectives = {
    "Midnight", "Golden", "Dusty",  "Velvet", "Neon",       "Analog",    "Crystal", "Heavy",
    "Smooth",   "Raw",    "Vintage", "Late Night", "Summer", "Dark",    "Producer's", "Café",
    "Über",     "Señorita", "Lunar", "Street", "Cloud",     "Sunset",    "Frozen",  "Royal",
};

constexpr std::array<std::string_view, 14> kNouns = {
    "Essentials", "Toolkit", "Sessions",  "Kit",      "Collection",  "Vault",  "Textures",
    "Rhythms",    "Drums",   "Bundle",    "Expansion", "Sketches",   "Foundations", "Tapes",
};

constexpr std::array<std::string_view, 10> kVendorFirst = {"Crate", "Northside", "Blue Room", "Night Owl", "Tape",
                                                          "Echo",  "Kōan",      "Motif",     "Sideways",  "Fjörd"};
constexpr std::array<std::string_view, 6> kVendorSecond = {"Audio", "Sounds", "Labs", "Records", "Diggers",
                                                           "Collective"};

constexpr std::array<std::string_view, 20> kDescriptors = {
    "Punchy", "Hard", "Dusty", "Bright", "Warm",  "Crispy", "Tight", "Fat",  "Vinyl", "Soft",
    "Big",    "Short", "Long", "Wide",   "Clean", "Dirty",  "Deep",  "Airy", "Gritty", "Lo-Fi",
};

constexpr std::array<std::string_view, 12> kSharpNotes = {"C",  "C#", "D",  "D#", "E",  "F",
                                                          "F#", "G",  "G#", "A",  "A#", "B"};
constexpr std::array<std::string_view, 12> kFlatNotes = {"C", "Db", "D", "Eb", "E", "F",
                                                         "Gb", "G", "Ab", "A", "Bb", "B"};

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }
char upper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }
bool asciiLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

bool readsAsKey(std::string_view text)
{
    if (text.empty() || lower(text[0]) < 'a' || lower(text[0]) > 'g') return false;
    std::string rest;
    for (char c : text.substr(1)) rest += lower(c);
    if (rest.starts_with('b')) rest.erase(0, 1);
    return rest.empty() || rest == "m" || rest == "maj" || rest == "major" || rest == "min" || rest == "minor";
}

std::string replaceSpaces(std::string text, char with)
{
    std::replace(text.begin(), text.end(), ' ', with);
    return text;
}

} // namespace

const SoundInfo& soundInfo(Sound sound)
{
    return kSounds[static_cast<std::size_t>(sound)];
}

std::span<const SoundInfo> audioSounds()
{
    return std::span(kSounds).first(kSounds.size() - 1); // every sound but MIDI
}

bool isLoop(Sound sound)
{
    return soundInfo(sound).type == SampleType::Loop;
}

std::span<const Genre> genres()
{
    return kGenres;
}

std::string indexedGenre(std::string_view folderPath)
{
    std::string text(folderPath);
    for (char& c : text) c = (c == '-' || c == '_' || c == '/' || c == '\\') ? ' ' : lower(c);
    for (auto keyword : kGenreKeywords) {
        if (text.find(keyword) != std::string::npos) return std::string(keyword);
    }
    return "";
}

KeyChoice chooseKey(Rng& rng, bool compact)
{
    KeyChoice key;
    key.root = static_cast<int>(rng.below(12));
    const bool flat = kFlatNotes[key.root].size() == 2 && rng.chance(0.5);
    const std::string note(flat ? kFlatNotes[key.root] : kSharpNotes[key.root]);
    const std::string indexedNote(kSharpNotes[key.root]);

    const double mode = rng.unit();
    if (mode < 0.6) {
        key.minor = true;
        static constexpr std::array<std::string_view, 6> kMinor = {"m", "min", " min", "minor", " Minor", "m"};
        key.spelled = note + std::string(compact ? "m" : rng.pick(kMinor));
        key.indexed = indexedNote + " minor";
    } else if (mode < 0.85 && !compact) {
        static constexpr std::array<std::string_view, 5> kMajor = {"maj", " maj", "major", " Major", "maj"};
        key.spelled = note + std::string(rng.pick(kMajor));
        key.indexed = indexedNote + " major";
    } else {
        key.spelled = note;
        key.indexed = indexedNote;
    }
    return key;
}

std::string spellTempo(Rng& rng, int bpm, NamingStyle style)
{
    const std::string n = std::to_string(bpm);
    switch (style) {
    case NamingStyle::Spaced:
    case NamingStyle::TempoFirst: {
        const std::array<std::string, 5> forms = {n + " BPM", n + "BPM", n + "bpm", n + " bpm", "BPM " + n};
        return rng.pick(forms);
    }
    case NamingStyle::Underscored:
    case NamingStyle::Prefixed: {
        const std::array<std::string, 4> forms = {n + "BPM", n + "bpm", "BPM " + n, n + " BPM"};
        return rng.pick(forms);
    }
    case NamingStyle::LowerHyphen: {
        const std::array<std::string, 3> forms = {n + "bpm", "bpm" + n, n + " bpm"};
        return rng.pick(forms);
    }
    }
    return n + "bpm";
}

std::string packName(Rng& rng, const Genre& genre)
{
    const std::string adjective(rng.pick(kAdjectives));
    const std::string noun(rng.pick(kNouns));
    const std::string g(genre.display);
    switch (rng.below(5)) {
    case 0: return adjective + " " + g + " " + noun;
    case 1: return g + " " + noun;
    case 2: return adjective + " " + noun;
    case 3: return g + " " + noun + " Vol " + std::to_string(rng.range(1, 6));
    default: return adjective + " " + g;
    }
}

std::string vendorName(Rng& rng)
{
    return std::string(rng.pick(kVendorFirst)) + " " + std::string(rng.pick(kVendorSecond));
}

std::string descriptor(Rng& rng)
{
    return std::string(rng.pick(kDescriptors));
}

std::string abbreviation(std::string_view name)
{
    std::string result;
    bool wordStart = true;
    for (char c : name) {
        if (c == ' ') {
            wordStart = true;
            continue;
        }
        if (wordStart && asciiLetter(c)) result += upper(c);
        wordStart = false;
    }
    if (result.size() < 3) {
        result.clear();
        for (char c : name) {
            if (asciiLetter(c) && result.size() < 3) result += upper(c);
        }
        while (result.size() < 3) result += 'X';
    }
    if (readsAsKey(result)) result += 'S';
    return result;
}

std::string joinTokens(NamingStyle style, const std::vector<std::string>& tokens)
{
    std::string separator = " ";
    if (style == NamingStyle::Underscored || style == NamingStyle::Prefixed) separator = "_";
    if (style == NamingStyle::LowerHyphen) separator = "-";
    if (style == NamingStyle::TempoFirst) separator = " - ";

    std::string result;
    for (const auto& token : tokens) {
        if (token.empty()) continue;
        if (!result.empty()) result += separator;
        if (separator == "_" || separator == "-") {
            result += replaceSpaces(token, separator[0]);
        } else {
            result += token;
        }
    }
    if (style == NamingStyle::LowerHyphen) {
        std::transform(result.begin(), result.end(), result.begin(), lower);
    }
    return result;
}

} // namespace qv::testkit
