// Blocks that have been sent, and the packets of them that are asked for again. A value machine; one thread
// at a time.
#pragma once

#include "simcam/Block.h"

#include <deque>

namespace simcam {

// What a PACKETRESEND command wants: packets `first` to `last` of a block.
struct ResendRequest {
    Peer from;
    bool extendedIds = false;
    std::uint64_t block = 0; // as its packets carry it
    std::uint32_t first = 0;
    std::uint32_t last = 0;
};

class PastBlocks {
public:
    // The block under way, of which the packets before `sent` have been sent; null: none.
    struct UnderWay {
        std::shared_ptr<const Block> block;
        std::uint32_t sent = 0;
    };

    // The last kPastBlocks are kept.
    void keep(std::shared_ptr<const Block> block);
    // Forgets blocks and requests.
    void clear();
    void forgetRequests() { m_requests.clear(); }
    // Takes a request; one that finds kResendRequests before it is lost.
    void ask(const ResendRequest& request, const UnderWay& current);
    bool asked() const { return !m_requests.empty(); }

    // Answers with up to `most` packets: those that were sent, or one without data that says why not.
    void answer(std::size_t most, StreamFrames& frames, const UnderWay& current, PacketBatch& out);

    // What answers have added to the stream since the start or clearStatistics().
    struct Statistics {
        std::uint64_t packets = 0;
        std::uint64_t bytes = 0; // of IP packets
        std::uint64_t refused = 0;
    };
    const Statistics& statistics() const { return m_statistics; }
    void clearStatistics() { m_statistics = {}; }

private:
    struct Request {
        ResendRequest wanted; // its `first` moves on
        std::shared_ptr<const Block> block;
    };
    void answerOne(const Request& request, StreamFrames& frames, const UnderWay& current, PacketBatch& out);

    std::deque<std::shared_ptr<const Block>> m_blocks; // oldest first
    std::deque<Request> m_requests;
    Statistics m_statistics;
};

} // namespace simcam
