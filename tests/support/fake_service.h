// A service in the test's own thread: it listens on the build's service socket, which is a relative name in
// the test's own folder, answers each line by a function, and keeps what it was asked.
#pragma once

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstring>
#include <functional>
#include <map>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

class FakeService {
public:
    // The whole answer to one line, both without the request's line end and with every line end of the
    // answer.
    using Answer = std::function<std::string(const std::string& line)>;

    // How the answers leave: with hangUp the service closes the connection behind the first one, and with
    // pieces each of its bytes is sent by itself.
    struct Manner {
        bool hangUp = false;
        bool pieces = false;
    };

    explicit FakeService(
        Answer answer = healthy, Manner manner = {false, false}, std::string path = LIOMOL_SERVICE_SOCKET)
        : m_answer(std::move(answer)), m_manner(manner), m_path(std::move(path)) {
        ::unlink(m_path.c_str());
        m_listener = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        m_wake = ::eventfd(0, EFD_CLOEXEC);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        m_path.copy(address.sun_path, sizeof(address.sun_path) - 1);
        if (::bind(m_listener, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0 ||
            ::listen(m_listener, SOMAXCONN) != 0) {
            throw std::runtime_error(std::string("no service socket: ") + std::strerror(errno));
        }
        m_thread = std::thread([this] { run(); });
    }

    ~FakeService() {
        const std::uint64_t one = 1;
        [[maybe_unused]] const auto written = ::write(m_wake, &one, sizeof(one));
        m_thread.join();
        ::close(m_listener);
        ::close(m_wake);
        ::unlink(m_path.c_str());
    }

    FakeService(const FakeService&) = delete;
    FakeService& operator=(const FakeService&) = delete;

    std::vector<std::string> requests() const {
        const std::lock_guard lock(m_mutex);
        return m_requests;
    }

    // Every port exists, has its link up and the address 02:00:00:00:<board>:<port>.
    static std::string healthy(const std::string& line) {
        unsigned board = 0;
        unsigned port = 0;
        if (std::sscanf(line.c_str(), "STATUS BOARD %u PORT %u", &board, &port) == 2) {
            std::array<char, 100> text{};
            std::snprintf(
                text.data(), text.size(), "200-PORT %u MAC 02:00:00:00:%02x:%02x\n200-PORT %u up\n200 OK\n",
                port, board & 0xFF, port & 0xFF, port);
            return text.data();
        }
        return line.rfind("RESCAN", 0) == 0 ? "200 OK\n" : "500 unknown\n";
    }

private:
    void run() {
        std::map<int, std::string> clients; // what each has sent of an unfinished line
        for (;;) {
            std::vector<pollfd> watched{{m_wake, POLLIN, 0}, {m_listener, POLLIN, 0}};
            for (const auto& client : clients) {
                watched.push_back({client.first, POLLIN, 0});
            }
            ::poll(watched.data(), watched.size(), -1);
            if (watched[0].revents != 0) {
                break;
            }
            if (watched[1].revents != 0) {
                clients.emplace(::accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC), "");
            }
            for (std::size_t i = 2; i < watched.size(); ++i) {
                if (watched[i].revents != 0 && !serve(watched[i].fd, clients[watched[i].fd])) {
                    ::close(watched[i].fd);
                    clients.erase(watched[i].fd);
                }
            }
        }
        for (const auto& client : clients) {
            ::close(client.first);
        }
    }

    // False when the client has gone.
    bool serve(int client, std::string& pending) {
        std::array<char, 256> bytes{};
        const ssize_t count = ::recv(client, bytes.data(), bytes.size(), 0);
        if (count <= 0) {
            return false;
        }
        pending.append(bytes.data(), static_cast<std::size_t>(count));
        for (std::size_t end = pending.find('\n'); end != std::string::npos; end = pending.find('\n')) {
            const std::string line = pending.substr(0, end);
            pending.erase(0, end + 1);
            {
                const std::lock_guard lock(m_mutex);
                m_requests.push_back(line);
            }
            const std::string answer = m_answer(line);
            const std::size_t step = m_manner.pieces ? 1 : answer.size();
            for (std::size_t at = 0; at < answer.size(); at += step) {
                if (::send(client, answer.data() + at, step, MSG_NOSIGNAL) < 0) {
                    return false;
                }
            }
            if (m_manner.hangUp) {
                return false;
            }
        }
        return true;
    }

    const Answer m_answer;
    const Manner m_manner;
    const std::string m_path;
    int m_listener = -1;
    int m_wake = -1;
    mutable std::mutex m_mutex;
    std::vector<std::string> m_requests; // under m_mutex
    std::thread m_thread;
};
