// What is missing of one block while it is under way, and when the camera is asked for it.
//
// Packets that others have overtaken are a gap, asked for when it has not filled by itself after a while.
// What follows the last packet that came is the tail: asked for when a later block has begun or no packet has
// come for a while. The block itself knows which packets have arrived; a gap may name some that have.
#pragma once

#include "gvsp/Block.h"
#include "gvsp/PacketSet.h"
#include "gvsp/Receiver.h"

#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

namespace gvsp {

class Wishes {
public:
    // A new block, of which lost packets are asked for or not.
    void begin(bool resend);

    // Packets `first` to `last` were passed over.
    void gap(std::uint32_t first, std::uint32_t last, Time now, const Settings& settings);
    // A later block has begun.
    void overtaken(Time now);
    // The camera does not have the packet any more, or none up to it.
    void unavailable(std::uint32_t id, bool withAllBefore);

    // Appends what is due now to `out`, as long as that has room.
    void ask(const Block& block, Time now, const Settings& settings, std::deque<ResendWish>& out);
    // When ask() has something to do.
    Time due(const Block& block, const Settings& settings) const;

    // Whether a packet that is missing may still come because it is, or will be, asked for.
    bool hopes(const Block& block);
    // False when nothing is asked for, or too much would have to be.
    bool asking() const { return m_asking; }
    bool wasAsked(std::uint32_t id) const;

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
        unsigned wishes;
    };

    bool isGone(std::uint32_t id) const { return id < m_goneBelow || m_gone.has(id); }
    bool shrink(const Block& block, Gap& gap) const;
    void
    askForGap(const Block& block, Gap& gap, Time now, const Settings& settings, std::deque<ResendWish>& out);
    void askForTail(const Block& block, Time now, const Settings& settings, std::deque<ResendWish>& out);
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
    unsigned m_tailWishes = 0;
    Time m_tailAsked{};
    std::uint32_t m_tailFirst = 0; // of what was asked for
    std::uint32_t m_tailLast = 0;
    bool m_tailGivenUp = false;
};

} // namespace gvsp
