// What the tests of the software board share: a board opened as an application opens it, and a station of the
// simplest kind.
#pragma once

#include "softboard/softboard.h"

#include "platform/kemrt.h"
#include "platform/tavo_hw.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <functional>
#include <mutex>
#include <numeric>

namespace test {

using Bytes = std::vector<std::uint8_t>;
using Clock = std::chrono::steady_clock;
inline constexpr std::chrono::seconds kGenerous{20};
inline constexpr int kWaitMs = 20000; // for what must come
inline constexpr int kTimeout = -110;

// Keeps every frame that it gets; sends what the test tells it to, or its answer to what it got.
class Station : public ethernet::Endpoint {
public:
    using Answer = std::function<void(const Bytes&, const ethernet::FrameSink&)>;

    explicit Station(Answer answer = {}) : m_answer(std::move(answer)) {}

    void plug(ethernet::FrameSink sink) override {
        const std::lock_guard lock(m_sinkMutex);
        m_sink = std::move(sink);
    }

    void receive(const std::uint8_t* frame, std::size_t size) override {
        const Bytes bytes(frame, frame + size);
        {
            const std::lock_guard lock(m_mutex);
            m_frames.push_back(bytes);
        }
        m_arrived.notify_all();
        if (m_answer) { // no other station on the port may have an answer
            const std::lock_guard lock(m_sinkMutex);
            m_sink ? m_answer(bytes, m_sink) : void();
        }
    }

    void send(const Bytes& frame) {
        const std::lock_guard lock(m_sinkMutex);
        m_sink ? m_sink(frame.data(), frame.size()) : void();
    }

    // The frames so far, once there are `count` of them.
    std::vector<Bytes> frames(std::size_t count) {
        std::unique_lock lock(m_mutex);
        EXPECT_TRUE(m_arrived.wait_for(lock, kGenerous, [&] { return m_frames.size() >= count; }));
        return m_frames;
    }

private:
    const Answer m_answer;
    std::mutex m_sinkMutex;
    ethernet::FrameSink m_sink;
    std::mutex m_mutex;
    std::condition_variable m_arrived;
    std::vector<Bytes> m_frames;
};

// An open board with its applet.
class OpenBoard {
public:
    explicit OpenBoard(int number = 0)
        : handle(TavoInitAllHWEx(number)),
          design(KemFirmwareTrampoline(
              TavoGetBoardInfoInt(handle, "firmware/major"), TavoGetBoardInfoInt(handle, "firmware/minor"))) {
        EXPECT_EQ(TavoConfigureFpga(handle, design), 0);
    }
    ~OpenBoard() {
        KemUnloadKemFile(design);
        TavoFreeHW(handle);
    }
    OpenBoard(const OpenBoard&) = delete;
    OpenBoard& operator=(const OpenBoard&) = delete;

    int id(const std::string& name) const { return KemGetRegisterByName(design, name.c_str()); }
    int write(const std::string& name, std::uint64_t value) const {
        return TavoRegisterWrite(handle, id(name), value);
    }
    std::uint64_t read(const std::string& name) const {
        std::uint64_t value = ~std::uint64_t{0};
        EXPECT_EQ(TavoRegisterRead(handle, id(name), &value), 0) << name;
        return value;
    }

    // As the library brings its registers up.
    void enable() const {
        write("GigE_TxStart", 1);
        write("GigE_RxEnable", 1);
        for (unsigned port = 0; port < 4; ++port) {
            write("GigeTxStart" + std::to_string(port), 1);
            write("ImagePort" + std::to_string(port), 1520 + port);
        }
    }

    int strobe(int port) const { return write("GigeWriteComplete" + std::to_string(port), 0); }
    // A frame of even length.
    int send(int port, const Bytes& frame) const {
        write("GigeBufferReset" + std::to_string(port), 0);
        const int data = id("GigeWriteData" + std::to_string(port));
        for (std::size_t i = 0; i + 1 < frame.size(); i += 2) {
            TavoRegisterWrite(handle, data, frame[i] | static_cast<unsigned>(frame[i + 1]) << 8);
        }
        return strobe(port);
    }

    int readQueue(unsigned port, void* to, std::size_t bytes, int timeoutMs = 0) const {
        return TavoDataQueueReadBufferLong(handle, port, to, static_cast<unsigned>(bytes), timeoutMs);
    }
    // The next frame of a port; what the data queue's result was when there is none.
    int receive(unsigned port, Bytes& frame, int timeoutMs) const {
        std::uint32_t length = 0;
        const int first = readQueue(port, &length, sizeof length, timeoutMs);
        if (first < 0) {
            return first;
        }
        EXPECT_EQ(length % 2, 0U) << length;
        std::vector<std::uint32_t> words(length / 2);
        EXPECT_EQ(
            readQueue(port, words.data(), 4 * words.size(), timeoutMs), static_cast<int>(4 * words.size()));
        frame.clear();
        for (std::size_t i = 0; i < words.size(); ++i) {
            EXPECT_EQ(words[i] >> 16, i + 1 == words.size() ? 1U : 0U) << "end mark of word " << i;
            frame.push_back(static_cast<std::uint8_t>(words[i]));
            frame.push_back(static_cast<std::uint8_t>(words[i] >> 8));
        }
        return 0;
    }

    const QLdevice handle;
    const fpga_design design;
};

inline void configure(const std::string& text) {
    std::string error;
    ASSERT_TRUE(softboard::loadConfiguration(text, error)) << error;
}

// Bytes 0, 1, 2... from a start, as a frame of no known protocol.
inline Bytes numbered(std::size_t size, std::uint8_t start = 0) {
    Bytes frame(size);
    std::iota(frame.begin(), frame.end(), start);
    return frame;
}

inline bool inject(int port, const Bytes& frame) {
    return softboard::injectFrame(0, port, frame.data(), frame.size());
}

inline softboard::PortState state(int port) {
    return softboard::portState(0, port);
}

inline std::shared_ptr<Station> plugIn(int port, Station::Answer answer = {}) {
    const auto station = std::make_shared<Station>(std::move(answer));
    EXPECT_TRUE(softboard::attach(0, port, station));
    return station;
}

} // namespace test
