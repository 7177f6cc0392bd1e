// A board behind the platform's C interface whose every access is recorded and whose data queues a test
// fills. It has no clock: an empty data queue times out at once. One thread.
#pragma once

#include "platform/kemrt.h"
#include "platform/tavo_hw.h"
#include "transport/GigeCamera.h"

#include <array>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

using Frame = std::vector<std::uint8_t>;

inline constexpr int kQueueTimeout = -110;
inline constexpr int kRegisterError = 77;

struct KemDesign {
    std::vector<std::string> lookedUp; // a register's id is its place in here
};

struct TavoBoard {
    KemDesign* design = nullptr;
    std::vector<std::pair<std::string, std::uint64_t>> writes; // without the bytes of frames
    std::map<std::string, std::uint64_t> values;
    std::set<std::string> broken; // registers whose accesses fail
    std::array<std::deque<std::uint32_t>, 4> queues;
    std::array<Frame, 4> loaded;
    std::array<std::vector<Frame>, 4> sent;
    std::function<void(int port, const Frame& frame)> onSent;
    std::function<void(std::uint64_t phyRegister)> onMdioRead;
    int freed = 0;
};

// A GigeCamera on such a board, with a camera selected on each port: MAC 02:11:22:33:44:55, 169.254.7.100.
struct ScriptedBoard {
    ScriptedBoard();

    // The frame arrives at a port, well framed.
    void arrive(int port, const Frame& frame);
    // The camera's answer to every command from now on: a table from the request's place in time to frames.
    void answer(std::function<std::vector<Frame>(const Frame& command)> camera);

    KemDesign design;
    TavoBoard board;
    std::unique_ptr<GigeCamera> camera;
};

// An acknowledgement to a command, addressed back to its sender.
Frame ackTo(const Frame& command, const Frame& payload, std::uint16_t status = 0);
// The same with another request id.
Frame withId(Frame ack, std::uint16_t id);
std::uint16_t idOf(const Frame& frame);
std::uint32_t addressOf(const Frame& frame);
std::uint16_t countOf(const Frame& readMemory);
Frame bigEndian(std::uint32_t value);
// The payload of a discovery acknowledgement.
Frame discoveryPayload(std::uint8_t lastMacByte, const std::string& userName);
