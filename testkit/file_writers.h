// Byte images of the files a library holds, written by hand where the format is simple.
//
// WAVE (through wave_writer.h): a 16-byte "fmt " for PCM, an 18-byte one followed by a
// "fact" frame count for IEEE float, as common writers lay them out, and an optional
// "LIST"/"INFO" chunk before or after "data".
// MIDI: a standard MIDI file of format 0 or 1 with a tempo, a time signature and notes.
// "._" files: an AppleDouble header with an empty Finder info entry.
#pragma once

#include "audio_synthesis.h"
#include "library_plan.h"
#include "wave_writer.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace qv::testkit {

std::string waveBytes(const AudioBuffer& audio, Encoding encoding, std::optional<ListAt> info = std::nullopt);

// A damaged WAVE image: what readers must survive, not parse.
std::string corruptWaveBytes(const AudioBuffer& audio, Corruption corruption, Rng& rng);

std::string midiBytes(const SoundSpec& soundSpec, bool tiny, Rng& rng);

// `realName` is the file the companion sits beside; its extension sets the Finder type.
std::string appleDoubleBytes(std::string_view realName);

std::string unsupportedBytes(std::string_view relativePath, Rng& rng);

// 64-bit FNV-1a, for seeds derived from names.
std::uint64_t fnv1a(std::string_view bytes, std::uint64_t hash = 0xcbf29ce484222325ull);

// Writes the whole file or throws std::runtime_error naming it.
void writeBytes(const std::filesystem::path& path, std::string_view bytes);

} // namespace qv::testkit
