#include "sample_converter.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace qv {

SampleConverter::SampleConverter(int inputRate, int inputChannels, const OutputFormat& output)
    : _inputRate(inputRate)
    , _inputChannels(inputChannels)
    , _output(output)
    , _identity(output.sampleRate == inputRate && output.channels == inputChannels
                && output.sample == OutputFormat::Sample::Float)
    , _previous(std::size_t(std::max(output.channels, 0)), 0.0f)
{
}

void SampleConverter::reset()
{
    _havePrevious = false;
    _phase = 0;
}

void SampleConverter::convert(const float* input, std::int64_t frames, QByteArray& out)
{
    if (frames <= 0 || _output.channels <= 0) return;
    if (_identity) {
        out.append(reinterpret_cast<const char*>(input), qsizetype(frames * _inputChannels * sizeof(float)));
        return;
    }
    mapChannels(input, frames);
    const std::vector<float>* frames_ = &_mapped;
    if (_output.sampleRate != _inputRate) {
        resample();
        frames_ = &_resampled;
    }
    const std::vector<float>& samples = *frames_;
    if (_output.sample == OutputFormat::Sample::Float) {
        out.append(reinterpret_cast<const char*>(samples.data()), qsizetype(samples.size() * sizeof(float)));
        return;
    }
    const qsizetype start = out.size();
    out.resize(start + qsizetype(samples.size() * sizeof(std::int16_t)));
    auto* target = reinterpret_cast<std::int16_t*>(out.data() + start);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const float clamped = std::clamp(samples[i], -1.0f, 1.0f);
        target[i] = std::int16_t(std::lrint(clamped * 32767.0f));
    }
}

void SampleConverter::mapChannels(const float* input, std::int64_t frames)
{
    const int in = _inputChannels;
    const int outChannels = _output.channels;
    _mapped.resize(std::size_t(frames * outChannels));
    float* target = _mapped.data();
    for (std::int64_t f = 0; f < frames; ++f, input += in, target += outChannels) {
        if (outChannels == in) {
            std::memcpy(target, input, std::size_t(in) * sizeof(float));
        } else if (outChannels == 1) {
            float sum = 0;
            for (int c = 0; c < in; ++c) sum += input[c];
            target[0] = sum / float(in);
        } else if (in == 1) {
            std::fill(target, target + outChannels, input[0]);
        } else {
            for (int c = 0; c < outChannels; ++c) target[c] = c < in ? input[c] : 0.0f;
        }
    }
}

void SampleConverter::resample()
{
    const int channels = _output.channels;
    const std::int64_t frames = std::int64_t(_mapped.size()) / channels;
    const double step = double(_inputRate) / double(_output.sampleRate);
    // Input frame k of this call is at position k + 1 relative to _previous (position 0).
    if (!_havePrevious) {
        std::copy_n(_mapped.begin(), channels, _previous.begin());
        _havePrevious = true;
        _phase = 1.0;
    }
    _resampled.clear();
    auto sampleAt = [&](std::int64_t position, int channel) {
        return position == 0 ? _previous[std::size_t(channel)] : _mapped[std::size_t((position - 1) * channels + channel)];
    };
    while (_phase <= double(frames)) {
        const auto left = std::int64_t(std::floor(_phase));
        const double fraction = _phase - double(left);
        for (int c = 0; c < channels; ++c) {
            const float a = sampleAt(left, c);
            const float b = left + 1 <= frames ? sampleAt(left + 1, c) : a;
            _resampled.push_back(float(a + (b - a) * fraction));
        }
        _phase += step;
    }
    _phase -= double(frames);
    std::copy_n(_mapped.end() - channels, channels, _previous.begin());
}

} // namespace qv
