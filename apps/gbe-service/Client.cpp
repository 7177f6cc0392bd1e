#include "Client.h"

#include "bounds.h"

namespace gbe_service {

Client::Client(int fd, Desk& desk, std::chrono::seconds idleLimit) : m_desk(desk), m_idleLimit(idleLimit) {
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, &Client::onTimer);
    connect(&m_socket, &QLocalSocket::readyRead, this, &Client::work);
    connect(&m_socket, &QLocalSocket::bytesWritten, this, &Client::work);
    connect(&m_socket, &QLocalSocket::disconnected, this, &Client::gone);
    m_socket.setReadBufferSize(kMaxRequestLength + 1);
    m_socket.setSocketDescriptor(fd);
    m_timer.start(m_idleLimit);
}

// Works on the lines that have arrived, until one must wait or the client leaves too much unread: it goes on
// when the client has read, and the idle limit ends a client that never does.
void Client::work() {
    if (m_working) { // called back by the socket while a reply is being sent
        return;
    }
    m_working = true;
    while (!m_waiting && !m_closing && m_socket.bytesToWrite() <= kMaxWaitingOutput) {
        if (m_socket.canReadLine()) {
            workOnLine(m_socket.readLine(kMaxRequestLength + 2)); // with room for the NUL that Qt adds
        } else if (m_socket.bytesAvailable() > kMaxRequestLength) {
            refuseAndClose("510 line too long\n");
        } else {
            break;
        }
    }
    m_working = false;
}

void Client::workOnLine(QByteArray line) {
    line.chop(1);
    m_timer.start(m_idleLimit);
    const auto request =
        parseRequest(std::string_view(line.constData(), static_cast<std::size_t>(line.size())));
    if (!request) {
        reply("510 unknown request\n");
        return;
    }
    m_waiting = Waiting{*request, {}};
    m_timer.start(kReplyLimit);
    retry();
}

void Client::retry() {
    if (!m_waiting) {
        return;
    }
    const auto lines = m_desk.answer(m_waiting->request, m_waiting->ticket);
    if (lines) {
        reply(*lines);
        work();
    }
}

void Client::reply(const QByteArray& lines) {
    m_waiting.reset();
    m_timer.start(m_idleLimit);
    m_socket.write(lines);
    m_socket.flush();
}

void Client::refuseAndClose(const QByteArray& line) {
    m_closing = true;
    reply(line);
    m_socket.disconnectFromServer();
}

void Client::onTimer() {
    if (m_waiting) {
        reply("510 the board does not answer\n");
        work();
    } else {
        m_socket.abort();
    }
}

} // namespace gbe_service
