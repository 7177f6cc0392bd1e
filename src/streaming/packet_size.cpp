#include "streaming/packet_size.h"

#include "streaming/PacketSizeSearch.h"
#include "streaming/stream_channel.h"

#include <algorithm>
#include <chrono>
#include <optional>
#include <thread>
#include <vector>

namespace streaming {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::microseconds;
using std::chrono::milliseconds;

constexpr milliseconds kFirstPatience{200}; // while nobody knows how long a test packet takes
constexpr milliseconds kLeastPatience{20};
constexpr milliseconds kMostPatience{100};
constexpr int kTimesLonger = 8; // than the first one took
constexpr int kTries = 2;       // a wire that loses a packet now and then must not decide

// Waits until `isThere`, which may bring the end nearer, and tells whether it came to that.
template<typename IsThere> bool waitUntil(const Clock::time_point& end, IsThere&& isThere) {
    constexpr microseconds kTick{500};
    while (!isThere()) {
        if (Clock::now() >= end) {
            return false;
        }
        std::this_thread::sleep_for(kTick);
    }
    return true;
}

microseconds patienceAfter(Clock::duration took) {
    const auto longer = std::chrono::duration_cast<microseconds>(took) * kTimesLonger;
    return std::clamp<microseconds>(longer, kLeastPatience, kMostPatience);
}

// Has the camera send packets of these sizes, one after the other, for as long as larger ones have not
// arrived: a camera that is told to send another one may forget the one before.
void fire(
    const CameraRegisters& registers, const std::vector<unsigned>& sizes, const LookForTestPackets& look) {
    constexpr milliseconds kPause{2};
    for (int tries = 0; tries < kTries; ++tries) {
        for (const unsigned size : sizes) {
            const TestPackets before = look();
            if ((tries == 0 || before.largest < size) && fireTestPacket(registers, size)) {
                waitUntil(Clock::now() + kPause, [&] { return look().count != before.count; });
            }
        }
    }
}

// The largest size that the camera's register takes. Cameras round sizes that are too large for them, or
// refuse them.
unsigned mostOf(const CameraRegisters& registers, unsigned most) {
    for (const unsigned size : {most, 9000U}) {
        const auto taken = size <= most ? writePacketSize(registers, size) : std::nullopt;
        if (taken && *taken != 0) {
            return std::min(*taken, most);
        }
    }
    return PacketSizeSearch::kUsual;
}

} // namespace

void findPacketSize(const CameraRegisters& registers, unsigned most, const LookForTestPackets& look) {
    const unsigned before = readPacketSize(registers);
    PacketSizeSearch search(mostOf(registers, most));
    std::optional<microseconds> patience; // once a test packet has shown how long they take
    for (auto sizes = search.next(); !sizes.empty(); sizes = search.next()) {
        const Clock::time_point begin = Clock::now();
        fire(registers, sizes, look);
        Clock::time_point end = Clock::now() + patience.value_or(kFirstPatience);
        waitUntil(end, [&] {
            const unsigned largest = look().largest;
            if (largest > search.best() && !patience) {
                patience = patienceAfter(Clock::now() - begin);
                end = std::min(end, Clock::now() + *patience);
            }
            return largest >= sizes.back();
        });
        search.arrived(look().largest);
    }
    writePacketSize(registers, search.best() != 0 ? search.best() : before);
}

std::optional<bool>
testPacketArrives(const CameraRegisters& registers, unsigned size, const LookForTestPackets& look) {
    const std::uint64_t before = look().count;
    for (int tries = 0; tries < kTries; ++tries) {
        if (!fireTestPacket(registers, size)) {
            return std::nullopt;
        }
        if (waitUntil(Clock::now() + kMostPatience, [&] { return look().count != before; })) {
            return true;
        }
    }
    return false;
}

} // namespace streaming
