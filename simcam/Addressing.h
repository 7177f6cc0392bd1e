// Which IPv4 address the camera has: the persistent one when that is switched on and set, else the one of its
// settings, else a link-local one that it looks for (GigE Vision 1.2, chapter 10; there is no DHCP). A
// FORCEIP overrides all until the next start. Persistent, set and forced addresses are used at once and
// unprobed, so that two cameras can be given one address. A value machine; one thread at a time.
#pragma once

#include "simcam/LinkLocal.h"
#include "simcam/Registers.h"
#include "simcam/notices.h"

#include <functional>
#include <vector>

namespace simcam {

class Addressing {
public:
    // What the camera's settings give: an address, or 0 for a link-local one.
    struct Origin {
        IpConfiguration ip;
        milliseconds second{1000}; // of the link-local choice
    };
    // The station and the notices are the caller's and outlive this.
    Addressing(Station& station, const NoticeSink& notices, const Origin& origin)
        : m_station(station), m_notices(notices), m_origin(origin),
          m_linkLocal(station.mac(), origin.second) {}

    // Configures the camera from the start. `registers` say what is persistent; they show the outcome from
    // now on and must live until stop() or the next start.
    void start(Registers& registers, Time now);
    void force(const IpConfiguration& ip);
    // Without an address until the next start.
    void stop();

    // The frames that are due, and when the next ones are.
    std::vector<Bytes> advance(Time now);
    std::optional<Time> deadline() const { return m_linkLocal.deadline(); }
    // What is to be sent on a message heard. True in `lost` when the camera has lost its address by it.
    std::vector<Bytes> heard(const ArpMessage& arp, Time now, bool& lost);

private:
    std::vector<Bytes> perform(LinkLocal::Act act);
    void use(const IpConfiguration& ip, ArpReplies replies, const char* how);
    void show(const IpConfiguration& ip);

    Station& m_station;
    const NoticeSink& m_notices;
    Origin m_origin;
    LinkLocal m_linkLocal;
    Registers* m_registers = nullptr;
};

} // namespace simcam
