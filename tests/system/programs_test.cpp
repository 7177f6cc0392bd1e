// Several programs on one computer, each with a camera of its own on the same network interface, or all with
// the same one. PROGRAMS_SECONDS in the environment makes the long look longer.
#include "board/Board.h"
#include "protocol/bootstrap.h"
#include "support/wired_camera.h"
#include "system/children.h"
#include "system/images.h"

#include <cstdlib>

namespace {

using Clock = std::chrono::steady_clock;
using test_support::VirtualWire;

constexpr unsigned char kLastBytes[] = {0x41, 0x42, 0x43, 0x44};

class ProgramsTest : public testing::Test {
protected:
    void SetUp() override {
        if (!wire.error().empty()) {
            GTEST_SKIP() << wire.error();
        }
    }

    // Cameras and service; from now on this process has threads.
    void begin(unsigned cameras, bool plain = true) {
        for (unsigned i = 0; i < cameras; ++i) {
            const std::string last = std::to_string(41 + i);
            const ethernet::Settings own{{"mac", "02:00:00:00:00:" + last}, {"ip", "169.254.1." + last}};
            stations.push_back(
                std::make_unique<WiredCamera>(wire.camera, "camera0", plain ? plainCamera(own) : own));
        }
        service.emplace();
        common->go = true;
    }

    VirtualWire wire;
    const CommonMemory common;
    std::vector<std::unique_ptr<WiredCamera>> stations;
    std::optional<FakeService> service;
};

// All commands of all processes have the same ids at the same time.
void bringIntoStep() {
    const auto now = Clock::now().time_since_epoch() / std::chrono::microseconds(200);
    board::findBoard(0)->get()->findPort(0)->setRequestId(static_cast<std::uint16_t>(now));
}

void count(Common::Result& result, int code, bool right) {
    ++(code != 0 ? result.failed : right ? result.good : result.wrong);
}

// Reads what only this camera tells, and writes what only this process does.
void workWith(unsigned char lastByte, Common& common, Common::Result& result) {
    const Program program(lastByte);
    if (Gbe_connectCamera(program.camera) != 0) {
        _exit(1);
    }
    ++common.ready;
    unsigned expected = static_cast<unsigned>(getpid()) << 8;
    while (!common.done) {
        unsigned low = 0;
        bringIntoStep();
        int code = Gbe_readRegister(program.camera, bootstrap::kMacLow, &low);
        count(result, code, (low & 0xFF) == lastByte);
        expected = (expected + 1) & 0x7FFFFFFF;
        bringIntoStep();
        code = Gbe_setIntegerValue(program.camera, "Number", expected);
        long long value = -1;
        Gbe_invalidateCache(program.camera);
        bringIntoStep();
        code = code != 0 ? code : Gbe_getIntegerValue(program.camera, "Number", &value);
        count(result, code, value == expected);
    }
    Gbe_freeBoard(program.board);
}

TEST_F(ProgramsTest, WithACameraEachGetTheirOwnAnswers) {
    const char* const asked = std::getenv("PROGRAMS_SECONDS");
    const std::chrono::seconds time(asked != nullptr ? std::atoi(asked) : 2);
    for (const int programs : {2, 4}) {
        SCOPED_TRACE(programs);
        stations.clear();
        service.reset();
        new (&*common) Common;
        std::vector<std::unique_ptr<Child>> children;
        for (int i = 0; i < programs; ++i) {
            children.push_back(std::make_unique<Child>(
                *common, wire.host, [this, i] { workWith(kLastBytes[i], *common, common->of[i]); }));
        }
        begin(static_cast<unsigned>(programs));
        ASSERT_TRUE(eventually([&] { return common->ready == programs; }));
        std::this_thread::sleep_for(time);
        common->done = true;
        for (int i = 0; i < programs; ++i) {
            children[static_cast<std::size_t>(i)]->wait();
            const Common::Result& result = common->of[i];
            std::printf(
                "program %d of %d: %ld right, %ld failed, %ld wrong\n", i + 1, programs, result.good.load(),
                result.failed.load(), result.wrong.load());
            EXPECT_GT(result.good, 0);
            EXPECT_EQ(result.failed, 0);
            EXPECT_EQ(result.wrong, 0);
        }
    }
}

// Fetches images that tell whose they are by their width, while the other program does.
void stream(int number, Common& common, Common::Result& result) {
    const Program program(kLastBytes[number]);
    EXPECT_EQ(Gbe_connectCamera(program.camera), 0);
    const unsigned width = number == 0 ? 64 : 96;
    setUp(program.camera, {{"Width", width}, {"Height", 48}});
    GbeStream* const open = openStream(program.camera);
    EXPECT_EQ(Gbe_startAcquisition(program.camera), 0);
    ++common.ready;
    while (common.ready < 2) {
        usleep(1000);
    }
    fetch(open, 100, [&](const GbeImage& image) {
        expectEncoded(image);
        count(result, 0, image.width == width);
    });
    result.failed += static_cast<long>(statisticsOf(open).malformed);
    ++common.ready;
    while (common.ready < 4) {
        usleep(1000);
    }
    EXPECT_EQ(Gbe_closeStream(open), 0);
    Gbe_freeBoard(program.board);
    result.wrong += testing::Test::HasFailure() ? 1 : 0;
}

TEST_F(ProgramsTest, WithACameraEachGetTheirOwnImages) {
    Child first(*common, wire.host, [this] { stream(0, *common, common->of[0]); });
    Child second(*common, wire.host, [this] { stream(1, *common, common->of[1]); });
    begin(2, false);
    first.wait();
    second.wait();
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(common->of[i].good, 100);
        EXPECT_EQ(common->of[i].failed, 0);
        EXPECT_EQ(common->of[i].wrong, 0);
    }
}

// Works with the camera until the other program is done, and then still does.
void hold(Common& common, Common::Result& result) {
    const Program program(kLastBytes[0]);
    result.codes[0] = Gbe_connectCamera(program.camera);
    ++common.ready;
    while (!common.done) {
        usleep(1000);
    }
    result.codes[1] = Gbe_setIntegerValue(program.camera, "Number", 5);
    GbeControlStatus status{};
    Gbe_getControlStatus(program.camera, &status);
    result.codes[2] = status.loss;
    Gbe_freeBoard(program.board);
}

// Tries to work with it as well, and then only looks.
void intrude(Common& common, Common::Result& result) {
    while (common.ready == 0) {
        usleep(1000);
    }
    const Program program(kLastBytes[0]);
    const auto sent = softboard::portState(0, 0).framesSent;
    result.codes[0] = Gbe_connectCamera(program.camera);
    result.codes[1] = static_cast<int>(softboard::portState(0, 0).framesSent - sent);
    int pid = 0;
    char name[64] = {};
    Gbe_getCameraUser(program.camera, &pid, name, sizeof name);
    result.codes[2] = pid;
    result.codes[3] = Gbe_connectCameraForReading(program.camera);
    long long value = 0;
    result.codes[4] = Gbe_getIntegerValue(program.camera, "Number", &value);
    result.codes[5] = Gbe_setIntegerValue(program.camera, "Number", 1);
    result.codes[6] = Gbe_executeCommand(program.camera, "AcquisitionStop");
    GbeControlStatus status{};
    Gbe_getControlStatus(program.camera, &status);
    result.codes[7] = status.holder;
    Gbe_freeBoard(program.board);
    common.done = true;
}

TEST_F(ProgramsTest, TheSecondOfACameraMayLookAndNotTouch) {
    Child holder(*common, wire.host, [this] { hold(*common, common->of[0]); });
    Child intruder(*common, wire.host, [this] { intrude(*common, common->of[1]); });
    begin(1);
    const pid_t holding = holder.id();
    intruder.wait();
    holder.wait();
    const auto codes = [&](int i) {
        return std::vector<int>(std::begin(common->of[i].codes), std::end(common->of[i].codes));
    };
    EXPECT_EQ(codes(0), (std::vector<int>{0, 0, GBE_LOSS_NONE, 0, 0, 0, 0, 0}));
    EXPECT_EQ(
        codes(1), (std::vector<int>{
                      GBE_ERROR_CAMERA_BUSY, 0, holding, 0, 0, GBE_ERROR_NOT_WRITABLE, GBE_ERROR_NOT_WRITABLE,
                      GBE_CONTROL_OTHER}));
    EXPECT_EQ((*stations[0])->peekRegister(plain::kNumber), 5U);
}

} // namespace
