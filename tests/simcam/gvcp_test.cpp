// The device side of GVCP: statuses, privilege, heartbeat, retransmissions, discovery, FORCEIP, faults.
#include "harness.h"

namespace {

using namespace simcam_test;

constexpr std::uint32_t kWidth = 0xA110;
constexpr std::uint32_t kUserName = 0x00E8;
constexpr std::uint16_t kNotImplemented = 0x8001, kInvalidParameter = 0x8002, kInvalidAddress = 0x8003,
                        kWriteProtect = 0x8004, kBadAlignment = 0x8005, kAccessDenied = 0x8006,
                        kInvalidHeader = 0x800E;

TEST(SimcamGvcp, StatusOfEachMistake) {
    const Bytes pair = be32(kWidth) + be32(64);
    const struct {
        const char* name;
        std::uint16_t code;
        Bytes payload;
        std::uint16_t status;
        std::size_t length;     // of the acknowledgement's payload
        std::uint32_t done = 0; // registers or bytes that a write reports
    } rows[] = {
        {"READREG", 0x80, be32(kWidth), 0, 4},
        {"READREG of three", 0x80, be32(kWidth) + be32(0xA114) + be32(0x0938), 0, 12},
        {"READREG, the second is nowhere", 0x80, pair + be32(kWidth), kInvalidAddress, 4},
        {"READREG of nothing", 0x80, {}, kInvalidHeader, 0},
        {"READREG of half an address", 0x80, be16(1), kInvalidHeader, 0},
        {"READREG between words", 0x80, be32(kWidth + 2), kBadAlignment, 0},
        {"READREG of a write-only register", 0x80, be32(0x0944), kAccessDenied, 0},
        {"WRITEREG of two", 0x82, pair + be32(0xA114) + be32(48), 0, 4, 2},
        {"WRITEREG, the second is nowhere", 0x82, pair + be32(0x9000) + be32(1), kInvalidAddress, 4, 1},
        {"WRITEREG without value", 0x82, be32(kWidth), kInvalidHeader, 0},
        {"WRITEREG of what is read-only", 0x82, be32(0x0048) + be32(1), kWriteProtect, 4, 0},
        {"WRITEREG of the description", 0x82, be32(0x48000000) + be32(1), kWriteProtect, 4, 0},
        {"WRITEREG between words", 0x82, be32(kWidth + 1) + be32(64), kBadAlignment, 4, 0},
        {"WRITEREG above the highest", 0x82, be32(kWidth) + be32(1924), kInvalidParameter, 4, 0},
        {"READMEM", 0x84, be32(0x0048) + be32(32), 0, 36},
        {"READMEM of a whole block", 0x84, be32(0x48000000) + be32(536), 0, 540},
        {"READMEM above a block", 0x84, be32(0x48000000) + be32(540), kInvalidParameter, 0},
        {"READMEM of nothing", 0x84, be32(0x0048) + be32(0), kInvalidParameter, 0},
        {"READMEM between words", 0x84, be32(0x004A) + be32(4), kBadAlignment, 0},
        {"READMEM of half a word", 0x84, be32(0x0048) + be32(6), kBadAlignment, 0},
        {"READMEM into a gap", 0x84, be32(0x00D8) + be32(64), kInvalidAddress, 0},
        {"READMEM around the end", 0x84, be32(0xFFFFFFFC) + be32(16), kInvalidAddress, 0},
        {"READMEM without count", 0x84, be32(0x0048), kInvalidHeader, 0},
        {"WRITEMEM", 0x86, be32(kUserName) + Bytes(16, 'x'), 0, 4, 16},
        {"WRITEMEM of nothing", 0x86, be32(kUserName), kInvalidHeader, 0},
        {"WRITEMEM of half a word", 0x86, be32(kUserName) + Bytes(6, 'x'), kBadAlignment, 4, 0},
        {"WRITEMEM on into a gap", 0x86, be32(kUserName) + Bytes(20, 'x'), kInvalidAddress, 4, 16},
        {"a command of later times", 0x0100, {}, kNotImplemented, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Bench bench;
        bench.takeControl();
        const Ack ack = bench.command(row.code, row.payload);
        EXPECT_EQ(ack.status, row.status);
        EXPECT_EQ(ack.code, row.code + 1);
        EXPECT_EQ(ack.payload.size(), row.length);
        const bool writes = row.code == 0x82 || row.code == 0x86;
        EXPECT_TRUE(!writes || row.length == 0 || ack.payload == be32(row.done));
        EXPECT_EQ(bench.read(kWidth, 4), be32(row.code == 0x82 && row.done > 0 ? 64 : 1920));
    }
}

TEST(SimcamGvcp, ACommandHasWhatItAnnounces) {
    Bytes message = Bench::message(0x80, 1, be32(kWidth));
    for (const std::uint8_t length : {0, 8}) {
        Bench bench;
        message[5] = length;
        EXPECT_EQ(ackOf(bench.exchange(bench.frame(bench.host, message)).at(0)).status, kInvalidHeader);
    }
}

TEST(SimcamGvcp, SaysNothingToWhatIsNoCommandForIt) {
    const Bytes command = Bench::message(0x80, 1, be32(kWidth));
    const struct {
        const char* name;
        Bytes message;
        bool broadcast;
    } rows[] = {
        {"no acknowledgement wanted", Bench::message(0x80, 1, be32(kWidth), 0), false},
        {"wrong key", Bytes{0x43} + part(command, 1, 11), false},
        {"an acknowledgement", Bench::message(0x81, 1, be32(kWidth)), false},
        {"READREG to everyone", command, true},
        {"FORCEIP for another", Bench::message(0x04, 1, Bytes(56, 7)), true},
    };
    for (const auto& row : rows) {
        Bench bench;
        const Bytes frame = bench.frame(bench.host, row.message, row.broadcast);
        EXPECT_TRUE(bench.exchange(frame).empty()) << row.name;
    }
}

// --- privilege and heartbeat ---

TEST(SimcamGvcp, PrivilegeAndHeartbeatDecideWhoMayDoWhat) {
    const struct {
        const char* name;
        const char* steps;
    } rows[] = {
        {"nobody has control", "Width=64!8006; Width?1920"},
        {"control", "Privilege=2; Width=64; 2:Width?64; 2:Width=48!8006"},
        {"control belongs to an address and a port",
         "Privilege=2; Privilege?2; PrimaryPort?3015; PrimaryIp?0xA9FE072A; 3:Width=64!8006"},
        {"control is not taken away", "Privilege=2; 2:Privilege=2!8006; 2:Privilege=0!8006; Width=64"},
        {"exclusive", "Privilege=1; 2:Width?!8006; 2:FramesSent?!8006; Width?1920; Width=64"},
        {"others learn who is exclusive", "Privilege=1; 2:Privilege?1; 3:PrimaryIp?0xA9FE072A"},
        {"both bits are exclusive", "Privilege=3; 2:Width?!8006"},
        {"exclusive to control", "Privilege=1; Privilege=2; 2:Width?1920"},
        {"released and taken", "Privilege=2; Privilege=0; Width=64!8006; 2:Privilege=2; 2:Width=64"},
        {"as this system's host opens", "Privilege=0; Privilege=2; Privilege=0; Privilege=2; Width=64"},
        {"switched over",
         "Privilege=2; SwitchoverKey=0x1234; Privilege=6; 2:Privilege=0x12340002; 2:Width=64; Width=8!8006"},
        {"switched over with a wrong key",
         "Privilege=2; SwitchoverKey=0x1234; Privilege=6; 2:Privilege=0x12350002!8006; 2:Width=64!8006"},
        {"the key ends with control",
         "Privilege=2; SwitchoverKey=0x1234; +3000; Privilege=6; 2:Privilege=0x12340002!8006;"
         "2:Privilege=2; Width=64!8006"},
        {"switched over without leave",
         "Privilege=2; SwitchoverKey=0x1234; 2:Privilege=0x12340002!8006; 2:Width=64!8006; Width=64"},
        {"switched over from exclusive",
         "Privilege=2; SwitchoverKey=0x1234; Privilege=5; 2:Privilege=0x12340002!8006; Width=64"},
        {"switched over to nobody",
         "Privilege=2; SwitchoverKey=0x1234; Privilege=6; 2:Privilege=0x12340000!8006; Width=64"},
        {"any command is a heartbeat", "Privilege=2; HeartbeatTimeout=15000; +14999; Privilege?2; +14999;"
                                       "Width?1920; +14999; FramesSent?0; +14999; Width=64"},
        {"another host's is none",
         "Privilege=2; HeartbeatTimeout=15000; StreamDestination=0xA9FE072A; StreamPort=1520;"
         "AcquisitionStart=1; +14999; 2:Privilege?2; 3:StreamPort?1520; +1; 2:Privilege?0; 2:StreamPort?0;"
         "2:StreamDestination?0; 2:DeviceStatus?1; Width=64!8006"},
        {"lowest timeout", "Privilege=2; HeartbeatTimeout?3000; HeartbeatTimeout=1; HeartbeatTimeout?500;"
                           "+499; Width=64; +500; Width=48!8006"},
        {"switched off", "Privilege=2; GvcpConfiguration=1; +3600000; Width=64; GvcpConfiguration=0; +3000;"
                         "Width=48!8006"},
    };
    for (const auto& row : rows) {
        Bench bench;
        run(bench, row.name, row.steps);
    }
}

// --- retransmissions ---

TEST(SimcamGvcp, ARetransmissionIsAnsweredAgainAndNotExecutedTwice) {
    const struct {
        const char* name;
        int laterMs;
        std::uint16_t id, port;
        std::uint32_t address; // of the second command; the first fires the trigger at A2A0
        std::uint32_t fired;
    } rows[] = {
        {"the same at once", 0, 0, 3015, 0xA2A0, 1}, // id 0 is an id, too
        {"the same within the window", 4999, 0, 3015, 0xA2A0, 1},
        {"the same much later", 5000, 0, 3015, 0xA2A0, 2},
        {"the next", 0, 1, 3015, 0xA2A0, 2},
        {"another command under the same id", 0, 0, 3015, 0xA2A4, 2},
        {"another application's", 0, 0, 3016, 0xA2A0, 1}, // refused for itself
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Bench bench;
        bench.takeControl();
        bench.host.nextId = 0;
        const Ack first = bench.command(0x82, be32(0xA2A0) + be32(1));
        bench.pass(milliseconds(row.laterMs));
        Bench::Host who{bench.host.mac, bench.host.ip, row.port, row.id};
        const Ack second = bench.command(who, 0x82, be32(row.address) + be32(1));
        const bool same = row.fired == 1 && row.port == 3015;
        EXPECT_EQ(bench.camera->log().events().back().repeated, same);
        EXPECT_EQ(second.payload, be32(row.port == 3015 ? 1 : 0));
        EXPECT_EQ(second.id, row.id);
        EXPECT_EQ(bench.read(0xA820, 4), be32(row.fired)) << "triggers missed";
        who = {bench.host.mac, bench.host.ip, 3015, 0}; // another command came between: it is new
        EXPECT_EQ(bench.command(who, 0x82, be32(0xA2A0) + be32(1)).payload, first.payload);
        EXPECT_EQ(bench.read(0xA820, 4), be32(row.fired + 1));
    }
}

TEST(SimcamGvcp, WhatItRemembersIsBounded) {
    Bench bench;
    const auto send = [&](unsigned port) {
        Bench::Host who = bench.host;
        who.port = static_cast<std::uint16_t>(port);
        bench.camera->receive(bench.frame(who, Bench::message(0x80, 1, be32(kWidth))), bench.now);
        return bench.camera->log().events().back().repeated;
    };
    for (unsigned i = 0; i < 5000; ++i) {
        EXPECT_FALSE(send(1000 + i));
    }
    EXPECT_EQ(bench.camera->log().total(), 5000u);
    EXPECT_EQ(bench.camera->log().events().size(), 4096u);
    const auto sent = bench.due();
    ASSERT_EQ(sent.size(), 1024u) << "what waits to be sent has an end, too";
    EXPECT_EQ(sent[0][37], 1000 & 0xFF) << "the first is answered first";
    EXPECT_EQ(sent[1][37], 1001 & 0xFF);
    EXPECT_TRUE(send(5999));
    EXPECT_TRUE(send(5984));
    EXPECT_FALSE(send(5983));
}

// --- discovery and FORCEIP ---

TEST(SimcamGvcp, DiscoveryIsAnsweredWhereTheHostCanHear) {
    const struct {
        const char* name;
        std::uint32_t hostIp;
        std::uint8_t flags;
        bool broadcast; // the command
        bool answerToAll;
    } rows[] = {
        {"same subnet", 0xA9FE0001, 0x11, true, false},
        {"other subnet, broadcast allowed", 0xC0A80001, 0x11, true, true},
        {"other subnet, broadcast not allowed", 0xC0A80001, 0x01, true, false},
        {"asked alone", 0xA9FE0001, 0x01, false, false},
        {"no address yet", 0, 0x11, true, true},
    };
    for (const auto& row : rows) {
        Bench bench;
        bench.host.ip = row.hostIp;
        const Bytes message = Bench::message(0x02, 5, {}, row.flags);
        const auto sent = bench.exchange(bench.frame(bench.host, message, row.broadcast));
        ASSERT_EQ(sent.size(), 1u) << row.name;
        EXPECT_EQ(part(sent[0], 0, 6), row.answerToAll ? Bytes(6, 0xFF) : (Bytes{2, 0, 0, 0, 0, 1}));
        EXPECT_EQ(part(sent[0], 30, 4), row.answerToAll ? Bytes(4, 0xFF) : be32(row.hostIp)) << row.name;
        EXPECT_EQ(ackOf(sent[0]).payload.size(), 248u);
    }
}

TEST(SimcamGvcp, ForceIpMovesTheCamera) {
    const Bytes address = Bytes(2) + Bytes{0x02, 0x11, 0x22, 0x33, 0x44, 0x55} + Bytes(12) +
                          be32(0x0A000005) + Bytes(12) + be32(0xFF000000) + Bytes(12) + be32(0x0A000001);
    Bench bench;
    const auto force = [&](const Bytes& payload) {
        const Bytes message = Bench::message(0x04, bench.host.nextId++, payload);
        return bench.exchange(bench.frame(bench.host, message, true)).at(0);
    };
    bench.takeControl();
    EXPECT_EQ(ackOf(force(address)).status, kAccessDenied) << "while an application has control";
    ASSERT_EQ(bench.write(0x0A00, 0), 0);
    EXPECT_EQ(ackOf(force(part(address, 0, 52))).status, kInvalidHeader);
    const Bytes moved = force(address);
    EXPECT_EQ(ackOf(moved).status, 0);
    EXPECT_EQ(part(moved, 26, 4), be32(0x0A000005)) << "answers from its new address";
    EXPECT_EQ(bench.command(0x80, be32(kWidth)).status, 0xFFFF) << "is gone from the old one";
    const auto& ip = bench.camera->report(bench.now).ip;
    EXPECT_EQ(be32(ip.mask) + be32(ip.gateway), be32(0xFF000000) + be32(0x0A000001));
    EXPECT_EQ(bench.camera->memory().peek(0x0034, 4, bench.now), be32(0xFF000000));
}

// --- faults ---

TEST(SimcamGvcp, FaultsSpoilTheAnswersThatTheyAreMeantFor) {
    const struct {
        const char* fault;
        std::size_t atOnce; // frames at once
        std::size_t later;  // frames after 500 ms
        std::uint16_t status;
        int idOff;
        bool executed;
    } rows[] = {
        {"silent", 0, 0, 0, 0, false},     {"lose-ack", 0, 0, 0, 0, true},
        {"delay=500", 0, 1, 0, 0, true},   {"wrong-id=5", 1, 0, 0, 5, true},
        {"duplicate=2", 3, 0, 0, 0, true}, {"status=0x8007 forever", 1, 0, 0x8007, 0, false},
        {"pending=500", 1, 1, 0, 0, true}, {" silent  readmem ", 1, 0, 0, 0, true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.fault);
        Bench bench;
        bench.takeControl();
        std::string error;
        bench.camera->faults().add(simcam::parseFault(row.fault, error).value());
        const Bytes command = bench.frame(bench.host, Bench::message(0x82, 40, be32(kWidth) + be32(64)));
        const auto sent = bench.exchange(command);
        EXPECT_EQ(sent.size(), row.atOnce);
        for (const Bytes& frame : sent) {
            const Ack ack = ackOf(frame);
            EXPECT_EQ(ack.status, row.status);
            EXPECT_EQ(ack.id, 40 + row.idOff);
            EXPECT_EQ(ack.code, row.later == 1 ? 0x89 : 0x83);
        }
        bench.pass(milliseconds(499));
        EXPECT_TRUE(bench.due().empty());
        bench.pass(milliseconds(1));
        EXPECT_EQ(bench.due().size(), row.later);
        bench.camera->faults().clear();
        EXPECT_EQ(bench.read(kWidth, 4), be32(row.executed ? 64 : 1920));
        EXPECT_EQ(ackOf(bench.exchange(command).at(0)).id, 40) << "sent again it gets the sound answer";
    }
}

} // namespace
