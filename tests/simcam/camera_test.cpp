// The camera as a station with a thread: plugged, flooded, unplugged, and made from settings.
#include "harness.h"

#include "simcam/Camera.h"

#include <condition_variable>
#include <fstream>
#include <mutex>
#include <thread>

namespace {

using namespace simcam_test;
using std::chrono::seconds;

// Collects what a camera sends and waits for it with a generous deadline.
class Listener {
public:
    ethernet::FrameSink sink() {
        return [this](const std::uint8_t* frame, std::size_t size) {
            const std::scoped_lock lock(m_mutex);
            m_frames.emplace_back(frame, frame + size);
            m_arrived.notify_all();
        };
    }
    std::vector<Bytes> wait(std::size_t count) {
        std::unique_lock lock(m_mutex);
        m_arrived.wait_for(lock, seconds(20), [&] { return m_frames.size() >= count; });
        return m_frames;
    }
    std::size_t count() {
        const std::scoped_lock lock(m_mutex);
        return m_frames.size();
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_arrived;
    std::vector<Bytes> m_frames;
};

std::unique_ptr<simcam::Camera> makeCamera(ethernet::Settings extra = {}) {
    extra.insert({{"mac", "02:11:22:33:44:55"}, {"ip", "169.254.7.100"}});
    std::string error;
    auto camera = simcam::Camera::make(extra, error);
    EXPECT_TRUE(camera) << error;
    return camera;
}

// Builds a host's frames; its own camera is not used.
const Bench& frames() {
    static const Bench bench;
    return bench;
}

void send(ethernet::Endpoint& camera, std::uint16_t code, std::uint16_t id, const Bytes& payload) {
    const Bytes frame = frames().frame(frames().host, Bench::message(code, id, payload));
    camera.receive(frame.data(), frame.size());
}

TEST(SimcamCamera, AnswersInTheOrderOfTheCommands) {
    Listener listener;
    const auto camera = makeCamera();
    camera->plug(listener.sink());
    for (std::uint16_t id = 1; id <= 100; ++id) {
        send(*camera, 0x80, id, be32(0xA110));
    }
    const auto answers = listener.wait(100);
    ASSERT_EQ(answers.size(), 100u);
    for (std::uint16_t id = 1; id <= 100; ++id) {
        EXPECT_EQ(ackOf(answers[id - 1u]).id, id);
    }
    EXPECT_EQ(camera->log().count(gvcp::Command::ReadRegCmd), 100u);
}

TEST(SimcamCamera, AnswersLateWithoutBeingAskedAgain) {
    Listener listener;
    const auto camera = makeCamera({{"latency", "30"}});
    camera->plug(listener.sink());
    const auto asked = simcam::Clock::now();
    send(*camera, 0x80, 1, be32(0xA110));
    EXPECT_EQ(listener.wait(1).size(), 1u);
    EXPECT_GE(simcam::Clock::now() - asked, milliseconds(30));
}

TEST(SimcamCamera, DropsControlByItself) {
    Listener listener;
    const auto camera = makeCamera();
    camera->plug(listener.sink());
    send(*camera, 0x82, 1, be32(0x0A00) + be32(2));
    send(*camera, 0x82, 2, be32(0x0938) + be32(500));
    listener.wait(2);
    EXPECT_EQ(camera->report().privilege, 2u);
    const auto limit = simcam::Clock::now() + seconds(20);
    while (camera->report().controller && simcam::Clock::now() < limit) {
        std::this_thread::yield();
    }
    EXPECT_EQ(camera->peekRegister(0x0A00), std::optional<std::uint32_t>(0));
}

TEST(SimcamCamera, AnUnpluggedSinkIsNeverUsedAgain) {
    const auto camera = makeCamera();
    for (int round = 0; round < 200; ++round) {
        auto calls = std::make_unique<int>(0);
        camera->plug([&calls = *calls](const std::uint8_t*, std::size_t) { ++calls; });
        send(*camera, 0x80, static_cast<std::uint16_t>(round), be32(0xA110));
        camera->plug({});
        calls.reset(); // the sink would write into freed memory
    }
}

TEST(SimcamCamera, AFloodLosesFramesAndNothingElse) {
    std::mutex gate;
    Listener listener;
    const auto camera = makeCamera();
    camera->plug([&gate](const std::uint8_t*, std::size_t) { const std::scoped_lock wait(gate); });
    std::unique_lock closed(gate);
    std::vector<std::thread> hosts;
    for (int i = 0; i < 4; ++i) {
        hosts.emplace_back([&] {
            for (std::uint16_t id = 1; id <= 1000; ++id) {
                send(*camera, 0x80, id, be32(0xA110)); // returns although the camera's thread is held
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
    camera->plug(listener.sink());
    const std::uint64_t handled = camera->log().total();
    const auto limit = simcam::Clock::now() + seconds(20);
    while (camera->log().total() == handled && simcam::Clock::now() < limit) {
        send(*camera, 0x80, 7, be32(0xA114));
    }
    EXPECT_GT(camera->log().total(), handled);
}

TEST(SimcamCamera, GoesAwayWithAnswersOutstanding) {
    Listener listener;
    {
        const auto camera = makeCamera({{"latency", "60000"}});
        camera->plug(listener.sink());
        send(*camera, 0x80, 1, be32(0xA110));
        const auto limit = simcam::Clock::now() + seconds(20);
        while (camera->log().total() == 0 && simcam::Clock::now() < limit) {
            std::this_thread::yield();
        }
        EXPECT_EQ(camera->log().total(), 1u);
    }
    EXPECT_EQ(listener.count(), 0u);
}

TEST(SimcamCamera, PeekAndPokeReachEverything) {
    const auto camera = makeCamera();
    EXPECT_EQ(camera->peekRegister(0xA110), std::optional<std::uint32_t>(1920));
    EXPECT_TRUE(camera->pokeRegister(0xA100, 4000)); // the sensor grows
    EXPECT_EQ(camera->peekRegister(0xA108), std::optional<std::uint32_t>(4000));
    EXPECT_TRUE(camera->pokeRegister(0xA204, 1));
    EXPECT_TRUE(camera->report().acquiring);
    EXPECT_FALSE(camera->peekRegister(0x9000));
    EXPECT_FALSE(camera->pokeRegister(0x9000, 1));
    EXPECT_FALSE(camera->poke(0x48000000, Bytes(4)));
}

TEST(SimcamCamera, SettingsAreCheckedWithOneLine) {
    std::ofstream("own.zip") << "PK\x03\x04 and so on";
    std::ofstream("own.xml") << "<RegisterDescription/>";
    std::ofstream("empty.xml");
    const struct {
        const char* key;
        std::string value;
        const char* error; // empty: accepted
    } rows[] = {
        {"mac", "02-00-00-00-00-10", ""},
        {"mac", "02:00:00:00:00", "camera: mac '02:00:00:00:00' is no MAC address of a station"},
        {"mac", "03:00:00:00:00:10", "camera: mac '03:00:00:00:00:10' is no MAC address of a station"},
        {"mac", "", "camera: mac '' is no MAC address of a station"},
        {"ip", "10.0.0.300", "camera: ip '10.0.0.300' is no IPv4 address"},
        {"ip", "224.0.0.1", "camera: ip '224.0.0.1' is no address for a camera"},
        {"mask", "255.0.255.0", "camera: mask '255.0.255.0' is no subnet mask"},
        {"mask", "255.255.255.0", ""},
        {"name", "sixteen letters!", ""},
        {"name", "seventeen letters", "camera: name 'seventeen letters' is longer than 16 bytes"},
        {"model", std::string(33, 'm'),
         "camera: model 'mmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmmm' is longer than 32 bytes"},
        {"latency", "10", ""},
        {"latency", "-1", "camera: latency '-1' is no number of milliseconds up to 60000"},
        {"registers", "magic", "camera: registers 'magic' is neither 'model' nor 'plain'"},
        {"file-end", "exact", ""},
        {"faults", "silent; delay=5 x2", ""},
        {"faults", "silent;;", "camera: faults 'silent;;' a fault without a name"},
        {"description", "own.xml", ""},
        {"description", "own.zip", ""},
        {"description", "none.xml",
         "camera: description 'none.xml' cannot be read, is empty or larger than 64 MiB"},
        {"description", "empty.xml",
         "camera: description 'empty.xml' cannot be read, is empty or larger than 64 MiB"},
        {"description", ".", "camera: description '.' cannot be read, is empty or larger than 64 MiB"},
        {"first-url", std::string(513, 'u'),
         "camera: first-url '"
         "uuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuu"
         "' is longer than 512 bytes"},
        {"colour", "red", "camera: unknown setting 'colour'"},
    };
    for (const auto& row : rows) {
        std::string error;
        const auto camera = ethernet::makeCamera({{row.key, row.value}}, error);
        EXPECT_EQ(error, row.error) << row.key << " " << row.value;
        EXPECT_EQ(camera != nullptr, std::string(row.error).empty());
    }
    std::string error;
    const ethernet::Settings noText{{"description", "own.zip"}, {"second-url", "{xml}"}};
    EXPECT_FALSE(ethernet::makeCamera(noText, error));
    EXPECT_EQ(error, "camera: URL '{xml}': the description is an archive, there is no plain text of it");
}

TEST(SimcamCamera, CamerasWithoutSettingsDiffer) {
    std::string error;
    const auto one = simcam::parseSettings({}, error);
    const auto two = simcam::parseSettings({}, error);
    ASSERT_TRUE(one && two);
    EXPECT_NE(one->mac, two->mac);
    EXPECT_NE(one->ip.address, two->ip.address);
    EXPECT_NE(one->serial, two->serial);
    EXPECT_EQ(one->ip.address >> 16, 0xA9FEu);
}

} // namespace
