// A stream of numbers that its seed fixes (SplitMix64), so that whatever is left to chance repeats itself.
#pragma once

#include <cstdint>

namespace simcam {

class Random {
public:
    explicit Random(std::uint64_t seed) : m_state(seed) {}

    std::uint64_t next() {
        m_state += 0x9E3779B97F4A7C15;
        std::uint64_t z = m_state;
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EB;
        return z ^ (z >> 31);
    }

    // From 0 to `limit`, both included.
    std::uint64_t upTo(std::uint64_t limit) { return limit == UINT64_MAX ? next() : next() % (limit + 1); }

    bool chance(double probability) {
        constexpr double kUnit = 1.0 / 9007199254740992.0; // 2 to the power of -53
        return static_cast<double>(next() >> 11) * kUnit < probability;
    }

private:
    std::uint64_t m_state;
};

} // namespace simcam
