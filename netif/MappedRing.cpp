#include "netif/MappedRing.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

namespace netif {

namespace {

// Blocks are what the kernel allocates in one piece; no slot crosses the end of one. Large, so that little is
// left over behind the slots of jumbo frames.
constexpr std::size_t kBlock = std::size_t{128} << 10;

// In front of a frame's bytes: the kernel's header, an address, and its own alignment (packet_mmap).
constexpr std::size_t kBeforeFrame = TPACKET_ALIGN(TPACKET2_HDRLEN + 16);

// So much of a slot is asked for while the frame before is looked at: it was written by another processor.
// What follows in long frames the processor asks for by itself.
constexpr std::size_t kAhead = 1600;
constexpr std::size_t kCacheLine = 64; // where it is longer, no harm is done

bool request(int socket, std::size_t blocks, std::size_t block, std::size_t slot) {
    tpacket_req ring{};
    ring.tp_block_size = static_cast<unsigned>(block);
    ring.tp_block_nr = static_cast<unsigned>(blocks);
    ring.tp_frame_size = static_cast<unsigned>(slot);
    ring.tp_frame_nr = static_cast<unsigned>(slot != 0 ? block / slot * blocks : 0);
    return setsockopt(socket, SOL_PACKET, PACKET_RX_RING, &ring, sizeof ring) == 0;
}

bool isFilled(tpacket2_hdr& slot) {
    return (std::atomic_ref(slot.tp_status).load(std::memory_order_acquire) & TP_STATUS_USER) != 0;
}

void askFor(const std::uint8_t* bytes, std::size_t size) {
    for (std::size_t at = 0; at < size; at += kCacheLine) {
        __builtin_prefetch(bytes + at);
    }
}

} // namespace

bool MappedRing::make(int socket, std::size_t frameSize, std::size_t bytes) {
    drop();
    const int version = TPACKET_V2;
    if (setsockopt(socket, SOL_PACKET, PACKET_VERSION, &version, sizeof version) != 0) {
        return false;
    }
    const std::size_t slot = TPACKET_ALIGN(kBeforeFrame + frameSize);
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const std::size_t wanted = std::max(std::min(kBlock, bytes), slot);
    const std::size_t block = (wanted + page - 1) / page * page;
    const std::size_t blocks = std::max<std::size_t>(bytes / block, 1);
    if (!request(socket, blocks, block, slot)) {
        return false;
    }
    void* const memory = mmap(nullptr, blocks * block, PROT_READ | PROT_WRITE, MAP_SHARED, socket, 0);
    if (memory == MAP_FAILED) {
        const int error = errno;
        request(socket, 0, 0, 0);
        errno = error;
        return false;
    }
    m_socket = socket;
    m_memory = {static_cast<std::uint8_t*>(memory), blocks * block};
    m_frameSize = frameSize;
    m_slotSize = slot;
    m_slotsOfBlock = block / slot;
    m_blockSize = block;
    m_block = m_slot = 0;
    return true;
}

void MappedRing::drop() {
    if (!m_memory.empty()) {
        munmap(m_memory.data(), m_memory.size());
        request(m_socket, 0, 0, 0);
    }
    m_memory = {};
    m_frameSize = 0;
}

tpacket2_hdr* MappedRing::next() {
    if (m_memory.empty()) {
        return nullptr;
    }
    tpacket2_hdr* const header = slot(m_block);
    if (!isFilled(*header)) {
        return nullptr;
    }
    if (++m_slot == m_slotsOfBlock) {
        m_slot = 0;
        m_block += m_blockSize;
        m_block = m_block == m_memory.size() ? 0 : m_block;
    }
    askFor(&m_memory[m_block + m_slot * m_slotSize], std::min(m_slotSize, kAhead));
    return header;
}

// Slots are filled in their order.
bool MappedRing::isHalfFull() const {
    if (m_memory.empty()) {
        return false;
    }
    const std::size_t half = m_memory.size() / m_blockSize / 2 * m_blockSize;
    return isFilled(*slot((m_block + half) % m_memory.size()));
}

tpacket2_hdr* MappedRing::slot(std::size_t block) const {
    return reinterpret_cast<tpacket2_hdr*>(&m_memory[block + m_slot * m_slotSize]);
}

void MappedRing::giveBack(tpacket2_hdr* slot) {
    std::atomic_ref(slot->tp_status).store(TP_STATUS_KERNEL, std::memory_order_release);
}

} // namespace netif
