// platform-check looks at the board in software, whole and with one fault at a time.
#include "process.h"

#include <gmock/gmock.h>

#include <memory>
#include <vector>

namespace {

using test::Program;
using testing::HasSubstr;

TEST(PlatformCheck, FindsNothingWrongWithTheBoardInSoftware) {
    test::useOwnEnvironment();
    qputenv("LD_LIBRARY_PATH", LIBRARIES); // AddressSanitizer's dlopen does not see the program's own path
    const test::Outcome outcome = Program::run(PLATFORM_CHECK, {"--send"});
    EXPECT_EQ(outcome.status, 0) << outcome.out << outcome.err;
    for (const char* line :
         {"tavo_imagePath: gives the table", "bit 16 is set in the last word", "\n0 problems\n"}) {
        EXPECT_THAT(outcome.out, HasSubstr(line));
    }
}

TEST(PlatformCheck, NamesTheCallThatIsWrong) {
    const struct {
        const char* fault;
        const char* line;
    } rows[] = {
        {"", "\n0 problems\n"},
        {"opens any board", "FAIL  TavoInitAllHWEx: boards -1 and 8 give null\n"},
        {"no serial number", "FAIL  TavoGetBoardInfoInt: \"board/serial\""},
        {"bits above a register", "FAIL  TavoRegisterRead: GigeHeartbeatEnable0 is read"},
        {"writes nothing", "FAIL  TavoRegisterWrite: GigeHeartbeatEnable0 keeps"},
        {"does not wait", "FAIL  TavoDataQueueReadBufferLong: waits as long"},
        {"knows every register", "FAIL  KemGetRegisterByName: an unknown name"},
        {"crashes", "FAIL  KemUnloadKemFile: crashes\n"},
    };
    std::vector<std::unique_ptr<Program>> programs; // side by side: they mostly wait
    for (const auto& row : rows) {
        qputenv("FAULT", row.fault);
        programs.push_back(
            std::make_unique<Program>(PLATFORM_CHECK, QStringList{"--hardware", BROKEN_PLATFORM}));
    }
    for (std::size_t i = 0; i < programs.size(); ++i) {
        const test::Outcome outcome = programs[i]->wait();
        EXPECT_EQ(outcome.status, *rows[i].fault != '\0' ? 1 : 0) << rows[i].fault;
        EXPECT_THAT(outcome.out, HasSubstr(rows[i].line)) << rows[i].fault;
    }
    EXPECT_THAT(
        Program::run(PLATFORM_CHECK, {"--hardware", "none.so"}).out, HasSubstr("FAIL  none.so: is loaded: "));
}

} // namespace
