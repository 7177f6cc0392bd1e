// A receiver with buffers of its own and a clock that its user moves.
#pragma once

#include "gvsp/Receiver.h"
#include "gvsp/packet.h"
#include "gvsp/stream.h"

#include <gtest/gtest.h>

#include <list>
#include <vector>

namespace rig {

using stream::Bytes;
using stream::Sent;

struct Rig {
    explicit Rig(gvsp::Settings settings = {}, std::size_t bufferSize = 1000, unsigned count = 4)
        : receiver(settings) {
        for (unsigned i = 0; i < count; ++i) {
            memory.emplace_back(bufferSize, std::uint8_t{0});
            receiver.lend({memory.back().data(), bufferSize, i});
        }
    }
    void send(const Bytes& datagram) { receiver.packet(datagram, now); }
    void send(const Sent& sent, const std::vector<std::uint32_t>& ids) {
        for (const std::uint32_t id : ids) {
            send(sent.packet(id));
        }
    }
    void send(const Sent& sent) {
        for (std::uint32_t id = 0; id <= sent.trailerId(); ++id) {
            send(sent.packet(id));
        }
    }
    // Time passes as the receiver's deadlines say, at most so much.
    void wait(gvsp::Time duration) {
        const gvsp::Time end = now + duration;
        for (auto due = receiver.deadline(); due && *due <= end; due = receiver.deadline()) {
            now = std::max(now, *due);
            receiver.advance(now);
        }
        now = end;
    }

    std::list<Bytes> memory;
    gvsp::Time now{std::chrono::seconds(1)};
    gvsp::Receiver receiver;
};

// Every byte is what was sent, or in the map.
inline void expectBytes(const gvsp::Image& image, const Sent& sent) {
    std::vector<bool> missing(image.size);
    std::size_t count = 0;
    std::size_t end = 0;
    for (const gvsp::Range& range : image.missing) {
        ASSERT_TRUE(count == 0 || range.offset > end) << "ascending and apart";
        end = range.offset + range.length;
        ASSERT_LE(end, image.size);
        std::fill_n(missing.begin() + static_cast<std::ptrdiff_t>(range.offset), range.length, true);
        count += range.length;
    }
    EXPECT_EQ(count, image.missingBytes);
    for (std::size_t i = 0; i < image.size; ++i) {
        ASSERT_TRUE(missing[i] || image.buffer.data[i] == sent.at(i)) << "byte " << i;
    }
}

} // namespace rig
