// The end of a process, and processes forked from it.
#include "system/session.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

namespace {

// Made before the library's own static objects, and destroyed after them.
struct ReleasedAtExit {
    ~ReleasedAtExit() {
        Gbe_freeCamera(camera);
        Gbe_freeBoard(board);
    }
    CameraHandle* camera = nullptr;
    BoardHandle* board = nullptr;
} atExit;

// In this test's own process; it shares nothing with the others.
void leaveAConnectionToStaticObjects() {
    static Rig rig;
    static FakeService service;
    static const auto hung = rig.hang(0, 0, plainCamera());
    if (Gbe_initBoard(0, 0, &atExit.board) != 0 || Gbe_scanNetwork(atExit.board, 0, 0) != 0 ||
        Gbe_getFirstCamera(atExit.board, 0, &atExit.camera) != 0 || Gbe_connectCamera(atExit.camera) != 0) {
        std::exit(1);
    }
    std::exit(0);
}

TEST(Exit, StaticObjectsReleaseBoards) {
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // a fresh process
    EXPECT_EXIT(leaveAConnectionToStaticObjects(), testing::ExitedWithCode(0), "");
}

// What each call gives in a forked process.
bool refusesAll(const Session& session, CameraHandle* camera) {
    long long number = 0;
    unsigned value = 0;
    BoardHandle* board = nullptr;
    CameraHandle* another = nullptr;
    GbeControlStatus control{};
    const int results[] = {
        Gbe_getIntegerValue(camera, "Number", &number),
        Gbe_setIntegerValue(camera, "Number", 1),
        Gbe_executeCommand(camera, "AcquisitionStart"),
        Gbe_startAcquisition(camera),
        Gbe_getControlStatus(camera, &control),
        Gbe_readRegister(camera, 0, &value),
        Gbe_getCameraIp(camera, &value),
        Gbe_scanNetwork(session.board(), 0, 0),
        Gbe_getCameraCount(session.board(), 0),
        Gbe_getFirstCamera(session.board(), 0, &another),
        Gbe_initBoard(0, 0, &board),
        Gbe_connectCamera(camera),
        Gbe_disconnectCamera(camera),
    };
    return std::ranges::all_of(results, [](int result) { return result == GBE_ERROR_CONNECTION; });
}

TEST(Fork, HandlesDoNotSurviveIt) {
    Session session;
    const auto hung = session.rig.hang(0, 0, plainCamera());
    CameraHandle* camera = session.connectFirst();
    ASSERT_EQ(Gbe_setIntegerValue(camera, "Number", 7), 0);
    // The sanitizers' own look at the end misses what the parent's threads hold.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    constexpr bool kWithStaticObjects = false;
#else
    constexpr bool kWithStaticObjects = true;
#endif
    for (const bool ends : {false, kWithStaticObjects}) {
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            ::alarm(20); // ends a process that hangs
            const bool refused = refusesAll(session, camera);
            Gbe_freeCamera(camera);
            Gbe_freeBoard(session.board());
            ends ? std::exit(refused ? 0 : 1) : ::_exit(refused ? 0 : 1);
        }
        int result = 0;
        ASSERT_EQ(::waitpid(child, &result, 0), child);
        EXPECT_TRUE(WIFEXITED(result) && WEXITSTATUS(result) == 0) << result;
        long long number = 0;
        EXPECT_EQ(Gbe_invalidateCache(camera), 0);
        EXPECT_EQ(Gbe_getIntegerValue(camera, "Number", &number), 0) << "the parent goes on";
        EXPECT_EQ(number, 7);
    }
}

} // namespace
