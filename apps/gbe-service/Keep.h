// Keeps a stopped process's control of a camera: while it stands still it cannot send the commands by which
// the camera sees that it lives. One thread.
#pragma once

#include "Peer.h"
#include "Request.h"

#include "protocol/addresses.h"
#include "protocol/command_frame.h"

#include <array>
#include <chrono>
#include <memory>
#include <string>

namespace netif {
class PacketSocket;
}

namespace gbe_service {

// How long commands go out during one stop.
class StopWatch {
public:
    using Time = std::chrono::steady_clock::time_point;

    explicit StopWatch(std::chrono::seconds longest) : m_longest(longest) {}
    // What a look has shown, `ran` as in ProcessStat; whether to send a command. A process that has run since
    // the last look stands still anew.
    bool isDue(bool stopped, std::uint64_t ran, Time now);

private:
    const std::chrono::seconds m_longest;
    bool m_stopped = false;
    std::uint64_t m_ran = 0;
    Time m_since{};
};

// The one command: a read of the register that says who has control, which changes nothing. With everything
// from the stopped process's addresses, as the process would send it.
using KeepRoute = net::CommandRoute;
using KeepFrame = std::array<std::uint8_t, net::kMinFrame>;
KeepFrame buildKeepFrame(const KeepRoute& route, std::uint16_t requestId);

// What is wrong with the numbers of a request, in one line; empty: nothing.
std::string whyNoKeep(const KeepRequest& request);

class Keep {
public:
    // Null, and the reason in `error`, when the peer has nothing to do with the interface or frames cannot be
    // sent on it.
    static std::shared_ptr<Keep> begin(
        const Peer& peer, const KeepRequest& request, const net::Mac& hostMac, const std::string& interface,
        std::string& error);
    ~Keep();

    const Peer& peer() const { return m_peer; }
    // Looks at the process, and does for it what is due. False when the process has ended.
    bool look();

private:
    Keep(const Peer& peer, const KeepRequest& request, const net::Mac& hostMac);

    const Peer m_peer;
    std::unique_ptr<netif::PacketSocket> m_socket; // hears nothing
    std::array<KeepFrame, 2> m_frames;
    std::size_t m_next = 0;
    StopWatch m_watch;
};

} // namespace gbe_service
