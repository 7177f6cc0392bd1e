#include "netif/lending.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <grp.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace netif {

namespace {

constexpr const char* kLender = LIOMOL_NETPORT; // nothing else says where it is
constexpr timeval kPatience{10, 0};

Loan noLoan(int code, std::string error) {
    return {-1, 0, code, std::move(error)};
}

std::string groupOfLender() {
    struct stat status {};
    group entry{};
    group* found = nullptr;
    std::vector<char> room(1 << 16);
    const bool known = stat(kLender, &status) == 0 &&
                       getgrgid_r(status.st_gid, &entry, room.data(), room.size(), &found) == 0 &&
                       found != nullptr;
    return known ? entry.gr_name : "video";
}

Loan whyNotRun(int error) {
    if (error == ENOENT || error == ENOTDIR) {
        return noLoan(EPERM, kWithoutLender);
    }
    if (error == EACCES || error == EPERM) {
        const std::string group = groupOfLender();
        return noLoan(
            EACCES, "this user is not in the group " + group + ": sudo usermod -aG " + group +
                        " $USER, then log in again");
    }
    return noLoan(error, std::string(kLender) + ": " + std::strerror(error));
}

// What a child process starts with: one socket as its standard input, no signal blocked or ignored.
class SpawnSettings {
public:
    explicit SpawnSettings(int input) {
        posix_spawn_file_actions_init(&m_files);
        posix_spawn_file_actions_adddup2(&m_files, input, STDIN_FILENO);
        posix_spawnattr_init(&m_attributes);
        sigset_t signals;
        sigemptyset(&signals);
        posix_spawnattr_setsigmask(&m_attributes, &signals);
        sigfillset(&signals);
        posix_spawnattr_setsigdefault(&m_attributes, &signals);
        posix_spawnattr_setflags(&m_attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    ~SpawnSettings() {
        posix_spawn_file_actions_destroy(&m_files);
        posix_spawnattr_destroy(&m_attributes);
    }
    SpawnSettings(const SpawnSettings&) = delete;
    SpawnSettings& operator=(const SpawnSettings&) = delete;

    int spawn(pid_t& process) const {
        char name[] = "liomol-netport";
        char* const arguments[] = {name, nullptr};
        char* const environment[] = {nullptr};
        return posix_spawn(&process, kLender, &m_files, &m_attributes, arguments, environment);
    }

private:
    posix_spawn_file_actions_t m_files{};
    posix_spawnattr_t m_attributes{};
};

int socketIn(msghdr& message) {
    const cmsghdr* const part = CMSG_FIRSTHDR(&message);
    int socket = -1;
    if (part != nullptr && part->cmsg_level == SOL_SOCKET && part->cmsg_type == SCM_RIGHTS &&
        part->cmsg_len >= CMSG_LEN(sizeof socket)) {
        std::memcpy(&socket, CMSG_DATA(part), sizeof socket);
    }
    return socket;
}

Loan receiveLoan(int from) {
    LoanReply reply;
    alignas(cmsghdr) std::uint8_t control[CMSG_SPACE(sizeof(int))];
    iovec place{&reply, sizeof reply};
    msghdr message{};
    message.msg_iov = &place;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    ssize_t size = 0;
    do {
        size = recvmsg(from, &message, MSG_CMSG_CLOEXEC);
    } while (size < 0 && errno == EINTR);
    Loan loan = noLoan(ECONNREFUSED, std::string(kLender) + " does not answer");
    if (size != static_cast<ssize_t>(sizeof reply)) {
        return loan;
    }
    reply.refusal[sizeof reply.refusal - 1] = '\0';
    loan.socket = socketIn(message);
    loan.index = reply.index;
    loan.error = reply.refusal;
    loan.code = loan.socket >= 0 ? 0 : ECONNREFUSED;
    return loan;
}

Loan ask(int own, int theirs, const LoanRequest& request) {
    send(own, &request, sizeof request, MSG_NOSIGNAL);
    pid_t process = -1;
    const int error = SpawnSettings(theirs).spawn(process);
    close(theirs);
    if (error != 0) {
        return whyNotRun(error);
    }
    setsockopt(own, SOL_SOCKET, SO_RCVTIMEO, &kPatience, sizeof kPatience);
    Loan loan = receiveLoan(own);
    if (loan.code != 0) {
        kill(process, SIGKILL); // it may hang; its number is not another's before waitpid
    }
    while (waitpid(process, nullptr, 0) < 0 && errno == EINTR) {
    }
    return loan;
}

} // namespace

Loan borrowSocket(const std::string& interface, const Traffic& traffic) {
    LoanRequest request;
    request.traffic = traffic;
    interface.copy(request.interface, sizeof request.interface - 1);
    int pair[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, pair) != 0) {
        return noLoan(errno, std::strerror(errno));
    }
    const Loan loan = ask(pair[0], pair[1], request);
    close(pair[0]);
    return loan;
}

} // namespace netif
