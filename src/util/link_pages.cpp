#include "util/link_pages.h"

#include "util/run_folder.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <set>
#include <string_view>
#include <utility>

namespace util {
namespace {

constexpr std::string_view kPrefix = "counters-";
constexpr mode_t kPageMode = 0640;
constexpr std::array<char, 8> kMark{'l', 'i', 'o', 'm', 'o', 'l', 'L', '2'}; // another one for another layout
constexpr int kNames = 4; // that a process tries: one of another process namespace may bear its number
constexpr std::size_t kMostPages = 1024; // that a reader looks at

struct Header {
    std::array<char, 8> mark{};
    std::int32_t pid = 0;
    std::array<char, 36> program{};
};

// As it lies in memory and in the file.
template<typename Links> struct Page {
    Header header;
    std::array<Links, kLinks> links;
};
using CountedPage = Page<LinkCounters>;
using ReadPage = Page<LinkFigures>;
static_assert(sizeof(CountedPage) == sizeof(ReadPage) && sizeof(Header) % sizeof(std::uint64_t) == 0);

// The memory of the page has the addresses that it has for as long as the process lives; what is behind them
// becomes a file when the page is published.
CountedPage& ownPage() {
    static CountedPage& page = []() -> CountedPage& {
        void* const memory =
            mmap(nullptr, sizeof(CountedPage), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        return memory != MAP_FAILED ? *new (memory) CountedPage : *new CountedPage;
    }();
    return page;
}

Header ownHeader() {
    Header header{kMark, static_cast<std::int32_t>(getpid()), {}};
    std::snprintf(header.program.data(), header.program.size(), "%s", program_invocation_short_name);
    return header;
}

bool lock(int file) {
    struct flock wish {};
    wish.l_type = F_WRLCK;
    return fcntl(file, F_OFD_SETLK, &wish) == 0;
}

bool isLocked(int file) {
    struct flock look {};
    look.l_type = F_RDLCK;
    return fcntl(file, F_OFD_GETLK, &look) == 0 && look.l_type != F_UNLCK;
}

// Calls `work` with the names of the pages in a folder.
template<typename Work> void forEachPage(const RunFile& folder, Work&& work) {
    const int copy = folder ? openat(folder.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC) : -1;
    DIR* const list = copy >= 0 ? fdopendir(copy) : nullptr;
    if (list == nullptr) {
        if (copy >= 0) {
            close(copy);
        }
        return;
    }
    for (std::size_t count = 0; count < kMostPages;) {
        const dirent* const entry = readdir(list);
        if (entry == nullptr) {
            break;
        }
        if (std::string_view(entry->d_name).starts_with(kPrefix)) {
            ++count;
            work(std::string(entry->d_name));
        }
    }
    closedir(list);
}

// What killed processes of this user have left. Locked before it is removed: a page that is just being made
// has its file before its lock.
void removeLeftovers(const RunFile& folder) {
    forEachPage(folder, [&](const std::string& name) {
        const RunFile page = openPlain(folder, name, O_RDWR, 0);
        struct stat status {};
        if (page && fstat(page.get(), &status) == 0 && status.st_uid == geteuid() && lock(page.get())) {
            unlinkat(folder.get(), name.c_str(), 0);
        }
    });
}

// The published page of this process: its open file holds the lock.
class PageFile {
public:
    static PageFile& instance() {
        static PageFile& all = *new PageFile; // its file is removed by leave()
        return all;
    }

    void publish() {
        const std::lock_guard guard(m_mutex);
        if (!m_file) {
            tryFolder(openServiceFolder()) || tryFolder(openUserFolder());
        }
    }

private:
    // A forked child has neither the lock nor, from now on, the same memory: what it counted would show as
    // its parent's.
    PageFile() {
        std::atexit([] { instance().leave(); });
        pthread_atfork(
            [] { instance().m_mutex.lock(); }, [] { instance().m_mutex.unlock(); },
            [] {
                PageFile& file = instance();
                if (file.m_file) {
                    file.m_file = RunFile();
                    mmap(
                        &ownPage(), sizeof(CountedPage), PROT_READ | PROT_WRITE,
                        MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0);
                }
                file.m_mutex.unlock();
            });
    }

    bool tryFolder(RunFile folder) {
        if (!folder) {
            return false;
        }
        removeLeftovers(folder);
        for (int number = 0; number < kNames; ++number) {
            std::string name = std::string(kPrefix) + std::to_string(getpid());
            name += number == 0 ? "" : "-" + std::to_string(number);
            RunFile file = openPlain(folder, name, O_RDWR | O_CREAT | O_EXCL, kPageMode);
            if (file && lock(file.get()) && fill(file.get())) {
                m_file = std::move(file);
                m_folder = std::move(folder);
                m_name = std::move(name);
                m_pid = getpid();
                return true;
            }
            if (file) {
                unlinkat(folder.get(), name.c_str(), 0);
            }
        }
        return false;
    }

    // All of the file is there before it is counted in: a full disk would stop the process later. The few
    // counts of other threads between copying and mapping are lost.
    static bool fill(int file) {
        CountedPage& page = ownPage();
        page.header = ownHeader();
        fchmod(file, kPageMode); // whatever the umask
        ReadPage now{page.header, {}};
        std::transform(page.links.begin(), page.links.end(), now.links.begin(), [](const auto& counters) {
            return LinkFigures(counters);
        });
        return posix_fallocate(file, 0, sizeof page) == 0 &&
               pwrite(file, &now, sizeof now, 0) == static_cast<ssize_t>(sizeof now) &&
               mmap(&page, sizeof page, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED, file, 0) !=
                   MAP_FAILED;
    }

    void leave() {
        const std::lock_guard guard(m_mutex);
        if (m_file && m_pid == getpid()) {
            unlinkat(m_folder.get(), m_name.c_str(), 0);
        }
    }

    std::mutex m_mutex;
    RunFile m_file; // all under m_mutex
    RunFile m_folder;
    std::string m_name;
    pid_t m_pid = 0;
};

std::string printable(const std::array<char, 36>& text) {
    std::string result(text.begin(), std::find(text.begin(), text.end(), '\0'));
    std::replace_if(
        result.begin(), result.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
    return result;
}

std::optional<LinkPage> readPage(const RunFile& folder, const std::string& name) {
    const RunFile file = openPlain(folder, name, O_RDONLY, 0);
    const auto page = std::make_unique<ReadPage>();
    if (!file || !isLocked(file.get()) ||
        pread(file.get(), page.get(), sizeof *page, 0) != static_cast<ssize_t>(sizeof *page) ||
        page->header.mark != kMark || page->header.pid <= 0) {
        return std::nullopt;
    }
    return LinkPage{page->header.pid, printable(page->header.program), page->links};
}

} // namespace

LinkCounters& linkCounters(int board, int port) {
    return ownPage().links.at(static_cast<std::size_t>(board * kLinkPorts + port));
}

void publishLinkCounters() {
    PageFile::instance().publish();
}

std::vector<LinkPage> readLinkPages() {
    std::vector<LinkPage> pages;
    for (const RunFile& folder : {openServiceFolder(), openUserFolder()}) {
        forEachPage(folder, [&](const std::string& name) {
            if (auto page = readPage(folder, name)) {
                pages.push_back(std::move(*page));
            }
        });
    }
    return pages;
}

LinkPage ownLinkPage() {
    LinkPage page{static_cast<int>(getpid()), printable(ownHeader().program), {}};
    for (std::size_t i = 0; i < kLinks; ++i) {
        page.links[i] = LinkFigures(ownPage().links[i]);
    }
    return page;
}

} // namespace util
