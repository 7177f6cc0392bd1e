// Cameras that go silent, answer late, wrongly, twice or in part: what comes of it in a feature call.
#include "system/session.h"

namespace {

using gvcp::Command;
using simcam::Fault;

constexpr auto kBusy = static_cast<std::uint32_t>(gvcp::Status::Busy);
constexpr std::uint32_t kLate = 2500; // milliseconds: after the library has stopped waiting
constexpr int kForever = Fault::kForever;
constexpr unsigned kWritten = 42;

// Runs a feature call that needs the command; a read must bring what the camera holds, a write leave it
// there.
int access(CameraHandle* camera, simcam::Camera& station, Command command) {
    const bool writes = command == Command::WriteRegCmd || command == Command::WriteMemCmd;
    station.pokeRegister(plain::kNumber, writes ? 0 : kWritten);
    station.poke(plain::kText, std::vector<std::uint8_t>(16, writes ? 'o' : 'x'));
    Gbe_invalidateCache(camera);
    long long number = 0;
    const char* text = "";
    const std::string all(16, 'x');
    switch (command) {
    case Command::ReadRegCmd: {
        const int result = Gbe_getIntegerValue(camera, "Number", &number);
        EXPECT_EQ(number, result == 0 ? kWritten : 0);
        return result;
    }
    case Command::WriteRegCmd: {
        const int result = Gbe_setIntegerValue(camera, "Number", kWritten);
        EXPECT_TRUE(result != 0 || station.peekRegister(plain::kNumber) == kWritten);
        return result;
    }
    case Command::ReadMemCmd: {
        const int result = Gbe_getStringValue(camera, "Text", &text);
        EXPECT_EQ(text, result == 0 ? all : "");
        return result;
    }
    default:
        return Gbe_setStringValue(camera, "Text", all.c_str());
    }
}

TEST(Faults, EndInAValueOrAnErrorAndLeaveNothingBehind) {
    Session session;
    const auto station = session.rig.hang(0, 0, plainCamera());
    CameraHandle* camera = session.connectFirst();
    const struct {
        const char* name;
        Fault fault; // and the command that meets it
        int expected;
    } rows[] = {
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
        {"wrong id once", {Fault::Kind::WrongId, 1, 1, Command::WriteRegCmd}, 0},
        {"always answered three times", {Fault::Kind::Duplicate, 2, kForever, Command::WriteRegCmd}, 0},
        {"error status",
         {Fault::Kind::Status, kBusy, kForever, Command::WriteRegCmd},
         GBE_ERROR_TRANSPORT_LAYER},
        {"carried out, not answered", {Fault::Kind::LoseAck, 0, 1, Command::WriteRegCmd}, 0},
        {"error status",
         {Fault::Kind::Status, kBusy, kForever, Command::ReadMemCmd},
         GBE_ERROR_TRANSPORT_LAYER},
        {"announced and late", {Fault::Kind::Pending, kLate, 1, Command::ReadMemCmd}, 0},
        {"wrong id once", {Fault::Kind::WrongId, 1, 1, Command::ReadMemCmd}, 0},
        {"error status twice",
         {Fault::Kind::Status, kBusy, 2, Command::WriteMemCmd},
         GBE_ERROR_TRANSPORT_LAYER},
        {"silent once", {Fault::Kind::Silent, 0, 1, Command::WriteMemCmd}, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        station->faults().add(row.fault);
        EXPECT_EQ(access(camera, *station, *row.fault.only), row.expected);
        station->faults().clear();
        for (unsigned round = 0; round < 3; ++round) { // each answer goes to the feature that was asked
            station->pokeRegister(plain::kWidth, 200 + round);
            long long width = 0;
            EXPECT_EQ(access(camera, *station, Command::ReadRegCmd), 0);
            EXPECT_EQ(Gbe_getIntegerValue(camera, "Width", &width), 0);
            EXPECT_EQ(width, 200 + round);
        }
    }
    Gbe_freeCamera(camera);
}

} // namespace
