// The words that sample packs are named with: the kinds of sound, their folders, genres,
// pack and vendor names, and the many ways a tempo or a key ends up in a file name.
//
// Everything here is a pure function of the generator passed in, so a seed fixes every
// name. Keys and genres are also given the way the indexer stores them, so that records
// filled straight into a database look like records a scan would produce.
#pragma once

#include "random.h"
#include "sample.h"

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qv::testkit {

enum class Sound : std::uint8_t {
    Kick, Snare, Clap, HiHat, OpenHat, Perc, Rim, Cymbal, Bass808, BassShot, KeysShot, SynthShot, Pluck,
    Bell, VocalChop, Fx, Pad, Texture, DrumLoop, PercLoop, MelodyLoop, BassLoop, GuitarLoop, KeysLoop,
    VocalLoop, Midi,
};

struct SoundInfo {
    Sound sound;
    std::array<std::string_view, 5> words; // spellings in names; empty entries unused
    std::string_view nestedFolder;         // below the pack in a nested layout
    std::string_view flatFolder;           // below the pack in a flat layout
    SampleType type;
    bool tonal;                            // may carry a key
    unsigned weight;                       // share among audio sounds; 0 for MIDI
};

const SoundInfo& soundInfo(Sound sound);
std::span<const SoundInfo> audioSounds();
bool isLoop(Sound sound);

struct Genre {
    std::string_view display; // as written in folder and pack names
    int slowBpm;
    int fastBpm;
};

std::span<const Genre> genres();

// The first genre keyword found in a folder path, the way the indexer derives it:
// separators become spaces, letters are lower-cased, keywords match as substrings.
std::string indexedGenre(std::string_view folderPath);

enum class NamingStyle : std::uint8_t {
    Spaced,      // "Trap Kick 03", "Melody Loop 140 BPM Am 02"
    Underscored, // "Kick_Punchy_03", "Loop_140BPM_Am_02"
    Prefixed,    // "GTK_Kick_03", "GTK_140_Am_Melody_Loop_02"
    LowerHyphen, // "kick-punchy-03", "melody-loop-120bpm-f#min-02"
    TempoFirst,  // "128 - C# min - Pad Loop 02"
};

struct KeyChoice {
    int root = -1;     // 0 = C ... 11 = B; -1 without a key
    bool minor = false;
    std::string spelled;              // as written in the name
    std::string indexed = "None";     // "A minor", "C# major", "D#"
};

// `compact` limits the spelling to a note with an optional glued "m", the only form a
// bare tempo number may precede and still be read as a tempo.
KeyChoice chooseKey(Rng& rng, bool compact);

std::string spellTempo(Rng& rng, int bpm, NamingStyle style);
std::string packName(Rng& rng, const Genre& genre);
std::string vendorName(Rng& rng);
std::string descriptor(Rng& rng);

// Three or more capitals that no key spelling reads as a note ("ABM" would be A# minor).
std::string abbreviation(std::string_view name);

// Joins name tokens in the style's separator and letter case.
std::string joinTokens(NamingStyle style, const std::vector<std::string>& tokens);

} // namespace qv::testkit
