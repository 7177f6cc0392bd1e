// Raw Ethernet frames on a named Linux interface.
#pragma once

#include "netif/InterfaceSocket.h"
#include "netif/Sleeper.h"
#include "netif/SpinChoice.h"

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace netif {

// Frames of one socket since it was made. `overrun` counts those that came in and found no room, `dropped`
// all that were lost: those and the ones that could not be sent.
struct PacketStatistics {
    std::uint64_t sent = 0;
    std::uint64_t received = 0;
    std::uint64_t dropped = 0;
    std::uint64_t overrun = 0;
};

// Sends and receives whole frames, from the destination address to the last byte of data. It wants the right
// CAP_NET_RAW, or a loan. Frames that this host sends on the interface are not received.
//
// The interface is found by its name (InterfaceSocket). While it is away nothing is received, and what is
// sent counts as dropped.
//
// A received UDP or TCP checksum over IPv4 that the sending host left to its card, as hosts do on virtual
// wires, is filled in. A frame with a VLAN tag belongs to another network and is passed over, but for one
// that carries nothing but a priority (VLAN 0), which loses its tag as it does for the host itself.
//
// One thread receives at a time; everything else may come from any thread at any time.
class PacketSocket {
public:
    static constexpr std::size_t kLargestFrame = 65536;

    struct Options {
        Filter filter;
        bool promiscuous = false; // takes frames to any station in; the filter then sorts them
        // A receiver may look again and again for up to this time before it sleeps: it does where that
        // proves to be faster (SpinChoice). 0: never.
        std::chrono::microseconds spin{0};
        // In place of the filter. Who says it this way needs no right where somebody lends it (lending.h).
        std::optional<Traffic> traffic{};
    };

    // Null, and one sentence in `error` (with its errno value in `code`), when the right is missing or the
    // name is none. An interface that is not there is no failure.
    static std::unique_ptr<PacketSocket>
    create(const std::string& interface, Options options, std::string& error, int* code = nullptr);

    const std::string& interface() const { return m_socket->interface(); }

    // False when the frame did not leave; it counts as dropped. Does not wait.
    bool send(const std::uint8_t* frame, std::size_t size);

    // Sends frames of two pieces each, the second of which may be empty, with as few calls of the system as
    // it can. Waits for the interface to take them, 10 ms at the most without progress; what has not left by
    // then counts as dropped, as does a frame that is too long for it. The number of frames that left.
    using Parts = std::array<std::span<const std::uint8_t>, 2>;
    std::size_t sendMany(std::span<const Parts> frames);

    // The next frame, valid until the next call. Waits for it until `deadline` (one in the past only looks).
    // Empty at the deadline, after `interrupt` was called, or early for no reason.
    std::span<const std::uint8_t> receive(Clock::time_point deadline);

    // Ends the `receive` under way, or the next one when none is.
    void interrupt() { m_sleeper.wake(); }

    // As InterfaceSocket has it, and who receives is woken. It sorts what a station's address lets in.
    // Who made the socket with `traffic` goes on with that.
    int hear(const Traffic& traffic);
    void setStation(const Mac& mac) { m_socket->setStation(mac); }
    bool carrier() { return m_socket->carrier(); }
    InterfaceState state() const { return m_socket->state(); }

    PacketStatistics statistics();

private:
    PacketSocket(std::unique_ptr<InterfaceSocket> socket, Options options);

    std::size_t sendSome(std::span<const Parts> frames, int& error);
    bool waitForRoom(int error, Clock::time_point deadline);
    std::span<std::uint8_t> take();
    bool spin(Clock::time_point end, std::span<std::uint8_t>& frame);
    void sleep(Clock::time_point deadline);

    const std::unique_ptr<InterfaceSocket> m_socket;
    Sleeper m_sleeper; // of the receiver
    const std::chrono::microseconds m_spin;
    std::atomic<std::uint64_t> m_sent{0};
    std::atomic<std::uint64_t> m_received{0};
    std::atomic<std::uint64_t> m_notSent{0};
    std::atomic<std::uint64_t> m_overrun{0};

    // Of the thread that receives.
    std::vector<std::uint8_t> m_buffer;
    SpinChoice m_spinChoice;
};

} // namespace netif
