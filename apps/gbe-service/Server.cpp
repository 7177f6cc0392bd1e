#include "Server.h"

#include "bounds.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>

#include <fcntl.h>
#include <grp.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

namespace gbe_service {
namespace {

constexpr int kBacklog = 128;
constexpr mode_t kLockMode = 0600;
constexpr mode_t kSocketMode = 0660;
constexpr std::chrono::milliseconds kAcceptPause{100};
constexpr const char* kRefused = "510 too many clients\n";

std::string failed(const std::string& what, int cause) {
    return what + ": " + std::strerror(cause);
}

// Takes the place of a socket that nobody serves; false when it cannot.
bool clearPlace(const sockaddr_un& address, socklen_t size, std::string& error) {
    struct stat status {};
    if (lstat(address.sun_path, &status) != 0) {
        return true;
    }
    if (!S_ISSOCK(status.st_mode)) {
        error = std::string(address.sun_path) + ": exists and is not a socket";
        return false;
    }
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    const bool served = connect(fd, reinterpret_cast<const sockaddr*>(&address), size) == 0 ||
                        errno == EAGAIN; // backlog full
    close(fd);
    if (served) {
        error = std::string(address.sun_path) + ": another program serves this socket";
        return false;
    }
    if (unlink(address.sun_path) != 0) {
        error = failed(address.sun_path, errno);
        return false;
    }
    return true;
}

// Where the library keeps the locks that programs on this computer share (util/HostLock.h): who may talk to
// the service may make files there, and remove only its own. Without it the programs of each user have a
// folder of their own.
void makeLockFolder(const std::string& path, const std::string& group) {
    constexpr mode_t kMode = 03770;
    const struct group* entry = group.empty() ? nullptr : getgrnam(group.c_str());
    mkdir(path.c_str(), 0700); // it may be there
    const int folder = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (folder < 0 || (entry != nullptr && fchown(folder, static_cast<uid_t>(-1), entry->gr_gid) != 0) ||
        fchmod(folder, kMode) != 0) {
        std::fprintf(stderr, "gbe-service: %s (going on without)\n", failed(path, errno).c_str());
    }
    if (folder >= 0) {
        close(folder);
    }
}

} // namespace

Server::Server(std::string path) : m_path(std::move(path)) {}

Server::~Server() {
    m_notifier.reset();
    m_clients.clear();
    if (m_listener >= 0) {
        unlink(m_path.c_str());
        close(m_listener);
    }
    if (m_lock >= 0) {
        close(m_lock);
    }
}

bool Server::listen(const std::string& group, std::string& error) {
    const QString folder = QFileInfo(QString::fromLocal8Bit(m_path.c_str())).absolutePath();
    if (!QDir().mkpath(folder)) {
        error = folder.toStdString() + ": cannot be made";
        return false;
    }
    if (!lock(error) || !bindSocket(group, error)) {
        return false;
    }
    makeLockFolder(folder.toStdString() + "/locks", group);
    return true;
}

bool Server::lock(std::string& error) {
    const std::string name = m_path + ".lock";
    m_lock = open(name.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, kLockMode);
    if (m_lock < 0) {
        error = failed(name, errno);
        return false;
    }
    if (flock(m_lock, LOCK_EX | LOCK_NB) != 0) {
        error = errno == EWOULDBLOCK ? "runs already (" + name + " is locked)" : failed(name, errno);
        return false;
    }
    return true;
}

bool Server::bindSocket(const std::string& group, std::string& error) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (m_path.empty() || m_path.size() >= sizeof address.sun_path) {
        error = m_path + ": too long for a socket";
        return false;
    }
    std::memcpy(address.sun_path, m_path.c_str(), m_path.size());
    const struct group* entry = group.empty() ? nullptr : getgrnam(group.c_str());
    if (!group.empty() && entry == nullptr) {
        error = "no such group: " + group;
        return false;
    }
    if (!clearPlace(address, sizeof address, error)) {
        return false;
    }
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    const mode_t before = umask(static_cast<mode_t>(~kSocketMode & 0777));
    const bool bound = bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    const int cause = errno;
    umask(before);
    if (!bound) {
        error = failed(m_path, cause);
        close(fd);
        return false;
    }
    m_listener = fd;
    if ((entry != nullptr && chown(m_path.c_str(), static_cast<uid_t>(-1), entry->gr_gid) != 0) ||
        ::listen(fd, kBacklog) != 0) {
        error = failed(m_path, errno);
        return false;
    }
    return true;
}

void Server::serve(Desk& desk, std::chrono::seconds idleLimit) {
    m_desk = &desk;
    m_idleLimit = idleLimit;
    m_notifier = std::make_unique<QSocketNotifier>(m_listener, QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &Server::acceptAll);
}

void Server::acceptAll() {
    for (;;) {
        const int fd = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
        if (fd < 0) {
            if (errno == EMFILE || errno == ENFILE || errno == ENOMEM || errno == ENOBUFS) {
                m_notifier->setEnabled(false); // the queue stays readable: look again later, not all the time
                QTimer::singleShot(kAcceptPause, m_notifier.get(), [this] { m_notifier->setEnabled(true); });
            }
            return;
        }
        if (m_clients.size() >= kMaxClients) {
            send(fd, kRefused, std::strlen(kRefused), MSG_NOSIGNAL | MSG_DONTWAIT);
            close(fd);
            continue;
        }
        m_clients.push_back(std::make_unique<Client>(fd, *m_desk, m_idleLimit));
        Client* client = m_clients.back().get();
        // Queued: the client must not be deleted inside its own socket's signal.
        connect(
            client, &Client::gone, this, [this, client] { drop(client); }, Qt::QueuedConnection);
    }
}

void Server::drop(Client* client) {
    m_clients.erase(
        std::remove_if(
            m_clients.begin(), m_clients.end(), [&](const auto& each) { return each.get() == client; }),
        m_clients.end());
}

void Server::retryAll() {
    for (const auto& client : m_clients) {
        client->retry();
    }
}

} // namespace gbe_service
