// The memory in which the kernel puts the frames of one packet socket, seen from this process.
#pragma once

#include <cstddef>
#include <cstdint>
#include <linux/if_packet.h>
#include <span>

namespace netif {

// Slots of one size, one a frame, filled in turn (TPACKET_V2). A slot is the kernel's until it has put a
// frame in, and again after giveBack(). One thread at a time.
class MappedRing {
public:
    MappedRing() = default;
    ~MappedRing() { drop(); }
    MappedRing(const MappedRing&) = delete;
    MappedRing& operator=(const MappedRing&) = delete;

    // About `bytes` of memory, for frames of up to `frameSize` bytes; longer ones are cut. An earlier ring
    // goes, with what is in it. False, and errno, when the system refuses; there is no ring then.
    bool make(int socket, std::size_t frameSize, std::size_t bytes);

    void drop();

    std::size_t frameSize() const { return m_frameSize; }
    std::size_t slots() const {
        return m_blockSize == 0 ? 0 : m_memory.size() / m_blockSize * m_slotsOfBlock;
    }

    // The next slot, if a frame is in it, else null: then it is asked for again.
    tpacket2_hdr* next();
    // Of the slots at least.
    bool isHalfFull() const;
    // In the order in which they came.
    static void giveBack(tpacket2_hdr* slot);

private:
    tpacket2_hdr* slot(std::size_t block) const;

    int m_socket = -1;
    std::span<std::uint8_t> m_memory;
    std::size_t m_frameSize = 0;
    std::size_t m_slotSize = 0;
    std::size_t m_slotsOfBlock = 0;
    std::size_t m_blockSize = 0;
    std::size_t m_block = 0; // offset of that with the next slot
    std::size_t m_slot = 0;  // in the block
};

} // namespace netif
