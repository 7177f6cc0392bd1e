// The locks that processes of one computer share. The test's build keeps them below its working directory.
#include "util/HostLock.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <string>

namespace {

using util::HostLock;

// What a process of its own finds; true when `look` is.
bool inAnotherProcess(const std::function<bool()>& look) {
    const pid_t child = fork();
    if (child == 0) {
        _exit(look() ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

bool isFree(const char* name) {
    return inAnotherProcess([=] { return HostLock().take(name) == HostLock::Result::Held; });
}

TEST(HostLock, IsHeldAgainstEverybodyUntilItIsLetGo) {
    HostLock lock;
    ASSERT_EQ(lock.take("one"), HostLock::Result::Held);
    EXPECT_FALSE(isFree("one"));
    EXPECT_EQ(HostLock().take("one"), HostLock::Result::Busy);
    EXPECT_TRUE(isFree("another"));
    HostLock moved = std::move(lock);
    EXPECT_FALSE(isFree("one"));
    moved.release();
    EXPECT_TRUE(isFree("one"));
}

TEST(HostLock, EndsWithItsProcessAndNotWithAChildOfThat) {
    int pipes[2];
    ASSERT_EQ(pipe(pipes), 0);
    const pid_t holder = fork();
    if (holder == 0) {
        HostLock lock;
        pid_t child = lock.take("killed") == HostLock::Result::Held ? fork() : -1;
        while (child == 0) { // lives on, with a copy of everything
            pause();
        }
        child = write(pipes[1], &child, sizeof child) > 0 ? child : -1;
        pause();
    }
    ASSERT_GT(holder, 0);
    pid_t child = -1;
    ASSERT_EQ(read(pipes[0], &child, sizeof child), static_cast<ssize_t>(sizeof child));
    ASSERT_GT(child, 0);
    const auto told = util::lockHolder("killed").value_or(util::LockHolder());
    EXPECT_EQ(told.pid, holder);
    EXPECT_EQ(told.program, "util_test");
    EXPECT_FALSE(isFree("killed"));
    kill(holder, SIGKILL);
    waitpid(holder, nullptr, 0);
    EXPECT_EQ(HostLock().take("killed", std::chrono::seconds(10)), HostLock::Result::Held);
    EXPECT_FALSE(util::lockHolder("killed"));
    kill(child, SIGKILL);
    close(pipes[0]);
    close(pipes[1]);
}

// Whatever lies where the lock's file is to be, nothing else is opened, written to or waited for.
TEST(HostLock, IsNotLedElsewhere) {
    HostLock first;
    ASSERT_EQ(first.take("first"), HostLock::Result::Held); // the folder is there
    std::ofstream("precious") << "text";
    ASSERT_EQ(symlink("../precious", "locks/symbolic"), 0);
    ASSERT_EQ(link("precious", "locks/hard"), 0);
    ASSERT_EQ(mkfifo("locks/pipe", 0600), 0);
    for (const char* name : {"symbolic", "hard", "pipe"}) {
        SCOPED_TRACE(name);
        HostLock().take(name);
        std::string text;
        std::ifstream("precious") >> text;
        EXPECT_EQ(text, "text");
        EXPECT_FALSE(util::lockHolder(name));
    }
}

TEST(HostLock, AFolderMadeAnewIsSeen) {
    HostLock old;
    ASSERT_EQ(old.take("kept"), HostLock::Result::Held);
    ASSERT_EQ(std::system("rm -r locks"), 0);
    EXPECT_TRUE(isFree("kept"));
    old.release();
}

} // namespace
