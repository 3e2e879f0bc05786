#include "sample.h"

#include "ascii.h"

namespace qv {

std::string toString(SampleType type)
{
    switch (type) {
    case SampleType::Loop: return "Loop";
    case SampleType::OneShot: return "One Shot";
    case SampleType::MIDI: return "MIDI";
    default: return "Unknown";
    }
}

SampleType sampleTypeFromString(const std::string& text)
{
    if (text == "Loop") return SampleType::Loop;
    if (text == "One Shot") return SampleType::OneShot;
    if (text == "MIDI") return SampleType::MIDI;
    return SampleType::Unknown;
}

bool hasMidiExtension(const std::filesystem::path& path)
{
    const std::string extension = ascii::lowered(path.extension().string());
    return extension == ".mid" || extension == ".midi";
}

} // namespace qv
