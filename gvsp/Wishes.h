// What is missing of one block while it is under way, and when the camera is asked for it.
//
// Packets that others have overtaken are a gap, asked for when it has not filled by itself after a while.
// What follows the last packet that came is the tail: asked for when a later block has begun or no packet has
// come for a while. The block itself knows which packets have arrived; a gap may name some that have.
#pragma once

#include "gvsp/Block.h"
#include "gvsp/PacketSet.h"
#include "gvsp/Receiver.h"

#include <algorithm>
#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

namespace gvsp {

// How long the camera takes to answer, so that what was lost again is asked for again soon: at first and at
// most what the settings say, and longer from one wish to the next.
class AnswerTime {
public:
    // The answer to what had been asked for once.
    void saw(Time took) {
        constexpr int kSpare = 4; // as long as it may take besides
        constexpr int kForget = 8;
        m_enough =
            m_enough == Time{} ? kSpare * took : std::max(kSpare * took, m_enough - m_enough / kForget);
    }
    // The last wish of all has what patience there is: a camera that pauses answers all of them afterwards.
    Time afterWish(unsigned wishes, const Settings& settings) const {
        constexpr unsigned kMostDoublings = 8;
        if (wishes >= settings.mostWishes) {
            return settings.patience;
        }
        const Time first = std::max(m_enough, settings.firstWish);
        const Time wait = first * (1 << std::min(wishes - 1, kMostDoublings));
        return m_enough == Time{} ? settings.nextWish : std::min(wait, settings.nextWish);
    }

private:
    Time m_enough{}; // 0: there was no answer yet
};

class Wishes {
public:
    // What asks are made of, besides the block.
    struct Means {
        const Settings& settings;
        const AnswerTime& answerTime;
        std::deque<ResendWish>& out;
    };

    // A new block, of which lost packets are asked for or not.
    void begin(bool resend);

    // Packets `first` to `last` were passed over.
    void gap(std::uint32_t first, std::uint32_t last, Time now, const Settings& settings);
    // A later block has begun.
    void overtaken(Time now);
    // The camera does not have the packet any more, or none up to it.
    void unavailable(std::uint32_t id, bool withAllBefore);

    // Appends what is due now to the wishes, as long as they have room.
    void ask(const Block& block, Time now, const Means& means);
    // When ask() has something to do.
    Time due(const Block& block, const Settings& settings) const;

    // Whether a packet that is missing may still come because it is, or will be, asked for.
    bool hopes(const Block& block);
    // False when nothing is asked for, or too much would have to be.
    bool asking() const { return m_asking; }
    // Whether anything has been asked for.
    bool asked() const { return m_asked != 0; }

    struct Asked {
        unsigned wishes = 0; // how often; 0 when never
        Time last{};
    };
    Asked asked(std::uint32_t id) const;

    static constexpr Time kNever = Time::max();
    static constexpr std::size_t kMostWaiting = 1024; // wishes that nobody has fetched

private:
    static constexpr std::size_t kMostGaps = 256; // then the last one grows
    // That many packets are asked for also where they are a large part of a small block.
    static constexpr double kFewPackets = 8;

    struct Gap {
        std::uint32_t first;
        std::uint32_t last;
        Time due;
        Asked asked;
    };

    bool isGone(std::uint32_t id) const { return id < m_goneBelow || m_gone.has(id); }
    bool shrink(const Block& block, Gap& gap) const;
    void askForGap(const Block& block, Gap& gap, Time now, const Means& means);
    void askForTail(const Block& block, Time now, const Means& means);
    bool afford(const Block& block, std::uint32_t first, std::uint32_t last, const Settings& settings);
    bool isWanted(const Block& block, std::uint32_t id) const;
    void append(const Block& block, std::uint32_t first, std::uint32_t last, std::deque<ResendWish>& out);
    Time tailDue(const Block& block, const Settings& settings) const;
    bool tailIsGone(const Block& block) const;

    bool m_asking = false;
    std::vector<Gap> m_gaps; // ascending, apart from one another
    Time m_gapDue = kNever;  // the first one's
    std::uint64_t m_asked = 0;
    PacketSet m_gone;
    std::uint32_t m_goneBelow = 0;
    std::optional<Time> m_overtaken;
    Asked m_tailAsked;
    Time m_tailNext{};
    std::uint32_t m_tailFirst = 0; // of what was asked for
    std::uint32_t m_tailLast = 0;
    bool m_tailGivenUp = false;
};

} // namespace gvsp
