// Whether a waiting reader should look for frames for a while before it sleeps: learnt from how long waits
// took either way. A value machine, driven by one thread at a time; it reads no clock.
#pragma once

#include <algorithm>
#include <array>
#include <chrono>

namespace netif {

// Looking saves the time that waking a thread takes. It is in vain where the answer takes longer than one
// looks, and it does harm where the other side needs this very processor; and both change with what else
// runs.
//
// The first waits go either way in turns. Then the better way is taken, and every kTrialEvery-th wait the
// other, to see whether it still is. Looking has to be better by a tenth, because it costs processor time.
class SpinChoice {
public:
    using Duration = std::chrono::nanoseconds;

    static constexpr unsigned kFirstTrials = 16;
    static constexpr unsigned kTrialEvery = 64;
    // Longer waits count as this long: they ended without an answer, or with a slow camera's.
    static constexpr Duration kLongest{std::chrono::milliseconds(1)};

    // For the wait that comes now; `took` tells how it went.
    bool next() {
        ++m_waits;
        if (m_waits <= kFirstTrials) {
            return m_waits % 2 == 0;
        }
        const bool better = m_mean[1] < m_mean[0] - m_mean[0] / 10;
        return better != (m_waits % kTrialEvery == 0);
    }

    void took(bool spun, Duration time) {
        constexpr int kWeight = 8; // of all earlier waits against the last
        Duration& mean = m_mean[spun ? 1 : 0];
        const Duration counted = std::min(time, kLongest);
        mean = mean.count() == 0 ? counted : mean + (counted - mean) / kWeight;
    }

private:
    unsigned m_waits = 0;
    std::array<Duration, 2> m_mean{}; // sleeping, spinning
};

} // namespace netif
