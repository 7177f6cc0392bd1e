// A wire that loses, repeats, mixes up, damages and delays the frames of one direction, the same way each
// time for one seed: the decision on a frame depends on the seed and on its number alone. A value machine;
// one thread at a time.
#pragma once

#include "simcam/Random.h"
#include "simcam/bytes.h"
#include "simcam/limits.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace simcam {

// Probabilities are 0 to 1 and independent of each other.
struct LineFaults {
    double drop = 0;      // the frame is lost
    double duplicate = 0; // it comes twice
    double reorder = 0;   // it comes after the next frame, or after kReorderHold when none comes
    double corrupt = 0;   // one bit is inverted
    double delay = 0;     // it is late by a time between `delayMin` and `delayMax`
    milliseconds delayMin{1};
    milliseconds delayMax{5};

    bool any() const { return drop > 0 || duplicate > 0 || reorder > 0 || corrupt > 0 || delay > 0; }
};

struct LinkFaults {
    std::uint64_t seed = 1;
    LineFaults in;  // towards the camera
    LineFaults out; // from it
};

// "drop=0.05 duplicate=0.05 out-delay=0.2 delay-min=1 delay-max=20 seed=7": a word with "in-" or "out-" sets
// one direction, one without sets both. Empty: a sound wire. None with a one-line `error` when the text is
// not of that form.
std::optional<LinkFaults> parseLinkFaults(std::string_view text, std::string& error);

// The frames of one direction on their way.
class Line {
public:
    // Frames that are under way keep the time that they were given.
    void setFaults(const LineFaults& faults, std::uint64_t seed);

    // Sets a frame off at `when`; it is lost when kOutboxFrames are under way.
    void push(Bytes frame, Time when);
    // The frames that have arrived, in the order of their times.
    std::vector<Bytes> take(Time now);
    std::optional<Time> deadline() const;
    void clear() { m_waiting.clear(); }
    // Whether a frame would pass at once and unharmed.
    bool isOpen() const { return m_waiting.empty() && !m_faults.any(); }
    bool hasFaults() const { return m_faults.any(); }
    // Frames that found no room or were lost on the way.
    std::uint64_t lost() const { return m_lost; }

private:
    struct Waiting {
        Bytes frame;
        bool decided = false; // what happens to it has been thrown
        bool held = false;    // until the next frame passes
    };

    void decide(Bytes frame, Time when, std::vector<Bytes>& arrived);
    void releaseHeld(std::vector<Bytes>& arrived);

    LineFaults m_faults;
    Random m_random{1};
    std::multimap<Time, Waiting> m_waiting; // those of one time in the order in which they were pushed
    std::uint64_t m_lost = 0;
};

} // namespace simcam
