#include "file_writers.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <fstream>
#include <stdexcept>
#include <vector>

namespace qv::testkit {

namespace {

void put16(std::string& out, std::uint32_t v)
{
    out += static_cast<char>(v & 0xFF);
    out += static_cast<char>((v >> 8) & 0xFF);
}

void put32(std::string& out, std::uint32_t v)
{
    put16(out, v & 0xFFFF);
    put16(out, v >> 16);
}

void set32(std::string& out, std::size_t at, std::uint32_t v)
{
    for (int i = 0; i < 4; ++i) out[at + static_cast<std::size_t>(i)] = static_cast<char>((v >> (8 * i)) & 0xFF);
}

void putBig16(std::string& out, std::uint32_t v)
{
    out += static_cast<char>((v >> 8) & 0xFF);
    out += static_cast<char>(v & 0xFF);
}

void putBig32(std::string& out, std::uint32_t v)
{
    putBig16(out, v >> 16);
    putBig16(out, v & 0xFFFF);
}

void chunk(std::string& out, std::string_view id, std::string_view body)
{
    out += id;
    put32(out, static_cast<std::uint32_t>(body.size()));
    out += body;
    if (body.size() % 2 == 1) out += '\0';
}

void putVarLen(std::string& out, std::uint32_t value)
{
    std::array<char, 5> bytes{};
    int n = 0;
    bytes[static_cast<std::size_t>(n++)] = static_cast<char>(value & 0x7F);
    while ((value >>= 7) != 0) bytes[static_cast<std::size_t>(n++)] = static_cast<char>(0x80 | (value & 0x7F));
    while (n > 0) out += bytes[static_cast<std::size_t>(--n)];
}

std::string tempoEvents(int bpm)
{
    std::string events;
    const auto microseconds = static_cast<std::uint32_t>(60'000'000 / bpm);
    events += std::string("\x00\xFF\x51\x03", 4);
    events += static_cast<char>((microseconds >> 16) & 0xFF);
    events += static_cast<char>((microseconds >> 8) & 0xFF);
    events += static_cast<char>(microseconds & 0xFF);
    events += std::string("\x00\xFF\x58\x04\x04\x02\x18\x08", 8); // 4/4
    return events;
}

void trackChunk(std::string& out, std::string events)
{
    events += std::string("\x00\xFF\x2F\x00", 4);
    out += "MTrk";
    putBig32(out, static_cast<std::uint32_t>(events.size()));
    out += events;
}

} // namespace

std::string waveBytes(const AudioBuffer& audio, Encoding encoding, std::optional<ListAt> info)
{
    WaveSpec wave;
    wave.sampleRate = static_cast<std::uint32_t>(audio.sampleRate);
    wave.channels = static_cast<std::uint16_t>(audio.channels);
    if (encoding == Encoding::Pcm24) wave.encoding = WaveEncoding::Pcm24;
    if (encoding == Encoding::Float32) {
        wave.encoding = WaveEncoding::Float32;
        wave.factChunk = true;
    }
    if (info) {
        wave.listChunk = "INFO";
        chunk(wave.listChunk, "ISFT", std::string_view("qv-genlib\0", 10));
        wave.listAt = *info;
    }
    return testkit::waveBytes(audio.samples, wave);
}

std::string corruptWaveBytes(const AudioBuffer& audio, Corruption corruption, Rng& rng)
{
    std::string bytes = waveBytes(audio, Encoding::Pcm16);
    switch (corruption) {
    case Corruption::TruncatedHeader: // stops inside "fmt "
        bytes.resize(static_cast<std::size_t>(rng.range(12, 35)));
        break;
    case Corruption::LyingSizes: // RIFF and data sizes far beyond the end of the file
        set32(bytes, 4, 0x7FFFFFF0u);
        set32(bytes, 40, static_cast<std::uint32_t>((bytes.size() - 44) * 16 + 2));
        break;
    case Corruption::CutMidSample: // sizes describe the whole file, the tail is gone
        if (bytes.size() > 48) bytes.resize(44 + (bytes.size() - 44) / 2 + 1);
        break;
    case Corruption::NotRiff: {
        bytes.assign(static_cast<std::size_t>(rng.range(64, 512)), '\0');
        for (char& c : bytes) c = static_cast<char>(rng.below(256));
        bytes[0] = 'I'; // an ID3 tag where a RIFF header belongs: a renamed MP3 fragment
        bytes[1] = 'D';
        bytes[2] = '3';
        break;
    }
    case Corruption::ZeroChannels:
        bytes[22] = 0;
        bytes[23] = 0;
        bytes[32] = 0;
        bytes[33] = 0;
        break;
    }
    return bytes;
}

std::string midiBytes(const SoundSpec& soundSpec, bool tiny, Rng& rng)
{
    const std::uint32_t division = rng.chance(0.5) ? 96 : 480;
    const int bpm = soundSpec.bpm.value_or(soundSpec.tempo);
    const int bars = tiny ? 1 : std::max(1, static_cast<int>(std::lround(soundSpec.seconds * bpm / 240.0)));
    const int root = 48 + (soundSpec.key.root >= 0 ? soundSpec.key.root : rng.range(0, 11));
    const std::array<int, 7> minor = {0, 2, 3, 5, 7, 8, 10};
    const std::array<int, 7> major = {0, 2, 4, 5, 7, 9, 11};
    const auto& scale = soundSpec.key.root >= 0 && !soundSpec.key.minor ? major : minor;
    const auto pitch = [&](int degree) {
        return static_cast<char>(root + 12 * (degree / 7) + scale[static_cast<std::size_t>(degree % 7)]);
    };

    // Either chords on every half bar or a line of eighth notes; events are note-on and
    // note-off pairs with running status avoided for the sake of simple readers.
    std::string notes;
    const bool chords = rng.chance(0.5);
    const std::uint32_t length = chords ? division * 2 : division / 2;
    const int events = bars * (chords ? 2 : 8);
    for (int e = 0; e < events; ++e) {
        const int degree = rng.range(0, 6);
        const std::vector<int> voices = chords ? std::vector<int>{0, 2, 4} : std::vector<int>{0};
        for (std::size_t v = 0; v < voices.size(); ++v) {
            putVarLen(notes, 0);
            notes += '\x90';
            notes += pitch(degree + voices[v]);
            notes += static_cast<char>(rng.range(70, 110));
        }
        for (std::size_t v = 0; v < voices.size(); ++v) {
            putVarLen(notes, v == 0 ? length : 0);
            notes += '\x80';
            notes += pitch(degree + voices[v]);
            notes += '\x40';
        }
    }

    const bool formatOne = rng.chance(0.4);
    std::string out = "MThd";
    putBig32(out, 6);
    putBig16(out, formatOne ? 1 : 0);
    putBig16(out, formatOne ? 2 : 1);
    putBig16(out, division);
    if (formatOne) {
        trackChunk(out, tempoEvents(bpm));
        trackChunk(out, notes);
    } else {
        trackChunk(out, tempoEvents(bpm) + notes);
    }
    return out;
}

std::string appleDoubleBytes(std::string_view realName)
{
    std::string lowered(realName.substr(std::min(realName.size(), realName.rfind('.'))));
    std::transform(lowered.begin(), lowered.end(), lowered.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    std::string type(4, '\0');
    if (lowered == ".wav") type = "WAVE";
    if (lowered == ".aif" || lowered == ".aiff") type = "AIFF";
    if (lowered == ".mp3") type = "MPG3";
    if (lowered == ".mid" || lowered == ".midi") type = "Midi";

    std::string out;
    putBig32(out, 0x00051607); // AppleDouble magic
    putBig32(out, 0x00020000);
    out += "Mac OS X        ";
    putBig16(out, 2);
    putBig32(out, 9); // Finder info
    putBig32(out, 50);
    putBig32(out, 32);
    putBig32(out, 2); // resource fork, empty
    putBig32(out, 82);
    putBig32(out, 0);
    std::string finder(32, '\0');
    finder.replace(0, 4, type.substr(0, 4));
    finder.replace(4, 4, "????");
    out += finder;
    return out;
}

std::string unsupportedBytes(std::string_view relativePath, Rng& rng)
{
    if (relativePath.ends_with(".asd")) {
        std::string out = "\x0b\x00\x00\x00";
        out.resize(static_cast<std::size_t>(rng.range(64, 240)));
        for (std::size_t i = 4; i < out.size(); ++i) out[i] = static_cast<char>(rng.below(256));
        return out;
    }
    const auto pack = relativePath.substr(0, relativePath.rfind('/'));
    return std::string(pack) + "\n\nThanks for downloading. All sounds are royalty-free for use in your "
                                "own music; redistribution as samples is not allowed.\n";
}

std::uint64_t fnv1a(std::string_view bytes, std::uint64_t hash)
{
    for (unsigned char c : bytes) {
        hash ^= c;
        hash *= 0x100000001b3ull;
    }
    return hash;
}

void writeBytes(const std::filesystem::path& path, std::string_view bytes)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    out.close();
    if (!out) throw std::runtime_error("cannot write " + path.string());
}

} // namespace qv::testkit
