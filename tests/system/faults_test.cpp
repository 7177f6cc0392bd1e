// Cameras that go silent, answer late, wrongly, twice or in part: what comes of it in a feature call.
#include "system/session.h"

namespace {

using gvcp::Command;
using simcam::Fault;

constexpr auto kBusy = static_cast<std::uint32_t>(gvcp::Status::Busy);
constexpr std::uint32_t kLate = 2500; // milliseconds: after the library has stopped waiting
constexpr int kForever = Fault::kForever;

struct FaultRow {
    const char* name;
    Fault fault;
    int expected;
};

// Whatever happened to an access, the next ones bring the camera's values, each to the feature that was
// asked.
void expectSoundAgain(CameraHandle* camera, simcam::Camera& station) {
    for (unsigned round = 0; round < 3; ++round) {
        station.pokeRegister(plain::kNumber, 100 + round);
        station.pokeRegister(plain::kWidth, 200 + round);
        Gbe_invalidateCache(camera);
        long long number = 0;
        long long width = 0;
        EXPECT_EQ(Gbe_getIntegerValue(camera, "Number", &number), 0);
        EXPECT_EQ(Gbe_getIntegerValue(camera, "Width", &width), 0);
        EXPECT_EQ(number, 100 + round);
        EXPECT_EQ(width, 200 + round);
    }
}

class FaultsTest : public testing::Test {
protected:
    void SetUp() override {
        station = session.rig.hang(0, 0, plainCamera());
        camera = session.connectFirst();
    }

    // Runs `access` with each row's fault in place; it returns the call's result.
    template<typename Access, std::size_t Rows> void run(const FaultRow (&rows)[Rows], Access&& access) {
        for (const FaultRow& row : rows) {
            SCOPED_TRACE(row.name);
            Gbe_invalidateCache(camera);
            station->faults().add(row.fault);
            EXPECT_EQ(access(), row.expected);
            station->faults().clear();
            expectSoundAgain(camera, *station);
        }
    }

    Session session;
    std::shared_ptr<simcam::Camera> station;
    CameraHandle* camera = nullptr;
};

TEST_F(FaultsTest, OfRegisterReads) {
    const FaultRow rows[] = {
        {"wrong id for good",
         {Fault::Kind::WrongId, 1, kForever, Command::ReadRegCmd},
         GBE_ERROR_TRANSPORT_LAYER},
        {"cut off once", {Fault::Kind::Truncate, 4, 1, Command::ReadRegCmd}, 0},
        {"error status twice",
         {Fault::Kind::Status, kBusy, 2, Command::ReadRegCmd},
         GBE_ERROR_TRANSPORT_LAYER},
        {"silent once", {Fault::Kind::Silent, 0, 1, Command::ReadRegCmd}, 0},
        {"late once", {Fault::Kind::Delay, kLate, 1, Command::ReadRegCmd}, 0},
        {"announced and late", {Fault::Kind::Pending, kLate, 1, Command::ReadRegCmd}, 0},
    };
    station->pokeRegister(plain::kNumber, 42);
    run(rows, [&] {
        station->pokeRegister(plain::kNumber, 42);
        long long value = 0;
        const int result = Gbe_getIntegerValue(camera, "Number", &value);
        EXPECT_EQ(value, result == 0 ? 42 : 0);
        return result;
    });
}

TEST_F(FaultsTest, OfRegisterWrites) {
    const FaultRow rows[] = {
        {"wrong id once", {Fault::Kind::WrongId, 1, 1, Command::WriteRegCmd}, 0},
        {"wrong id for good",
         {Fault::Kind::WrongId, 1, kForever, Command::WriteRegCmd},
         GBE_ERROR_TRANSPORT_LAYER},
        {"always answered three times", {Fault::Kind::Duplicate, 2, kForever, Command::WriteRegCmd}, 0},
        {"error status for good",
         {Fault::Kind::Status, kBusy, kForever, Command::WriteRegCmd},
         GBE_ERROR_TRANSPORT_LAYER},
        {"carried out, not answered", {Fault::Kind::LoseAck, 0, 1, Command::WriteRegCmd}, 0},
    };
    unsigned value = 1000;
    run(rows, [&] {
        const int result = Gbe_setIntegerValue(camera, "Number", ++value);
        if (result == 0) {
            EXPECT_EQ(station->peekRegister(plain::kNumber), value);
        }
        return result;
    });
}

TEST_F(FaultsTest, OfMemoryAccesses) {
    const FaultRow reads[] = {
        {"error status for good",
         {Fault::Kind::Status, kBusy, kForever, Command::ReadMemCmd},
         GBE_ERROR_TRANSPORT_LAYER},
        {"announced and late", {Fault::Kind::Pending, kLate, 1, Command::ReadMemCmd}, 0},
        {"wrong id once", {Fault::Kind::WrongId, 1, 1, Command::ReadMemCmd}, 0},
    };
    run(reads, [&] {
        EXPECT_TRUE(station->poke(plain::kText, std::vector<std::uint8_t>(16, 'x')));
        const char* text = nullptr;
        const int result = Gbe_getStringValue(camera, "Text", &text);
        if (result == 0) {
            EXPECT_STREQ(text, "xxxxxxxxxxxxxxxx");
        }
        return result;
    });
    const FaultRow writes[] = {
        {"error status twice",
         {Fault::Kind::Status, kBusy, 2, Command::WriteMemCmd},
         GBE_ERROR_TRANSPORT_LAYER},
        {"silent once", {Fault::Kind::Silent, 0, 1, Command::WriteMemCmd}, 0},
    };
    run(writes, [&] { return Gbe_setStringValue(camera, "Text", "written"); });
}

} // namespace
