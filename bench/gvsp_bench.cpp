// What it takes to put an image together out of its packets, beside a bare copy of the same payloads from the
// same packets into the same buffers. Both take turns in one run, so that what else the machine does meets
// both. The packets lie as a ring of the kernel has them, one after the other.
#include "gvsp/Receiver.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <ctime>
#include <utility>

namespace {

constexpr std::size_t kFrames = 16; // in the ring: a turn of each kind
constexpr std::size_t kBuffers = 2; // one is being filled while the other's image is looked at
constexpr std::size_t kGap = 64; // what a ring keeps of its own before each packet, and the frame's headers
constexpr std::uint32_t kWidth = 640;

double cpuNow() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

struct Stream {
    std::vector<std::uint8_t> memory;
    struct Slot {
        std::size_t offset;
        std::size_t size;
    };
    std::vector<Slot> packets; // of all frames
    std::size_t perFrame = 0;
    std::size_t payload = 0; // of a full packet
    std::size_t image = 0;

    Stream(std::size_t packetSize, std::uint32_t height)
        : payload(packetSize - gvsp::kPacketOverhead), image(std::size_t{kWidth} * height) {
        for (std::uint16_t block = 1; block <= kFrames; ++block) {
            appendFrame(block, height);
        }
        perFrame = packets.size() / kFrames;
    }
    // The next blocks, which look like those before.
    void renumber(std::uint16_t& block) {
        for (std::size_t i = 0; i < packets.size(); ++i) {
            if (i % perFrame == 0) {
                block = block == gvsp::kLastShortBlock ? 1 : block + 1;
            }
            put(packets[i].offset + gvsp::kBlockId, block, 2);
        }
    }
    std::span<const std::uint8_t> at(std::size_t packet) const {
        return std::span(memory).subspan(packets[packet].offset, packets[packet].size);
    }

private:
    void put(std::size_t at, std::uint64_t value, std::size_t size) {
        while (size-- > 0) {
            memory[at++] = static_cast<std::uint8_t>(value >> 8 * size);
        }
    }
    std::size_t append(std::uint16_t block, gvsp::Format format, std::uint32_t id, std::size_t content) {
        const std::size_t offset = (memory.size() + kGap + 15) / 16 * 16 + 10;
        memory.resize(offset + gvsp::kHeader + content, static_cast<std::uint8_t>(block * 3 + id));
        if (format != gvsp::Format::Payload) {
            std::fill(memory.begin() + static_cast<std::ptrdiff_t>(offset), memory.end(), std::uint8_t{0});
        }
        put(offset, 0, gvsp::kHeader);
        put(offset + gvsp::kBlockId, block, 2);
        put(offset + gvsp::kFormat, static_cast<std::uint8_t>(format), 1);
        put(offset + gvsp::kPacketId, id, 3);
        packets.push_back({offset, gvsp::kHeader + content});
        return offset + gvsp::kHeader;
    }
    void appendFrame(std::uint16_t block, std::uint32_t height) {
        const std::size_t leader = append(block, gvsp::Format::Leader, 0, gvsp::kImageLeader);
        put(leader + gvsp::kLeaderPayloadType, 1, 2);
        put(leader + gvsp::kLeaderPixelFormat, 0x01080001, 4);
        put(leader + gvsp::kLeaderWidth, kWidth, 4);
        put(leader + gvsp::kLeaderHeight, height, 4);
        std::uint32_t id = 1;
        for (std::size_t done = 0; done < image; done += payload) {
            append(block, gvsp::Format::Payload, id++, std::min(payload, image - done));
        }
        const std::size_t trailer = append(block, gvsp::Format::Trailer, id, gvsp::kImageTrailer);
        put(trailer + gvsp::kTrailerPayloadType, 1, 2);
        put(trailer + gvsp::kTrailerHeight, height, 4);
    }
};

using Buffers = std::vector<std::vector<std::uint8_t>>;

// A bare reader: it knows where each payload goes, and nothing else.
void copyBare(const Stream& stream, Buffers& buffers) {
    for (std::size_t frame = 0; frame < kFrames; ++frame) {
        std::uint8_t* to = buffers[frame % kBuffers].data();
        for (std::size_t i = frame * stream.perFrame + 1; i + 1 < (frame + 1) * stream.perFrame; ++i) {
            const auto packet = stream.at(i);
            std::memcpy(to, packet.data() + gvsp::kHeader, packet.size() - gvsp::kHeader);
            to += packet.size() - gvsp::kHeader;
        }
        benchmark::ClobberMemory();
    }
}

void receive(const Stream& stream, gvsp::Receiver& receiver, gvsp::Buffer& looked, gvsp::Time& now) {
    for (std::size_t i = 0; i < stream.packets.size(); ++i) {
        receiver.packet(stream.at(i), now);
        if ((i + 1) % stream.perFrame == 0) {
            now += std::chrono::milliseconds(1);
            receiver.advance(now);
            gvsp::Image image;
            if (!receiver.nextImage(image) || image.status != gvsp::ImageStatus::Complete) {
                std::abort();
            }
            receiver.lend(std::exchange(looked, image.buffer));
        }
    }
}

// Arguments: packet size, lines of 640 pixels.
void receiving(benchmark::State& state) {
    Stream stream(static_cast<std::size_t>(state.range(0)), static_cast<std::uint32_t>(state.range(1)));
    std::vector<std::vector<std::uint8_t>> buffers(kBuffers, std::vector<std::uint8_t>(stream.image));
    gvsp::Settings settings;
    settings.payloadSize = stream.image;
    settings.packetSize = static_cast<std::size_t>(state.range(0));
    gvsp::Receiver receiver(settings);
    receiver.lend({buffers[0].data(), stream.image, 0});
    gvsp::Buffer looked{buffers[1].data(), stream.image, 1};
    gvsp::Time now{std::chrono::seconds(1)};
    std::uint16_t block = 0;
    std::vector<double> bare;
    std::vector<double> ratios;
    std::vector<double> whole;
    for (auto _ : state) {
        stream.renumber(block);
        const bool bareFirst = whole.size() % 2 == 0;
        std::array<double, 2> took{};
        for (const bool isBare : {bareFirst, !bareFirst}) {
            const double start = cpuNow();
            if (isBare) {
                copyBare(stream, buffers);
            } else {
                receive(stream, receiver, looked, now);
            }
            took[isBare ? 0 : 1] = cpuNow() - start;
        }
        bare.push_back(took[0] / kFrames);
        whole.push_back(took[1] / kFrames);
        ratios.push_back(took[1] / took[0]);
        state.SetIterationTime(took[1]);
    }
    const auto median = [](std::vector<double>& values) {
        std::nth_element(
            values.begin(), values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2), values.end());
        return values[values.size() / 2];
    };
    state.counters["frame_us"] = median(whole) * 1e6;
    state.counters["bare_us"] = median(bare) * 1e6;
    state.counters["ratio"] = median(ratios);
}

BENCHMARK(receiving)
    ->ArgNames({"packet", "lines"})
    ->Args({1500, 480})
    ->Args({9000, 480})
    ->Args({9000, 6554}) // 4 MB
    ->UseManualTime();

} // namespace

BENCHMARK_MAIN();
