#include "service_line.h"

#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

namespace gbe {
namespace {

constexpr std::size_t kLongestReply = 64 * 1024; // of the service's own are far shorter

class Descriptor {
public:
    explicit Descriptor(int fd) : m_fd(fd) {}
    ~Descriptor() {
        if (m_fd >= 0) {
            close(m_fd);
        }
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    operator int() const { return m_fd; }

private:
    const int m_fd;
};

// The last line of a reply has a blank behind its status, the others a '-'.
bool isLast(const std::string& line) {
    return line.size() > 3 && line[3] == ' ';
}

int receive(int fd, ServiceReply& reply) {
    std::string line;
    for (std::size_t count = 0; count < kLongestReply; ++count) {
        char byte = 0;
        const ssize_t got = recv(fd, &byte, 1, 0);
        if (got <= 0) {
            return got == 0 ? ECONNRESET : errno == EAGAIN ? ETIMEDOUT : errno;
        }
        if (byte != '\n') {
            line += byte;
            continue;
        }
        reply.lines.push_back(line);
        if (isLast(line)) {
            return 0;
        }
        line.clear();
    }
    return EPROTO;
}

} // namespace

std::string ServiceReply::field(const std::string& prefix) const {
    for (const std::string& line : lines) {
        if (line.starts_with(prefix)) {
            return line.substr(prefix.size());
        }
    }
    return "";
}

ServiceReply askService(const std::string& request, std::chrono::seconds limit) {
    ServiceReply reply;
    const Descriptor fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::snprintf(address.sun_path, sizeof address.sun_path, "%s", serviceSocket());
    timeval time{};
    time.tv_sec = limit.count();
    setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &time, sizeof time);
    const std::string line = request + "\n";
    if (connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        send(fd, line.data(), line.size(), MSG_NOSIGNAL) < 0) {
        reply.error = errno;
        return reply;
    }
    reply.error = receive(fd, reply);
    return reply;
}

const char* serviceSocket() {
    return LIOMOL_SERVICE_SOCKET;
}

} // namespace gbe
