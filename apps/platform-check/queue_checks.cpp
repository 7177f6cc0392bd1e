// The data queue, and a frame's way out and back.
#include "Platform.h"
#include "Report.h"

#include "platform/fpga_registers.h"
#include "protocol/gvcp.h"
#include "protocol/internet_checksum.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <optional>
#include <vector>

namespace platform_check {
namespace {

using Clock = std::chrono::steady_clock;
using fpga::PortRegister;
using std::chrono::milliseconds;

constexpr std::uint32_t kEndMark = 1U << 16;
constexpr std::uint32_t kLongestFrame = 16384;

// A scan for cameras, sent to all: Ethernet, IPv4, UDP, GVCP, without padding.
std::vector<std::uint8_t> discovery() {
    std::vector<std::uint8_t> frame{
        0xFF,
        0xFF,
        0xFF,
        0xFF,
        0xFF,
        0xFF,
        0x02,
        0,
        0,
        0,
        0,
        1,
        0x08,
        0x00, // Ethernet
        0x45,
        0,
        0,
        36,
        0,
        0,
        0,
        0,
        64,
        17,
        0,
        0,
        169,
        254,
        0,
        1,
        255,
        255,
        255,
        255, // IPv4
        0x0B,
        0xC7,
        gvcp::kPort >> 8,
        gvcp::kPort & 0xFF,
        0,
        16,
        0,
        0, // UDP without a checksum
        gvcp::kKey,
        gvcp::kFlagAckRequired | gvcp::kFlagBroadcastAck,
        0,
        0x02,
        0,
        0,
        0,
        1};
    constexpr std::size_t kIp = 14;
    constexpr std::size_t kIpHeader = 20;
    const std::uint16_t sum = net::InternetChecksum().add(&frame[kIp], kIpHeader).value();
    frame[kIp + 10] = static_cast<std::uint8_t>(sum >> 8);
    frame[kIp + 11] = static_cast<std::uint8_t>(sum);
    return frame;
}

int write(const Board& board, PortRegister reg, std::uint64_t value) {
    const std::string name =
        std::string(fpga::kPortRegisters[static_cast<std::size_t>(reg)].name) + std::to_string(board.port);
    return board.calls.write(board.device, board.calls.registerId(board.applet, name.c_str()), value);
}

bool enable(const Board& board) {
    bool good = write(board, PortRegister::TxStart, 1) == 0;
    for (const char* name : {"GigE_TxStart", "GigE_RxEnable"}) {
        good = board.calls.write(board.device, board.calls.registerId(board.applet, name), 1) == 0 && good;
    }
    return good;
}

// One frame of the queue: a length word, and a word for every two bytes with a mark in the last. Empty: none
// came.
std::vector<std::uint32_t> readFrame(const Board& board, int timeoutMs, std::uint32_t& length) {
    length = 0;
    std::vector<std::uint32_t> words;
    if (board.calls.queueRead(board.device, board.port, &length, sizeof length, timeoutMs) != sizeof length ||
        length > kLongestFrame) {
        return words;
    }
    words.resize((length + 1) / 2);
    const auto bytes = static_cast<unsigned>(words.size() * sizeof words[0]);
    unsigned got = 0;
    while (got < bytes) {
        const int more = board.calls.queueRead(
            board.device, board.port, reinterpret_cast<std::uint8_t*>(words.data()) + got, bytes - got,
            timeoutMs);
        if (more <= 0) {
            words.clear();
            break;
        }
        got += static_cast<unsigned>(more);
    }
    return words;
}

// How long a read of the empty queue takes: the quickest of some, because this program may be kept from
// running. Nothing when the queue is never empty.
std::optional<Clock::duration> quickestEmptyRead(const Board& board, milliseconds timeout) {
    constexpr int kTries = 5;
    std::optional<Clock::duration> quickest;
    for (int i = 0; i < kTries; ++i) {
        std::array<std::uint32_t, 16> words{};
        board.calls.queueClear(board.device, board.port);
        const auto begin = Clock::now();
        const int result = board.calls.queueRead(
            board.device, board.port, words.data(), sizeof words, static_cast<int>(timeout.count()));
        if (result == 0) { // neither data nor an error: a reader would go on for ever
            return Clock::duration::max();
        }
        if (result < 0) {
            const auto took = Clock::now() - begin;
            quickest = quickest ? std::min(*quickest, took) : took;
        }
    }
    return quickest;
}

} // namespace

void checkQueue(const Board& board, Report& report) {
    constexpr milliseconds kWait{200};
    constexpr milliseconds kMore{800};
    report.calling("TavoDataQueueClear");
    report.expect(board.calls.queueClear(board.device, board.port) == 0, "empties the queue");
    report.expect(
        board.calls.queueClear(board.device, kPorts) != 0, "a channel that is not there is an error");
    report.calling("TavoDataQueueReadBufferLong");
    const auto atOnce = quickestEmptyRead(board, milliseconds(0));
    const auto later = quickestEmptyRead(board, kWait);
    if (!atOnce || !later) {
        report.note("frames arrive by themselves: time-outs were not looked at");
    } else {
        report.expect(*atOnce < kMore, "a time-out of 0 returns at once, negative without data");
        report.expect(
            *later >= kWait / 2 && *later < kWait + kMore,
            "waits as long as it is told, and is negative then");
    }
    std::uint32_t word = 0;
    report.expect(
        board.calls.queueRead(board.device, kPorts, &word, sizeof word, 0) < 0,
        "a channel that is not there is an error");
}

void checkFrames(const Board& board, Report& report) {
    constexpr int kWaitMs = 1500; // cameras answer a scan within a second
    report.calling("GigeWriteData, GigeWriteComplete");
    const std::vector<std::uint8_t> frame = discovery();
    board.calls.queueClear(board.device, board.port);
    bool sent = enable(board) && write(board, PortRegister::BufferReset, 0) == 0;
    for (std::size_t i = 0; i < frame.size(); i += 2) {
        sent =
            write(board, PortRegister::WriteData, frame[i] | static_cast<unsigned>(frame[i + 1]) << 8) == 0 &&
            sent;
    }
    sent = write(board, PortRegister::WriteComplete, 0) == 0 && sent;
    report.expect(sent, "a scan for cameras is sent");
    report.calling("TavoDataQueueReadBufferLong");
    std::uint32_t length = 0;
    const std::vector<std::uint32_t> words = readFrame(board, kWaitMs, length);
    if (length == 0) {
        report.note("no camera answered the scan: how frames are given was not looked at");
        return;
    }
    report.expect(!words.empty(), "a frame begins with its length, at most 16384 bytes, and is whole");
    if (words.empty()) {
        return;
    }
    bool early = false;
    for (std::size_t i = 0; i + 1 < words.size(); ++i) {
        early = early || (words[i] & kEndMark) != 0;
    }
    report.expect(
        (words.back() & kEndMark) != 0 && !early,
        "bit 16 is set in the last word of a frame, and in no other");
    constexpr std::size_t kTypeWord = 6;
    const bool ordered = words.size() > kTypeWord && (words[kTypeWord] & 0xFF) == 0x08;
    report.expect(ordered, "the first of two bytes is the lowest in its word");
}

} // namespace platform_check
