// What the tests of the software board share: a board opened as an application opens it, and a station of the
// simplest kind.
#pragma once

#include "softboard/softboard.h"

#include "platform/kemrt.h"
#include "platform/tavo_hw.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace test {

using Bytes = std::vector<std::uint8_t>;
inline constexpr std::chrono::seconds kGenerous{20};

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
        if (m_answer) { // such a station must hang on its port alone
            const std::lock_guard lock(m_sinkMutex);
            m_sink ? m_answer(bytes, m_sink) : void();
        }
    }

    void send(const Bytes& frame) {
        const std::lock_guard lock(m_sinkMutex);
        if (m_sink) {
            m_sink(frame.data(), frame.size());
        }
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
        EXPECT_NE(handle, nullptr);
        EXPECT_EQ(TavoConfigureFpga(handle, design), 0);
    }
    ~OpenBoard() {
        KemUnloadKemFile(design);
        TavoFreeHW(handle);
    }
    OpenBoard(const OpenBoard&) = delete;
    OpenBoard& operator=(const OpenBoard&) = delete;

    int id(const std::string& name) const { return KemGetRegisterByName(design, name.c_str()); }
    int id(const std::string& base, int port) const { return id(base + std::to_string(port)); }

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
        for (int port = 0; port < 4; ++port) {
            TavoRegisterWrite(handle, id("GigeTxStart", port), 1);
            TavoRegisterWrite(handle, id("ImagePort", port), 1520U + static_cast<unsigned>(port));
        }
    }

    // Loads a frame of even length without sending it.
    void load(int port, const Bytes& frame) const {
        TavoRegisterWrite(handle, id("GigeBufferReset", port), 0);
        const int data = id("GigeWriteData", port);
        for (std::size_t i = 0; i + 1 < frame.size(); i += 2) {
            TavoRegisterWrite(handle, data, frame[i] | static_cast<unsigned>(frame[i + 1]) << 8);
        }
    }
    int strobe(int port) const { return TavoRegisterWrite(handle, id("GigeWriteComplete", port), 0); }
    int send(int port, const Bytes& frame) const {
        load(port, frame);
        return strobe(port);
    }

    // The next frame of a port; what the data queue's result was when there is none.
    int receive(unsigned port, Bytes& frame, int timeoutMs) const {
        std::uint32_t length = 0;
        const int first = TavoDataQueueReadBufferLong(handle, port, &length, sizeof length, timeoutMs);
        if (first < 0) {
            return first;
        }
        EXPECT_EQ(length % 2, 0U) << length;
        std::vector<std::uint32_t> words(length / 2);
        const auto bytes = static_cast<unsigned>(4 * words.size());
        EXPECT_EQ(
            TavoDataQueueReadBufferLong(handle, port, words.data(), bytes, timeoutMs),
            static_cast<int>(bytes));
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
    for (std::size_t i = 0; i < size; ++i) {
        frame[i] = static_cast<std::uint8_t>(start + i);
    }
    return frame;
}

} // namespace test
