// The board's own registers: bring-up, PHYs, line length; and acknowledgements handed over by slots.
#include "ScriptedBoard.h"

#include <limits>
#include <thread>

namespace {

constexpr int kNoSuchPort = -22;

TEST(Board, ComesUpWithItsRegistersAndAddresses) {
    ScriptedBoard scripted;
    ASSERT_EQ(scripted.design.lookedUp.size(), 4U * 16 + 10);
    EXPECT_EQ(scripted.design.lookedUp.at(3 * 16 + 15), "ImagePackets3");
    Writes expected{{"GigE_TxStart", 1}, {"GigE_RxEnable", 1}};
    for (unsigned port = 0; port < 4; ++port) {
        const std::string number = std::to_string(port);
        expected.insert(
            expected.end(), {{"GigeTxStart" + number, 1},
                             {"GigeReqIdLoad" + number, 1},
                             {"GigeReqIdEnable" + number, 0},
                             {"ImagePort" + number, 1520 + port}});
    }
    EXPECT_EQ(scripted.board.writes, expected);
    EXPECT_EQ(scripted.camera->getPortIP(3), 0xA9FE072DU) << "after the serial number and the port";

    GigeCamera fresh(&scripted.design, &scripted.board);
    EXPECT_EQ(fresh.WriteRegister(0, 0x0A00, 2), kQueueTimeout);
    const Frame sent = scripted.board.sent[0].at(0);
    EXPECT_EQ(Frame(sent.begin(), sent.begin() + 12), with(Frame(12), 6, Frame(6, 255)))
        << "no addresses yet";
    EXPECT_EQ(numberAt(sent, 30), 0U);
    EXPECT_EQ(fresh.deinit(), 0);
}

TEST(Board, RefusesOtherPortsAndReportsFailingRegisters) {
    ScriptedBoard scripted;
    GigeCamera& camera = *scripted.camera;
    int value = 0;
    for (const int port : {-1, 4, 1000}) {
        EXPECT_EQ(camera.ReadRegister(port, 0, &value), kNoSuchPort);
        EXPECT_EQ(camera.ReadMemory(port, 0, 8, nullptr, nullptr), 1);
        EXPECT_EQ(camera.WriteMemory(port, 0, nullptr, 0), kNoSuchPort);
        EXPECT_EQ(camera.SendPacket(port, nullptr, 0), kNoSuchPort);
        EXPECT_EQ(camera.ReceiveUdpPacket(static_cast<unsigned>(port), nullptr, nullptr, 0), kNoSuchPort);
        EXPECT_EQ(camera.Discover(port, 0), kNoSuchPort);
        EXPECT_EQ(camera.SetEolWidth(port, 1, "Mono8"), kNoSuchPort);
        EXPECT_EQ(camera.GetMacAddress(port, 0), nullptr);
        EXPECT_FALSE(camera.selectCamera(port, 0));
    }
    const int reg = KemGetRegisterByName(&scripted.design, "Broken");
    unsigned short value16 = 1;
    scripted.board.values["Broken"] = 0x1122334455667788;
    EXPECT_EQ(camera.ReadFpgaRegister16(reg, &value16), 0);
    scripted.board.broken = {"Broken", "CLSyncLen2"};
    scripted.board.values["Broken"] = 0;
    EXPECT_EQ(camera.ReadFpgaRegister16(reg, &value16), kRegisterError);
    EXPECT_EQ(value16, 0x7788) << "a failed read leaves the value alone";
    EXPECT_EQ(camera.SetEolWidth(2, 1, "Mono8"), kRegisterError);
}

TEST(Board, SetsAPhyUpAndPollsItUntilItsResetIsOver) {
    ScriptedBoard scripted;
    scripted.board.writes.clear();
    int polls = 0;
    scripted.board.onMdioRead = [&] { scripted.board.values["MdioReadReg"] = ++polls < 3 ? 0x9140 : 0x1140; };
    scripted.camera->PhyHardwareReset();
    EXPECT_EQ(scripted.camera->PhyReset(2, true), 0);
    Writes expected{{"GigE_Reset", 0}, {"GigE_Reset", 15}, {"GigE_MdioPhyAddr", 2}};
    const std::pair<int, int> steps[] = {{29, 0x001B}, {30, 0x418F}, {29, 0x0016}, {30, 0xA2DA},
                                         {29, 0x000B}, {30, 0x8004}, {0, 0x9140}};
    for (const auto& [reg, value] : steps) {
        expected.insert(
            expected.end(), {{"GigE_MdioRegAddr", reg}, {"GigE_Mdio", value}, {"GigE_MdioWR", 0}});
    }
    for (int i = 0; i < 3; ++i) {
        expected.insert(expected.end(), {{"GigE_MdioRegAddr", 0}, {"GigE_MdioRD", 0}});
    }
    EXPECT_EQ(scripted.board.writes, expected);
}

TEST(Board, ComputesLineLengths) {
    const struct {
        int width;
        const char* format;
        std::uint64_t length;
    } rows[] = {
        {1280, "YUV422Packed", 3840},
        {1280, "YUV411Packed", 2880},
        {1001, "Mono10Packed", 1501},
        {30000, "RGB16Planar", 48928},
        {640, "mono16", 640},
        {-1, "Mono8", 65535},
        {std::numeric_limits<int>::max(), "RGB16Planar", 65530}};
    ScriptedBoard scripted;
    for (const auto& row : rows) {
        EXPECT_EQ(scripted.camera->SetEolWidth(2, row.width, row.format), 0);
        EXPECT_EQ(scripted.board.values["CLSyncLen2"], row.length) << row.width << row.format;
    }
}

TEST(Slots, HandGoodAcknowledgementsOverAndWakeNobodyForBadOnes) {
    ScriptedBoard scripted;
    GigeCamera& camera = *scripted.camera;
    char buffer[8] = "";
    camera.setReadMemTarget(1, buffer, 4);
    for (const Frame& bad : {ackTo(Frame(60), big32(3), 0x8006), ackTo(Frame(60), {1, 2}), Frame{}}) {
        EXPECT_EQ(camera.processReadMemAckPacket(1, bytesOf(bad)), -1);
        EXPECT_NE(camera.processReadRegAckPacket(1, bytesOf(bad)), 0);
        EXPECT_FALSE(camera.waitForAck(1, 0));
    }
    const Frame url{0, 0, 2, 0, 'L', 'o', 'c', 'a', 'l', ':', 0, 0};
    const std::pair<const char*, Frame> rows[] = {
        {"readreg_ack_port1", big32(0xCAFE)}, {"readmem_ack_port1", url}};
    for (const auto& [slot, payload] : rows) {
        std::thread receiver([&camera, slot = slot, bytes = bytesOf(ackTo(Frame(60), payload))] {
            QMetaObject::invokeMethod(&camera, slot, Qt::DirectConnection, Q_ARG(QByteArray, bytes));
        });
        EXPECT_TRUE(camera.waitForAck(1, 10000)) << slot;
        receiver.join();
    }
    EXPECT_EQ(camera.readRegResult(1), 0xCAFEU);
    EXPECT_EQ(camera.readMemResult(1), 4);
    EXPECT_STREQ(buffer, "Loca") << "no more than the target holds";
}

} // namespace
