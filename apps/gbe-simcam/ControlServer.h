// Commands from outside: lines on standard input and on a local socket. A reply is lines; on the socket the
// last one is "ok" or "error: " with what is wrong. Runs in the thread that calls run().
#pragma once

#include "Console.h"

#include <list>
#include <string>

namespace gbe_simcam {

class ControlServer {
public:
    // `path` of the socket; empty: none.
    explicit ControlServer(std::string path) : m_path(std::move(path)) {}
    ~ControlServer();
    ControlServer(const ControlServer&) = delete;
    ControlServer& operator=(const ControlServer&) = delete;

    // From now on clients may connect. False with one line in `error`. A socket whose process is gone is
    // replaced.
    bool listen(std::string& error);
    // Serves until the descriptor `stop` can be read or stop() was called by a command. In between it calls
    // `look` about every second.
    void run(Console& console, int stop, const std::function<void()>& look);
    void stop() { m_stop = true; }

private:
    // Bytes that become lines. A line that is too long is passed over, with an error as its reply.
    struct Lines {
        int file = -1;
        std::string pending = {};
        bool tooLong = false;
    };

    bool take(Console& console, Lines& from); // false at the end of the stream
    static void answer(Console& console, Lines& from);
    void accept();

    const std::string m_path;
    int m_listener = -1;
    Lines m_input{0};
    std::list<Lines> m_clients;
    bool m_stop = false;
};

// What the command `gbe-simcam control PATH COMMAND` does: prints the reply and returns the exit status.
int sendCommand(const std::string& path, const std::string& command);

} // namespace gbe_simcam
