// The service's socket and its clients. One thread.
#pragma once

#include "Client.h"

#include <QtCore/QObject>
#include <QtCore/QSocketNotifier>
#include <QtCore/QTimer>

#include <memory>
#include <string>
#include <vector>

namespace gbe_service {

class Server : public QObject {
    Q_OBJECT
public:
    explicit Server(std::string path);
    // Closes all connections and removes the socket.
    ~Server() override;

    // Makes the socket's folder and the socket, for its owner and group only. A socket that a dead process
    // left is replaced; one that is served is not: a lock file beside it (never removed, so that nobody can
    // hold a lock on a file that is gone) lets one process in. On failure false, and one line in `error`.
    bool listen(const std::string& group, std::string& error);

    // Takes clients from now on.
    void serve(Desk& desk, std::chrono::seconds idleLimit);

    // Tries the requests again that wait.
    void retryAll();

private:
    bool lock(std::string& error);
    bool bindSocket(const std::string& group, std::string& error);
    void acceptAll();
    void drop(Client* client);

    std::string m_path;
    Desk* m_desk = nullptr;
    std::chrono::seconds m_idleLimit{0};
    int m_lock = -1;
    int m_listener = -1;
    std::unique_ptr<QSocketNotifier> m_notifier;
    std::vector<std::unique_ptr<Client>> m_clients;
};

} // namespace gbe_service
