// The use of a frame grabber's ports and PHYs by one program at a time. This program stands in for the frame
// grabber's own library, which knows of no sharing.
#include "board/host_locks.h"

#include "platform/tavo_hw.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

extern "C" __attribute__((visibility("default"))) QLdevice TavoInitAllHWEx(int) {
    return nullptr;
}

namespace {

using board::PhySequence;
using board::PortClaim;

// Another program, which answers to the number of a port whether it can have that, and to kPhys whether it
// can have the PHYs. Those it keeps until it is told anything, which it answers just before it lets go.
class OtherProgram {
public:
    static constexpr char kPhys = 'p';

    OtherProgram() {
        EXPECT_EQ(pipe(m_questions) + pipe(m_answers), 0);
        m_process = fork();
        if (m_process == 0) {
            close(m_questions[1]);
            serve();
        }
    }
    ~OtherProgram() {
        close(m_questions[1]);
        waitpid(m_process, nullptr, 0);
        for (const int end : {m_questions[0], m_answers[0], m_answers[1]}) {
            close(end);
        }
    }

    void tell(char what) { EXPECT_EQ(write(m_questions[1], &what, 1), 1); }
    bool ask(char what) {
        tell(what);
        char answer = 0;
        return read(m_answers[0], &answer, 1) == 1 && answer != 0;
    }
    bool hasAnswered() {
        pollfd answers{m_answers[0], POLLIN, 0};
        return poll(&answers, 1, 0) == 1;
    }

private:
    bool hear(char& what) { return read(m_questions[0], &what, 1) == 1; }
    bool answer(char what) { return write(m_answers[1], &what, 1) == 1; }
    [[noreturn]] void serve() {
        for (char what = 0; hear(what);) {
            if (what == kPhys) {
                const PhySequence sequence(0);
                static_cast<void>(answer(sequence ? 1 : 0) && hear(what) && answer(1));
            } else {
                const bool had = static_cast<bool>(PortClaim(0, what)); // given back before the answer
                answer(had ? 1 : 0);
            }
        }
        _exit(0);
    }

    int m_questions[2];
    int m_answers[2];
    pid_t m_process;
};

TEST(FrameGrabber, APortIsOneProgramsAtATime) {
    OtherProgram other;
    EXPECT_TRUE(other.ask(1));
    {
        const PortClaim claim(0, 1);
        EXPECT_TRUE(claim && PortClaim(0, 1)) << "of one program any number";
        EXPECT_FALSE(other.ask(1));
        EXPECT_TRUE(other.ask(2));
    }
    EXPECT_TRUE(other.ask(1));
}

TEST(FrameGrabber, SequencesWithItsPhysFollowEachOther) {
    OtherProgram other;
    ASSERT_TRUE(other.ask(OtherProgram::kPhys));
    EXPECT_EQ(util::HostLock().take("board-0-phys"), util::HostLock::Result::Busy);
    other.tell(0);
    EXPECT_TRUE(PhySequence(0));
    EXPECT_TRUE(other.hasAnswered()) << "its sequence was still under way";
}

} // namespace
