// One connection: lines in, replies out, in order, within bounds.
//
// A plain socket with notifiers. What has arrived is worked on before more is read, so that a buffer full of
// requests, or one that ends with half a line, never keeps the rest from being read; a client that has closed
// its sending end still gets its replies.
#pragma once

#include "Desk.h"

#include <QtCore/QObject>
#include <QtCore/QSocketNotifier>
#include <QtCore/QTimer>

#include <optional>
#include <string>

namespace gbe_service {

class Client : public QObject {
    Q_OBJECT
public:
    // Takes over the connected descriptor, which does not block.
    Client(int fd, Desk& desk, std::chrono::seconds idleLimit);
    ~Client() override;

    // Tries a request that waits again.
    void retry();

Q_SIGNALS:
    // The connection is over; nothing follows.
    void gone();

private:
    struct Waiting {
        Request request;
        Ticket ticket;
    };

    void receive();
    void work();
    std::optional<std::string> takeLine();
    void begin(const std::string& line);
    void tryToAnswer();
    void reply(const QByteArray& lines);
    void flush();
    void settle();
    void end();
    void onTimer();
    void beginKeep();

    Desk& m_desk;
    const std::chrono::seconds m_idleLimit;
    const int m_fd;
    QSocketNotifier m_readable;
    QSocketNotifier m_writable;
    // Runs while control is not kept: the idle limit, or while a request waits that of the reply.
    QTimer m_timer;
    std::shared_ptr<Keep> m_keep; // for the process at the other end
    QTimer m_keepTimer;
    std::string m_in;
    std::size_t m_taken = 0; // bytes of m_in that were worked on
    std::string m_out;       // replies that are not sent
    std::optional<Waiting> m_waiting;
    bool m_inputOver = false; // the client sends nothing more
    bool m_closing = false;   // once all is sent
    bool m_over = false;
};

} // namespace gbe_service
