// Packets as a camera sends them.
#pragma once

#include "gvsp/Receiver.h"

#include <cstdint>
#include <vector>

namespace stream {

using Bytes = std::vector<std::uint8_t>;

inline void put(Bytes& out, std::uint64_t value, unsigned size) {
    while (size-- > 0) {
        out.push_back(static_cast<std::uint8_t>(value >> 8 * size));
    }
}

inline Bytes packet(
    gvsp::Format format, std::uint64_t block, std::uint32_t id, const Bytes& content, bool extended,
    gvsp::Status status = gvsp::Status::Success) {
    Bytes out;
    put(out, static_cast<std::uint16_t>(status), 2);
    put(out, extended ? 0 : block, 2);
    put(out, static_cast<unsigned>(format) | (extended ? 0x80 : 0), 1);
    put(out, extended ? 0 : id, 3);
    if (extended) {
        put(out, block, 8);
        put(out, id, 4);
    }
    out.insert(out.end(), content.begin(), content.end());
    return out;
}

// A Mono8 image whose bytes tell its block and their own place.
struct Sent {
    std::uint64_t block = 1;
    std::uint32_t promised = 0; // the width that the leader tells; 0: what is so
    std::uint32_t width = 50;
    std::uint32_t height = 20;
    std::size_t packetPayload = 100;
    bool extended = false;
    std::uint16_t type = 1;
    std::uint64_t timestamp = 1;

    std::size_t size() const { return std::size_t{width} * height; }
    std::uint8_t at(std::size_t offset) const {
        return static_cast<std::uint8_t>(offset * 7 + offset / 251 + block * 31 + 1);
    }
    std::uint32_t trailerId() const {
        return static_cast<std::uint32_t>((size() + packetPayload - 1) / packetPayload) + 1;
    }
    Bytes leader() const {
        Bytes out;
        put(out, type, 4);
        put(out, timestamp, 8);
        put(out, 0x01080001, 4);
        put(out, promised != 0 ? promised : width, 4);
        put(out, height, 4);
        out.insert(out.end(), 12, 0);
        return out;
    }
    Bytes trailer() const {
        Bytes out;
        put(out, type, 4);
        put(out, height, 4);
        return out;
    }
    Bytes data(std::uint32_t id) const {
        Bytes out;
        for (std::size_t i = (id - 1) * packetPayload; i < std::min(id * packetPayload, size()); ++i) {
            out.push_back(at(i));
        }
        return out;
    }
    Bytes packet(std::uint32_t id) const {
        using gvsp::Format;
        return id == 0             ? stream::packet(Format::Leader, block, 0, leader(), extended)
               : id == trailerId() ? stream::packet(Format::Trailer, block, id, trailer(), extended)
                                   : stream::packet(Format::Payload, block, id, data(id), extended);
    }
};

} // namespace stream
