#include "Wire.h"

#include "netif/PacketSocket.h"

namespace gbe_simcam {

namespace {

class InterfaceWire : public Wire {
public:
    explicit InterfaceWire(std::unique_ptr<netif::PacketSocket> socket) : m_socket(std::move(socket)) {}

    void send(const std::uint8_t* frame, std::size_t size) override { m_socket->send(frame, size); }
    void sendMany(std::span<const Parts> frames) override { m_socket->sendMany(frames); }
    std::span<const std::uint8_t> receive(Clock::time_point deadline) override {
        return m_socket->receive(deadline);
    }
    void interrupt() override { m_socket->interrupt(); }
    Counters counters() override {
        const auto counted = m_socket->statistics();
        return {counted.sent, counted.received, counted.dropped};
    }
    std::string trouble() override {
        const netif::InterfaceState state = m_socket->state();
        const std::string name = "interface " + m_socket->interface();
        if (state.error != 0) {
            return state.message;
        }
        if (!state.up) {
            return name + " is off: ip link set " + m_socket->interface() + " up";
        }
        return state.carrier ? "" : name + " has no carrier";
    }

private:
    std::unique_ptr<netif::PacketSocket> m_socket;
};

netif::Mac bytesOf(std::uint64_t mac) {
    netif::Mac bytes{};
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<std::uint8_t>(mac >> (8 * (bytes.size() - 1 - i)));
    }
    return bytes;
}

} // namespace

std::unique_ptr<Wire>
openInterface(const std::string& name, const std::vector<std::uint64_t>& stations, std::string& error) {
    const netif::InterfaceState state = netif::queryInterface(name);
    if (state.error != 0) {
        error = state.message;
        return nullptr;
    }
    std::vector<netif::Mac> macs;
    for (const std::uint64_t mac : stations) {
        macs.push_back(bytesOf(mac));
    }
    // The cameras' addresses are not the interface's own.
    netif::PacketSocket::Options options;
    options.filter = netif::stationFilter(macs);
    options.promiscuous = true;
    auto socket = netif::PacketSocket::create(name, std::move(options), error);
    return socket ? std::make_unique<InterfaceWire>(std::move(socket)) : nullptr;
}

} // namespace gbe_simcam
