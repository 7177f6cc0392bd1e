#include "Peer.h"

#include "bounds.h"

#include "common/settings_file.h"

#include <algorithm>
#include <charconv>
#include <ctime>
#include <string>
#include <sys/socket.h>
#include <vector>

namespace gbe_service {
namespace {

template<typename Number> std::optional<Number> numberOf(std::string_view word) {
    Number value = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
    const bool isWhole = error == std::errc() && end == word.data() + word.size();
    return isWhole ? std::optional(value) : std::nullopt;
}

// Nanoseconds on a processor, of all threads.
std::uint64_t timeRun(pid_t process) {
    clockid_t clock{};
    timespec time{};
    if (clock_getcpuclockid(process, &clock) != 0 || clock_gettime(clock, &time) != 0) {
        return 0;
    }
    return static_cast<std::uint64_t>(time.tv_sec) * 1'000'000'000U +
           static_cast<std::uint64_t>(time.tv_nsec);
}

std::optional<ProcessStat> statOf(pid_t process) {
    std::string text;
    std::optional<ProcessStat> stat;
    if (!common::readTextFile("/proc/" + std::to_string(process) + "/stat", kMaxStatSize, text)) {
        stat = parseStat(text);
    }
    if (stat) {
        stat->ran = timeRun(process);
    }
    return stat;
}

} // namespace

std::optional<ProcessStat> parseStat(std::string_view text) {
    constexpr std::size_t kState = 0; // of the words behind the name
    constexpr std::size_t kStart = 19;
    const std::size_t nameEnd = text.rfind(')');
    if (nameEnd == text.npos) {
        return std::nullopt;
    }
    const std::vector<std::string_view> words = common::words(text.substr(nameEnd + 1));
    const auto start = words.size() > kStart ? numberOf<std::uint64_t>(words[kStart]) : std::nullopt;
    return start && words[kState].size() == 1 ? std::optional(ProcessStat{words[kState][0], *start})
                                              : std::nullopt;
}

bool hasPacketSocket(std::string_view text, uid_t user, int interface) {
    constexpr std::size_t kInterface = 4; // the words of a line
    constexpr std::size_t kUser = 7;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        const std::vector<std::string_view> words = common::words(text.substr(0, end));
        if (words.size() > kUser && numberOf<int>(words[kInterface]) == interface &&
            numberOf<uid_t>(words[kUser]) == user) {
            return true;
        }
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return false;
}

std::optional<Peer> Peer::of(int socket) {
    ucred peer{};
    socklen_t size = sizeof peer;
    if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0 || peer.pid <= 0) {
        return std::nullopt;
    }
    const std::optional<ProcessStat> stat = statOf(peer.pid);
    return stat && !stat->isOver() ? std::optional(Peer(peer.pid, peer.uid, stat->start)) : std::nullopt;
}

bool Peer::reaches(int interface) const {
    std::string text;
    return interface > 0 && !common::readTextFile("/proc/net/packet", kMaxSocketListSize, text) &&
           hasPacketSocket(text, m_user, interface);
}

std::optional<ProcessStat> Peer::look() const {
    const std::optional<ProcessStat> stat = statOf(m_id);
    return stat && stat->start == m_start && !stat->isOver() ? stat : std::nullopt;
}

} // namespace gbe_service
