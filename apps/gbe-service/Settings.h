// What the configuration file and the state file say.
#pragma once

#include "Mac.h"

#include <QtCore/QString>

#include <chrono>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace gbe_service {

using PortKey = std::pair<unsigned, unsigned>; // board and port

struct Settings {
    std::vector<unsigned> boards; // ascending; empty: every board that is there
    std::map<PortKey, Mac> macs;  // those that the file gives
    std::string socketGroup;      // empty: the process's own
    std::chrono::seconds idleLimit{0};

    // The port's configured address, or one of its own that stays the same.
    Mac mac(unsigned board, unsigned port) const;
};

// Adds what the file says to `settings`. On failure the result is false, and `error` tells in one line where
// and why. The format is described in docs/service-protocol.md.
bool readSettings(const QString& file, Settings& settings, std::string& error);

// "0,2,5": numbers of boards, each once at most.
bool parseBoards(const std::string& text, std::vector<unsigned>& boards, std::string& error);

// A dotted IPv4 address that one station can have: not this host, not loopback, no group, no broadcast.
bool isStationIp(const std::string& text);

// The addresses that CONFIGURE has given to ports, kept in a file.
class AddressBook {
public:
    explicit AddressBook(QString file) : m_file(std::move(file)) {}

    // A file that does not exist holds no address. False with one line in `error` when it cannot be read or
    // holds anything else; what could be read is taken.
    bool load(std::string& error);
    // Keeps an address and writes the file anew; on failure the earlier address stays.
    bool set(PortKey port, const std::string& ip, std::string& error);
    // Empty when none was given.
    std::string ip(PortKey port) const;

private:
    QString m_file;
    std::map<PortKey, std::string> m_ips;
};

} // namespace gbe_service
