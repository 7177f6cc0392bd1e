// Whether the block of a packet is a new one, one of the past, or the first one of a camera that began anew.
//
// Blocks get sequence numbers, which go on where ids wrap or begin at 1 again.
#pragma once

#include "gvsp/packet.h"

#include <array>
#include <cstdint>
#include <optional>

namespace gvsp {

class BlockOrder {
public:
    enum class Verdict {
        Begin,   // a new block
        Late,    // of one that has ended, or of before the camera began anew
        Ignored, // of one that found no buffer
        Restart, // the camera began anew: blocks under way come to nothing more, then this one begins
        Strange, // an id out of all order; if another packet has it, too, it is a restart
    };
    struct Judgement {
        Verdict verdict;
        std::uint64_t sequence; // of the block when it begins
    };

    // About a packet of no block under way. `quiet`: nothing has come for so long that nothing late is left.
    Judgement judge(const Packet& packet, bool quiet);
    void began(const Packet& packet, std::uint64_t sequence);
    // The leader of a block came.
    void sawLeader(std::uint64_t sequence, std::uint64_t timestamp);
    // A block of which no packet is taken any more.
    struct Past {
        std::uint64_t sequence = 0;
        bool dropped = false; // it found no buffer
        bool asked = false;   // packets of it were asked for: answers may come, however late
        std::optional<std::uint64_t> timestamp; // of its leader, if that had come
    };
    void ended(const Past& past) { m_past[past.sequence % kMemory] = past; }
    bool isDelivered(std::uint64_t sequence) const { return sequence <= m_delivered; }
    // Blocks up to this one are delivered. Returns how many of them never began.
    std::uint64_t delivered(std::uint64_t sequence);

private:
    static constexpr std::uint64_t kMemory = 64;     // blocks of the past of which more is known than the id
    static constexpr std::int64_t kMostLost = 1024;  // blocks in a row; more is a beginning
    static constexpr std::int64_t kFewLost = 32;     // of which nothing came although their neighbours did
    static constexpr std::uint64_t kFirst = 1 << 20; // so that there is a past

    // What had come before the camera began anew: stray packets of it may follow.
    struct Former {
        std::uint64_t newestId = 0;
        bool extendedIds = false;
        std::uint64_t until = 0; // a sequence: nothing of it comes any more
    };
    std::int64_t distance(std::uint64_t id) const;
    bool isFormer(const Packet& packet) const;
    Judgement restart(bool quiet);
    Judgement judgePast(const Packet& packet, std::uint64_t sequence, bool quiet);
    Judgement judgeStrange(const Packet& packet, bool quiet);

    bool m_any = false;
    bool m_extendedIds = false;
    std::uint64_t m_newestId = 0;
    std::uint64_t m_newest = kFirst; // sequence
    std::uint64_t m_newestTimestamp = 0;
    std::uint64_t m_delivered = kFirst; // sequence
    std::array<Past, kMemory> m_past{};
    std::optional<Former> m_former;
    std::optional<std::uint64_t> m_strangeBlock;
    std::uint32_t m_strangePacket = 0;
};

} // namespace gvsp
