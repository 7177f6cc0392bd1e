// What Linux says of a network interface.
#pragma once

#include "protocol/addresses.h"

#include <cstdint>
#include <string>

namespace netif {

// The number of a virtual LAN within its tag (IEEE 802.1Q).
inline constexpr std::uint16_t kVlanNumber = 0x0FFF;

using net::Ipv4;
using net::Mac;

// `error` is 0 when the interface is there, else an errno value (ENODEV for none of that name), and `message`
// then says it in one sentence.
struct InterfaceState {
    int error = 0;
    std::string message;
    int index = 0;        // 0 without interface
    bool up = false;      // switched on by the administrator
    bool carrier = false; // up, and the other side is there
    int mtu = 0;
    Mac mac;
    Ipv4 address; // the first IPv4 address, none without one
    Ipv4 netmask;
};

// Needs no rights. Any thread. Asks in the calling thread's network namespace, or, with a socket of any kind,
// in that of the socket.
InterfaceState queryInterface(const std::string& name);
InterfaceState queryInterface(const std::string& name, int socket);

// Whether a text can be the name of an interface: 1 to 15 bytes without blanks and slashes.
bool isInterfaceName(const std::string& name);

} // namespace netif
