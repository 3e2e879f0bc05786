#include "library_plan.h"

#include <algorithm>
#include <cstdio>

namespace qv::testkit {

namespace {

constexpr std::size_t kRecentLimit = 4096;

std::uint64_t perMille(std::uint64_t total, std::uint64_t share)
{
    return std::max<std::uint64_t>(1, total * share / 1000);
}

std::string twoDigits(int number)
{
    char text[16];
    std::snprintf(text, sizeof text, "%02d", number);
    return text;
}

std::string_view pickWord(Rng& rng, const SoundInfo& info)
{
    const auto used = std::count_if(info.words.begin(), info.words.end(), [](auto w) { return !w.empty(); });
    return info.words[static_cast<std::size_t>(rng.below(static_cast<std::uint64_t>(used)))];
}

Sound pickAudioSound(Rng& rng)
{
    unsigned total = 0;
    for (const auto& info : audioSounds()) total += info.weight;
    auto r = static_cast<unsigned>(rng.below(total));
    for (const auto& info : audioSounds()) {
        if (r < info.weight) return info.sound;
        r -= info.weight;
    }
    return Sound::Kick;
}

std::pair<double, double> oneShotSeconds(Sound sound)
{
    switch (sound) {
    case Sound::Kick: return {0.3, 0.8};
    case Sound::Snare:
    case Sound::Clap: return {0.2, 0.5};
    case Sound::HiHat: return {0.05, 0.2};
    case Sound::OpenHat: return {0.3, 0.8};
    case Sound::Perc: return {0.1, 0.5};
    case Sound::Rim: return {0.03, 0.15};
    case Sound::Cymbal: return {1.0, 2.5};
    case Sound::Bass808:
    case Sound::KeysShot:
    case Sound::Bell: return {0.8, 2.0};
    case Sound::BassShot:
    case Sound::SynthShot: return {0.4, 1.5};
    case Sound::Pluck:
    case Sound::VocalChop: return {0.3, 1.0};
    case Sound::Fx: return {1.0, 4.0};
    case Sound::Pad: return {3.0, 6.0};
    case Sound::Texture: return {2.5, 6.0};
    default: return {0.5, 1.0};
    }
}

} // namespace

const char* kindName(FileKind kind)
{
    static constexpr std::array<const char*, kFileKindCount> kNames = {
        "wav", "aif", "mp3", "mid", "zero-byte", "corrupt", "hidden", "unsupported"};
    return kNames[static_cast<std::size_t>(kind)];
}

SampleType intendedType(const PlannedFile& file)
{
    switch (file.kind) {
    case FileKind::Midi: return SampleType::MIDI;
    case FileKind::Wav:
    case FileKind::Aiff:
    case FileKind::Mp3:
    case FileKind::CorruptWav: return soundInfo(file.sound.sound).type;
    default: return SampleType::Unknown;
    }
}

KindMix diskMix(std::uint64_t files)
{
    KindMix mix{};
    mix[static_cast<std::size_t>(FileKind::Aiff)] = perMille(files, 60);
    mix[static_cast<std::size_t>(FileKind::Mp3)] = perMille(files, 30);
    mix[static_cast<std::size_t>(FileKind::Midi)] = perMille(files, 80);
    mix[static_cast<std::size_t>(FileKind::ZeroByte)] = perMille(files, 10);
    mix[static_cast<std::size_t>(FileKind::CorruptWav)] = perMille(files, 10);
    mix[static_cast<std::size_t>(FileKind::HiddenCompanion)] = perMille(files, 50);
    mix[static_cast<std::size_t>(FileKind::Unsupported)] = perMille(files, 40);
    std::uint64_t others = 0;
    for (auto n : mix) others += n;
    mix[static_cast<std::size_t>(FileKind::Wav)] = files > others ? files - others : 0;
    return mix;
}

KindMix indexMix(std::uint64_t records)
{
    KindMix mix{};
    mix[static_cast<std::size_t>(FileKind::Aiff)] = perMille(records, 60);
    mix[static_cast<std::size_t>(FileKind::Mp3)] = perMille(records, 30);
    mix[static_cast<std::size_t>(FileKind::Midi)] = perMille(records, 80);
    mix[static_cast<std::size_t>(FileKind::CorruptWav)] = perMille(records, 10);
    mix[static_cast<std::size_t>(FileKind::HiddenCompanion)] = perMille(records, 20);
    std::uint64_t others = 0;
    for (auto n : mix) others += n;
    mix[static_cast<std::size_t>(FileKind::Wav)] = records > others ? records - others : 0;
    return mix;
}

LibraryPlan::LibraryPlan(std::uint64_t seed, KindMix mix, bool mp3Encodable, PackNames names)
    : _rng(seed), _left(mix), _mp3Encodable(mp3Encodable), _names(names)
{
    for (auto n : _left) _leftTotal += n;
}

std::optional<PlannedFile> LibraryPlan::next()
{
    if (_leftTotal == 0) return std::nullopt;
    if (_pack.remaining == 0) startPack();
    --_pack.remaining;

    const FileKind kind = drawKind();
    if (kind == FileKind::HiddenCompanion || kind == FileKind::Unsupported) return companion(kind);
    return audioFile(kind);
}

FileKind LibraryPlan::drawKind()
{
    // Drawing without replacement keeps the totals exact while the order stays random.
    const auto hiddenIndex = static_cast<std::size_t>(FileKind::HiddenCompanion);
    const bool hiddenPossible = !_withoutHidden.empty();
    const std::uint64_t pool = hiddenPossible ? _leftTotal : _leftTotal - _left[hiddenIndex];
    if (pool == 0) {
        // Only "._" files are left and nothing to sit beside: make a real file instead.
        --_left[hiddenIndex];
        --_leftTotal;
        return FileKind::Wav;
    }
    auto r = _rng.below(pool);
    for (std::size_t i = 0; i < kFileKindCount; ++i) {
        if (i == hiddenIndex && !hiddenPossible) continue;
        if (r < _left[i]) {
            --_left[i];
            --_leftTotal;
            return static_cast<FileKind>(i);
        }
        r -= _left[i];
    }
    --_left[0];
    --_leftTotal;
    return FileKind::Wav;
}

void LibraryPlan::startPack()
{
    _pack = Pack{};
    _pack.genre = &_rng.pick(genres());
    std::string name = packName(_rng, *_pack.genre);
    if (_names == PackNames::ByGenre && !name.starts_with(_pack.genre->display)) {
        name = std::string(_pack.genre->display) + " " + name;
    }
    const double layout = _rng.unit();
    std::string root;
    if (layout < 0.6 || _names == PackNames::ByGenre) {
        root = name;
    } else if (layout < 0.85) {
        // A vendor's library sorted by genre: "Crate Audio Library/Hip-Hop/Keys/…".
        name = std::string(_pack.genre->display);
        root = vendorName(_rng) + " Library/" + name;
    } else {
        root = name + "/" + name + " Samples"; // unpacked twice, as downloads often are
    }
    const std::string base = root;
    for (int k = 2; _packRoots.contains(root); ++k) root = base + " " + std::to_string(k);
    _packRoots.insert(root);

    _pack.root = root;
    _pack.abbreviation = abbreviation(name);
    static constexpr std::array<NamingStyle, 7> kStyles = {
        NamingStyle::Spaced,     NamingStyle::Spaced,      NamingStyle::Underscored, NamingStyle::Prefixed,
        NamingStyle::LowerHyphen, NamingStyle::TempoFirst, NamingStyle::Underscored};
    _pack.style = _rng.pick(kStyles);
    _pack.nested = _rng.chance(0.6);
    _pack.tempoFolders = _rng.chance(0.2);
    _pack.remaining = static_cast<std::uint64_t>(_rng.range(40, 220));
}

SoundSpec LibraryPlan::soundFor(Sound sound)
{
    const SoundInfo& info = soundInfo(sound);
    SoundSpec soundSpec;
    soundSpec.sound = sound;

    const bool timed = isLoop(sound) || sound == Sound::Midi;
    soundSpec.tempo = _rng.range(_pack.genre->slowBpm, _pack.genre->fastBpm);
    if (timed && _rng.chance(0.95)) soundSpec.bpm = soundSpec.tempo;
    if (info.tonal && _rng.chance(0.75)) {
        const bool compact = _pack.style == NamingStyle::Prefixed || _pack.style == NamingStyle::TempoFirst;
        soundSpec.key = chooseKey(_rng, compact);
    }

    if (timed) {
        // Whole bars, 2 to 4 seconds for audio loops; MIDI clips run 1 to 4 bars.
        const double bar = 4.0 * 60.0 / soundSpec.tempo;
        int bars = 1;
        if (sound == Sound::Midi) {
            bars = 1 << _rng.range(0, 2);
        } else {
            while (bars * bar < 2.0) bars *= 2;
        }
        soundSpec.seconds = bars * bar;
    } else {
        const auto [lo, hi] = oneShotSeconds(sound);
        soundSpec.seconds = _rng.uniform(lo, hi);
    }

    const double rate = _rng.unit();
    soundSpec.sampleRate = rate < 0.75 ? 44100 : rate < 0.97 ? 48000 : 96000;
    soundSpec.channels = _rng.chance(isLoop(sound) ? 0.7 : 0.35) ? 2 : 1;
    soundSpec.audioSeed = _rng.fork();
    return soundSpec;
}

std::string LibraryPlan::folderFor(const SoundSpec& soundSpec, bool& tempoInFolder) const
{
    const SoundInfo& info = soundInfo(soundSpec.sound);
    std::string folder(_pack.nested ? info.nestedFolder : info.flatFolder);
    tempoInFolder = _pack.tempoFolders && isLoop(soundSpec.sound) && soundSpec.bpm;
    if (tempoInFolder) folder += "/" + std::to_string(*soundSpec.bpm) + " BPM";
    return folder;
}

std::string LibraryPlan::fileStem(const SoundSpec& soundSpec, int number, bool tempoInFolder)
{
    const NamingStyle style = _pack.style;
    const SoundInfo& info = soundInfo(soundSpec.sound);
    const std::string word(pickWord(_rng, info));
    const std::string num = twoDigits(number);
    const bool hasKey = soundSpec.key.root >= 0;
    const std::string key = hasKey ? soundSpec.key.spelled : "";
    const bool oneShot = !isLoop(soundSpec.sound) && soundSpec.sound != Sound::Midi;
    const std::string extra = oneShot && _rng.chance(0.4) ? descriptor(_rng) : "";

    std::string tempo;
    bool bareTempo = false;
    if (soundSpec.bpm && !tempoInFolder) {
        // A bare number is read as a tempo only when a key follows it.
        bareTempo = hasKey && (style == NamingStyle::Prefixed || style == NamingStyle::TempoFirst)
            && _rng.chance(0.5);
        tempo = bareTempo ? std::to_string(*soundSpec.bpm) : spellTempo(_rng, *soundSpec.bpm, style);
    }

    switch (style) {
    case NamingStyle::Spaced: {
        const std::string genre = _rng.chance(0.4) ? std::string(_pack.genre->display) : "";
        return joinTokens(style, {genre, extra, word, tempo, key, num});
    }
    case NamingStyle::Underscored:
        if (isLoop(soundSpec.sound) && _rng.chance(0.3)) return joinTokens(style, {"Loop", tempo, key, num});
        return joinTokens(style, {word, extra, tempo, key, num});
    case NamingStyle::Prefixed:
        return joinTokens(style, {_pack.abbreviation, tempo, key, word, extra, num});
    case NamingStyle::LowerHyphen:
        return joinTokens(style, {word, extra, tempo, key, num});
    case NamingStyle::TempoFirst: {
        std::string rest = extra.empty() ? word : extra + " " + word;
        return joinTokens(style, {tempo, key, rest + " " + num});
    }
    }
    return word + " " + num;
}

void LibraryPlan::rememberReal(const std::string& path)
{
    if (_withoutHidden.size() == kRecentLimit) _withoutHidden.pop_front();
    _withoutHidden.push_back(path);
    _lastReal = RecentFile{path, false};
}

PlannedFile LibraryPlan::audioFile(FileKind kind)
{
    PlannedFile file;
    file.kind = kind;
    file.sound = soundFor(kind == FileKind::Midi ? Sound::Midi : pickAudioSound(_rng));

    bool tempoInFolder = false;
    const std::string folder = _pack.root + "/" + folderFor(file.sound, tempoInFolder);
    file.sound.genre = indexedGenre(folder);
    const int number = ++_pack.counters[folder];
    std::string stem = fileStem(file.sound, number, tempoInFolder);
    if (_names == PackNames::ByGenre && !stem.starts_with(_pack.genre->display)) {
        stem = std::string(_pack.genre->display) + " " + stem;
    }

    std::string extension = ".wav";
    switch (kind) {
    case FileKind::Wav: {
        if (_rng.chance(0.03)) extension = ".WAV";
        const double r = _rng.unit();
        file.sound.encoding = r < 0.8 ? Encoding::Pcm16 : r < 0.94 ? Encoding::Pcm24 : Encoding::Float32;
        break;
    }
    case FileKind::CorruptWav:
        file.sound.encoding = Encoding::Pcm16;
        file.corruption = static_cast<Corruption>(_rng.below(kCorruptionCount));
        break;
    case FileKind::Aiff:
        extension = _rng.chance(0.5) ? ".aif" : ".aiff";
        file.sound.encoding = _rng.chance(0.7) ? Encoding::Pcm16 : Encoding::Pcm24;
        break;
    case FileKind::Mp3:
        extension = ".mp3";
        file.sound.encoding = Encoding::None;
        file.sound.sampleRate = std::min(file.sound.sampleRate, 48000); // the encoder's ceiling
        file.stub = !_mp3Encodable;
        if (file.stub) stem += " (mp3 stub)";
        break;
    case FileKind::Midi:
        extension = _rng.chance(0.85) ? ".mid" : ".midi";
        file.sound.encoding = Encoding::None;
        break;
    default: {
        static constexpr std::array<const char*, 4> kEmpty = {".wav", ".wav", ".aif", ".mid"};
        extension = _rng.pick(kEmpty);
        file.sound.encoding = Encoding::None;
        break;
    }
    }

    file.relativePath = folder + "/" + stem + extension;
    if (kind != FileKind::ZeroByte) rememberReal(file.relativePath);
    return file;
}

PlannedFile LibraryPlan::companion(FileKind kind)
{
    PlannedFile file;
    file.kind = kind;
    file.sound.encoding = Encoding::None;
    if (kind == FileKind::HiddenCompanion) {
        const std::string real = _withoutHidden.back();
        _withoutHidden.pop_back();
        const auto slash = real.rfind('/');
        file.relativePath = real.substr(0, slash + 1) + "._" + real.substr(slash + 1);
        return file;
    }

    if (!_pack.readmeWritten && _rng.chance(0.5)) {
        _pack.readmeWritten = true;
        file.relativePath = _pack.root + (_rng.chance(0.5) ? "/Readme.txt" : "/License.txt");
    } else if (_lastReal && !_lastReal->hasAsd) {
        _lastReal->hasAsd = true; // the analysis file a DAW leaves beside a sample
        file.relativePath = _lastReal->relativePath + ".asd";
    } else {
        const int number = ++_pack.counters[_pack.root + "/"];
        file.relativePath = _pack.root + "/Notes " + std::to_string(number) + ".txt";
    }
    return file;
}

} // namespace qv::testkit
