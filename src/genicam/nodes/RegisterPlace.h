// A piece of camera memory.
#pragma once

#include <cstdint>

namespace tavo {

class GenICamPortInterface;

// The bytes from `begin` up to `end` behind a port; nowhere without bytes. `end` is at most the highest
// number, whatever a description says.
struct RegisterPlace {
    const GenICamPortInterface* port = nullptr;
    std::int64_t begin = 0;
    std::int64_t end = 0;

    bool isNowhere() const { return begin >= end; }
    bool overlaps(const RegisterPlace& other) const {
        return port == other.port && begin < other.end && other.begin < end;
    }
    bool operator==(const RegisterPlace&) const = default;
};

} // namespace tavo
