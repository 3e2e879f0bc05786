// AIFF and MP3 files through libsndfile, the same library the player decodes them with.
//
// MP3 encoding depends on how libsndfile was built (it needs LAME); callers ask
// `mp3Encodable` first and write a stub when it says no.
#pragma once

#include "audio_synthesis.h"

#include <filesystem>

namespace qv::testkit {

bool mp3Encodable();

// Big-endian PCM, 16 or 24 bit. Throws std::runtime_error with libsndfile's message.
void writeAiff(const std::filesystem::path& path, const AudioBuffer& audio, Encoding encoding);

// MPEG-1/2 layer III at libsndfile's default quality; the rate must be one LAME takes
// (8 to 48 kHz). Throws std::runtime_error with libsndfile's message.
void writeMp3(const std::filesystem::path& path, const AudioBuffer& audio);

} // namespace qv::testkit
