#include "Client.h"

#include "bounds.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace gbe_service {

Client::Client(int fd, Desk& desk, std::chrono::seconds idleLimit)
    : m_desk(desk), m_idleLimit(idleLimit), m_fd(fd), m_readable(fd, QSocketNotifier::Read),
      m_writable(fd, QSocketNotifier::Write) {
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, &Client::onTimer);
    connect(&m_readable, &QSocketNotifier::activated, this, &Client::receive);
    connect(&m_writable, &QSocketNotifier::activated, this, &Client::work);
    m_timer.start(m_idleLimit);
    settle();
}

Client::~Client() {
    m_readable.setEnabled(false);
    m_writable.setEnabled(false);
    close(m_fd);
}

// Reads once, so that a client that never stops sending holds up nobody else.
void Client::receive() {
    const std::size_t had = m_in.size();
    m_in.resize(kMaxRequestLength + 1); // room for one byte at least: what is there holds no whole line
    const ssize_t got = recv(m_fd, m_in.data() + had, m_in.size() - had, MSG_DONTWAIT);
    const int cause = errno;
    m_in.resize(had + static_cast<std::size_t>(got > 0 ? got : 0));
    if (got < 0 && cause != EAGAIN && cause != EINTR) {
        end();
        return;
    }
    m_inputOver = got == 0;
    work();
}

// Works on the lines that have arrived, until one must wait or the client leaves too much unread: it goes on
// when the client has read, and the idle limit ends a client that never does.
void Client::work() {
    flush();
    while (!m_waiting && !m_closing && m_out.size() <= kMaxWaitingOutput) {
        if (const auto line = takeLine()) {
            begin(*line);
            continue;
        }
        if (m_in.size() - m_taken > kMaxRequestLength) {
            m_closing = true;
            reply("510 line too long\n");
        }
        break;
    }
    m_in.erase(0, std::exchange(m_taken, 0));
    settle();
}

std::optional<std::string> Client::takeLine() {
    const std::size_t end = m_in.find('\n', m_taken);
    if (end == m_in.npos) {
        return std::nullopt;
    }
    const std::size_t begin = std::exchange(m_taken, end + 1);
    return m_in.substr(begin, end - begin);
}

void Client::begin(const std::string& line) {
    const auto request = parseRequest(line);
    if (!request) {
        reply("510 unknown request\n");
        return;
    }
    m_waiting = Waiting{*request, {}};
    m_timer.start(kReplyLimit);
    tryToAnswer();
}

void Client::tryToAnswer() {
    const Request& request = m_waiting->request;
    const bool had = m_keep != nullptr;
    const auto lines = request.kind == RequestKind::Keep ? m_desk.keep(request, m_fd, m_keep)
                                                         : m_desk.answer(request, m_waiting->ticket);
    if (m_keep && !had) {
        beginKeep();
    }
    if (lines) {
        reply(*lines);
    }
}

// The connection stays for as long as control is kept, asked or not.
void Client::beginKeep() {
    connect(&m_keepTimer, &QTimer::timeout, this, [this] {
        if (!m_keep->look()) {
            end();
            settle();
        }
    });
    m_keepTimer.start(kKeepLook);
}

void Client::retry() {
    if (m_waiting && !m_over) {
        tryToAnswer();
        work();
    }
}

void Client::reply(const QByteArray& lines) {
    m_waiting.reset();
    if (m_keep && !m_closing) {
        m_timer.stop();
    } else {
        m_timer.start(m_idleLimit);
    }
    m_out.append(lines.constData(), static_cast<std::size_t>(lines.size()));
    flush();
}

// Sends what the client takes now.
void Client::flush() {
    const ssize_t sent =
        m_out.empty() ? 0 : send(m_fd, m_out.data(), m_out.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (sent >= 0) {
        m_out.erase(0, static_cast<std::size_t>(sent));
    } else if (errno != EAGAIN && errno != EINTR) {
        end();
    }
}

// What to wait for next, after all that could be done was done.
void Client::settle() {
    const bool takesLines = !m_waiting && !m_closing && m_out.size() <= kMaxWaitingOutput;
    if (m_out.empty() && !m_waiting && (m_closing || m_inputOver)) {
        end();
    }
    m_readable.setEnabled(takesLines && !m_inputOver && !m_over);
    m_writable.setEnabled(!m_out.empty() && !m_over);
}

void Client::end() {
    m_closing = true;
    m_timer.stop();
    m_keepTimer.stop();
    m_keep.reset();
    if (!std::exchange(m_over, true)) {
        Q_EMIT gone();
    }
}

void Client::onTimer() {
    if (!m_waiting) {
        end();
        settle();
        return;
    }
    reply("510 the board does not answer\n");
    work();
}

} // namespace gbe_service
