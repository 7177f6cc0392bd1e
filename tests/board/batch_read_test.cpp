// Many registers with few commands, and cameras that do not take them as they should.
#include "board/BatchRead.h"
#include "protocol/gvcp.h"
#include "transport/ScriptedBoard.h"

#include <numeric>

namespace {

constexpr std::uint32_t kBad = 0x9000; // where the camera has nothing

// What the camera's memory holds: words that tell where they lie.
std::uint32_t wordAt(std::uint32_t address) {
    return 0xC0000000 | address;
}

std::uint32_t big32At(const Frame& frame, std::size_t offset) {
    return numberAt(frame, offset) << 16 | numberAt(frame, offset + 2);
}

// What a camera makes of READREG: a payload and a status.
enum class Manner {
    Standard,
    SaysNothing, // a refusal does not tell what has been read
    FillsUp,     // a refusal comes with as many values as were asked for
    RefusesMany, // several registers in one command
    SilentToMany,
};

Frames answer(Manner manner, const Frame& command) {
    Frame values;
    const bool isMemory = numberAt(command, 44) == static_cast<unsigned>(gvcp::Command::ReadMemCmd);
    const std::size_t count = isMemory ? numberAt(command, 56) / 4 : numberAt(command, 46) / 4;
    const bool isRefused = !isMemory && manner == Manner::RefusesMany && count > 1;
    bool isBad = isRefused;
    for (std::size_t i = 0; i < count && !isRefused; ++i) {
        const std::uint32_t address = isMemory ? big32At(command, 50) + 4 * static_cast<std::uint32_t>(i)
                                               : big32At(command, 50 + 4 * i);
        isBad = isBad || address == kBad;
        if (!isBad || manner == Manner::FillsUp) {
            values = with(values, values.size(), big32(wordAt(address)));
        }
    }
    if (manner == Manner::SilentToMany && !isMemory && count > 1) {
        return {};
    }
    values = isBad && (manner == Manner::SaysNothing || isMemory) ? Frame() : values;
    values = isMemory ? with(big32(big32At(command, 50)), 4, values) : values;
    return {ackTo(command, values, isBad ? 0x8003 : 0)};
}

TEST(BatchRead, BringsWhatCanBeReadWithFewCommands) {
    const auto addresses = [](std::uint32_t from, std::uint32_t step, std::size_t count) {
        std::vector<std::uint32_t> all(count);
        for (std::size_t i = 0; i < count; ++i) {
            all[i] = from + step * static_cast<std::uint32_t>(i);
        }
        return all;
    };
    auto broken = addresses(0x8000, 8, 600); // goes over kBad
    const struct {
        const char* name;
        Manner manner;
        bool concatenates;
        std::vector<std::uint32_t> addresses;
        long long length;
        std::size_t commands;
        bool goesOn = true, still = true; // what is told afterwards
    } rows[] = {
        {"as many as a command takes", Manner::Standard, true, addresses(0x10000, 8, 135), 4, 1},
        {"one more", Manner::Standard, true, addresses(0x10000, 8, 136), 4, 2},
        {"one that is not there", Manner::Standard, true, broken, 4, 6},
        {"… and not said which", Manner::SaysNothing, true, broken, 4, 19},
        {"… behind values of nothing", Manner::FillsUp, true, broken, 4, 19},
        {"a camera that takes one only", Manner::RefusesMany, true, addresses(0x10000, 8, 40), 4, 57, true,
         false},
        {"a camera that is silent to several", Manner::SilentToMany, true, addresses(0x10000, 8, 40), 4, 4,
         false, false},
        {"neighbours one by one", Manner::Standard, false, addresses(0x10000, 8, 5), 4, 5},
        {"neighbours as memory, the last alone", Manner::Standard, false, addresses(0x10000, 4, 135), 4, 2},
        {"texts beside each other", Manner::Standard, true, addresses(0x10000, 16, 40), 16, 2},
        {"between words", Manner::Standard, true, addresses(0x10002, 8, 3), 4, 0},
        {"beyond the address space", Manner::Standard, true, addresses(0xFFFFFFFC, 0, 1), 8, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        ScriptedBoard scripted;
        scripted.answer([&](const Frame& command) { return answer(row.manner, command); });
        std::vector<Frame> buffers(row.addresses.size(), Frame(static_cast<std::size_t>(row.length)));
        std::vector<board::BatchRead::Place> places;
        for (std::size_t i = 0; i < buffers.size(); ++i) {
            places.push_back({buffers[i].data(), row.addresses[i], row.length, false});
        }
        bool concatenates = row.concatenates;
        board::BatchRead batch(*scripted.camera->findPort(0), concatenates, [](int) {});
        EXPECT_EQ(batch.run(places), row.goesOn);
        EXPECT_EQ(concatenates, row.still || !row.concatenates ? row.concatenates : false);
        EXPECT_EQ(scripted.board.sent[0].size(), row.commands);
        for (std::size_t i = 0; i < buffers.size(); ++i) {
            const bool isThere = row.addresses[i] != kBad && row.commands != 0 && row.goesOn;
            EXPECT_EQ(places[i].isRead, isThere) << i;
            if (isThere) {
                EXPECT_EQ(big32At(buffers[i], 0), wordAt(row.addresses[i]));
                EXPECT_EQ(
                    big32At(buffers[i], buffers[i].size() - 4),
                    wordAt(row.addresses[i] + static_cast<std::uint32_t>(row.length) - 4));
            }
        }
    }
}

} // namespace
