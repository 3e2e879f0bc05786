// Audio files for the preview tests, written with libsndfile from samples made in code.
#pragma once

#include <QString>

#include <filesystem>
#include <functional>
#include <vector>

namespace qv::test {

// Interleaved frames: channels floats per frame.
void writeSound(const std::filesystem::path& path, int format, int rate, int channels,
                const std::vector<float>& interleaved);

// `frames` frames whose channel c at frame p is sample(p, c).
std::vector<float> makeFrames(long frames, int channels, const std::function<float(long, int)>& sample);

// `seconds` of a sine at half scale in every channel.
void writeTone(const std::filesystem::path& path, int format, double seconds, int rate = 44100, int channels = 2);

bool canWriteMp3();

inline QString qpath(const std::filesystem::path& path)
{
    return QString::fromStdString(path.string());
}

} // namespace qv::test
