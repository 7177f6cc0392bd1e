// Hears the control traffic of a network interface, whoever it is for: what a camera answers to the wrong
// place never reaches a port, and looks like silence from there.
#pragma once

#include "addresses.h"

#include <memory>
#include <string>
#include <vector>

namespace netif {
class PacketSocket;
}

namespace gbe {

// A GVCP acknowledgement, or an ARP request.
struct Heard {
    enum class Kind { Acknowledgement, ArpRequest };

    Kind kind = Kind::Acknowledgement;
    Mac from;
    Ipv4 fromIp;
    Mac to;
    Ipv4 toIp;           // of an ARP request: whose MAC address is looked for
    unsigned toPort = 0; // UDP
    unsigned code = 0;   // of the acknowledgement
};

// One thread.
class Eavesdropper {
public:
    // Null when the right to do so is missing or the interface is not there.
    static std::unique_ptr<Eavesdropper> open(const std::string& interface);
    ~Eavesdropper();

    // What was heard since the last call.
    std::vector<Heard> take();

private:
    explicit Eavesdropper(std::unique_ptr<netif::PacketSocket> socket);

    std::unique_ptr<netif::PacketSocket> m_socket;
};

} // namespace gbe
