// What the configuration file and the state file say.
#pragma once

#include "local_mac.h"

#include <QtCore/QString>

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace gbe_service {

using PortKey = std::pair<unsigned, unsigned>; // board and port

// A port's IPv4 address in a subnet.
struct PortIp {
    net::Ipv4 ip;
    net::Ipv4 mask;
};
// "192.168.0.10/24": an address that one station can have, outside of the ends of its subnet of 1 to 30 bits.
// Without the bits they are 16 for a link-local address and 24 for any other.
std::optional<PortIp> parsePortIp(const std::string& text);

struct Settings {
    std::vector<unsigned> boards;  // ascending; empty: every board that is there
    std::map<PortKey, Mac> macs;   // those that the file gives
    std::map<PortKey, PortIp> ips; // likewise
    std::string socketGroup;       // empty: the process's own
    std::chrono::seconds idleLimit{0};

    // The port's configured address, else that of its network interface, else one made for it that stays the
    // same.
    Mac mac(unsigned board, unsigned port, const std::optional<Mac>& interface = {}) const;
};

// Adds what the file says to `settings`. On failure the result is false, and `error` tells in one line where
// and why. The format is described in docs/service-protocol.md.
bool readSettings(const QString& file, Settings& settings, std::string& error);

// "0,2,5": numbers of boards, each once at most.
bool parseBoards(const std::string& text, std::vector<unsigned>& boards, std::string& error);

// The addresses that CONFIGURE has given to ports, kept in a file.
class AddressBook {
public:
    explicit AddressBook(QString file) : m_file(std::move(file)) {}

    // A file that does not exist holds no address. False with one line in `error` when it cannot be read or
    // holds anything else; what could be read is taken.
    bool load(std::string& error);
    // Keeps an address and rewrites the file; on failure the earlier address stays.
    bool set(PortKey port, const std::string& ip, std::string& error);
    // Nothing when none was given.
    std::optional<PortIp> ip(PortKey port) const;

private:
    bool takeLine(std::string_view line);

    QString m_file;
    std::map<PortKey, std::string> m_ips; // texts for parsePortIp
};

} // namespace gbe_service
