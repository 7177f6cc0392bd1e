// The report on a port's network interface, from the configuration, the kernel, and the board where it is
// made.
#include "softboard/link_report.h"

#include "softboard/Hardware.h"
#include "softboard/InterfaceLink.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace softboard {

namespace {

// As much of a text as there is room for.
template<std::size_t size> void copyText(char (&to)[size], const std::string& text) {
    const std::size_t length = std::min(text.size(), size - 1);
    std::memcpy(to, text.data(), length);
    to[length] = '\0';
}

template<typename Bytes, std::size_t size> void copyBytes(unsigned char (&to)[size], const Bytes& bytes) {
    static_assert(sizeof(Bytes) == size);
    std::copy(bytes.begin(), bytes.end(), to);
}

void fail(SoftboardLinkReport& report, int error, const std::string& message) {
    report.error = error;
    copyText(report.message, message);
}

// What keeps frames from passing, the first thing that wants mending.
void findFault(SoftboardLinkReport& report, const InterfaceSettings& settings, bool open) {
    std::string message;
    int error = 0;
    netif::PacketSocket::Options nothing;
    nothing.traffic.emplace();
    if (!open && !netif::PacketSocket::create(settings.interface, nothing, message, &error)) {
        fail(report, error, message);
    } else if (!report.up) {
        fail(
            report, ENETDOWN,
            "network interface " + settings.interface + " is switched off: ip link set " +
                settings.interface + " up");
    } else if (!report.carrier) {
        fail(report, ENOLINK, "network interface " + settings.interface + " has nothing at its other end");
    }
}

} // namespace

} // namespace softboard

int softboard_linkReport(int board, int port, SoftboardLinkReport* out) {
    using namespace softboard;
    if (out == nullptr) {
        return EINVAL;
    }
    *out = {};
    BoardConfiguration configuration;
    std::string error;
    const bool exists = port >= 0 && port < kPorts &&
                        Hardware::instance().configuration(board, configuration, error) &&
                        configuration.present;
    const InterfaceSettings settings =
        exists ? configuration.ports[static_cast<std::size_t>(port)].interface : InterfaceSettings {};
    if (settings.interface.empty()) {
        copyText(out->message, exists || error.empty() ? "this port is not a network interface" : error);
        return ENODEV;
    }
    const netif::InterfaceState state = netif::queryInterface(settings.interface);
    copyText(out->interfaceName, settings.interface);
    out->up = state.up;
    out->carrier = state.carrier;
    out->mtu = state.mtu;
    copyBytes(out->mac, settings.mac.value_or(state.mac));
    copyBytes(out->ipv4, state.address);
    copyBytes(out->netmask, state.netmask);
    const auto made = Hardware::instance().made(board);
    if (made) {
        const LinkStatistics counts = made->port(static_cast<std::size_t>(port)).state().link;
        out->received = counts.received;
        out->sent = counts.sent;
        out->dropped = counts.dropped;
    }
    if (state.error != 0) {
        fail(*out, state.error, state.message);
    } else {
        findFault(*out, settings, made != nullptr);
    }
    return 0;
}
