// The camera as a station with a thread: plugged, flooded, unplugged, and made from settings.
#include "harness.h"

#include "simcam/Camera.h"
#include "support/wait.h"

#include <atomic>
#include <condition_variable>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <thread>

namespace {

using namespace simcam_test;
using std::chrono::seconds;

// A camera, what it sends and a host.
class SimcamCamera : public testing::Test {
protected:
    void make(ethernet::Settings settings = {}) {
        settings.insert({{"mac", "02:11:22:33:44:55"}, {"ip", "169.254.7.100"}});
        std::string error;
        camera = simcam::Camera::make(settings, error);
        ASSERT_TRUE(camera) << error;
        camera->plug([this](const std::uint8_t* frame, std::size_t size) {
            const std::scoped_lock lock(m_mutex);
            m_frames.emplace_back(frame, frame + size);
            m_arrived.notify_all();
        });
    }
    void send(std::uint16_t code, std::uint16_t id, const Bytes& payload) {
        const Bytes frame = m_bench.frame(m_bench.host, Bench::message(code, id, payload));
        camera->receive(frame.data(), frame.size());
    }
    std::vector<Bytes> wait(std::size_t count) {
        std::unique_lock lock(m_mutex);
        m_arrived.wait_for(lock, seconds(20), [&] { return m_frames.size() >= count; });
        return m_frames;
    }

private:
    const Bench m_bench; // builds the host's frames; its own camera is not used
    std::mutex m_mutex;
    std::condition_variable m_arrived;
    std::vector<Bytes> m_frames;

protected:
    std::unique_ptr<simcam::Camera> camera; // goes before what its sink uses
};

TEST_F(SimcamCamera, AnswersInTheOrderOfTheCommandsAndNoEarlierThanItsLatency) {
    make({{"latency", "30"}});
    const auto asked = simcam::Clock::now();
    for (std::uint16_t id = 1; id <= 100; ++id) {
        send(0x80, id, be32(0xA110));
    }
    const auto answers = wait(100);
    EXPECT_GE(simcam::Clock::now() - asked, milliseconds(30));
    ASSERT_EQ(answers.size(), 100u);
    for (std::uint16_t id = 1; id <= 100; ++id) {
        EXPECT_EQ(ackOf(answers[id - 1u]).id, id);
    }
    EXPECT_EQ(camera->log().count(gvcp::Command::ReadRegCmd), 100u);
}

TEST_F(SimcamCamera, DropsControlByItself) {
    make();
    send(0x82, 1, be32(0x0A00) + be32(2));
    send(0x82, 2, be32(0x0938) + be32(500));
    wait(2);
    EXPECT_EQ(camera->report().privilege, 2u);
    EXPECT_TRUE(eventually([&] { return !camera->report().controller; }));
    EXPECT_EQ(camera->peekRegister(0x0A00), std::optional<std::uint32_t>(0));
    EXPECT_FALSE(camera->peekRegister(0x9000));
    EXPECT_FALSE(camera->poke(0x48000000, Bytes(4)));
}

TEST_F(SimcamCamera, AnUnpluggedSinkIsNeverUsedAgain) {
    make();
    for (std::uint16_t round = 0; round < 200; ++round) {
        auto calls = std::make_unique<int>(0);
        camera->plug([&calls = *calls](const std::uint8_t*, std::size_t) { ++calls; });
        send(0x80, round, be32(0xA110));
        camera->plug({});
        calls.reset(); // the sink would write into freed memory
    }
}

// Packets of the stream come in batches; whatever happens to the camera meanwhile, it answers and ends.
TEST_F(SimcamCamera, StreamsAndDoesEverythingElseMeanwhile) {
    make({{"set", "Width=64;Height=64;ExposureTime=100;FrameRate=1000"}});
    std::atomic<std::uint64_t> packets{0};
    std::atomic<std::uint64_t> answers{0};
    const auto plug = [&] {
        camera->plug(
            [&](const std::uint8_t*, std::size_t) { ++answers; },
            [&](const std::vector<simcam::PacketBatch::Parts>& frames) { packets += frames.size(); });
    };
    std::uint16_t id = 0;
    const auto start = [&] {
        constexpr std::uint32_t kWrites[][2] = {
            {0x0A00, 2}, {0x0D18, 0xA9FE072A}, {0x0D00, 1520}, {0xA204, 1}};
        for (const auto& [address, value] : kWrites) {
            send(0x82, ++id, be32(address) + be32(value));
        }
        const std::uint64_t before = packets;
        EXPECT_TRUE(eventually([&] { return packets > before + 100; }));
    };
    plug();
    start();
    const auto asked = simcam::Clock::now();
    for (int i = 0; i < 20; ++i) {
        const std::uint64_t before = answers;
        send(0x80, ++id, be32(0xA110));
        EXPECT_TRUE(eventually([&] { return answers > before; }));
    }
    EXPECT_LT(simcam::Clock::now() - asked, seconds(20));
    camera->silence(milliseconds(5));
    const std::uint64_t before = packets;
    EXPECT_TRUE(eventually([&] { return packets > before + 100; })) << "it goes on behind the silence";
    camera->plug({});
    plug();
    camera->reboot(milliseconds(5));
    EXPECT_TRUE(eventually([&] { return !camera->report().silent; }));
    EXPECT_FALSE(camera->report().acquiring);
    start();
    std::string error;
    camera->setLinkFaults(simcam::parseLinkFaults("drop=0.1 duplicate=0.1 reorder=0.1", error).value());
    const std::uint64_t single = answers;
    EXPECT_TRUE(eventually([&] { return answers > single + 100; })) << "one by one over a bad wire";
    camera.reset();
}

TEST_F(SimcamCamera, AFloodLosesFramesAndNothingElse) {
    std::mutex gate;
    make();
    camera->plug([&gate](const std::uint8_t*, std::size_t) { const std::scoped_lock wait(gate); });
    std::unique_lock closed(gate);
    std::vector<std::thread> hosts;
    for (int i = 0; i < 4; ++i) {
        hosts.emplace_back([&] {
            for (std::uint16_t id = 1; id <= 1000; ++id) {
                send(0x80, id, be32(0xA110)); // returns although the camera's thread is held
            }
        });
    }
    for (std::thread& host : hosts) {
        host.join();
    }
    EXPECT_GE(camera->dropped(), 4000u - 2 * 256u);
    closed.unlock();
    camera->receive(nullptr, 5);
    const Bytes giant(10000);
    camera->receive(giant.data(), giant.size());
    const std::uint64_t handled = camera->log().total();
    EXPECT_TRUE(eventually([&] {
        send(0x80, 7, be32(0xA114));
        return camera->log().total() > handled;
    }));
    camera.reset(); // before the gate goes
}

TEST(SimcamSettings, AreCheckedWithOneLine) {
    std::ofstream("own.zip") << "PK\x03\x04 and so on";
    std::ofstream("own.xml") << "<RegisterDescription/>";
    std::ofstream("empty.xml");
    std::filesystem::create_directories("bad");
    std::ofstream("bad/one.pgm") << "P5 16 99999 255 ";
    constexpr const char* kUnreadable = "cannot be read, is empty or larger than 64 MiB";
    const struct {
        ethernet::Settings settings; // the last one is named in the error
        std::string reason;          // empty: accepted
    } rows[] = {
        {{{"mac", "03:00:00:00:00:10"}}, "is not the MAC address of a station"},
        {{{"ip", "224.0.0.1"}}, "is not an address for a camera"},
        {{{"name", "seventeen letters"}}, "is longer than 16 bytes"},
        {{{"faults", "silent; delay=5 x2"}}, ""},
        {{{"faults", "loud"}}, "fault 'loud': 'loud' is not understood"},
        {{{"description", "own.xml"}}, ""},
        {{{"description", "own.zip"}}, ""},
        {{{"description", "empty.xml"}}, kUnreadable},
        {{{"description", "own.zip"}, {"second-url", "{xml}"}},
         "camera: URL '{xml}': the description is an archive, there is no plain text of it"},
        {{{"set", "Width=640;UserDefinedName=a name;0xB000=7"}}, ""},
        {{{"set", "0xA111=7"}}, "'0xA111=7' is not REGISTER=VALUE"},
        {{{"images", "."}}, "holds no picture (.pgm, .pnm, .ppm)"},
        {{{"images", "none"}}, "cannot be read: No such file or directory"},
        {{{"images", "bad"}}, "holds 'one.pgm', which is not a binary PGM or PPM picture"},
        {{{"slow-write", "5 Nowhere"}},
         "'5 Nowhere' is not a time up to 60000 ms, with or without a register"},
        {{{"colour", "red"}}, "camera: unknown setting 'colour'"},
    };
    for (const auto& row : rows) {
        const auto& [key, value] = *row.settings.rbegin();
        const std::string named = "camera: " + key + " '" + value.substr(0, 64) + "' " + row.reason;
        std::string error;
        const auto camera = ethernet::makeCamera(row.settings, error);
        EXPECT_EQ(camera != nullptr, row.reason.empty()) << key << " " << value;
        const bool whole = row.reason.empty() || row.reason.starts_with("camera:");
        EXPECT_EQ(error, whole ? row.reason : named);
    }
}

} // namespace
