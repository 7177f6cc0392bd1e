// The process at the other end of a connection, as the kernel knows it: nothing here comes from what it says.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <sys/types.h>

namespace gbe_service {

// What the kernel says of a process.
struct ProcessStat {
    char state = 0;
    std::uint64_t start =
        0; // clock ticks since the computer started: no two processes of one id have the same

    std::uint64_t ran =
        0; // nanoseconds on a processor, of all threads, which grow with every step of a debugger

    // By a signal, or by a debugger.
    bool isStopped() const { return state == 'T' || state == 't'; }
    bool isOver() const { return state == 'Z' || state == 'X'; }
};
// All but `ran` from the text of /proc/PID/stat; nothing for what is no such text. A program's name may hold
// anything, also what looks like the rest.
std::optional<ProcessStat> parseStat(std::string_view text);

// Whether /proc/net/packet, as `text`, lists a packet socket of a user on the interface of an index.
bool hasPacketSocket(std::string_view text, uid_t user, int interface);

class Peer {
public:
    // Who has connected this socket. Nothing for a process that has ended or that is not to be seen from
    // here.
    static std::optional<Peer> of(int socket);

    pid_t id() const { return m_id; }
    // Whether its user has a packet socket on the interface of an index now: made by its own right, or lent.
    bool reaches(int interface) const;
    // Nothing once it has ended, even where its id is another one's by now.
    std::optional<ProcessStat> look() const;

private:
    Peer(pid_t id, uid_t user, std::uint64_t start) : m_id(id), m_user(user), m_start(start) {}

    pid_t m_id;
    uid_t m_user;
    std::uint64_t m_start;
};

} // namespace gbe_service
