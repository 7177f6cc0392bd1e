// The board's own registers: bring-up, PHYs, line length, counters; and acknowledgements handed over by
// slots.
#include "ScriptedBoard.h"

#include <gmock/gmock.h>

#include <limits>
#include <thread>

namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;

TEST(Board, RegistersAreLookedUpAndPortsEnabledInOrder) {
    const ScriptedBoard scripted;
    ASSERT_EQ(scripted.design.lookedUp.size(), 4U * 16 + 10);
    EXPECT_EQ(scripted.design.lookedUp.at(0), "GigeTxStart0");
    EXPECT_EQ(scripted.design.lookedUp.at(3 * 16), "GigeTxStart3");
    EXPECT_EQ(scripted.design.lookedUp.at(3 * 16 + 15), "ImagePackets3");
    EXPECT_EQ(scripted.design.lookedUp.back(), "GigE_Reset");
    std::vector<std::pair<std::string, std::uint64_t>> expected{{"GigE_TxStart", 1}, {"GigE_RxEnable", 1}};
    for (unsigned port = 0; port < 4; ++port) {
        const std::string number = std::to_string(port);
        expected.insert(
            expected.end(), {{"GigeTxStart" + number, 1},
                             {"GigeReqIdLoad" + number, 1},
                             {"GigeReqIdEnable" + number, 0},
                             {"ImagePort" + number, 1520 + port}});
    }
    EXPECT_THAT(scripted.board.writes, ElementsAreArray(expected));
}

TEST(Board, Addresses) {
    ScriptedBoard scripted;
    EXPECT_EQ(scripted.camera->getPortIP(0), 0xA9FE072AU);
    EXPECT_EQ(scripted.camera->getPortIP(3), 0xA9FE072DU);
    const GigeCamera fresh(&scripted.design, &scripted.board);
    EXPECT_EQ(fresh.portMac(0), (MacBytes{255, 255, 255, 255, 255, 255}));
    const std::uint8_t mac[] = {1, 2, 3, 4, 5, 6};
    scripted.camera->SetMAC(1, mac);
    scripted.camera->SetMAC(1, nullptr);
    scripted.camera->SetMAC(4, mac);
    EXPECT_EQ(scripted.camera->portMac(1), (MacBytes{1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(scripted.camera->deinit(), 0);
    EXPECT_EQ(scripted.board.freed, 1);
}

TEST(Board, AFailingRegisterLeavesTheValueAlone) {
    ScriptedBoard scripted;
    const int reg = KemGetRegisterByName(&scripted.design, "Broken");
    scripted.board.values["Broken"] = 0x1122334455667788;
    unsigned value32 = 1;
    unsigned short value16 = 1;
    unsigned char value8 = 1;
    EXPECT_EQ(scripted.camera->ReadFpgaRegister32(reg, &value32), 0);
    EXPECT_EQ(scripted.camera->ReadFpgaRegister16(reg, &value16), 0);
    EXPECT_EQ(scripted.camera->ReadFpgaRegister8(reg, &value8), 0);
    EXPECT_THAT(
        (std::array{value32, unsigned{value16}, unsigned{value8}}), ElementsAre(0x55667788U, 0x7788U, 0x88U));
    scripted.board.broken.insert("Broken");
    scripted.board.values["Broken"] = 0;
    EXPECT_EQ(scripted.camera->ReadFpgaRegister16(reg, &value16), kRegisterError);
    EXPECT_EQ(value16, 0x7788);
}

TEST(Board, APhyIsSetUpAndPolledUntilItsResetIsOver) {
    ScriptedBoard scripted;
    scripted.board.writes.clear();
    int polls = 0;
    scripted.board.onMdioRead = [&](std::uint64_t phyRegister) {
        EXPECT_EQ(phyRegister, 0U);
        scripted.board.values["MdioReadReg"] = ++polls < 3 ? 0x9140 : 0x1140;
    };
    scripted.camera->PhyHardwareReset();
    EXPECT_EQ(scripted.camera->PhyReset(2, true), 0);
    EXPECT_EQ(polls, 3);
    std::vector<std::pair<std::string, std::uint64_t>> expected{
        {"GigE_Reset", 0}, {"GigE_Reset", 15}, {"GigE_MdioPhyAddr", 2}};
    const std::pair<int, int> steps[] = {{29, 0x001B}, {30, 0x418F}, {29, 0x0016}, {30, 0xA2DA},
                                         {29, 0x000B}, {30, 0x8004}, {0, 0x9140}};
    for (const auto& [reg, value] : steps) {
        expected.insert(
            expected.end(), {{"GigE_MdioRegAddr", reg}, {"GigE_Mdio", value}, {"GigE_MdioWR", 0}});
    }
    for (int i = 0; i < 3; ++i) {
        expected.insert(expected.end(), {{"GigE_MdioRegAddr", 0}, {"GigE_MdioRD", 0}});
    }
    EXPECT_THAT(scripted.board.writes, ElementsAreArray(expected));
}

TEST(Board, LineLengths) {
    const struct {
        int width;
        const char* format;
        std::uint64_t length;
    } rows[] = {
        {1280, "Mono12Packed", 1920},
        {1280, "YUV422Packed", 3840},
        {1280, "YUV411Packed", 2880},
        {1280, "YUV444Packed", 5760},
        {1001, "Mono10Packed", 1501},
        {640, "BGRA8Packed", 2560},
        {30000, "RGB16Planar", 48928},
        {640, "mono16", 640},
        {640, "Mono16 ", 640},
        {640, "", 640},
        {0, "Mono16", 0},
        {-1, "Mono8", 65535},
        {std::numeric_limits<int>::max(), "RGB16Planar", 65530},
    };
    ScriptedBoard scripted;
    for (const auto& row : rows) {
        EXPECT_EQ(scripted.camera->SetEolWidth(2, row.width, row.format), 0);
        EXPECT_EQ(scripted.board.values["CLSyncLen2"], row.length) << row.width << row.format;
    }
    scripted.board.broken.insert("CLSyncLen2");
    EXPECT_EQ(scripted.camera->SetEolWidth(2, 1, "Mono8"), kRegisterError);
}

QByteArray bytesOf(const Frame& frame) {
    return QByteArray(reinterpret_cast<const char*>(frame.data()), static_cast<int>(frame.size()));
}

TEST(Slots, HandAcknowledgementsOverToAWaitingThread) {
    ScriptedBoard scripted;
    char buffer[8] = "";
    scripted.camera->setReadMemTarget(1, buffer, 4);
    for (const bool memory : {false, true}) {
        const Frame payload =
            memory ? Frame{0, 0, 2, 0, 'L', 'o', 'c', 'a', 'l', ':', 0, 0} : bigEndian(0xCAFE);
        std::thread receiver([&] {
            const char* slot = memory ? "readmem_ack_port1" : "readreg_ack_port1";
            QMetaObject::invokeMethod(
                scripted.camera.get(), slot, Qt::DirectConnection,
                Q_ARG(QByteArray, bytesOf(ackTo(Frame(60), payload))));
        });
        EXPECT_TRUE(scripted.camera->waitForAck(1, 10000));
        receiver.join();
    }
    EXPECT_EQ(scripted.camera->readRegResult(1), 0xCAFEU);
    EXPECT_EQ(scripted.camera->readMemResult(1), 4);
    EXPECT_EQ(std::string(buffer), "Loca") << "no more than the target holds";
    EXPECT_FALSE(scripted.camera->waitForAck(0, 0));
}

TEST(Slots, BadAcknowledgementsWakeNobody) {
    ScriptedBoard scripted;
    char buffer[8] = "";
    scripted.camera->setReadMemTarget(1, buffer, 8);
    const Frame refused = ackTo(Frame(60), bigEndian(3), 0x8006);
    const Frame cut = ackTo(Frame(60), {1, 2});
    for (const Frame& frame : {refused, cut, Frame{}}) {
        EXPECT_NE(scripted.camera->processReadMemAckPacket(1, bytesOf(frame)), 0);
        EXPECT_EQ(scripted.camera->readMemResult(1), -1);
    }
    EXPECT_EQ(scripted.camera->processReadRegAckPacket(1, bytesOf(refused)), 0x8006);
    EXPECT_EQ(scripted.camera->processReadRegAckPacket(1, bytesOf(cut)), transport_error::kTruncated);
    EXPECT_FALSE(scripted.camera->waitForAck(1, 0));
    EXPECT_EQ(scripted.camera->readRegResult(1), 0U);
}

} // namespace
