// The transport against cameras in software behind the board in software, with nothing scripted.
#include "protocol/bootstrap.h"
#include "simcam/Camera.h"
#include "softboard/softboard.h"
#include "transport/GigeCamera.h"

#include <gmock/gmock.h>

#include <thread>

namespace {

constexpr int kQueueTimeout = -110;

class Wire : public testing::Test {
protected:
    void SetUp() override {
        std::string error;
        ASSERT_TRUE(softboard::loadConfiguration("[board 0]\nserial = 7\n", error)) << error;
        for (int port = 0; port < GigeCamera::kPorts; ++port) {
            const std::string number = std::to_string(port);
            cameras[port] = simcam::Camera::make(
                {{"mac", "02:11:22:33:44:5" + number},
                 {"ip", "169.254.7.10" + number},
                 {"name", "cam" + number}},
                error);
            ASSERT_NE(cameras[port], nullptr) << error;
            ASSERT_TRUE(softboard::attach(0, port, std::shared_ptr<ethernet::Endpoint>(cameras[port])));
        }
        const QLdevice handle = TavoInitAllHWEx(0);
        const fpga_design design = KemFirmwareTrampoline(
            TavoGetBoardInfoInt(handle, "firmware/major"), TavoGetBoardInfoInt(handle, "firmware/minor"));
        ASSERT_EQ(TavoConfigureFpga(handle, design), 0);
        board = std::make_unique<GigeCamera>(design, handle);
        for (int port = 0; port < GigeCamera::kPorts; ++port) {
            const std::uint8_t mac[] = {2, 0, 0, 0, 0, static_cast<std::uint8_t>(port)};
            board->SetMAC(port, mac);
        }
        board->DiscoverAll(0);
        for (int port = 0; port < GigeCamera::kPorts; ++port) {
            ASSERT_TRUE(board->selectCamera(port, 0)) << port;
            ASSERT_STREQ(board->GetUserName(port, 0), ("cam" + std::to_string(port)).c_str());
            ASSERT_EQ(board->WriteRegister(port, bootstrap::kControlChannelPrivilege, 2), 0);
        }
    }

    void TearDown() override {
        if (board) {
            EXPECT_EQ(board->deinit(), 0);
        }
        for (int port = 0; port < GigeCamera::kPorts; ++port) {
            softboard::detachAll(0, port);
        }
    }

    std::array<std::shared_ptr<simcam::Camera>, GigeCamera::kPorts> cameras;
    std::unique_ptr<GigeCamera> board;
};

TEST_F(Wire, PortsWorkBesideEachOther) {
    std::vector<std::thread> threads;
    for (int port = 0; port < GigeCamera::kPorts; ++port) {
        threads.emplace_back([this, port] {
            std::string url(bootstrap::kUrlSize, '\0');
            for (int i = 0; i < 500; ++i) {
                int value = 0;
                ASSERT_EQ(board->WriteRegister(port, bootstrap::kHeartbeatTimeout, 5000 + i), 0);
                ASSERT_EQ(board->ReadRegister(port, bootstrap::kHeartbeatTimeout, &value), 0);
                ASSERT_EQ(value, 5000 + i);
                if (i % 50 == 0) {
                    ASSERT_EQ(board->ReadMemory(port, bootstrap::kFirstUrl, 512, nullptr, url.data()), 0);
                    ASSERT_EQ(url.substr(0, 6), "Local:");
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    const char name[17] = "written in place";
    EXPECT_EQ(
        board->WriteMemory(1, bootstrap::kUserDefinedName, reinterpret_cast<const unsigned char*>(name), 16),
        0);
    EXPECT_EQ(cameras[1]->peek(bootstrap::kUserDefinedName, 16), simcam::Bytes(name, name + 16));
}

TEST_F(Wire, FaultsOfACameraHaveTheirResults) {
    const struct {
        const char* fault;
        int read;       // of a register
        int readMemory; // of 16 bytes
    } rows[] = {
        {"status=0x8007", 0x8007, 0}, // memory is asked for again after any failure
        {"status=0x8007 x2", 0x8007, 0},
        {"wrong-id", 0, 0},
        {"wrong-id x2", transport_error::kForeignReply, 0},
        {"truncate=8", transport_error::kTruncated, 0},
        {"truncate=10 x2", transport_error::kTruncated, 0},
        {"delay=2300", kQueueTimeout,
         0}, // from here on the camera may have commands before it that nobody waits for
        {"duplicate x3", 0, 0},
    };
    for (const auto& row : rows) {
        std::string error;
        const auto fault = simcam::parseFault(row.fault, error);
        ASSERT_TRUE(fault) << error;
        int value = 0;
        char memory[16];
        cameras[0]->faults().add(*fault);
        EXPECT_EQ(board->ReadRegister(0, bootstrap::kHeartbeatTimeout, &value), row.read) << row.fault;
        cameras[0]->faults().clear();
        EXPECT_EQ(board->ReadRegister(0, bootstrap::kHeartbeatTimeout, &value), 0) << "after " << row.fault;
        EXPECT_EQ(value, 3000) << row.fault;
        if (row.read != kQueueTimeout) {
            cameras[0]->faults().add(*fault);
            EXPECT_EQ(board->ReadMemory(0, bootstrap::kModelName, 16, nullptr, memory), row.readMemory)
                << row.fault;
            cameras[0]->faults().clear();
        }
    }
}

} // namespace
