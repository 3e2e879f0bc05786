#include "audio_synthesis.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace qv::testkit {

namespace {

constexpr double kTwoPi = 2.0 * std::numbers::pi;
constexpr std::array<int, 7> kMinorScale = {0, 2, 3, 5, 7, 8, 10};
constexpr std::array<int, 7> kMajorScale = {0, 2, 4, 5, 7, 9, 11};

double noteFrequency(int root, int octave, int semitones = 0)
{
    const int midi = 12 * (octave + 1) + root + semitones;
    return 440.0 * std::pow(2.0, (midi - 69) / 12.0);
}

// Renders one hit of `sound` into a mono buffer from `start`; `freq` matters for tonal
// sounds, `length` bounds the tail so that dense patterns stay cheap.
class HitRenderer {
public:
    HitRenderer(std::vector<double>& out, int rate, Rng& rng) : _out(out), _rate(rate), _rng(rng) {}

    void add(Sound sound, std::size_t start, double freq, double gain, double length)
    {
        const std::size_t frames = std::min(_out.size() - std::min(start, _out.size()),
                                            static_cast<std::size_t>(length * _rate));
        double phase = 0.0;
        double previousNoise = 0.0;
        double lowNoise = 0.0;
        for (std::size_t i = 0; i < frames; ++i) {
            const double t = static_cast<double>(i) / _rate;
            const double noise = _rng.unit() * 2.0 - 1.0;
            const double bright = noise - previousNoise; // a crude high-pass for metal
            previousNoise = noise;
            lowNoise += 0.05 * (noise - lowNoise);
            double s = 0.0;
            switch (sound) {
            case Sound::Kick:
                phase += kTwoPi * (45.0 + 110.0 * std::exp(-t * 35.0)) / _rate;
                s = std::sin(phase) * std::exp(-t * 7.0);
                break;
            case Sound::Snare:
                s = 0.55 * noise * std::exp(-t * 18.0) + 0.45 * std::sin(kTwoPi * 190.0 * t) * std::exp(-t * 22.0);
                break;
            case Sound::Clap: {
                double env = 0.6 * std::exp(-t * 14.0);
                for (double burst : {0.0, 0.011, 0.022}) {
                    if (t >= burst) env += std::exp(-(t - burst) * 120.0);
                }
                s = noise * env * 0.5;
                break;
            }
            case Sound::HiHat: s = bright * std::exp(-t * 55.0); break;
            case Sound::OpenHat: s = bright * std::exp(-t * 6.0); break;
            case Sound::Cymbal: s = bright * std::exp(-t * 2.2); break;
            case Sound::Perc:
            case Sound::PercLoop: s = std::sin(kTwoPi * freq * t) * std::exp(-t * 22.0); break;
            case Sound::Rim: // a click: a few samples of impulse, then a short ring
                s = i < 6 ? (i % 2 == 0 ? 1.0 : -0.8) : std::sin(kTwoPi * 1700.0 * t) * std::exp(-t * 90.0);
                break;
            case Sound::Bass808:
                phase += kTwoPi * freq * (1.0 + 0.3 * std::exp(-t * 20.0)) / _rate;
                s = std::tanh(1.5 * std::sin(phase)) * std::exp(-t * 1.2);
                break;
            case Sound::BassShot:
            case Sound::BassLoop: s = harmonics(freq, t, {1.0, 0.5, 0.33}) * std::exp(-t * 2.0); break;
            case Sound::KeysShot:
            case Sound::KeysLoop: s = harmonics(freq, t, {1.0, 0.5, 0.25, 0.12}) * std::exp(-t * 2.5); break;
            case Sound::SynthShot: s = harmonics(freq, t, {1.0, 0.0, 0.33, 0.0, 0.2}) * std::exp(-t * 4.0); break;
            case Sound::MelodyLoop: // short notes, so that each one stands out of the last one's tail
                s = harmonics(freq, t, {1.0, 0.0, 0.33, 0.0, 0.2}) * std::exp(-t * 12.0);
                break;
            case Sound::Pluck:
            case Sound::GuitarLoop: s = harmonics(freq, t, {1.0, 0.6, 0.4, 0.2}) * std::exp(-t * 7.0); break;
            case Sound::Bell:
                s = (std::sin(kTwoPi * freq * t) + 0.5 * std::sin(kTwoPi * freq * 2.76 * t)
                     + 0.25 * std::sin(kTwoPi * freq * 5.4 * t))
                    * std::exp(-t * 1.8);
                break;
            case Sound::VocalChop:
            case Sound::VocalLoop: {
                const double vibrato = 1.0 + 0.01 * std::sin(kTwoPi * 5.5 * t);
                s = harmonics(freq * vibrato, t, {0.6, 1.0, 0.7, 0.2, 0.1}) * std::min(1.0, t / 0.02)
                    * std::exp(-t * 3.0);
                break;
            }
            case Sound::Fx: {
                const double rise = std::pow(t / length, 2.0);
                phase += kTwoPi * (200.0 + 1800.0 * t / length) / _rate;
                s = rise * (0.6 * noise + 0.4 * std::sin(phase));
                break;
            }
            case Sound::Pad: { // no transient: a slow swell and a slow release
                const double attack = std::min(1.0, t / 0.6);
                const double release = std::min(1.0, (length - t) / 0.8);
                s = (std::sin(kTwoPi * freq * t) + std::sin(kTwoPi * freq * 1.003 * 1.5 * t)
                     + 0.7 * std::sin(kTwoPi * freq * 0.998 * 2.0 * t))
                    * attack * std::max(0.0, release) * 0.4;
                break;
            }
            case Sound::Texture:
                s = lowNoise * 3.0 * (0.6 + 0.4 * std::sin(kTwoPi * 0.7 * t));
                break;
            default: break;
            }
            _out[start + i] += gain * s;
        }
    }

private:
    static double harmonics(double freq, double t, std::initializer_list<double> weights)
    {
        double s = 0.0;
        int n = 1;
        for (double w : weights) s += w * std::sin(kTwoPi * freq * n++ * t);
        return s;
    }

    std::vector<double>& _out;
    int _rate;
    Rng& _rng;
};

struct Scale {
    int root;
    const std::array<int, 7>* steps;

    double frequency(int degree, int octave) const
    {
        const int wrapped = ((degree % 7) + 7) % 7;
        return noteFrequency(root, octave + (degree - wrapped) / 7, (*steps)[static_cast<std::size_t>(wrapped)]);
    }
};

void renderPattern(HitRenderer& hits, const SoundSpec& soundSpec, const Scale& scale, std::size_t frames, int rate,
                   Rng& rng)
{
    const double step = 60.0 / soundSpec.tempo / 4.0; // a sixteenth note
    const auto at = [&](int s) { return static_cast<std::size_t>(s * step * rate); };
    const int steps = static_cast<int>(static_cast<double>(frames) / rate / step + 0.5);

    for (int s = 0; s < steps; ++s) {
        const int inBar = s % 16;
        switch (soundSpec.sound) {
        case Sound::DrumLoop:
            if (inBar == 0 || inBar == 8 || (inBar == 10 && rng.chance(0.5))) hits.add(Sound::Kick, at(s), 0, 1.0, 0.6);
            if (inBar == 4 || inBar == 12) hits.add(Sound::Snare, at(s), 0, 0.8, 0.4);
            if (inBar % 2 == 0) hits.add(Sound::HiHat, at(s), 0, 0.35, 0.1);
            break;
        case Sound::PercLoop:
            if (inBar % 4 == 0 || rng.chance(0.5)) {
                hits.add(Sound::PercLoop, at(s), rng.chance(0.5) ? 420.0 : 630.0, inBar % 4 == 0 ? 1.0 : 0.5, 0.25);
            }
            break;
        case Sound::BassLoop:
            if (inBar % 4 == 0) hits.add(soundSpec.sound, at(s), scale.frequency(rng.range(0, 4), 2), 1.0, step * 4);
            break;
        case Sound::KeysLoop:
            if (inBar % 8 == 0) {
                const int degree = rng.range(0, 6);
                for (int n : {0, 2, 4}) hits.add(soundSpec.sound, at(s), scale.frequency(degree + n, 4), 0.5, step * 8);
            }
            break;
        case Sound::GuitarLoop:
            if (inBar % 4 == 0) {
                const int degree = rng.range(0, 6);
                for (int n : {0, 2, 4, 7}) {
                    hits.add(soundSpec.sound, at(s) + static_cast<std::size_t>(n * 0.004 * rate),
                             scale.frequency(degree + n, 3), 0.4, step * 4);
                }
            }
            break;
        case Sound::VocalLoop:
            if (inBar % 8 == 0 && rng.chance(0.8)) {
                hits.add(soundSpec.sound, at(s), scale.frequency(rng.range(0, 4), 4), 1.0, step * 7);
            }
            break;
        default: // melodies: eighth notes with a few rests
            if (inBar % 2 == 0 && rng.chance(0.8)) {
                hits.add(Sound::MelodyLoop, at(s), scale.frequency(rng.range(0, 9), 4), 0.8, step * 2);
            }
            break;
        }
    }
}

} // namespace

AudioBuffer synthesize(const SoundSpec& soundSpec, bool tiny)
{
    AudioBuffer buffer;
    buffer.sampleRate = tiny ? kTinySampleRate : soundSpec.sampleRate;
    buffer.channels = tiny ? 1 : soundSpec.channels;
    const double seconds = tiny ? std::min(soundSpec.seconds, kTinySeconds) : soundSpec.seconds;
    const auto frames = static_cast<std::size_t>(seconds * buffer.sampleRate);

    Rng rng(soundSpec.audioSeed);
    const int root = soundSpec.key.root >= 0 ? soundSpec.key.root : rng.range(0, 11);
    const bool minor = soundSpec.key.root >= 0 ? soundSpec.key.minor : true;
    const Scale scale{root, minor ? &kMinorScale : &kMajorScale};

    std::vector<double> mono(frames, 0.0);
    HitRenderer hits(mono, buffer.sampleRate, rng);
    if (isLoop(soundSpec.sound)) {
        renderPattern(hits, soundSpec, scale, frames, buffer.sampleRate, rng);
    } else {
        const bool low = soundSpec.sound == Sound::Bass808 || soundSpec.sound == Sound::BassShot;
        const double freq = soundSpec.sound == Sound::Perc ? rng.uniform(300.0, 900.0) : scale.frequency(0, low ? 1 : 4);
        hits.add(soundSpec.sound, 0, freq, 1.0, seconds);
    }

    double peak = 0.0;
    for (double s : mono) peak = std::max(peak, std::abs(s));
    const double scaleBy = peak > 0.0 ? 0.8 / peak : 0.0;

    buffer.samples.reserve(frames * static_cast<std::size_t>(buffer.channels));
    for (double s : mono) {
        const auto v = static_cast<float>(s * scaleBy);
        buffer.samples.push_back(v);
        if (buffer.channels == 2) buffer.samples.push_back(v * 0.9f); // slightly off-centre
    }
    return buffer;
}

} // namespace qv::testkit
