// The plan of a generated library: one file after another, each with its relative path,
// its kind, and what it sounds like. Writing files to disk and filling an index database
// both walk the same plan, so a seed gives the same names either way.
//
// The plan is a stream: it keeps the current pack with its folder counters, a bounded
// list of recent files and the names of the packs so far, never the list of files, so a
// million entries cost little memory.
//
// Layout: pack roots ("Midnight Trap Essentials", "Crate Audio Library/Hip-Hop") hold
// nested ("Drums/Kicks") or flat ("Kicks") category folders; one-shots, loops and MIDI
// are numbered per folder. "._" companions and ".asd" analysis files sit beside an
// earlier real file; each pack may carry a "Readme.txt" or "License.txt".
#pragma once

#include "name_vocabulary.h"
#include "random.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <set>
#include <string>

namespace qv::testkit {

enum class FileKind : std::uint8_t {
    Wav,
    Aiff,
    Mp3,
    Midi,
    ZeroByte,        // a supported extension and no bytes
    CorruptWav,      // ".wav" whose header is truncated, lies about sizes, or is not RIFF
    HiddenCompanion, // "._" AppleDouble junk beside a real file
    Unsupported,     // ".txt", ".asd"
};
inline constexpr std::size_t kFileKindCount = 8;

const char* kindName(FileKind kind);

enum class Encoding : std::uint8_t { None, Pcm16, Pcm24, Float32 };

// How a broken WAVE file is broken.
enum class Corruption : std::uint8_t { TruncatedHeader, LyingSizes, CutMidSample, NotRiff, ZeroChannels };
inline constexpr int kCorruptionCount = 5;

struct SoundSpec {
    Sound sound = Sound::Kick;
    std::optional<int> bpm; // as the name or its folder tells it
    int tempo = 120;        // of the audio; loops keep time even when the name is silent
    KeyChoice key;
    std::string genre;      // as the indexer would derive it from the folders
    double seconds = 0.5;   // before any tiny-audio cap
    int sampleRate = 44100;
    int channels = 1;
    Encoding encoding = Encoding::Pcm16;
    std::uint64_t audioSeed = 0;
};

struct PlannedFile {
    std::string relativePath; // '/'-separated UTF-8
    FileKind kind = FileKind::Wav;
    SoundSpec sound;          // meaningful for audio, MIDI, zero-byte and corrupt files
    Corruption corruption = Corruption::TruncatedHeader;
    bool stub = false;        // an MP3 that could not be encoded here
};

// What the file is meant to be: MIDI for MIDI files, the sound's type for audio, Unknown
// for junk.
SampleType intendedType(const PlannedFile& file);

// How packs are named. ByGenre: every pack and file name begins with its genre ("Trap
// Vault/Kicks/Trap Kick 01.wav"), so a genre's samples sit together in name order, most
// of them far from its start.
enum class PackNames : std::uint8_t { Varied, ByGenre };

// Exact number of files of each kind; the plan draws them in random order.
using KindMix = std::array<std::uint64_t, kFileKindCount>;

// The mix on disk: about 70% WAVE, 8% MIDI, 6% AIFF, 3% MP3, 5% "._", 4% unsupported,
// 1% zero-byte and 1% corrupt, with at least one of each kind.
KindMix diskMix(std::uint64_t files);

// The mix for an index filled directly: only what a scan stores, plus a few "._" rows.
KindMix indexMix(std::uint64_t records);

class LibraryPlan {
public:
    // `mp3Encodable` false names every MP3 "… (mp3 stub).mp3" and marks it a stub.
    LibraryPlan(std::uint64_t seed, KindMix mix, bool mp3Encodable = true, PackNames names = PackNames::Varied);

    // The next file, or nothing when the mix is used up.
    std::optional<PlannedFile> next();

private:
    struct Pack {
        std::string root;
        std::string abbreviation;
        const Genre* genre = nullptr;
        NamingStyle style = NamingStyle::Spaced;
        bool nested = true;
        bool tempoFolders = false; // loops sorted into "140 BPM" folders
        bool readmeWritten = false;
        std::uint64_t remaining = 0;
        std::map<std::string, int> counters; // next number per folder
    };

    struct RecentFile {
        std::string relativePath;
        bool hasAsd = false;
    };

    FileKind drawKind();
    void startPack();
    PlannedFile audioFile(FileKind kind);
    PlannedFile companion(FileKind kind);
    SoundSpec soundFor(Sound sound);
    std::string fileStem(const SoundSpec& soundSpec, int number, bool tempoInFolder);
    std::string folderFor(const SoundSpec& soundSpec, bool& tempoInFolder) const;
    void rememberReal(const std::string& path);

    Rng _rng;
    KindMix _left;
    std::uint64_t _leftTotal = 0;
    bool _mp3Encodable;
    PackNames _names;
    Pack _pack;
    std::set<std::string> _packRoots;
    std::deque<std::string> _withoutHidden; // recent real files that have no "._" yet
    std::optional<RecentFile> _lastReal;
};

} // namespace qv::testkit
