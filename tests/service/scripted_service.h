// A service that plays a script: it takes one connection, reads one request line, answers with given bytes
// and hangs up. For the client's tests, where the service's replies are to be odd.
#pragma once

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdio>
#include <stdexcept>
#include <string>
#include <thread>

class ScriptedService {
public:
    // Listens at once. With `pieces` the reply leaves in as many sends as it has bytes.
    explicit ScriptedService(std::string reply, bool pieces = false, const char* path = LIOMOL_SERVICE_SOCKET)
        : m_path(path), m_listener(socket(AF_UNIX, SOCK_STREAM, 0)) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::snprintf(address.sun_path, sizeof address.sun_path, "%s", path);
        unlink(path);
        if (bind(m_listener, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
            listen(m_listener, 1) != 0) {
            throw std::runtime_error("the scripted service cannot listen");
        }
        m_thread = std::thread([this, reply = std::move(reply), pieces] { play(reply, pieces); });
    }
    ~ScriptedService() {
        request();
        unlink(m_path.c_str());
    }

    // The line that was sent, without its end; waits until the client has hung up or the reply has left.
    std::string request() {
        if (m_thread.joinable()) {
            m_thread.join();
            close(m_listener);
        }
        return m_request;
    }

private:
    void play(const std::string& reply, bool pieces) {
        const int fd = accept(m_listener, nullptr, nullptr);
        char byte = 0;
        while (read(fd, &byte, 1) == 1 && byte != '\n') {
            m_request += byte;
        }
        const std::size_t step = pieces ? 1 : reply.size();
        for (std::size_t at = 0; at < reply.size(); at += step) {
            if (send(fd, reply.data() + at, step, MSG_NOSIGNAL) < 0) {
                break;
            }
        }
        close(fd);
    }

    std::string m_path;
    int m_listener;
    std::string m_request;
    std::thread m_thread;
};
