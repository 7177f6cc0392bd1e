// A board behind the platform's C interface whose every access is recorded and whose data queues a test
// fills. Its time passes only while an empty data queue is waited for. One thread.
#pragma once

#include "platform/kemrt.h"
#include "platform/tavo_hw.h"
#include "support/golden.h"
#include "transport/GigeCamera.h"

#include <gmock/gmock.h>

#include <deque>
#include <functional>
#include <map>
#include <set>

using Frame = std::vector<std::uint8_t>;
using Frames = std::vector<Frame>;
using Answers = std::function<Frames(const Frame& command)>;
using Writes = std::vector<std::pair<std::string, std::uint64_t>>;

inline constexpr int kQueueTimeout = -110;
inline constexpr int kRegisterError = 77;

struct KemDesign {
    std::vector<std::string> lookedUp; // a register's id is its place in here
};

struct TavoBoard {
    KemDesign* design = nullptr;
    Writes writes; // without the bytes of frames
    std::map<std::string, std::uint64_t> values;
    std::set<std::string> broken; // registers whose accesses fail
    std::array<std::deque<std::uint32_t>, 4> queues;
    Frame loaded;
    std::array<Frames, 4> sent;
    std::function<void(int port, const Frame& frame)> onSent;
    std::function<void()> onMdioRead;
    std::function<void()> onEmpty; // a data queue has nothing for a reader
};

inline UDPPacket packetOf(const Frame& frame) {
    UDPPacket packet;
    packet.clear();
    std::copy(frame.begin(), frame.end(), packet.bytes.begin());
    return packet;
}

// A GigeCamera on such a board, with a camera selected on each port: MAC 02:11:22:33:44:55, 169.254.7.100.
struct ScriptedBoard {
    ScriptedBoard();

    // The frame arrives at a port, well framed.
    void arrive(int port, const Frame& frame);
    // Milliseconds since the board was made.
    static long time();
    // What the camera sends for every command from now on.
    void answer(Answers camera);

    KemDesign design;
    TavoBoard board;
    std::unique_ptr<GigeCamera> camera;
};

// Big-endian numbers in frames; `with` is a copy of the frame in which bytes are replaced, or appended.
inline unsigned numberAt(const Frame& frame, std::size_t offset) {
    return static_cast<unsigned>(frame.at(offset) << 8 | frame.at(offset + 1));
}
Frame with(Frame frame, std::size_t offset, const Frame& bytes);
inline Frame with16(const Frame& frame, std::size_t offset, std::size_t value) {
    return with(frame, offset, {static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value)});
}
inline Frame big32(std::uint32_t value) {
    return with16(with16({}, 0, value >> 16), 2, value);
}

inline constexpr std::size_t kAckCode = 44;
inline constexpr std::size_t kIdAt = 48;

// An acknowledgement to a command.
Frame ackTo(const Frame& command, const Frame& payload, std::uint16_t status = 0);
// The payload of the discovery acknowledgement of the files, with another MAC address and user-defined name.
Frame discoveryPayload(std::uint8_t lastMacByte, const std::string& userName);

inline QByteArray bytesOf(const Frame& frame) {
    return QByteArray(reinterpret_cast<const char*>(frame.data()), static_cast<int>(frame.size()));
}
