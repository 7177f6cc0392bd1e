#include "service/socket.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstring>

namespace {

// Repeats a call that a signal has interrupted.
template<typename Call> auto uninterrupted(Call call) {
    auto result = call();
    while (result < 0 && errno == EINTR) {
        result = call();
    }
    return result;
}

} // namespace

int conn_service(const char* path) {
    sockaddr_un address{};
    const std::size_t length = path != nullptr ? std::strlen(path) : 0;
    if (length == 0 || length > sizeof address.sun_path) {
        errno = length == 0 ? EINVAL : ENAMETOOLONG;
        return -1;
    }
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path, length);
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        return fd;
    }
    const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + length);
    const int result =
        uninterrupted([&] { return connect(fd, reinterpret_cast<const sockaddr*>(&address), size); });
    if (result < 0) {
        const int cause = errno;
        conn_close(fd);
        errno = cause;
        return result;
    }
    return fd;
}

int conn_send(int fd, const void* buffer, unsigned length) {
    const auto* next = static_cast<const char*>(buffer);
    while (length > 0) {
        const ssize_t sent = uninterrupted([&] { return send(fd, next, length, MSG_NOSIGNAL); });
        if (sent < 0) {
            return -errno;
        }
        next += sent;
        length -= static_cast<unsigned>(sent);
    }
    return 0;
}

int conn_recv(int fd, char* buffer, unsigned length) {
    unsigned taken = 0;
    while (taken < length && uninterrupted([&] { return recv(fd, buffer + taken, 1, MSG_DONTWAIT); }) == 1) {
        ++taken;
    }
    return static_cast<int>(taken);
}

int conn_recv_wait(int fd, char* buffer, unsigned length) {
    unsigned taken = 0;
    while (taken < length) {
        const ssize_t got = uninterrupted([&] { return recv(fd, buffer + taken, length - taken, 0); });
        if (got <= 0) {
            return -1;
        }
        taken += static_cast<unsigned>(got);
    }
    return 0;
}

void conn_close(int fd) {
    close(fd);
}
