// Where the cameras' frames go to and come from.
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace gbe_simcam {

class Wire {
public:
    using Clock = std::chrono::steady_clock;
    struct Counters {
        std::uint64_t sent = 0;
        std::uint64_t received = 0;
        std::uint64_t dropped = 0;
    };

    virtual ~Wire() = default;

    // A frame that cannot leave now is dropped and counted. Any thread.
    virtual void send(const std::uint8_t* frame, std::size_t size) = 0;
    // Many frames, each in two pieces of which the second may be empty. May wait some milliseconds for room.
    using Parts = std::array<std::span<const std::uint8_t>, 2>;
    virtual void sendMany(std::span<const Parts> frames) {
        std::vector<std::uint8_t> whole;
        for (const auto& [first, second] : frames) {
            whole.assign(first.begin(), first.end());
            whole.insert(whole.end(), second.begin(), second.end());
            send(whole.data(), whole.size());
        }
    }
    // The next frame, valid until the next call; empty at the deadline, after interrupt(), or early. One
    // thread.
    virtual std::span<const std::uint8_t> receive(Clock::time_point deadline) = 0;
    virtual void interrupt() = 0;
    virtual Counters counters() = 0;
    // What keeps frames from running at the moment, and what helps; empty when nothing does.
    virtual std::string trouble() { return {}; }
};

// A wire on the interface of that name, for the stations with these MAC addresses (48 bits each). Null, and
// one sentence in `error`, when there is no such interface or the right to use it is missing.
std::unique_ptr<Wire>
openInterface(const std::string& name, const std::vector<std::uint64_t>& stations, std::string& error);

// A wire to this host itself: makes the TAP device of that name, or takes one that is there, and switches it
// on. It goes with the process unless it was there.
std::unique_ptr<Wire> openTap(const std::string& name, std::string& error);

} // namespace gbe_simcam
