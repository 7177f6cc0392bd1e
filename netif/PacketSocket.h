// Raw Ethernet frames on a named Linux interface.
#pragma once

#include "netif/SpinChoice.h"
#include "netif/filter.h"
#include "netif/interface.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace netif {

using Clock = std::chrono::steady_clock;

// Frames of one socket since it was made. `overrun` counts those that came in and found no room, `dropped`
// all that were lost: those and the ones that could not be sent.
struct PacketStatistics {
    std::uint64_t sent = 0;
    std::uint64_t received = 0;
    std::uint64_t dropped = 0;
    std::uint64_t overrun = 0;
};

// Sends and receives whole frames, from the destination address to the last byte of data. It wants the right
// CAP_NET_RAW. Frames that this host sends on the interface are not received.
//
// The interface is found by its name, whenever there is one of that name: it may be missing at first, be
// switched off, removed and made again. Until it is back nothing is received, and what is sent counts as
// dropped.
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
    };

    // Null, and one sentence in `error` (with its errno value in `code`), when the right is missing or the
    // name is none. An interface that is not there is no failure.
    static std::unique_ptr<PacketSocket>
    create(const std::string& interface, Options options, std::string& error, int* code = nullptr);

    ~PacketSocket();
    PacketSocket(const PacketSocket&) = delete;
    PacketSocket& operator=(const PacketSocket&) = delete;

    const std::string& interface() const { return m_name; }

    // False when the frame did not leave; it counts as dropped. Does not wait.
    bool send(const std::uint8_t* frame, std::size_t size);

    // The next frame, valid until the next call. Waits for it until `deadline` (one in the past only looks).
    // Empty at the deadline, after `interrupt` was called, or early for no reason.
    std::span<const std::uint8_t> receive(Clock::time_point deadline);

    // Ends the `receive` under way, or the next one when none is.
    void interrupt();

    // Takes effect at once, but for frames that have come in already.
    void setFilter(const Filter& filter);

    // Frames to this address are taken in too: the interface is promiscuous while it is not its own. The
    // filter sorts them.
    void setStation(const Mac& mac);

    // Looked up, and kept for some milliseconds.
    bool carrier();
    InterfaceState state() const { return queryInterface(m_name, m_socket); }

    PacketStatistics statistics();

private:
    PacketSocket(std::string name, int socket, int event, Options options);

    bool alive();
    void join(); // with the mutex held
    void applyPromiscuous(const InterfaceState& state, bool anew);
    std::span<std::uint8_t> take();
    bool spin(Clock::time_point end, std::span<std::uint8_t>& frame);
    void sleep(Clock::time_point deadline);
    void forgetInterrupt();

    const std::string m_name;
    const int m_socket;
    const int m_event; // wakes a receiver that sleeps
    const std::chrono::microseconds m_spin;
    std::atomic<bool> m_interrupted{false};
    std::atomic<std::uint64_t> m_sent{0};
    std::atomic<std::uint64_t> m_received{0};
    std::atomic<std::uint64_t> m_notSent{0};
    std::atomic<std::uint64_t> m_overrun{0};

    std::mutex m_mutex; // guards what follows
    int m_index = 0;    // of the interface that the socket was bound to last; 0: none
    bool m_on = false;  // the interface was there and switched on when it was looked at last
    Clock::time_point m_nextJoin{};
    const bool m_everyStation;
    std::optional<Mac> m_station;
    bool m_promiscuous = false; // on the interface of m_index
    Clock::time_point m_carrierUntil{};
    bool m_carrier = false;

    // Of the thread that receives.
    std::vector<std::uint8_t> m_buffer;
    SpinChoice m_spinChoice;
};

} // namespace netif
