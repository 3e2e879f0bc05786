// A small seeded generator whose sequence is fixed by this file alone.
//
// The standard distributions are implementation-defined, so two standard libraries may
// draw different numbers from the same engine; the generated libraries must be the same
// bytes wherever they are built, hence splitmix64 and plain arithmetic here.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>

namespace qv::testkit {

class Rng {
public:
    explicit Rng(std::uint64_t seed) : _state(seed) {}

    std::uint64_t next()
    {
        std::uint64_t z = (_state += 0x9E3779B97F4A7C15ull);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
        return z ^ (z >> 31);
    }

    // Uniform in [0, n); the multiply-shift bias is far below anything a test could see.
    std::uint64_t below(std::uint64_t n)
    {
        __extension__ using Wide = unsigned __int128;
        return static_cast<std::uint64_t>((static_cast<Wide>(next()) * n) >> 64);
    }

    // Uniform in [lo, hi], both inclusive.
    int range(int lo, int hi) { return lo + static_cast<int>(below(static_cast<std::uint64_t>(hi - lo) + 1)); }

    // Uniform in [0, 1).
    double unit() { return static_cast<double>(next() >> 11) * 0x1.0p-53; }

    double uniform(double lo, double hi) { return lo + (hi - lo) * unit(); }

    bool chance(double probability) { return unit() < probability; }

    template <typename Container>
    const auto& pick(const Container& items)
    {
        return items[static_cast<std::size_t>(below(std::size(items)))];
    }

    // A child seed, so that one file's audio does not shift the names of the next.
    std::uint64_t fork() { return next() ^ 0xD1B54A32D192ED03ull; }

private:
    std::uint64_t _state;
};

} // namespace qv::testkit
