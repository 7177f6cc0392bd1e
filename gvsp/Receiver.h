// The receiving side of GVSP: what becomes images out of packets. A value machine without I/O: the packets of
// one camera and a clock go in; images, wishes for packets to be sent again and counters come out. One thread
// at a time.
//
//                    first packet                 last packet, or given up        nextImage()
//     free buffer ────────────────► block under way ────────────────► waiting ────────────────► borrowed
//          ▲                                                             │ (overflow: oldest)       │
//          └─────────────────────────────────────────────────────────────┴──────── lend() ──────────┘
//
// Images come out in the order of their blocks, each once. A byte of a buffer that belongs to no packet of
// its own block is in the map of what is missing.
#pragma once

#include "protocol/gvsp.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace gvsp {

using Time = std::chrono::nanoseconds; // of a clock that never goes back

// Memory of the owner's, lent until an image in it is fetched. `number` names it to the owner.
struct Buffer {
    std::uint8_t* data = nullptr;
    std::size_t size = 0;
    unsigned number = 0;
};

struct Geometry {
    std::uint32_t pixelFormat = 0;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t offsetX = 0;
    std::uint32_t offsetY = 0;
    std::uint16_t paddingX = 0; // bytes at the end of each line
    std::uint16_t paddingY = 0; // bytes at the end of the image
};

struct Range {
    std::size_t offset = 0;
    std::size_t length = 0;
};

enum class ImageStatus {
    Complete,
    Incomplete, // bytes are missing: the map tells which; or truncated; or the camera says that it lost some
    NotUnderstood, // a payload type that is no image: raw bytes
};

struct Image {
    Buffer buffer;
    // Bytes of payload, missing ones included, also those that the image's shape promises and no packet
    // carried. Never more than the buffer has.
    std::size_t size = 0;
    std::uint64_t block = 0;
    std::uint64_t timestamp = 0;   // the camera's ticks
    std::uint16_t payloadType = 0; // as its leader or trailer has it
    bool withChunks = false;       // of whatever kind
    ImageStatus status = ImageStatus::Complete;
    Geometry geometry;
    bool geometryAssumed = false; // no leader tells it, or one that its packets belie: what the settings say
    bool truncated = false;       // the payload was longer than the buffer
    std::size_t missingBytes = 0;
    std::vector<Range> missing; // ascending, apart from one another
    Time firstPacket{};
    Time lastPacket{};
};

// Packets `first` to `last` of a block, to be asked for from the camera.
struct ResendWish {
    std::uint64_t block = 0;
    std::uint32_t first = 0;
    std::uint32_t last = 0;
    bool extendedIds = false;
};

enum class Overflow { DropArriving, DropOldest };

struct Settings {
    std::size_t payloadSize = 0; // of an image as the camera's features say it; a buffer has at least that
    Geometry assumed;            // for images whose leader is lost
    std::size_t packetSize = 0;  // IP, UDP and GVSP headers included; 0: learnt from the packets
    Overflow overflow = Overflow::DropArriving;
    bool resend = true;
    Time firstWish{std::chrono::milliseconds(1)};  // a gap that is not filled by itself is asked for
    Time nextWish{std::chrono::milliseconds(10)};  // and again, sooner where the camera answers sooner, up to
    unsigned mostWishes = 5;                       // times
    Time patience{std::chrono::milliseconds(200)}; // without any packet a block is given up
    double mostResent = 0.25; // of the packets of a block, and 8 at least; more are not asked for
};

struct Counters {
    std::uint64_t packets = 0;
    std::uint64_t bytes = 0; // payload of all packets taken into place
    std::uint64_t complete = 0;
    std::uint64_t incomplete = 0;
    std::uint64_t lostBlocks = 0;      // ids between two blocks of which nothing arrived
    std::uint64_t droppedArriving = 0; // blocks that found no free buffer
    std::uint64_t droppedOldest = 0;   // images that waited and made room
    std::uint64_t missingPackets = 0;  // in blocks that were given up
    std::uint64_t wishes = 0;
    std::uint64_t wishedPackets = 0;
    std::uint64_t resentPackets = 0; // that arrived because they were asked for
    std::uint64_t unavailable = 0;   // that the camera does not have any more
    std::uint64_t duplicates = 0;
    std::uint64_t late = 0;      // of blocks that had been given up or finished
    std::uint64_t malformed = 0; // packets that are none, or contradict their block
    std::uint64_t testPackets = 0;
    std::uint64_t largestTestPacket = 0; // as it counts in the packet size register: headers included
};

class Receiver {
public:
    explicit Receiver(const Settings& settings);
    ~Receiver();
    Receiver(const Receiver&) = delete;
    Receiver& operator=(const Receiver&) = delete;

    // A buffer to be filled.
    void lend(const Buffer& buffer);

    // The payload of one UDP datagram, of which nothing is kept but what is copied into place.
    void packet(std::span<const std::uint8_t> datagram, Time now);
    // Time passes: wishes fall due, blocks are given up. What has arrived by then should have been handed in.
    void advance(Time now);
    // When advance() has something to do, if no packet comes before.
    std::optional<Time> deadline() const;

    // The oldest finished image; its buffer is the caller's until it is lent again. False when there is none.
    bool nextImage(Image& out);
    std::size_t waiting() const;
    bool nextWish(ResendWish& out);

    // Blocks under way are given up and finished images dropped; every buffer that is not borrowed is free.
    // What comes next is taken for a new beginning.
    void restart();
    // Takes effect for blocks that begin from now on.
    void setSettings(const Settings& settings);
    Overflow overflow() const;

    const Counters& counters() const;

private:
    class Impl;
    const std::unique_ptr<Impl> m_impl;
};

} // namespace gvsp
