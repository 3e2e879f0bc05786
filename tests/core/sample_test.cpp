#include "sample.h"

#include <gtest/gtest.h>

namespace {

TEST(SampleType, OnlyExactSpellingsSurviveTheRoundTrip)
{
    for (auto type : {qv::SampleType::Loop, qv::SampleType::OneShot, qv::SampleType::MIDI}) {
        EXPECT_EQ(qv::sampleTypeFromString(qv::toString(type)), type);
    }
    EXPECT_EQ(qv::toString(qv::SampleType::OneShot), "One Shot");
    EXPECT_EQ(qv::toString(static_cast<qv::SampleType>(7)), "Unknown");
    for (const char* text : {"loop", "one shot", "Midi", "One-Shot", "Unknown", "", " Loop", "Loop "}) {
        EXPECT_EQ(qv::sampleTypeFromString(text), qv::SampleType::Unknown) << text;
    }
}

} // namespace
