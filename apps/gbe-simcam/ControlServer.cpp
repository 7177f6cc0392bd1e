#include "ControlServer.h"

#include "bounds.h"
#include "print.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace gbe_simcam {

namespace {

constexpr int kStandardInput = 0;
constexpr int kLookMs = 1000;
constexpr const char* kOk = "ok";
constexpr std::string_view kError = "error: ";

bool fill(sockaddr_un& address, const std::string& path) {
    address.sun_family = AF_UNIX;
    const bool fits = !path.empty() && path.size() < sizeof address.sun_path;
    if (fits) {
        std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    }
    return fits;
}

int connectTo(const std::string& path) {
    sockaddr_un address{};
    const int file = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (!fill(address, path) || connect(file, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        close(file);
        return -1;
    }
    return file;
}

bool isSocket(const std::string& path) {
    struct stat what {};
    return lstat(path.c_str(), &what) == 0 && S_ISSOCK(what.st_mode);
}

} // namespace

ControlServer::~ControlServer() {
    for (const Lines& client : m_clients) {
        close(client.file);
    }
    if (m_listener >= 0) {
        close(m_listener);
        unlink(m_path.c_str());
    }
}

bool ControlServer::listen(std::string& error) {
    if (m_path.empty()) {
        return true;
    }
    sockaddr_un address{};
    if (!fill(address, m_path)) {
        error = "control socket '" + m_path + "': too long a path";
        return false;
    }
    if (const int other = connectTo(m_path); other >= 0) {
        close(other);
        error = "control socket '" + m_path + "' is in use by another process";
        return false;
    }
    if (isSocket(m_path)) {
        unlink(m_path.c_str());
    }
    const int file = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    const bool bound = bind(file, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    if (!bound || ::listen(file, static_cast<int>(kMostClients)) != 0) {
        error = "control socket '" + m_path + "': " + std::strerror(errno);
        close(file);
        return false;
    }
    m_listener = file;
    return true;
}

void ControlServer::run(Console& console, int stop, const std::function<void()>& look) {
    while (!m_stop) {
        look();
        std::vector<pollfd> files{{stop, POLLIN, 0}, {m_listener, POLLIN, 0}, {m_input.file, POLLIN, 0}};
        for (const Lines& client : m_clients) {
            files.push_back({client.file, POLLIN, 0});
        }
        if (poll(files.data(), files.size(), kLookMs) < 0) {
            continue; // a signal
        }
        if (files[0].revents != 0) {
            return;
        }
        if (files[2].revents != 0 && !take(console, m_input)) {
            m_input.file = -1; // goes on without
        }
        auto polled = files.begin() + 3;
        for (auto client = m_clients.begin(); client != m_clients.end(); ++polled) {
            const bool over = polled->revents != 0 && !take(console, *client);
            if (over) {
                close(client->file);
            }
            client = over ? m_clients.erase(client) : std::next(client);
        }
        if (files[1].revents != 0) {
            accept();
        }
    }
}

void ControlServer::accept() {
    const int file = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (file >= 0 && m_clients.size() >= kMostClients) {
        close(file);
    } else if (file >= 0) {
        m_clients.push_back({file});
    }
}

bool ControlServer::take(Console& console, Lines& from) {
    char bytes[4096];
    const ssize_t got = read(from.file, bytes, sizeof bytes);
    if (got <= 0) {
        return got < 0 && (errno == EAGAIN || errno == EINTR);
    }
    for (const char byte : std::string_view(bytes, static_cast<std::size_t>(got))) {
        if (byte == '\n') {
            answer(console, from);
            from.pending.clear();
            from.tooLong = false;
        } else if (from.pending.size() < kMaxCommand) {
            from.pending += byte;
        } else {
            from.tooLong = true;
        }
    }
    return true;
}

void ControlServer::answer(Console& console, Lines& from) {
    const Reply reply = from.tooLong ? Reply{false, {"the line is too long"}} : console.run(from.pending);
    if (from.file == kStandardInput) {
        for (const std::string& text : reply.lines) {
            print(reply.ok ? text : std::string(kError) + text);
        }
        return;
    }
    std::string all;
    for (const std::string& text : reply.lines) {
        all += reply.ok ? text + "\n" : std::string(kError) + text + "\n";
    }
    all += reply.ok ? std::string(kOk) + "\n" : "";
    // A client that does not read its replies loses them.
    [[maybe_unused]] const ssize_t sent =
        send(from.file, all.data(), all.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
}

int sendCommand(const std::string& path, const std::string& command) {
    const int file = connectTo(path);
    if (file < 0) {
        complain("no gbe-simcam listens on '" + path + "'");
        return EXIT_FAILURE;
    }
    const std::string line = command + "\n";
    std::string reply;
    if (send(file, line.data(), line.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(line.size())) {
        shutdown(file, SHUT_WR);
        char bytes[4096];
        for (ssize_t got = read(file, bytes, sizeof bytes); got > 0; got = read(file, bytes, sizeof bytes)) {
            reply.append(bytes, static_cast<std::size_t>(got));
        }
    }
    close(file);
    bool ok = false;
    std::size_t begin = 0;
    for (std::size_t end = reply.find('\n'); end != reply.npos; end = reply.find('\n', begin)) {
        const std::string text = reply.substr(begin, end - begin);
        begin = end + 1;
        if (text == kOk && begin == reply.size()) {
            ok = true;
        } else if (text.starts_with(kError)) {
            complain(text.substr(kError.size()));
        } else {
            print(text);
        }
    }
    if (reply.empty()) {
        complain("no reply from '" + path + "'");
    }
    return ok ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace gbe_simcam
