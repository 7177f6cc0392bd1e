// The frames of a stream on a named Linux interface, without a call to the system for each.
#pragma once

#include "netif/InterfaceSocket.h"
#include "netif/MappedRing.h"
#include "netif/PacketSocket.h"
#include "netif/Sleeper.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace netif {

// Receives whole frames as PacketSocket does, by the same rules (the interface may come and go, VLANs, own
// frames), in memory that the kernel writes to. That memory is the bound on what may wait; what finds it full
// is lost and counted.
//
// A reader that is woken for each frame works for little else. So it may wait for a bell: a second filter
// says which frames ring it, say the last ones of images and each hundredth in between. By the time it rings
// what came before is here.
//
// One thread at a time opens, takes, waits, looks and closes; everything else may come from any thread at any
// time.
class PacketRing {
public:
    // A quarter of a second of a Gbit/s, 25 ms of 10 Gbit/s: longer than a busy machine keeps a thread from
    // running.
    static constexpr std::size_t kDefaultBytes = std::size_t{32} << 20;

    struct Options {
        Traffic traffic;
        Traffic bell; // of the frames of the first
        std::size_t bytes = kDefaultBytes;
    };

    enum class Checksum : std::uint8_t {
        Unknown, // the frame has one or not; nobody has looked
        Right,
        Open, // the sending host left it to its card: what stands there is not yet one
    };
    struct Frame {
        std::uint8_t* data = nullptr; // may be written to
        std::size_t size = 0;
        Checksum checksum = Checksum::Unknown;
    };

    // As PacketSocket::create. Nothing comes in yet.
    static std::unique_ptr<PacketRing> create(const std::string& interface, std::string& error, int& code);

    // False, and an errno value in `code`, when there is not so much memory, or who lends sockets refuses.
    bool open(const Options& options, int& code);
    // Gives the memory back. Nobody else uses the ring meanwhile.
    void close();

    // The next frame that is here; null when there is none. It stays until the next call: one frame after the
    // other is what the processor reads ahead best.
    const Frame* next();
    // Whether what is here takes half of the ring at least.
    bool isHalfFull() const { return m_ring.isHalfFull(); }

    enum class Until { Frame, Bell };
    // Until there is one, interrupt() is called or was called since the last wait, or `deadline`. False when
    // the interface has gone away.
    bool wait(Until until, Clock::time_point deadline);
    void interrupt() { m_sleeper.wake(); }
    // How often the bell has rung since this was last called; kCountless when it was too often to tell.
    static constexpr std::size_t kCountless = std::size_t{1} << 30;
    std::size_t takeBells();

    // Whether the other side is there. Follows the interface's MTU, too: to be called from time to time.
    bool look();

    void setStation(const Mac& mac) { m_socket->setStation(mac); }
    // The interface's; 1500 while there is none.
    int mtu() const;
    PacketStatistics statistics();

private:
    using Socket = std::unique_ptr<InterfaceSocket>;

    PacketRing(Socket socket, Socket bell);
    bool makeRing(int mtu);
    bool makeRings();
    bool renew();
    bool hear(const Traffic& traffic, const Traffic& bell, int& code);

    const Socket m_socket;
    const Socket m_bellSocket;
    std::size_t m_bytes = 0;
    Sleeper m_sleeper;
    std::atomic<std::uint64_t> m_received{0};
    std::atomic<std::uint64_t> m_overrun{0};

    // Of the thread that takes.
    unsigned m_madeFor = 0; // how often the sockets had been exchanged by then
    MappedRing m_ring;
    MappedRing m_bell;
    Frame m_frame;
    tpacket2_hdr* m_taken = nullptr; // its slot
};

} // namespace netif
