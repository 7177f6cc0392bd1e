// One connection: lines in, replies out, in order, within bounds.
#pragma once

#include "Desk.h"

#include <QtCore/QObject>
#include <QtCore/QTimer>
#include <QtNetwork/QLocalSocket>

#include <optional>

namespace gbe_service {

class Client : public QObject {
    Q_OBJECT
public:
    // Takes over the connected descriptor.
    Client(int fd, Desk& desk, std::chrono::seconds idleLimit);

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

    void work();
    void workOnLine(QByteArray line);
    void reply(const QByteArray& lines);
    void refuseAndClose(const QByteArray& line);
    void onTimer();

    Desk& m_desk;
    const std::chrono::seconds m_idleLimit;
    QLocalSocket m_socket;
    QTimer m_timer; // runs always: the idle limit, or while a request waits that of the reply
    std::optional<Waiting> m_waiting;
    bool m_working = false;
    bool m_closing = false;
};

} // namespace gbe_service
