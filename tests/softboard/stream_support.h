// A camera's stream, made packet by packet, and the image path as the library calls it.
#pragma once

#include "support.h"

#include "netif/PacketSocket.h"
#include "platform/image_path.h"
#include "protocol/gvsp.h"
#include "protocol/internet_checksum.h"
#include "protocol/net.h"
#include "support/net_namespace.h"
#include "support/wait.h"

#include <dlfcn.h>

#include <algorithm>

namespace test {

inline const Bytes kHostMac = {2, 0, 0, 0, 0, 1};
inline const Bytes kHostIp = {169, 254, 7, 42};
inline const Bytes kCameraMac = {2, 0x11, 0x22, 0x33, 0x44, 0x55};
inline const Bytes kCameraIp = {169, 254, 7, 100};

inline void put(Bytes& bytes, std::size_t at, std::uint64_t value, unsigned size) {
    for (unsigned i = 0; i < size; ++i) {
        bytes[at + i] = static_cast<std::uint8_t>(value >> (8 * (size - 1 - i)));
    }
}

inline void put(Bytes& bytes, std::size_t at, const Bytes& what) {
    std::copy(what.begin(), what.end(), bytes.begin() + static_cast<std::ptrdiff_t>(at));
}

// One packet of a stream as a frame, without UDP checksum as cameras send it. Blocks above 16 bits have
// extended ids.
inline Bytes streamFrame(gvsp::Format format, std::uint64_t block, std::uint32_t packet, const Bytes& data) {
    const bool extended = block > gvsp::kLastShortBlock;
    const std::size_t header = extended ? gvsp::kExtendedHeader : gvsp::kHeader;
    const std::size_t size = net::kUdpPayload + header + data.size();
    Bytes frame(std::max(size, net::kMinFrame));
    put(frame, net::kDestinationMac, kHostMac);
    put(frame, net::kSourceMac, kCameraMac);
    put(frame, net::kEtherType, net::kEtherTypeIpv4, 2);
    frame[net::kIpVersion] = 0x45;
    put(frame, net::kIpTotalLength, size - net::kEthernetHeader, 2);
    frame[net::kIpTimeToLive] = 64;
    frame[net::kIpProtocol] = net::kIpProtocolUdp;
    put(frame, net::kSourceIp, kCameraIp);
    put(frame, net::kDestinationIp, kHostIp);
    put(frame, net::kUdpSourcePort, 0xC000, 2);
    put(frame, net::kUdpDestinationPort, 1520, 2);
    put(frame, net::kUdpLength, net::kUdpHeader + header + data.size(), 2);
    put(frame, net::kUdpPayload + (extended ? gvsp::kExtendedBlockId : gvsp::kBlockId), block,
        extended ? 8 : 2);
    put(frame, net::kUdpPayload + (extended ? gvsp::kExtendedPacketId + 1 : gvsp::kPacketId), packet, 3);
    frame[net::kUdpPayload + gvsp::kFormat] =
        static_cast<std::uint8_t>(static_cast<int>(format) | (extended ? gvsp::kExtendedIds : 0));
    put(frame, net::kUdpPayload + header, data);
    return frame;
}

constexpr std::size_t kPacketData = 20;
constexpr std::uint32_t kWidth = 50;
constexpr std::uint32_t kHeight = 13;
constexpr std::size_t kPayload = kWidth * kHeight;
constexpr std::uint32_t kPayloadPackets = (kPayload + kPacketData - 1) / kPacketData;

inline Bytes pixels(std::uint64_t block) {
    return numbered(kPayload, static_cast<std::uint8_t>(block * 7));
}

// An image of Mono8 from its leader to its trailer.
inline std::vector<Bytes> imageFrames(std::uint64_t block) {
    Bytes leader(gvsp::kImageLeader);
    put(leader, gvsp::kLeaderPayloadType, 1, 2);
    put(leader, gvsp::kLeaderTimestamp, 1000 * block, 8);
    put(leader, gvsp::kLeaderPixelFormat, 0x01080001, 4);
    put(leader, gvsp::kLeaderWidth, kWidth, 4);
    put(leader, gvsp::kLeaderHeight, kHeight, 4);
    Bytes trailer(gvsp::kImageTrailer);
    put(trailer, gvsp::kTrailerPayloadType, 1, 2);
    put(trailer, gvsp::kTrailerHeight, kHeight, 4);
    std::vector<Bytes> frames = {streamFrame(gvsp::Format::Leader, block, 0, leader)};
    const Bytes data = pixels(block);
    for (std::size_t at = 0; at < kPayload; at += kPacketData) {
        const auto first = data.begin() + static_cast<std::ptrdiff_t>(at);
        const auto size = static_cast<std::ptrdiff_t>(std::min(kPacketData, kPayload - at));
        frames.push_back(streamFrame(
            gvsp::Format::Payload, block, static_cast<std::uint32_t>(frames.size()),
            Bytes(first, first + size)));
    }
    frames.push_back(
        streamFrame(gvsp::Format::Trailer, block, static_cast<std::uint32_t>(frames.size()), trailer));
    return frames;
}

// Port 0 of board 0 and a camera on it: in this process, or behind a network interface.
class StreamPort : public testing::Test {
protected:
    void plugIn(bool overInterface) {
        if (!overInterface) {
            configure("[board 0]\n[board 0 port 0]\n");
            station = test::plugIn(0);
        } else {
            wire = std::make_unique<test_support::VirtualWire>();
            if (!wire->error().empty()) {
                GTEST_SKIP() << wire->error();
            }
            std::string error;
            {
                const test_support::NetNamespace::Inside inside(wire->camera);
                raw = netif::PacketSocket::create("camera0", {}, error);
            }
            ASSERT_TRUE(raw) << error;
            const test_support::NetNamespace::Inside inside(wire->host);
            configure("[board 0]\n[board 0 port 0]\ninterface = host0\nmac = 02:00:00:00:00:01\n");
        }
        openBoard();
    }
    void openBoard() {
        board = std::make_unique<OpenBoard>();
        board->enable();
    }
    void TearDown() override {
        board.reset();
        configure("[board 0]\n");
    }

    void send(const Bytes& frame) {
        station ? station->send(frame) : void(raw->send(frame.data(), frame.size()));
    }
    void send(const std::vector<Bytes>& frames) {
        std::for_each(frames.begin(), frames.end(), [this](const Bytes& frame) { send(frame); });
    }
    // The next frame from the board.
    Bytes asked() {
        if (station) {
            return station->frames(++m_asked).back();
        }
        const auto frame = raw->receive(Clock::now() + kGenerous);
        return Bytes(frame.begin(), frame.end());
    }

    std::unique_ptr<test_support::VirtualWire> wire;
    std::unique_ptr<netif::PacketSocket> raw;
    std::shared_ptr<Station> station;
    std::unique_ptr<OpenBoard> board;

private:
    std::size_t m_asked = 0;
};

// Looked up as the library does it.
inline const TavoImagePath& imagePath() {
    const auto call = reinterpret_cast<TavoImagePathCall>(dlsym(RTLD_DEFAULT, LIOMOL_IMAGE_PATH_CALL));
    return *call(LIOMOL_IMAGE_PATH_VERSION);
}

// A stream on port 0 of board 0 with memory of its own.
class OpenStream {
public:
    explicit OpenStream(unsigned buffers = 3) : memory(buffers, Bytes(kPayload + 50)) {
        for (Bytes& piece : memory) {
            m_pieces.push_back(piece.data());
        }
        settings.udpPort = 1520;
        std::copy(kHostMac.begin(), kHostMac.end(), settings.hostMac);
        std::copy(kHostIp.begin(), kHostIp.end(), settings.hostIp);
        std::copy(kCameraMac.begin(), kCameraMac.end(), settings.cameraMac);
        std::copy(kCameraIp.begin(), kCameraIp.end(), settings.cameraIp);
        settings.buffers = buffers;
        settings.memory = m_pieces.data();
        settings.bufferSize = memory[0].size();
        settings.payloadSize = kPayload;
        settings.pixelFormat = 0x01080001;
        settings.width = kWidth;
        settings.height = kHeight;
        settings.patienceMs = 60000; // nothing is given up but where a test wants it
    }
    ~OpenStream() { close(); }
    OpenStream(const OpenStream&) = delete;
    OpenStream& operator=(const OpenStream&) = delete;

    int open() { return imagePath().open(&settings, &m_stream); }
    void close() {
        imagePath().close(m_stream);
        m_stream = nullptr;
    }
    int wait(TavoImage& image, int timeoutMs = kWaitMs) {
        return imagePath().wait(m_stream, timeoutMs, &image);
    }
    int giveBack(unsigned buffer) { return imagePath().giveBack(m_stream, buffer); }
    void wake() { imagePath().wake(m_stream); }
    int restart() { return imagePath().restart(m_stream, &settings); }
    TavoImageStatistics statistics() {
        TavoImageStatistics now{};
        imagePath().statistics(m_stream, &now);
        return now;
    }
    Bytes bytes(const TavoImage& image) const {
        const Bytes& piece = memory[image.buffer];
        return Bytes(piece.begin(), piece.begin() + static_cast<std::ptrdiff_t>(image.size));
    }

    TavoImageSettings settings{};
    std::vector<Bytes> memory;

private:
    std::vector<void*> m_pieces;
    TavoImageStream* m_stream = nullptr;
};

} // namespace test
