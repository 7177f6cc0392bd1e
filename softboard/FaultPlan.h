// What a faulty wire does to frames: probabilities, and a seed that fixes every decision.
#pragma once

#include <chrono>
#include <cstdint>

namespace softboard {

// Faults of one direction. Probabilities are 0 to 1 and independent of each other.
struct Faults {
    double drop = 0;      // the frame is lost
    double duplicate = 0; // it comes twice
    double reorder = 0;   // it comes after the next frame of its direction, or after `reorderHold`
    double flip = 0;      // one bit is inverted
    double truncate = 0;  // bytes at its end are lost, at least one
    double delay = 0;     // it is late by a time between `delayMin` and `delayMax`
    std::chrono::microseconds delayMin{1000};
    std::chrono::microseconds delayMax{5000};
    std::chrono::microseconds reorderHold{20000};

    bool any() const {
        return drop > 0 || duplicate > 0 || reorder > 0 || flip > 0 || truncate > 0 || delay > 0;
    }
};

// The decision on frame n of a direction depends on the seed, the direction and n alone: never on time or
// threads.
struct FaultPlan {
    std::uint64_t seed = 1;
    Faults send;    // from the board to what hangs on the port
    Faults receive; // from there to the board
};

} // namespace softboard
