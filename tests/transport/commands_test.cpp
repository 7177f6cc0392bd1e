// Commands and a camera that answers them well, badly, late, twice or not at all.
#include "ScriptedBoard.h"
#include "transport/exchange.h"

namespace {

// Answers to the first, second, ... frame that is sent; the last one stays.
using Script = std::vector<Answers>;

void play(ScriptedBoard& scripted, const Script& script) {
    scripted.answer([script, turn = std::size_t{0}](const Frame& command) mutable {
        return script[std::min(turn++, script.size() - 1)](command);
    });
}

const Answers silent = [](const Frame&) { return Frames{}; };
const Answers good = [](const Frame& command) { return Frames{ackTo(command, big32(0x80000002))}; };
const Answers refusing = [](const Frame& command) { return Frames{ackTo(command, {}, 0x8006)}; };
const Answers cut = [](const Frame& command) { return Frames{ackTo(command, {0x80, 0})}; };
const Answers foreign = [](const Frame& command) {
    return Frames{with16(ackTo(command, big32(9)), kIdAt, numberAt(command, kIdAt) + 1)};
};
const Answers foreignThenGood = [](const Frame& command) {
    return Frames{foreign(command)[0], good(command)[0]};
};
const Answers tiny = [](const Frame& command) {
    return Frames{with16(Frame(60), 12, 0x0800), with16(good(command)[0], 16, 30)};
};
const Answers giant = [](const Frame& command) {
    Frame frame = good(command)[0];
    frame.resize(9000);
    return Frames{frame};
};
const Answers elsewhere = [](const Frame& command) { return Frames{with(good(command)[0], 29, {101})}; };
Frame pending(const Frame& command, unsigned id) {
    const Frame notice = ackTo(command, {0, 0, 0x10, 0});
    return with16(with16(notice, kAckCode, 0x0089), kIdAt, id);
}
const Answers pendingThenGood = [](const Frame& command) {
    const unsigned id = numberAt(command, kIdAt);
    return Frames{pending(command, id + 1), pending(command, id), good(command)[0]};
};
const Answers pendingAlone = [](const Frame& command) {
    return Frames{pending(command, numberAt(command, kIdAt))};
};
const Answers damaged = [](const Frame& command) {
    return Frames{with16(good(command)[0], 40, 1), with16(good(command)[0], 24, 1)};
};

// Register commands are sent again on a foreign reply, and all of them after silence.
TEST(Commands, HaveTheResultsAndResendsOfTheirAnswers) {
    constexpr int kForeign = transport_error::kForeignReply;
    const struct {
        const char* name;
        Script script;
        int read, write, writeMemory;
        std::size_t sent, memorySent; // commands to a register, and to memory
    } rows[] = {
        {"good", {good}, 0, 0, 0, 1, 1},
        {"silent", {silent}, kQueueTimeout, kQueueTimeout, kQueueTimeout, 4, 4},
        {"silent, then good", {silent, good}, 0, 0, 0, 2, 2},
        {"silent twice, then refusing", {silent, silent, refusing}, 0x8006, 0x8006, 0x8006, 3, 3},
        {"refusing", {refusing}, 0x8006, 0x8006, 0x8006, 1, 1},
        {"without all of the value", {cut}, transport_error::kTruncated, 0, 0, 1, 1},
        {"shorter than a header, then good", {tiny, good}, 0, 0, 0, 2, 2},
        {"too long for a camera, then good", {giant, good}, 0, 0, 0, 2, 2},
        {"from another address, then good", {elsewhere, good}, 0, 0, 0, 2, 2},
        {"another's answer, then a good one", {foreign, good}, 0, 0, 0, 2, 2},
        {"another's answer twice", {foreign}, kForeign, kForeign, kQueueTimeout, 2, 4},
        {"another's answer, then silence",
         {foreign, silent},
         kQueueTimeout,
         kQueueTimeout,
         kQueueTimeout,
         5,
         4},
        {"another's answer, then refusal", {foreign, refusing}, 0x8006, 0x8006, 0x8006, 2, 2},
        {"another's answer in front of the good one", {foreignThenGood}, 0, 0, 0, 2, 1},
        {"notices in front of the answer", {pendingThenGood}, 0, 0, 0, 1, 1},
        {"a notice and no answer", {pendingAlone}, kQueueTimeout, kQueueTimeout, kQueueTimeout, 1, 1},
        {"damaged answers", {damaged}, kQueueTimeout, kQueueTimeout, kQueueTimeout, 4, 4},
    };
    const Frame data(600, 0x5A);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        ScriptedBoard scripted;
        const auto run = [&](auto command, int result, std::size_t sent) {
            play(scripted, row.script);
            scripted.board.sent[1].clear();
            EXPECT_EQ(command(*scripted.camera), result);
            ASSERT_EQ(scripted.board.sent[1].size(), sent);
            EXPECT_EQ(scripted.board.sent[1].front(), scripted.board.sent[1].back()) << "not the very same";
        };
        int value = 5;
        run([&](GigeCamera& camera) { return camera.ReadRegister(1, 0x0A00, &value); }, row.read, row.sent);
        EXPECT_EQ(static_cast<unsigned>(value), row.read == 0 ? 0x80000002U : 5U);
        run([](GigeCamera& camera) { return camera.WriteRegister(1, 0x0A00, 2); }, row.write, row.sent);
        const auto write = [&](unsigned count) {
            return scripted.camera->WriteMemory(1, 0xA000, data.data(), count);
        };
        run([&](GigeCamera&) { return write(536); }, row.writeMemory, row.memorySent);
        EXPECT_EQ(scripted.board.sent[1].back().size(), 590U);
        EXPECT_EQ(write(537), transport_error::kOversized);
    }
}

TEST(Commands, DoNotTakeAnswersLeftByAFailureForTheirOwn) {
    ScriptedBoard scripted;
    int value = 0;
    Frame late;
    scripted.answer([&](const Frame& command) {
        late = good(command)[0];
        return Frames{};
    });
    EXPECT_EQ(scripted.camera->ReadRegister(0, 0, &value), kQueueTimeout);
    scripted.arrive(0, late);
    scripted.arrive(0, late);
    play(scripted, {good});
    EXPECT_EQ(scripted.camera->ReadRegister(0, 0, &value), 0);
    EXPECT_EQ(scripted.board.sent[0].size(), 5U) << "only the first was sent again";

    play(scripted, {foreignThenGood, good});
    EXPECT_EQ(scripted.camera->ReadRegister(0, 0, &value), 0); // leaves a second good answer behind
    EXPECT_EQ(scripted.camera->ReadRegister(0, 0, &value), 0);
    EXPECT_EQ(scripted.board.sent[0].size(), 8U) << "only the first of the two was sent twice";

    for (int copies = 0; copies < 5; ++copies) { // nobody knows of these
        scripted.arrive(0, with16(late, kIdAt, 0x7777));
    }
    EXPECT_EQ(scripted.camera->WriteRegister(0, 0, 1), 0);
    EXPECT_EQ(scripted.camera->WriteRegister(0, 0, 1), 0);
    EXPECT_EQ(scripted.board.sent[0].size(), 11U);
}

// Whatever arrives besides, a command ends, and an access of several commands ends as a whole.
TEST(Commands, EndWithinTheirTimeWhateverChattersOnTheWire) {
    const Frame arp = with(golden::load("arp_request"), 41, {99});
    const Frame ack = ackTo(golden::load("readreg_cmd"), big32(2));
    const struct {
        const char* name;
        Frame chatter; // whenever the port has waited for a quarter of a second
    } rows[] = {
        {"nothing", {}},
        {"ARP for others", arp},
        {"IPv6", with(ack, 12, {0x86, 0xDD})},
        {"short datagrams", with16(ack, 16, 30)},
        {"answers from elsewhere", with(ack, 29, {101})},
        {"acknowledgements of a failed command", with16(ack, kIdAt, 0x7777)},
        {"those of commands sent while this process was stopped", with16(ack, kIdAt, 0xFFFD)},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        ScriptedBoard scripted;
        scripted.answer(silent);
        (*scripted.camera->findPort(0))
            .arrears()
            .addSpent(frame::rawRequestId(packetOf(with16(ack, kIdAt, 0x7777))));
        scripted.board.onEmpty = [&, next = 250L]() mutable {
            if (!row.chatter.empty() && ScriptedBoard::time() >= next) {
                next += 250;
                scripted.arrive(0, row.chatter);
            }
        };
        int value = 0;
        char memory[8];
        EXPECT_LT(scripted.camera->ReadRegister(0, 0, &value), 0);
        EXPECT_EQ(ScriptedBoard::time(), 2000);
        EXPECT_EQ(scripted.camera->ReadMemory(0, 0, 1000, nullptr, memory), 1);
        EXPECT_EQ(ScriptedBoard::time(), 6000);
        const transport::Access access((*scripted.camera->findPort(0)));
        for (int tries = 0; tries < 3; ++tries) {
            EXPECT_EQ(scripted.camera->ReadMemory(0, 0, 8, nullptr, memory), 1);
        }
        EXPECT_EQ(ScriptedBoard::time(), 14000);
    }
}

// While the camera asks for patience its heartbeat goes on, and the access ends after a minute.
TEST(Commands, KeepControlWhileTheyWaitBehindNotices) {
    ScriptedBoard scripted;
    Frame asking;
    std::vector<unsigned> beats; // commands: 0x82 writes, 0x80 reads
    scripted.answer([&](const Frame& command) {
        if (numberAt(command, 52) == 0x0938 || numberAt(command, 52) == 0x0A00) {
            beats.push_back(numberAt(command, kAckCode));
            return Frames{ackTo(command, big32(2))};
        }
        asking = command;
        return Frames{pending(command, numberAt(command, kIdAt))};
    });
    scripted.board.onEmpty = [&, next = 1500L]() mutable {
        if (ScriptedBoard::time() >= next && !asking.empty()) {
            next += 1500;
            scripted.arrive(0, pending(asking, numberAt(asking, kIdAt)));
        }
    };
    transport::Port& port = (*scripted.camera->findPort(0));
    port.beat() = transport::Port::Beat{0x0938, 8000, 0x0A00, port.now()};
    char memory[8];
    EXPECT_EQ(scripted.camera->ReadMemory(0, 0x8000, 8, nullptr, memory), 1);
    EXPECT_EQ(ScriptedBoard::time(), 60000);
    ASSERT_EQ(beats.size(), 2 * 59U);
    EXPECT_EQ(beats[0], 0x82U);
    EXPECT_EQ(beats[1], 0x80U);
}

// What the FPGA stamps would be done again under another id.
TEST(Commands, AreNotRepeatedWhereTheirIdIsTheBoards) {
    ScriptedBoard scripted;
    int value = 0;
    scripted.answer(silent);
    scripted.camera->PrepareWriteRegister(0, 0, 1);
    EXPECT_EQ(scripted.camera->WriteRegister(0, 0, 1), kQueueTimeout);
    EXPECT_EQ(scripted.board.sent[0].size(), 1U);
    EXPECT_EQ(scripted.camera->ReadRegister(0, 0, &value), kQueueTimeout);
    EXPECT_EQ(scripted.board.sent[0].size(), 5U) << "a frame with a checksum is not stamped";
}

using std::chrono::milliseconds;

TEST(AckWait, LastsAsLongAsNoticesSayWithinItsBounds) {
    constexpr std::uint16_t kOwn = 7;
    struct Notice {
        int at; // milliseconds since the command was sent
        std::uint16_t id;
        int in;
    };
    const struct {
        const char* name;
        std::vector<Notice> notices;
        int lasts;
    } rows[] = {
        {"no notice", {}, 2000},
        {"one", {{100, kOwn, 5000}}, 7100},
        {"one that comes twice", {{100, kOwn, 5000}, {100, kOwn, 5000}}, 7100},
        {"a shorter one does not shorten", {{100, kOwn, 5000}, {200, kOwn, 0}}, 7100},
        {"another command's", {{100, kOwn + 1, 5000}}, 2000},
        {"the longest", {{0, kOwn, 65535}}, 32000},
        {"one after the other", {{0, kOwn, 65535}, {30000, kOwn, 65535}, {59000, kOwn, 9000}}, 60000},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const AckWait::Time start{std::chrono::hours(1)};
        AckWait wait(kOwn, AckWait::Foreign::EndsTheWait, start);
        for (const Notice& notice : row.notices) {
            const AckFacts facts{true, notice.id, true, milliseconds(notice.in)};
            EXPECT_EQ(wait.take(facts, start + milliseconds(notice.at)), AckWait::Verdict::WaitOn);
        }
        EXPECT_EQ(wait.remaining(start), milliseconds(row.lasts));
        wait.restart(start + milliseconds(59500));
        EXPECT_LE(wait.remaining(start), milliseconds(60000));
    }
}

// A camera with memory that writes down what it is asked for: "offset:count", or "offset:r" for a register.
struct MemoryCamera {
    static constexpr std::uint32_t kBase = 0x8000;

    unsigned refuseAbove;     // a read-memory command of more bytes is refused
    bool firstIsLate = false; // the first command is answered just in front of the answer to the third
    bool registersFail = false;
    std::string asked = {};
    int commands = 0;
    Frame late = {};

    static std::uint8_t at(std::uint32_t address) {
        return static_cast<std::uint8_t>(address * 7 + (address >> 8));
    }

    Frames operator()(const Frame& command) {
        const bool isRegister = command[45] == 0x80;
        const std::uint32_t address = numberAt(command, 50) << 16 | numberAt(command, 52);
        const unsigned count = isRegister ? 4 : numberAt(command, 56);
        asked += (commands++ != 0 ? " " : "") + std::to_string(address - kBase) + ':' +
                 (isRegister ? "r" : std::to_string(count));
        if (isRegister ? registersFail : count > refuseAbove) {
            return {ackTo(command, {}, 0x8003)};
        }
        Frame payload = isRegister ? Frame{} : big32(address);
        for (unsigned i = 0; i < count; ++i) {
            payload.push_back(at(address + i));
        }
        const Frame ack = ackTo(command, payload);
        if (firstIsLate && commands == 1) {
            late = ack;
            return {};
        }
        return firstIsLate && commands == 3 ? Frames{late, ack} : Frames{ack};
    }
};

TEST(Commands, ReadMemoryInBlocksAndItsEndInParts) {
    const struct {
        const char* name;
        unsigned count;
        int result;
        MemoryCamera camera;
        const char* asked; // null: not looked at
    } rows[] = {
        {"nothing", 0, 0, {1000}, ""},
        {"one byte", 1, 0, {1000}, "0:8"},
        {"a block and a byte", 537, 0, {1000}, "0:536 536:8"},
        {"more than 16 bits count", 70000, 0, {1000}, nullptr},
        {"a block that comes the second time", 8, 0, {1000, true}, "0:8 0:8"},
        {"a late block is not another's", 600, 0, {1000, true}, "0:536 0:536 536:64"},
        {"the end in parts, 1 byte as a register", 465, 0, {464}, "0:472 0:472 0:464 464:r"},
        {"5 bytes", 469, 0, {464}, "0:472 0:472 0:464 464:r 468:r"},
        {"8 bytes, of a full block", 536, 0, {528}, "0:536 0:536 0:528 528:r 532:r"},
        {"a first block is not read in parts", 537, 1, {528}, "0:536 0:536"},
        {"nothing is left to shorten", 8, 1, {0}, "0:8 0:8"},
        {"the shorter block fails too", 16, 1, {0}, "0:16 0:16 0:8 0:8"},
        {"the register fails", 465, 1, {464, false, true}, "0:472 0:472 0:464 464:r"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        ScriptedBoard scripted;
        MemoryCamera camera = row.camera;
        scripted.answer(std::ref(camera));
        std::string buffer(row.count + 8, 'x');
        std::string expected = buffer;
        for (unsigned i = 0; i < row.count; ++i) {
            expected[i] = static_cast<char>(MemoryCamera::at(MemoryCamera::kBase + i));
        }
        unsigned short done = 1;
        EXPECT_EQ(
            scripted.camera->ReadMemory(0, MemoryCamera::kBase, row.count, &done, buffer.data()), row.result);
        EXPECT_EQ(buffer.substr(row.count), "xxxxxxxx") << "written behind the buffer";
        EXPECT_EQ(camera.asked, row.asked != nullptr ? row.asked : camera.asked);
        if (row.result == 0) {
            EXPECT_EQ(done, static_cast<std::uint16_t>(row.count));
            EXPECT_EQ(buffer, expected);
        }
    }
}

} // namespace
