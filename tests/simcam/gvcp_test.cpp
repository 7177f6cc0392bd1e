// The device side of GVCP: statuses, privilege, heartbeat, retransmissions, discovery, FORCEIP, faults.
#include "harness.h"
#include "support/golden.h"

namespace {

using namespace simcam_test;

const ethernet::Settings kPlain{{"registers", "plain"}};
constexpr std::uint32_t kWidth = 0xA110;
constexpr std::uint32_t kUserName = 0x00E8;
constexpr std::uint16_t kNotImplemented = 0x8001, kInvalidParameter = 0x8002, kInvalidAddress = 0x8003,
                        kWriteProtect = 0x8004, kBadAlignment = 0x8005, kAccessDenied = 0x8006,
                        kInvalidHeader = 0x800E;

TEST(SimcamGvcp, StatusOfEachMistake) {
    const struct {
        const char* name;
        std::uint16_t code;
        Bytes payload;
        std::uint16_t status;
        std::size_t length; // of the acknowledgement's payload
    } rows[] = {
        {"READREG", 0x80, be32(kWidth), 0, 4},
        {"READREG of three", 0x80, be32(kWidth) + be32(0xA114) + be32(0x0938), 0, 12},
        {"READREG, the second is nowhere", 0x80, be32(kWidth) + be32(0x9000) + be32(kWidth), kInvalidAddress,
         4},
        {"READREG of nothing", 0x80, {}, kInvalidHeader, 0},
        {"READREG of half an address", 0x80, be16(1), kInvalidHeader, 0},
        {"READREG between words", 0x80, be32(kWidth + 2), kBadAlignment, 0},
        {"READREG of a write-only register", 0x80, be32(0x0944), kAccessDenied, 0},
        {"WRITEREG of two", 0x82, be32(kWidth) + be32(64) + be32(0xA114) + be32(48), 0, 4},
        {"WRITEREG without value", 0x82, be32(kWidth), kInvalidHeader, 0},
        {"WRITEREG nowhere", 0x82, be32(0x9000) + be32(1), kInvalidAddress, 4},
        {"WRITEREG of what is read-only", 0x82, be32(0x0048) + be32(1), kWriteProtect, 4},
        {"WRITEREG of the description", 0x82, be32(0x48000000) + be32(1), kWriteProtect, 4},
        {"WRITEREG between words", 0x82, be32(kWidth + 1) + be32(64), kBadAlignment, 4},
        {"WRITEREG above the highest", 0x82, be32(kWidth) + be32(1924), kInvalidParameter, 4},
        {"READMEM", 0x84, be32(0x0048) + be32(32), 0, 36},
        {"READMEM of a whole block", 0x84, be32(0x48000000) + be32(536), 0, 540},
        {"READMEM above a block", 0x84, be32(0x48000000) + be32(540), kInvalidParameter, 0},
        {"READMEM of nothing", 0x84, be32(0x0048) + be32(0), kInvalidParameter, 0},
        {"READMEM between words", 0x84, be32(0x004A) + be32(4), kBadAlignment, 0},
        {"READMEM of half a word", 0x84, be32(0x0048) + be32(6), kBadAlignment, 0},
        {"READMEM into a gap", 0x84, be32(0x00D8) + be32(64), kInvalidAddress, 0},
        {"READMEM around the end", 0x84, be32(0xFFFFFFFC) + be32(16), kInvalidAddress, 0},
        {"READMEM without count", 0x84, be32(0x0048), kInvalidHeader, 0},
        {"WRITEMEM", 0x86, be32(kUserName) + Bytes(16, 'x'), 0, 4},
        {"WRITEMEM of nothing", 0x86, be32(kUserName), kInvalidHeader, 0},
        {"WRITEMEM of half a word", 0x86, be32(kUserName) + Bytes(6, 'x'), kBadAlignment, 4},
        {"WRITEMEM on into a gap", 0x86, be32(kUserName) + Bytes(20, 'x'), kInvalidAddress, 4},
        {"PACKETRESEND", 0x40, Bytes(12), kNotImplemented, 0},
        {"a command of later times", 0x0100, {}, kNotImplemented, 0},
    };
    for (const auto& row : rows) {
        Bench bench;
        bench.takeControl();
        const auto ack = bench.command(row.code, row.payload);
        ASSERT_TRUE(ack) << row.name;
        EXPECT_EQ(ack->status, row.status) << row.name;
        EXPECT_EQ(ack->code, row.code + 1) << row.name;
        EXPECT_EQ(ack->payload.size(), row.length) << row.name;
    }
}

TEST(SimcamGvcp, CountsWhatWasDoneBeforeTheMistake) {
    Bench bench;
    bench.takeControl();
    const Bytes pair = be32(kWidth) + be32(64);
    EXPECT_EQ(bench.command(0x82, pair + be32(0x9000) + be32(0))->payload, be16(0) + be16(1));
    EXPECT_EQ(bench.read(kWidth), 64u);
    EXPECT_EQ(bench.command(0x86, be32(kUserName) + Bytes(20, 'y'))->payload, be16(0) + be16(16));
}

TEST(SimcamGvcp, SaysNothingToWhatIsNoCommandForIt) {
    const Bytes read = be32(kWidth);
    const struct {
        const char* name;
        Bytes message;
        bool broadcast;
    } rows[] = {
        {"no acknowledgement wanted", Bench::message(0x80, 1, read, 0), false},
        {"wrong key",
         [&] {
             Bytes m = Bench::message(0x80, 1, read);
             m[0] = 0x43;
             return m;
         }(),
         false},
        {"an acknowledgement", Bench::message(0x81, 1, read), false},
        {"half a header", Bytes{0x42, 1, 0, 0x80}, false},
        {"READREG to everyone", Bench::message(0x80, 1, read), true},
        {"FORCEIP for another", Bench::message(0x04, 1, Bytes(56, 7)), true},
    };
    for (const auto& row : rows) {
        Bench bench;
        EXPECT_TRUE(bench.exchange(bench.frame(bench.host, row.message, true, row.broadcast)).empty())
            << row.name;
    }
    Bench bench; // the length field claims more than came
    Bytes message = Bench::message(0x80, 9, read);
    message[5] = 8;
    const auto sent = bench.exchange(bench.frame(bench.host, message));
    ASSERT_EQ(sent.size(), 1u);
    EXPECT_EQ(ackOf(sent[0]).status, kInvalidHeader);
}

// A frame that was cut anywhere is dropped or refused, and whatever is answered is sound.
TEST(SimcamGvcp, EveryTruncationOfEveryCommand) {
    for (const char* name :
         {"discovery_cmd", "forceip_cmd", "readreg_cmd", "writereg_cmd", "readmem_cmd", "writemem_cmd"}) {
        const Bytes frame = golden::load(name);
        const std::size_t real = 14u + static_cast<std::size_t>(frame[16] << 8 | frame[17]);
        Bench bench(kPlain);
        for (std::size_t size = 0; size < real; ++size) {
            EXPECT_TRUE(bench.exchange(Bytes(frame.begin(), frame.begin() + static_cast<long>(size))).empty())
                << name << " cut to " << size;
        }
        const Bytes message(frame.begin() + 42, frame.begin() + static_cast<long>(real));
        for (std::size_t size = 8; size < message.size(); ++size) { // whole datagrams with the rest missing
            const Bytes cut(message.begin(), message.begin() + static_cast<long>(size));
            const auto sent = bench.exchange(bench.frame(bench.host, cut));
            ASSERT_LE(sent.size(), 1u);
            EXPECT_TRUE(sent.empty() || ackOf(sent[0]).status == kInvalidHeader)
                << name << " cut to " << size;
        }
    }
}

// --- privilege and heartbeat ---

TEST(SimcamGvcp, PrivilegeDecidesWhoMayDoWhat) {
    enum Who { First, Second };
    struct Step {
        Who who;
        char action; // W: write Width; R: read it; P: write the privilege register
        std::uint32_t value;
        std::uint16_t status;
    };
    const struct {
        const char* name;
        std::vector<Step> steps;
    } rows[] = {
        {"nobody has control", {{First, 'W', 64, kAccessDenied}, {First, 'R', 0, 0}}},
        {"control",
         {{First, 'P', 2, 0}, {First, 'W', 64, 0}, {Second, 'R', 0, 0}, {Second, 'W', 48, kAccessDenied}}},
        {"control is not taken away",
         {{First, 'P', 2, 0},
          {Second, 'P', 2, kAccessDenied},
          {Second, 'P', 0, kAccessDenied},
          {First, 'W', 64, 0}}},
        {"exclusive",
         {{First, 'P', 1, 0}, {Second, 'R', 0, kAccessDenied}, {First, 'R', 0, 0}, {First, 'W', 64, 0}}},
        {"both bits are exclusive", {{First, 'P', 3, 0}, {Second, 'R', 0, kAccessDenied}}},
        {"exclusive to control", {{First, 'P', 1, 0}, {First, 'P', 2, 0}, {Second, 'R', 0, 0}}},
        {"released and taken",
         {{First, 'P', 2, 0},
          {First, 'P', 0, 0},
          {First, 'W', 64, kAccessDenied},
          {Second, 'P', 2, 0},
          {Second, 'W', 64, 0}}},
        {"as this system's host opens",
         {{First, 'P', 0, 0},
          {First, 'P', 2, 0},
          {First, 'P', 0, 0},
          {First, 'P', 2, 0},
          {First, 'W', 64, 0}}},
    };
    for (const auto& row : rows) {
        Bench bench;
        Bench::Host other{0x020000000002, 0xA9FE072B, 3015, 100};
        for (const Step& step : row.steps) {
            Bench::Host& who = step.who == First ? bench.host : other;
            const std::uint16_t status = step.action == 'R'   ? bench.command(who, 0x80, be32(kWidth))->status
                                         : step.action == 'P' ? bench.write(who, 0x0A00, step.value)
                                                              : bench.write(who, kWidth, step.value);
            EXPECT_EQ(status, step.status) << row.name << ": " << step.action << step.value;
        }
    }
}

TEST(SimcamGvcp, ControlBelongsToAnAddressAndAPort) {
    Bench bench;
    bench.takeControl();
    EXPECT_EQ(bench.read(0x0A00), 2u);
    EXPECT_EQ(bench.read(0x0A04), 3015u);
    EXPECT_EQ(bench.read(0x0A14), 0xA9FE072Au);
    Bench::Host samePlace = bench.host;
    samePlace.port = 3016;
    EXPECT_EQ(bench.write(samePlace, kWidth, 64), kAccessDenied);
    EXPECT_EQ(bench.write(0x0A00, 1), 0);
    const auto owner = bench.command(samePlace, 0x80, be32(0x0A14)); // others learn who it is
    EXPECT_EQ(owner->status, 0);
    EXPECT_EQ(owner->payload, be32(0xA9FE072A));
    EXPECT_EQ(bench.command(samePlace, 0x84, be32(0x0A00) + be32(8))->status, kAccessDenied);
}

TEST(SimcamGvcp, SwitchoverNeedsTheKeyAndTheOwnersLeave) {
    const struct {
        const char* name;
        std::uint32_t granted; // by the owner
        std::uint32_t asked;   // by the other
        std::uint16_t status;
    } rows[] = {
        {"with the key", 6, 0x12340002, 0},
        {"wrong key", 6, 0x12350002, kAccessDenied},
        {"not enabled", 2, 0x12340002, kAccessDenied},
        {"from exclusive", 5, 0x12340002, kAccessDenied},
        {"asks for nothing", 6, 0x12340000, kAccessDenied},
    };
    for (const auto& row : rows) {
        Bench bench;
        bench.takeControl();
        ASSERT_EQ(bench.write(0x095C, 0x1234), 0);
        ASSERT_EQ(bench.write(0x0A00, row.granted), 0);
        Bench::Host other{0x020000000002, 0xA9FE072B, 5000, 7};
        EXPECT_EQ(bench.write(other, 0x0A00, row.asked), row.status) << row.name;
        EXPECT_EQ(bench.write(other, kWidth, 64), row.status) << row.name;
    }
}

TEST(SimcamGvcp, HeartbeatKeepsOrDropsControl) {
    Bench bench;
    bench.takeControl();
    ASSERT_EQ(bench.write(0x0938, 15000), 0);
    ASSERT_EQ(bench.write(0x0D18, 0xA9FE072A), 0);
    ASSERT_EQ(bench.write(0x0D00, 1520), 0);
    ASSERT_EQ(bench.write(0xA204, 1), 0);
    for (int i = 0; i < 4; ++i) { // any command is a heartbeat
        bench.pass(milliseconds(14999));
        EXPECT_EQ(bench.read(0x0A00), 2u);
    }
    EXPECT_EQ(bench.camera->deadline(), bench.now + milliseconds(15000));
    Bench::Host other{0x020000000002, 0xA9FE072B, 3015, 100};
    bench.pass(milliseconds(14999));
    EXPECT_EQ(bench.command(other, 0x80, be32(0x0A00))->payload, be32(2)); // the owner's, not anybody's
    bench.pass(milliseconds(1));
    EXPECT_EQ(bench.command(other, 0x80, be32(0x0A00))->payload, be32(0));
    EXPECT_EQ(bench.command(other, 0x80, be32(0x0D00))->payload, be32(0)) << "the stream goes on";
    EXPECT_FALSE(bench.camera->report(bench.now).acquiring);
    EXPECT_EQ(bench.write(kWidth, 64), kAccessDenied);
    EXPECT_FALSE(bench.camera->deadline());
}

TEST(SimcamGvcp, HeartbeatTimeoutHasALowestValueAndCanBeSwitchedOff) {
    Bench bench;
    bench.takeControl();
    EXPECT_EQ(bench.read(0x0938), 3000u);
    ASSERT_EQ(bench.write(0x0938, 1), 0);
    EXPECT_EQ(bench.read(0x0938), 500u);
    ASSERT_EQ(bench.write(0x0954, 1), 0);
    bench.pass(std::chrono::hours(1));
    EXPECT_EQ(bench.write(kWidth, 64), 0);
    ASSERT_EQ(bench.write(0x0954, 0), 0);
    bench.pass(milliseconds(500));
    EXPECT_EQ(bench.write(kWidth, 64), kAccessDenied);
}

// --- retransmissions ---

TEST(SimcamGvcp, ARetransmissionIsAnsweredAgainAndNotExecutedTwice) {
    Bench bench;
    bench.takeControl();
    ASSERT_EQ(bench.read(0xA820), 0u);
    const Bytes fire = bench.frame(bench.host, Bench::message(0x82, 0x4711, be32(0xA2A0) + be32(1)));
    const auto first = bench.exchange(fire);
    const auto second = bench.exchange(fire);
    EXPECT_EQ(first, second);
    EXPECT_EQ(bench.read(0xA820), 1u) << "fired twice";
    EXPECT_EQ(bench.exchange(fire).size(), 1u); // another command came between: it is new
    EXPECT_EQ(bench.read(0xA820), 2u);
    const auto events = bench.camera->log().events();
    EXPECT_EQ(std::count_if(events.begin(), events.end(), [](const auto& e) { return e.repeated; }), 1);
}

TEST(SimcamGvcp, WhatLooksLikeARetransmissionAndIsNone) {
    const struct {
        const char* name;
        bool otherPort;
        bool otherValue;
        int laterMs;
        bool repeated;
    } rows[] = {
        {"the same at once", false, false, 0, true},
        {"the same within the window", false, false, 4999, true},
        {"another application", true, false, 0, false},
        {"another command under the same id", false, true, 0, false},
        {"the same much later", false, false, 5000, false},
    };
    for (const auto& row : rows) {
        Bench bench;
        bench.exchange(bench.frame(bench.host, Bench::message(0x80, 0, be32(kWidth)))); // id 0 is an id, too
        bench.pass(milliseconds(row.laterMs));
        Bench::Host who = bench.host;
        who.port = static_cast<std::uint16_t>(who.port + row.otherPort);
        const auto sent =
            bench.exchange(bench.frame(who, Bench::message(0x80, 0, be32(row.otherValue ? 0xA114 : kWidth))));
        ASSERT_EQ(sent.size(), 1u) << row.name;
        EXPECT_EQ(ackOf(sent[0]).payload, be32(row.otherValue ? 1200 : 1920)) << row.name;
        EXPECT_EQ(bench.camera->log().events().back().repeated, row.repeated) << row.name;
    }
}

TEST(SimcamGvcp, WhatItRemembersIsBounded) {
    Bench bench;
    const Bytes command = Bench::message(0x80, 1, be32(kWidth));
    for (std::uint16_t i = 0; i < 5000; ++i) {
        Bench::Host another = bench.host;
        another.port = static_cast<std::uint16_t>(1000 + i);
        bench.camera->receive(bench.frame(another, command), bench.now);
    }
    EXPECT_EQ(bench.camera->log().total(), 5000u);
    EXPECT_EQ(bench.camera->log().events().size(), 4096u);
    const auto sent = bench.due();
    ASSERT_EQ(sent.size(), 1024u) << "what waits to be sent has an end, too";
    EXPECT_EQ(sent[0][37], 1000 & 0xFF) << "the first is answered first";
    EXPECT_EQ(sent[1][37], 1001 & 0xFF);
    const struct {
        std::uint16_t port;
        bool repeated;
    } rows[] = {{5999, true}, {5984, true}, {5983, false}};
    for (const auto& row : rows) {
        Bench::Host again = bench.host;
        again.port = row.port;
        bench.exchange(bench.frame(again, command));
        EXPECT_EQ(bench.camera->log().events().back().repeated, row.repeated) << row.port;
    }
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
        const auto sent = bench.exchange(
            bench.frame(bench.host, Bench::message(0x02, 5, {}, row.flags), true, row.broadcast));
        ASSERT_EQ(sent.size(), 1u) << row.name;
        const Bytes toMac(sent[0].begin(), sent[0].begin() + 6);
        const Bytes toIp(sent[0].begin() + 30, sent[0].begin() + 34);
        EXPECT_EQ(toMac, row.answerToAll ? Bytes(6, 0xFF) : (Bytes{2, 0, 0, 0, 0, 1})) << row.name;
        EXPECT_EQ(toIp, row.answerToAll ? Bytes(4, 0xFF) : be32(row.hostIp)) << row.name;
        EXPECT_EQ(ackOf(sent[0]).payload.size(), 248u);
    }
}

TEST(SimcamGvcp, DiscoveryAcksSpreadOverTheirDelay) {
    Bench bench({{"mac", "02:11:22:33:44:57"}, {"latency", "3"}});
    bench.camera->memory().poke(0x0950, be32(100), bench.now);
    const Bytes everyone = bench.frame(bench.host, Bench::message(0x02, 5, {}), true, true);
    EXPECT_TRUE(bench.exchange(everyone).empty());
    const auto due = bench.camera->deadline();
    ASSERT_TRUE(due);
    EXPECT_GE(*due, bench.now + milliseconds(3));
    EXPECT_LE(*due, bench.now + milliseconds(103));
    bench.now = *due;
    EXPECT_EQ(bench.due().size(), 1u);
}

TEST(SimcamGvcp, ForceIpMovesTheCamera) {
    const Bytes address = Bytes(2) + Bytes{0x02, 0x11, 0x22, 0x33, 0x44, 0x55} + Bytes(12) +
                          be32(0x0A000005) + Bytes(12) + be32(0xFF000000) + Bytes(12) + be32(0x0A000001);
    Bench bench;
    const auto command = [&](const Bytes& payload) {
        return bench.exchange(
            bench.frame(bench.host, Bench::message(0x04, bench.host.nextId++, payload), true, true));
    };
    bench.takeControl();
    EXPECT_EQ(ackOf(command(address).at(0)).status, kAccessDenied) << "while an application has control";
    ASSERT_EQ(bench.write(0x0A00, 0), 0);
    EXPECT_EQ(ackOf(command(Bytes(address.begin(), address.end() - 4)).at(0)).status, kInvalidHeader);
    const auto sent = command(address);
    EXPECT_EQ(ackOf(sent.at(0)).status, 0);
    EXPECT_EQ(Bytes(sent[0].begin() + 26, sent[0].begin() + 30), be32(0x0A000005))
        << "answers from its new address";
    EXPECT_EQ(bench.camera->report(bench.now).ip.gateway, 0x0A000001u);
    EXPECT_TRUE(bench.exchange(bench.frame(bench.host, Bench::message(0x80, 77, be32(kWidth)))).empty());
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
        {"duplicate=2", 3, 0, 0, 0, true}, {"status=0x8007", 1, 0, 0x8007, 0, false},
        {"pending=500", 1, 1, 0, 0, true}, {"silent readmem", 1, 0, 0, 0, true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.fault);
        Bench bench;
        bench.takeControl();
        std::string error;
        bench.camera->faults().add(simcam::parseFault(row.fault, error).value());
        const auto sent =
            bench.exchange(bench.frame(bench.host, Bench::message(0x82, 40, be32(kWidth) + be32(64))));
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
        EXPECT_EQ(bench.read(kWidth), row.executed ? 64u : 1920u) << "the next command is answered soundly";
    }
}

TEST(SimcamGvcp, ATruncatedAnswerIsASoundDatagramAndACorruptOneIsNone) {
    Bench bench;
    std::string error;
    bench.camera->faults().add(*simcam::parseFault("truncate=6", error));
    bench.camera->faults().add(*simcam::parseFault("corrupt", error));
    const auto cut = bench.exchange(bench.frame(bench.host, Bench::message(0x80, 1, be32(kWidth))));
    ASSERT_EQ(cut.size(), 1u);
    EXPECT_EQ(cut[0][39], 8 + 6); // the UDP length
    const auto damaged = bench.exchange(bench.frame(bench.host, Bench::message(0x80, 2, be32(kWidth))));
    const auto sound = bench.exchange(bench.frame(bench.host, Bench::message(0x80, 2, be32(kWidth))));
    ASSERT_EQ(damaged.size(), 1u);
    EXPECT_EQ(damaged[0][53], sound.at(0)[53] ^ 0xFF);
}

TEST(SimcamGvcp, ARetransmissionAfterASpoiltAnswerGetsTheSoundOne) {
    Bench bench;
    std::string error;
    bench.camera->faults().add(*simcam::parseFault("wrong-id x2", error));
    const Bytes command = bench.frame(bench.host, Bench::message(0x80, 9, be32(kWidth)));
    EXPECT_EQ(ackOf(bench.exchange(command).at(0)).id, 10);
    EXPECT_EQ(ackOf(bench.exchange(command).at(0)).id, 10) << "the second mismatch";
    EXPECT_EQ(ackOf(bench.exchange(command).at(0)).id, 9);
    EXPECT_TRUE(bench.camera->faults().empty());
}

TEST(SimcamGvcp, FaultsAreWrittenAsText) {
    using simcam::Fault;
    const struct {
        const char* text;
        std::optional<Fault> fault;
    } rows[] = {
        {"silent", Fault{Fault::Kind::Silent, 0, 1, {}}},
        {"delay=20 x3 readreg", Fault{Fault::Kind::Delay, 20, 3, gvcp::Command::ReadRegCmd}},
        {"status=0x8006 forever", Fault{Fault::Kind::Status, 0x8006, Fault::kForever, {}}},
        {" wrong-id  writemem ", Fault{Fault::Kind::WrongId, 1, 1, gvcp::Command::WriteMemCmd}},
        {"", {}},
        {"loud", {}},
        {"delay=", {}},
        {"delay=9999999", {}},
        {"silent x0", {}},
        {"silent x", {}},
        {"silent sometimes", {}},
    };
    for (const auto& row : rows) {
        std::string error;
        EXPECT_EQ(simcam::parseFault(row.text, error), row.fault) << row.text;
        EXPECT_EQ(error.empty(), row.fault.has_value()) << row.text;
    }
}

} // namespace
