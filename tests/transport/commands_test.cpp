// Commands and a camera that answers them well, badly, late, twice or not at all.
#include "ScriptedBoard.h"

#include <gmock/gmock.h>

namespace {

// Answers to the first, second, ... frame that is sent; the last one stays.
using Script = std::vector<std::function<std::vector<Frame>(const Frame& command)>>;

void play(ScriptedBoard& scripted, const Script& script) {
    scripted.answer([script, turn = std::size_t{0}](const Frame& command) mutable {
        return script[std::min(turn++, script.size() - 1)](command);
    });
}

std::vector<Frame> silent(const Frame&) {
    return {};
}
std::vector<Frame> good(const Frame& command) {
    return {ackTo(command, bigEndian(0x80000002))};
}
std::vector<Frame> refusing(const Frame& command) {
    return {ackTo(command, {}, 0x8006)};
}
std::vector<Frame> cut(const Frame& command) {
    return {ackTo(command, {0x80, 0})};
}
std::vector<Frame> foreign(const Frame& command) {
    return {withId(ackTo(command, bigEndian(9)), static_cast<std::uint16_t>(idOf(command) + 1))};
}
std::vector<Frame> foreignThenGood(const Frame& command) {
    return {foreign(command)[0], good(command)[0]};
}

TEST(Commands, RegisterResults) {
    constexpr int kForeign = transport_error::kForeignReply;
    const struct {
        const char* name;
        Script script;
        int read;
        int written;
        std::size_t sent;
    } rows[] = {
        {"good", {good}, 0, 0, 1},
        {"silent", {silent}, kQueueTimeout, kQueueTimeout, 1},
        {"refusing", {refusing}, 0x8006, 0x8006, 1},
        {"without all of the value", {cut}, transport_error::kTruncated, 0, 1},
        {"another's answer, then a good one", {foreign, good}, 0, 0, 2},
        {"another's answer twice", {foreign}, kForeign, kForeign, 2},
        {"another's answer, then silence", {foreign, silent}, kQueueTimeout, kQueueTimeout, 2},
        {"another's answer, then refusal", {foreign, refusing}, 0x8006, 0x8006, 2},
        {"another's answer in front of the good one", {foreignThenGood}, 0, 0, 2},
    };
    for (const auto& row : rows) {
        ScriptedBoard scripted;
        play(scripted, row.script);
        int value = 5;
        EXPECT_EQ(scripted.camera->ReadRegister(1, 0x0A00, &value), row.read) << row.name;
        EXPECT_EQ(static_cast<unsigned>(value), row.read == 0 ? 0x80000002U : 5U) << row.name;
        const std::vector<Frame>& sent = scripted.board.sent[1];
        ASSERT_EQ(sent.size(), row.sent) << row.name;
        EXPECT_EQ(sent.front(), sent.back()) << row.name << ": the very same frame";

        ScriptedBoard another;
        play(another, row.script);
        EXPECT_EQ(another.camera->WriteRegister(1, 0x0A00, 2), row.written) << row.name;
        EXPECT_EQ(another.board.sent[1].size(), row.sent) << row.name;
    }
}

TEST(Commands, AnswersLeftByAFailureAreNotTakenForLaterOnes) {
    ScriptedBoard scripted;
    int value = 0;
    Frame late;
    play(
        scripted, {[&](const Frame& command) {
                       late = good(command)[0];
                       return std::vector<Frame>{};
                   },
                   foreign});
    EXPECT_EQ(scripted.camera->ReadRegister(0, 0, &value), kQueueTimeout);
    scripted.arrive(0, late);
    scripted.arrive(0, late);
    play(scripted, {good});
    EXPECT_EQ(scripted.camera->ReadRegister(0, 0, &value), 0);
    EXPECT_EQ(scripted.board.sent[0].size(), 2U) << "no resend";

    play(scripted, {foreignThenGood, good});
    EXPECT_EQ(scripted.camera->ReadRegister(0, 0, &value), 0); // leaves a second good answer behind
    EXPECT_EQ(scripted.camera->ReadRegister(0, 0, &value), 0);
    EXPECT_EQ(scripted.board.sent[0].size(), 5U) << "only the first of the two was sent twice";
}

// What a camera with this memory saw of a read: what was asked for, by address, and how much.
struct MemoryCamera {
    unsigned refuseAbove = 1000000; // a read-memory command of more bytes is refused
    unsigned failures = 0;          // so many read-memory commands get no answer first
    bool registersFail = false;
    std::vector<std::pair<std::uint32_t, unsigned>> asked; // count 0: a register

    static std::uint8_t at(std::uint32_t address) {
        return static_cast<std::uint8_t>(address * 7 + (address >> 8));
    }

    std::vector<Frame> operator()(const Frame& command) {
        const bool isRegister = command[45] == 0x80;
        const std::uint32_t address = addressOf(command);
        const unsigned count = isRegister ? 4 : countOf(command);
        asked.emplace_back(address, isRegister ? 0 : count);
        if (isRegister ? registersFail : count > refuseAbove) {
            return {ackTo(command, {}, 0x8003)};
        }
        if (!isRegister && failures != 0) {
            --failures;
            return {};
        }
        Frame payload = isRegister ? Frame{} : bigEndian(address);
        for (unsigned i = 0; i < count; ++i) {
            payload.push_back(at(address + i));
        }
        return {ackTo(command, payload)};
    }
};

TEST(Commands, MemoryIsReadInBlocks) {
    using Asked = std::vector<std::pair<std::uint32_t, unsigned>>;
    constexpr std::uint32_t kBase = 0x8000;
    const struct {
        const char* name;
        unsigned count;
        unsigned refuseAbove;
        unsigned failures;
        bool registersFail;
        int result;
        Asked asked;
    } rows[] = {
        {"nothing", 0, 1000, 0, false, 0, {}},
        {"one byte", 1, 1000, 0, false, 0, {{kBase, 8}}},
        {"a block", 536, 1000, 0, false, 0, {{kBase, 536}}},
        {"a block and a byte", 537, 1000, 0, false, 0, {{kBase, 536}, {kBase + 536, 8}}},
        {"1000", 1000, 1000, 0, false, 0, {{kBase, 536}, {kBase + 536, 464}}},
        {"1001", 1001, 1000, 0, false, 0, {{kBase, 536}, {kBase + 536, 472}}},
        {"more than 16 bits count", 70000, 1000, 0, false, 0, {}},
        {"a block that comes the second time", 8, 1000, 1, false, 0, {{kBase, 8}, {kBase, 8}}},
        {"the end in parts, 1 byte as a register",
         465,
         464,
         0,
         false,
         0,
         {{kBase, 472}, {kBase, 472}, {kBase, 464}, {kBase + 464, 0}}},
        {"4 bytes", 468, 464, 0, false, 0, {{kBase, 472}, {kBase, 472}, {kBase, 464}, {kBase + 464, 0}}},
        {"5 bytes",
         469,
         464,
         0,
         false,
         0,
         {{kBase, 472}, {kBase, 472}, {kBase, 464}, {kBase + 464, 0}, {kBase + 468, 0}}},
        {"8 bytes, of a full block",
         536,
         528,
         0,
         false,
         0,
         {{kBase, 536}, {kBase, 536}, {kBase, 528}, {kBase + 528, 0}, {kBase + 532, 0}}},
        {"a first block is not read in parts", 537, 528, 0, false, 1, {{kBase, 536}, {kBase, 536}}},
        {"nothing is left to shorten", 8, 0, 0, false, 1, {{kBase, 8}, {kBase, 8}}},
        {"the shorter block fails too",
         16,
         0,
         0,
         false,
         1,
         {{kBase, 16}, {kBase, 16}, {kBase, 8}, {kBase, 8}}},
        {"the register fails",
         465,
         464,
         0,
         true,
         1,
         {{kBase, 472}, {kBase, 472}, {kBase, 464}, {kBase + 464, 0}}},
    };
    for (const auto& row : rows) {
        ScriptedBoard scripted;
        auto memory = std::make_shared<MemoryCamera>();
        memory->refuseAbove = row.refuseAbove;
        memory->failures = row.failures;
        memory->registersFail = row.registersFail;
        scripted.answer([memory](const Frame& command) { return (*memory)(command); });
        std::string buffer(row.count + 8, 'x');
        unsigned short done = 1;
        EXPECT_EQ(scripted.camera->ReadMemory(0, kBase, row.count, &done, buffer.data()), row.result)
            << row.name;
        if (!row.asked.empty() || row.count == 0) {
            EXPECT_EQ(memory->asked, row.asked) << row.name;
        }
        if (row.result == 0) {
            EXPECT_EQ(done, static_cast<std::uint16_t>(row.count)) << row.name;
            for (unsigned i = 0; i < row.count; ++i) {
                ASSERT_EQ(static_cast<std::uint8_t>(buffer[i]), MemoryCamera::at(kBase + i)) << row.name << i;
            }
        }
        EXPECT_EQ(buffer.substr(row.count), "xxxxxxxx") << row.name << ": nothing behind the buffer";
    }
}

TEST(Commands, ALateBlockIsNotTakenForAnotherOne) {
    ScriptedBoard scripted;
    MemoryCamera memory;
    Frame late;
    scripted.answer([&](const Frame& command) -> std::vector<Frame> {
        const Frame ack = memory(command)[0];
        if (memory.asked.size() == 1) {
            late = ack; // comes just behind the next block's command
            return {};
        }
        return memory.asked.size() == 3 ? std::vector<Frame>{late, ack} : std::vector<Frame>{ack};
    });
    std::string buffer(600, 'x');
    EXPECT_EQ(scripted.camera->ReadMemory(0, 0, 600, nullptr, buffer.data()), 0);
    for (unsigned i = 0; i < 600; ++i) {
        ASSERT_EQ(static_cast<std::uint8_t>(buffer[i]), MemoryCamera::at(i)) << i;
    }
}

TEST(Commands, MemoryIsWrittenOnce) {
    const Frame data(600, 0x5A);
    const struct {
        const char* name;
        Script script;
        unsigned count;
        int result;
        std::size_t frameSize;
    } rows[] = {
        {"good", {good}, 536, 0, 590},
        {"short ones are padded", {good}, 4, 0, 60},
        {"another's answer counts", {foreign}, 8, 0, 62},
        {"refused", {refusing}, 8, 0x8006, 62},
        {"silent", {silent}, 8, kQueueTimeout, 62},
        {"too much", {good}, 537, transport_error::kOversized, 0},
    };
    for (const auto& row : rows) {
        ScriptedBoard scripted;
        play(scripted, row.script);
        EXPECT_EQ(scripted.camera->WriteMemory(0, 0xA000, data.data(), row.count), row.result) << row.name;
        EXPECT_EQ(scripted.board.sent[0].size(), row.frameSize != 0 ? 1U : 0U) << row.name;
        if (row.frameSize != 0) {
            EXPECT_EQ(scripted.board.sent[0].at(0).size(), row.frameSize) << row.name;
        }
    }
}

TEST(Commands, AnotherPortIsNotTouched) {
    ScriptedBoard scripted;
    play(scripted, {good});
    int value = 0;
    for (const int port : {-1, 4, 1000}) {
        EXPECT_EQ(scripted.camera->ReadRegister(port, 0, &value), transport_error::kBadPort);
        EXPECT_EQ(scripted.camera->WriteRegister(port, 0, 0), transport_error::kBadPort);
        EXPECT_EQ(scripted.camera->ReadMemory(port, 0, 8, nullptr, nullptr), 1);
        EXPECT_EQ(scripted.camera->WriteMemory(port, 0, nullptr, 0), transport_error::kBadPort);
        EXPECT_EQ(scripted.camera->Discover(port, 0), transport_error::kBadPort);
        EXPECT_EQ(scripted.camera->SetEolWidth(port, 1, "Mono8"), transport_error::kBadPort);
        EXPECT_EQ(scripted.camera->GetMacAddress(port, 0), nullptr);
        EXPECT_EQ(scripted.camera->getPortIP(port), 0U);
        EXPECT_FALSE(scripted.camera->selectCamera(port, 0));
    }
    for (const auto& sent : scripted.board.sent) {
        EXPECT_TRUE(sent.empty());
    }
}

} // namespace
