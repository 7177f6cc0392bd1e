#include "service/GbeConnection.h"

#include "service/socket.h"

#include <sys/socket.h>
#include <sys/time.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>

namespace {

constexpr unsigned kBlockSize = 100;
constexpr timeval kSilence{35, 0}; // the service answers within 30 seconds, or it is stuck

} // namespace

GbeConnection::GbeConnection(const char* path) {
    open(path);
}

GbeConnection::~GbeConnection() {
    close();
}

int GbeConnection::open(const char* path) {
    close();
    m_fd = conn_service(path);
    if (isOpen()) {
        setsockopt(m_fd, SOL_SOCKET, SO_RCVTIMEO, &kSilence, sizeof kSilence);
        setsockopt(m_fd, SOL_SOCKET, SO_SNDTIMEO, &kSilence, sizeof kSilence);
    }
    return isOpen() ? 0 : m_fd;
}

void GbeConnection::close() {
    if (isOpen()) {
        conn_close(m_fd);
    }
    m_fd = -1;
}

int GbeConnection::rawSend(const void* buffer, unsigned length) {
    return conn_send(m_fd, buffer, length);
}

int GbeConnection::rawRecv(char* buffer, unsigned length) {
    return conn_recv(m_fd, buffer, length);
}

int GbeConnection::rawRecvBlocking(char* buffer, unsigned length) {
    return conn_recv_wait(m_fd, buffer, length);
}

int GbeConnection::transmit(const char* line) {
    const int result = rawSend(line, static_cast<unsigned>(std::strlen(line)));
    return result < 0 ? result : rawSend("\n", 1);
}

int GbeConnection::receive(char** line) {
    *line = nullptr;
    std::string text;
    char block[kBlockSize];
    unsigned used = 0;
    while (used == 0 || block[used - 1] != '\n') {
        if (used == kBlockSize) {
            text.append(block, used);
            used = 0;
        }
        if (text.size() + used > kMaxLineLength) {
            close();
            return -ECONNRESET;
        }
        if (rawRecv(block + used, 1) == 0 && rawRecvBlocking(block + used, 1) < 0) {
            return -ECONNRESET;
        }
        ++used;
    }
    text.append(block, used - 1);
    *line = new char[text.size() + 1];
    std::copy_n(text.c_str(), text.size() + 1, *line);
    return static_cast<int>(text.size());
}
