// A camera that sends what it likes. The first byte sets the receiver up; then come records: packets byte by
// byte, packets that nearly fit each other, time, images fetched and given back, a restart. Whatever comes,
// no byte but those of buffers that are lent changes, no buffer is in two hands, map and counters agree,
// images come in order, and a byte outside the map is one that a packet of the image's block carried.
#include "gvsp/Receiver.h"
#include "gvsp/chunks.h"
#include "gvsp/packet.h"

#include <algorithm>
#include <array>
#include <bitset>
#include <cstdlib>
#include <map>
#include <vector>

namespace {

using gvsp::Time;
using std::chrono::milliseconds;
using Bytes = std::vector<std::uint8_t>;

constexpr unsigned kBuffers = 3;
constexpr std::size_t kFence = 64; // between buffers: nothing writes there
constexpr std::uint8_t kFenceByte = 0xF0;

void require(bool sound) {
    if (!sound) {
        std::abort();
    }
}

class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : m_bytes(data, size) {}
    bool empty() const { return m_bytes.empty(); }
    std::uint8_t byte() {
        const std::uint8_t first = m_bytes.empty() ? 0 : m_bytes.front();
        m_bytes = m_bytes.subspan(m_bytes.empty() ? 0 : 1);
        return first;
    }
    std::span<const std::uint8_t> take(std::size_t size) {
        const auto taken = m_bytes.first(std::min(size, m_bytes.size()));
        m_bytes = m_bytes.subspan(taken.size());
        return taken;
    }

private:
    std::span<const std::uint8_t> m_bytes;
};

class Harness {
public:
    explicit Harness(std::uint8_t what)
        : m_size(std::array<std::size_t, 4>{0, 100, 256, 1000}[what >> 4 & 3]),
          m_memory(kBuffers * (m_size + kFence) + kFence, kFenceByte), m_receiver(settings(what)) {
        for (unsigned i = 0; i < kBuffers; ++i) {
            m_receiver.lend({at(i), m_size, i});
        }
    }

    void packet(std::span<const std::uint8_t> datagram) {
        const Bytes exact(datagram.begin(), datagram.end()); // so that a sanitizer sees its end
        gvsp::Packet packet;
        if (gvsp::read(exact, packet)) {
            lookForDisorder(packet);
            auto& carried = m_carried[{packet.block, packet.extended()}];
            for (const std::uint8_t byte : packet.content) {
                carried.set(byte);
            }
        }
        m_receiver.packet(exact, m_now);
        check();
    }
    // Built from what the input says: kind and ids of both kinds, a few blocks, content of its block's own.
    void shapedPacket(Input& input) {
        const std::uint8_t kind = input.byte();
        const std::uint8_t block = input.byte();
        const std::uint8_t id = input.byte();
        const bool extended = (kind & 0x80) != 0;
        Bytes bytes(extended ? gvsp::kExtendedHeader : gvsp::kHeader);
        constexpr std::array<std::uint16_t, 8> kStatus{0, 0, 0, 0x0100, 0x800C, 0x8011, 0x8010, 0x800D};
        const std::uint16_t status = kStatus[kind >> 3 & 7];
        bytes[gvsp::kStatus] = static_cast<std::uint8_t>(status >> 8);
        bytes[gvsp::kStatus + 1] = static_cast<std::uint8_t>(status);
        bytes[gvsp::kFormat] = static_cast<std::uint8_t>((kind & 7) | (extended ? 0x80 : 0));
        bytes[extended ? gvsp::kExtendedBlockId + 7 : gvsp::kBlockId + 1] = block;
        bytes[extended ? gvsp::kExtendedPacketId + 3 : gvsp::kPacketId + 2] = id;
        if ((kind & 7) == static_cast<int>(gvsp::Format::Payload)) {
            bytes.resize(bytes.size() + input.byte() % 64, block);
        } else {
            const auto content = input.take(gvsp::kImageLeader + gvsp::kImageTrailer);
            bytes.insert(bytes.end(), content.begin(), content.end());
        }
        packet(bytes);
    }
    void wait(std::uint8_t time) {
        m_now += milliseconds(time) / 2;
        m_waited += milliseconds(time) / 2;
        m_receiver.advance(m_now);
        check();
    }
    void fetch(std::uint8_t how) {
        gvsp::Image image;
        if ((how & 1) == 0 && m_receiver.nextImage(image)) {
            checkImage(image);
            m_borrowed[image.buffer.number] = Bytes(image.buffer.data, image.buffer.data + m_size);
        }
        for (auto& [number, content] : m_borrowed) {
            require(std::equal(content.begin(), content.end(), at(number)));
        }
        if ((how & 2) == 0 && !m_borrowed.empty()) {
            m_receiver.lend({at(m_borrowed.begin()->first), m_size, m_borrowed.begin()->first});
            m_borrowed.erase(m_borrowed.begin());
        }
        gvsp::ResendWish wish;
        for (unsigned i = 0; i < how && m_receiver.nextWish(wish); ++i) {
            require(wish.first <= wish.last);
        }
    }
    void restart() {
        m_receiver.restart();
        m_last = 0;
        m_restarted = true;
    }
    // Every buffer comes back in the end.
    void finish() {
        for (int i = 0; i < 200 && m_receiver.deadline(); ++i) {
            m_now = std::max(m_now, *m_receiver.deadline());
            m_receiver.advance(m_now);
        }
        require(!m_receiver.deadline());
        while (m_receiver.waiting() > 0) {
            fetch(0);
        }
        const gvsp::Counters& counters = m_receiver.counters();
        require(m_restarted || counters.complete + counters.incomplete == m_images + counters.droppedOldest);
        check();
    }

private:
    gvsp::Settings settings(std::uint8_t what) const {
        gvsp::Settings settings;
        settings.payloadSize = m_size;
        settings.assumed = {0x01080001, 10, static_cast<std::uint32_t>(m_size / 10)};
        settings.packetSize = (what & 1) != 0 ? 32 + gvsp::kPacketOverhead : 0;
        settings.overflow = (what & 2) != 0 ? gvsp::Overflow::DropOldest : gvsp::Overflow::DropArriving;
        settings.resend = (what & 4) != 0;
        return settings;
    }
    std::uint8_t* at(unsigned buffer) { return m_memory.data() + kFence + buffer * (m_size + kFence); }
    // Leaders, ids far apart, ids of two kinds and long silences may all mean that the camera began anew.
    void lookForDisorder(const gvsp::Packet& packet) {
        if (packet.block == gvsp::kTestBlock) {
            return;
        }
        m_lowest = std::min(m_lowest, packet.block);
        m_highest = std::max(m_highest, packet.block);
        (packet.extended() ? m_extended : m_short) = true;
        const bool begins = packet.kind() == gvsp::Format::Leader || packet.kind() == gvsp::Format::AllIn;
        m_ordered = m_ordered && !begins && m_highest - m_lowest < 60 && !(m_extended && m_short);
    }
    void check() {
        for (unsigned i = 0; i <= kBuffers; ++i) {
            const auto fence = m_memory.begin() + static_cast<std::ptrdiff_t>(i * (m_size + kFence));
            require(std::all_of(fence, fence + kFence, [](std::uint8_t byte) { return byte == kFenceByte; }));
        }
    }
    void checkImage(const gvsp::Image& image) {
        ++m_images;
        require(image.buffer.number < kBuffers && m_borrowed.count(image.buffer.number) == 0);
        require(image.buffer.data == at(image.buffer.number) && image.size <= m_size);
        require(!m_ordered || m_waited >= milliseconds(200) || image.block > m_last);
        m_last = image.block;
        checkMap(image);
        const auto chunks = gvsp::findChunks({image.buffer.data, image.size});
        for (const gvsp::Chunk& chunk : chunks) {
            require(chunk.offset <= image.size && chunk.length <= image.size - chunk.offset);
        }
    }
    void checkMap(const gvsp::Image& image) {
        std::bitset<256> carried;
        for (const bool extended : {false, true}) {
            const auto found = m_carried.find({image.block, extended});
            carried |= found == m_carried.end() ? std::bitset<256>{} : found->second;
        }
        std::size_t missing = 0;
        std::size_t end = 0;
        const auto whole = [&](std::size_t from, std::size_t to) {
            for (std::size_t i = from; i < to; ++i) {
                require(carried.test(image.buffer.data[i]));
            }
        };
        for (const gvsp::Range& range : image.missing) {
            require(range.length > 0 && (missing == 0 || range.offset > end) && range.offset >= end);
            whole(end, range.offset);
            end = range.offset + range.length;
            missing += range.length;
            require(end <= image.size);
        }
        whole(end, image.size);
        require(missing == image.missingBytes);
        require(image.status != gvsp::ImageStatus::Complete || (missing == 0 && !image.truncated));
    }

    const std::size_t m_size;
    Bytes m_memory;
    Time m_now{std::chrono::seconds(1)};
    Time m_waited{};
    gvsp::Receiver m_receiver;
    std::map<unsigned, Bytes> m_borrowed;
    std::map<std::pair<std::uint64_t, bool>, std::bitset<256>> m_carried;
    std::uint64_t m_last = 0;
    std::uint64_t m_images = 0;
    bool m_ordered = true; // nothing has come that may be a new beginning
    std::uint64_t m_lowest = ~std::uint64_t{0};
    std::uint64_t m_highest = 0;
    bool m_short = false;
    bool m_extended = false;
    bool m_restarted = false;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Input input(data, size);
    Harness harness(input.byte());
    while (!input.empty()) {
        const std::uint8_t record = input.byte();
        switch (record & 7) {
        case 0:
            harness.packet(input.take(input.byte()));
            break;
        case 1:
            harness.wait(input.byte());
            break;
        case 2:
            harness.fetch(record >> 3);
            break;
        case 3:
            record == 3 ? harness.restart() : harness.fetch(0);
            break;
        default:
            harness.shapedPacket(input);
        }
    }
    harness.finish();
    return 0;
}
