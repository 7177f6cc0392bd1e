// Frames that leave together. A frame is two pieces of memory, one behind the other: what is its own, kept
// here, and what many frames share, which is only pointed to. One thread at a time.
#pragma once

#include "simcam/bytes.h"
#include "simcam/limits.h"

#include <array>
#include <memory>

namespace simcam {

// Memory of a picture; whoever points into it shares it.
using SharedBytes = std::shared_ptr<const Bytes>;

class PacketBatch {
public:
    using Parts = std::array<ByteView, 2>;

    std::size_t size() const { return m_frames.size(); }
    bool full() const { return size() >= kBatchPackets; }
    void clear();

    // Adds a frame of its link, network and stream headers, and data in memory of `owner`. Bytes without an
    // owner are copied. Frames below the Ethernet minimum are padded.
    void add(ByteView head, ByteView header, ByteView data, const SharedBytes& owner);

    // Valid until the next change.
    const std::vector<Parts>& frames();
    // Each in one piece.
    std::vector<Bytes> copies();

private:
    struct Frame {
        std::size_t at; // of its own bytes in m_own
        std::size_t size;
        ByteView data;
    };
    std::vector<Frame> m_frames;
    Bytes m_own;
    std::vector<SharedBytes> m_owners;
    std::vector<Parts> m_parts;
};

} // namespace simcam
