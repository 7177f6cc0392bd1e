// Picking a camera from a port's discovery table.
#include "board/GenICamPortWrapper.h"
#include "board/camera.h"
#include "support/fake_service.h"
#include "support/rig.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <functional>
#include <string>
#include <tuple>

namespace {

constexpr int kPort = 2;

// An open board whose port has found cameras of the given user names: camera i has MAC 02:00:00:00:00:<i> and
// address 10.0.0.<i>.
class SelectionTest : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(GenICamPortWrapper::initBoard(0, 0), 0);
        board = GenICamPortWrapper::getBoard(0);
    }

    void TearDown() override { GenICamPortWrapper::freeBoard(0); }

    void find(const std::string& name) {
        const int number = board->discoveredCount(kPort);
        DiscoveryAckData ack{};
        std::uint8_t* payload = ack.bytes.data();
        payload[gvcp::discovery::kMac] = 2;
        payload[gvcp::discovery::kMac + 5] = static_cast<std::uint8_t>(number);
        payload[gvcp::discovery::kIp] = 10;
        payload[gvcp::discovery::kIp + 3] = static_cast<std::uint8_t>(number);
        std::memcpy(
            payload + gvcp::discovery::kUserDefinedName, name.data(), std::min<std::size_t>(name.size(), 16));
        ASSERT_EQ(board->storeDiscoveredCamera(kPort, &ack), number + 1);
    }

    Rig rig;
    FakeService service;
    GigeCamera* board = nullptr;
};

// What a selection gives: whether it was found, the current camera after it, and the MAC address told.
using Selected = std::tuple<bool, int, int>;

TEST_F(SelectionTest, FindsByEachKeyOrChangesNothing) {
    for (const char* name : {"left", "right", "sixteen letters!", "left"}) {
        find(name);
    }
    using Select = std::function<bool(camera&, unsigned char*)>;
    const auto number = [](int value) {
        return [value](camera& c, unsigned char* mac) { return c.selectCameraViaNumber(value, mac); };
    };
    const auto address = [](unsigned ip) {
        return [ip](camera& c, unsigned char* mac) { return c.selectCameraViaIp(ip, mac); };
    };
    const auto mac = [](unsigned char last) {
        return [last](camera& c, unsigned char*) { return c.selectCameraViaMac(2, 0, 0, 0, 0, last); };
    };
    // Whichever matches, the last record becomes the current one.
    const auto named = [](const char* name, bool unique) {
        return [name, unique](camera& c, unsigned char* told) {
            bool isUnique = !unique;
            const bool found = c.selectCameraViaUserName(name, told, &isUnique);
            EXPECT_EQ(isUnique, unique) << name;
            return found;
        };
    };
    const struct {
        const char* name;
        Select select;
        Selected expected;
    } rows[] = {
        {"the only one of a name", named("right", true), {true, 3, 3}},
        {"one of two", named("left", false), {true, 3, 3}},
        {"a full field", named("sixteen letters!", true), {true, 3, 3}},
        {"longer than a field", named("sixteen letters!x", true), {false, 2, 9}},
        {"part of a name", named("lef", true), {false, 2, 9}},
        {"last number", number(3), {true, 3, 3}},
        {"number at the count", number(4), {false, 2, 9}},
        {"negative number", number(-1), {false, 2, 9}},
        {"MAC", mac(1), {true, 1, 9}},
        {"unknown MAC", mac(9), {false, 2, 9}},
        {"address, first octet lowest", address(0x0100000A), {true, 1, 1}},
        {"address in network order", address(0x0A000001), {false, 2, 9}},
    };
    for (const auto& row : rows) {
        ASSERT_TRUE(board->selectCamera(kPort, 2));
        camera place(board, kPort);
        unsigned char told[6] = {9, 9, 9, 9, 9, 9};
        const bool found = row.select(place, told);
        EXPECT_EQ(Selected(found, board->currentCamera(kPort)->mac[5], told[5]), row.expected) << row.name;
    }
}

} // namespace
