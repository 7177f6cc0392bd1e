// What a port of the software board is wired to: something that takes and gives whole Ethernet frames.
#pragma once

#include "netif/filter.h"
#include "platform/ethernet_endpoint.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace netif {
class PacketRing;
}

namespace softboard {

using Clock = std::chrono::steady_clock;

// Frames that a link handled since it was made. `dropped` counts frames lost before the port saw them,
// `overrun` those of them that arrived and found no room.
struct LinkStatistics {
    std::uint64_t sent = 0;
    std::uint64_t received = 0;
    std::uint64_t dropped = 0;
    std::uint64_t overrun = 0;
};

// A wire. Frames run from the destination address to the last byte of data, without preamble and frame check
// sequence. All calls may come from any thread. A link gives received frames to its sink in one of two ways:
//  - from threads of its own (the default), or
//  - in place: `readsInPlace` is true, and the thread that waits for a frame calls `readInPlace`, which hands
//    over what has arrived. So no thread has to be woken between the wire and the caller.
// No lock that `send` or `interrupt` takes may be held while the sink runs: the sink may lead to both.
class Link {
public:
    virtual ~Link() = default;

    // Where received frames go from now on; an empty sink unplugs. When the call returns, the earlier sink is
    // not in use any more and never will be.
    virtual void plug(ethernet::FrameSink sink) = 0;

    // Sends a frame. Never waits for the other side: a frame that cannot leave now is dropped and counted.
    virtual void send(const std::uint8_t* frame, std::size_t size) = 0;

    // Whether the other side is there: what a PHY reports as its link once it has negotiated.
    virtual bool carrier() const = 0;

    virtual LinkStatistics statistics() const { return {}; }

    // The UDP port of the image path, 0 for none: a link that sorts frames before the port does lets them
    // pass.
    virtual void setImagePort(std::uint16_t /*udpPort*/) {}

    // A way for the image packets of one camera to one station that leads past the sink, which does not get
    // them until closeRing(). The caller reads it. A bell of 0 packets (`every`) stands for one that suits
    // the largest that the link carries: how large they are is found out by a stream that is open. Null when
    // the link has none, with 0 in `error`, or when the system refuses, with an errno value. One at a time.
    virtual std::shared_ptr<netif::PacketRing>
    openRing(const netif::Mac& /*station*/, const netif::ImagePackets& /*packets*/, int& error) {
        error = 0;
        return nullptr;
    }
    virtual void closeRing() {}

    virtual bool readsInPlace() const { return false; }

    // Hands arrived frames to the sink from the calling thread. Waits for the first of them until `deadline`
    // (a deadline in the past only looks), until `interrupt` is called or has been called since the last
    // return, or returns early for no reason.
    virtual void readInPlace(Clock::time_point /*deadline*/) {}

    // Ends a `readInPlace` that another thread waits in.
    virtual void interrupt() {}
};

} // namespace softboard
