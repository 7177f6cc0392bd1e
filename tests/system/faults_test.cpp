// Cameras that go silent, answer late, wrongly, twice or in part: what comes of it in a feature call. How
// often a command is sent and what is taken for its answer is the transport's, with a test of its own.
#include "system/session.h"

namespace {

using gvcp::Command;
using simcam::Fault;

constexpr auto kBusy = static_cast<std::uint32_t>(gvcp::Status::Busy);
constexpr std::uint32_t kLate = 2500; // milliseconds: after the library has stopped waiting

TEST(Faults, EndInAValueOrAnErrorAndLeaveNothingBehind) {
    Session session;
    const auto station = session.rig.hang(0, 0, plainCamera());
    CameraHandle* camera = session.connectFirst();
    const struct {
        const char* name;
        Fault fault; // and the command that meets it
        int expected;
    } rows[] = {
        {"cut off once", {Fault::Kind::Truncate, 4, 1, Command::ReadRegCmd}, 0},
        {"error status twice",
         {Fault::Kind::Status, kBusy, 2, Command::ReadRegCmd},
         GBE_ERROR_TRANSPORT_LAYER},
        {"late once", {Fault::Kind::Delay, kLate, 1, Command::ReadRegCmd}, 0},
        {"always three times", {Fault::Kind::Duplicate, 2, Fault::kForever, Command::WriteRegCmd}, 0},
        {"carried out, not answered", {Fault::Kind::LoseAck, 0, 1, Command::WriteRegCmd}, 0},
        {"announced and late", {Fault::Kind::Pending, kLate, 1, Command::ReadMemCmd}, 0},
        {"error status twice",
         {Fault::Kind::Status, kBusy, 2, Command::WriteMemCmd},
         GBE_ERROR_TRANSPORT_LAYER},
    };
    unsigned number = 0;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const Command command = *row.fault.only;
        const std::string text(16, static_cast<char>('a' + number));
        for (const bool struck : {true, false, false}) { // each answer goes to the feature that was asked
            const int expected = struck ? row.expected : 0;
            station->pokeRegister(plain::kNumber, ++number);
            station->poke(plain::kText, std::vector<std::uint8_t>(16, 'x'));
            Gbe_invalidateCache(camera);
            if (struck) {
                station->faults().add(row.fault);
            }
            long long value = -1;
            const char* read = nullptr;
            if (command == Command::ReadRegCmd) {
                EXPECT_EQ(Gbe_getIntegerValue(camera, "Number", &value), expected);
                EXPECT_EQ(value, expected == 0 ? number : -1LL);
            } else if (command == Command::WriteRegCmd) {
                EXPECT_EQ(Gbe_setIntegerValue(camera, "Width", number), expected);
                EXPECT_TRUE(expected != 0 || station->peekRegister(plain::kWidth) == number);
            } else if (command == Command::ReadMemCmd) {
                EXPECT_EQ(Gbe_getStringValue(camera, "Text", &read), expected);
                EXPECT_TRUE(expected != 0 || std::string(read) == std::string(16, 'x'));
            } else {
                EXPECT_EQ(Gbe_setStringValue(camera, "Text", text.c_str()), expected);
                const auto bytes = station->peek(plain::kText, 16).value();
                EXPECT_TRUE(expected != 0 || std::string(bytes.begin(), bytes.end()) == text);
            }
            station->faults().clear();
        }
    }
    Gbe_freeCamera(camera);
}

} // namespace
