#include "sample.h"

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

} // namespace qv
