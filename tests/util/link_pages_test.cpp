// What programs count, as other programs see it. The test's build has the folder below its working directory.
#include "util/link_pages.h"

#include "support/write_file.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

using util::Figure;

// A process that counts, shows it, and stays until it is killed.
class Counting {
public:
    explicit Counting(std::uint64_t commands) {
        int pipes[2];
        EXPECT_EQ(pipe(pipes), 0);
        m_process = fork();
        if (m_process == 0) {
            util::linkCounters(7, 3)[Figure::Commands].add(commands - 1);
            util::publishLinkCounters();
            util::linkCounters(7, 3)[Figure::Commands].add();
            char ready = write(pipes[1], "!", 1) == 1 ? 1 : 0;
            for (; ready == 1;) {
                pause();
            }
            _exit(1);
        }
        char ready = 0;
        EXPECT_EQ(read(pipes[0], &ready, 1), 1);
        close(pipes[0]), close(pipes[1]);
    }
    ~Counting() { end(); }
    Counting(const Counting&) = delete;
    Counting& operator=(const Counting&) = delete;

    void end() {
        kill(m_process, SIGKILL);
        waitpid(m_process, nullptr, 0);
    }
    std::string file() const { return "locks/counters-" + std::to_string(m_process); }
    // How many pages tell of this process, and of so many commands.
    std::size_t seen(std::uint64_t commands) const {
        const std::vector<util::LinkPage> pages = util::readLinkPages();
        return static_cast<std::size_t>(
            std::count_if(pages.begin(), pages.end(), [&](const util::LinkPage& page) {
                return page.pid == m_process && page.link(7, 3)[Figure::Commands] == commands &&
                       !page.program.empty();
            }));
    }

private:
    pid_t m_process = -1;
};

TEST(LinkPages, AreSeenWhileTheirProcessLives) {
    Counting first(41);
    Counting second(42);
    EXPECT_EQ(first.seen(41), 1U);
    EXPECT_EQ(second.seen(42), 1U);
    struct stat status {};
    ASSERT_EQ(stat(first.file().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0640U) << "who can make it shorter can stop its process";
    first.end();
    EXPECT_EQ(first.seen(41), 0U);
    EXPECT_EQ(second.seen(42), 1U);
    const Counting third(43); // removes what the first one left, and nothing else
    EXPECT_FALSE(std::filesystem::exists(first.file()));
    EXPECT_EQ(second.seen(42), 1U);
    EXPECT_EQ(third.seen(43), 1U);
}

// Files that look like pages, some of them locked as such.
TEST(LinkPages, AreBelievedOnlyWhenTheyAreWhole) {
    const Counting good(5);
    std::ifstream in(good.file(), std::ios::binary);
    const std::string page{std::istreambuf_iterator<char>(in), {}};
    ASSERT_GT(page.size(), 1000U);
    std::string foreign = page;
    foreign[7] ^= 1;
    const struct {
        const char* name;
        std::string content;
        bool isLocked;
        std::size_t seen;
    } rows[] = {
        {"a whole one", page, true, 2},
        {"left by a killed process", page, false, 1},
        {"of another layout", foreign, true, 1},
        {"too short", page.substr(0, page.size() - 1), true, 1},
        {"empty", "", true, 1},
    };
    const std::string name = "locks/counters-1";
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        writeFile(name, row.content);
        const int file = open(name.c_str(), O_RDWR | O_CLOEXEC);
        struct flock wish {};
        wish.l_type = F_WRLCK;
        EXPECT_TRUE(!row.isLocked || fcntl(file, F_OFD_SETLK, &wish) == 0);
        EXPECT_EQ(good.seen(5), row.seen);
        close(file);
        unlink(name.c_str());
    }
    ASSERT_EQ(mkfifo(name.c_str(), 0600), 0); // who opens it to read waits for ever
    std::filesystem::create_symlink(std::filesystem::path(good.file()).filename(), "locks/counters-2");
    EXPECT_EQ(good.seen(5), 1U);
    unlink(name.c_str()), unlink("locks/counters-2");
}

} // namespace
