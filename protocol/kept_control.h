// What stands for a process that is stopped: request ids that it never gives to a command of its own, so that
// the answers that it finds when it goes on are nobody's. Two, because a device takes a command whose id is
// that of the last one for a copy of it.
#pragma once

#include <array>
#include <cstdint>

namespace kept_control {

inline constexpr std::array<std::uint16_t, 2> kRequestIds{0xFFFD, 0xFFFE};

constexpr bool isRequestId(std::uint16_t id) {
    return id == kRequestIds[0] || id == kRequestIds[1];
}

inline constexpr unsigned kLongestStop = 3600; // seconds

} // namespace kept_control
