#include "softboard/InterfaceLink.h"

#include "softboard/RingReader.h"

#include "protocol/gvcp.h"
#include "protocol/net.h"

#include <algorithm>
#include <array>
#include <sched.h>
#include <utility>

namespace softboard {

namespace {

constexpr std::chrono::microseconds kSpin{50};
constexpr int kJumbo = 9000;           // virtual interfaces carry more, cameras send no more
constexpr unsigned kMostAtOnce = 8192; // frames that one look takes, so that a flood cannot hold it for ever

std::uint64_t big(const std::uint8_t* bytes, std::size_t count) {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < count; ++i) {
        value = value << 8 | bytes[i];
    }
    return value;
}

// A GVCP command of a station that has an address of its own, without IP options as the library builds it.
bool isCommand(const std::uint8_t* frame, std::size_t size) {
    constexpr std::uint8_t kNoOptions = 0x45;
    constexpr std::uint8_t kGroupBit = 0x01;
    return size >= net::kUdpPayload && big(frame + net::kEtherType, 2) == net::kEtherTypeIpv4 &&
           frame[net::kIpVersion] == kNoOptions && frame[net::kIpProtocol] == net::kIpProtocolUdp &&
           big(frame + net::kUdpDestinationPort, 2) == gvcp::kPort &&
           (frame[net::kSourceMac] & kGroupBit) == 0;
}

bool isArp(const std::uint8_t* frame, std::size_t size) {
    return size >= net::kEthernetHeader && big(frame + net::kEtherType, 2) == net::kEtherTypeArp;
}

bool isArpRequest(const std::uint8_t* frame, std::size_t size) {
    return size >= net::kArpEnd && isArp(frame, size) &&
           big(frame + net::kArpHardware, 2) == net::kArpEthernet &&
           big(frame + net::kArpProtocol, 2) == net::kEtherTypeIpv4 &&
           big(frame + net::kArpAddressLengths, 2) == net::kArpIpv4Lengths &&
           big(frame + net::kArpOperation, 2) == net::kArpRequest;
}

} // namespace

// Looking pays only where the other side can run meanwhile.
std::chrono::microseconds defaultSpin() {
    cpu_set_t cpus;
    CPU_ZERO(&cpus);
    const bool several = sched_getaffinity(0, sizeof cpus, &cpus) == 0 && CPU_COUNT(&cpus) > 1;
    return several ? kSpin : std::chrono::microseconds(0);
}

std::unique_ptr<InterfaceLink>
InterfaceLink::create(const InterfaceSettings& settings, std::string& error, int* code) {
    const auto open = [&](std::chrono::microseconds spin) {
        return netif::PacketSocket::create(
            settings.interface, {{}, false, spin, netif::Traffic{}}, error, code);
    };
    Socket control = open(settings.spin);
    Socket stream = control ? open(std::chrono::microseconds(0)) : nullptr;
    int dummy = 0;
    Ring ring = stream ? netif::PacketRing::create(settings.interface, error, code != nullptr ? *code : dummy)
                       : nullptr;
    if (!ring) {
        return nullptr;
    }
    return std::unique_ptr<InterfaceLink>(
        new InterfaceLink(settings, std::move(control), std::move(stream), std::move(ring)));
}

InterfaceLink::InterfaceLink(const InterfaceSettings& settings, Socket control, Socket stream, Ring ring)
    : m_ringBytes(settings.ringBytes), m_control(std::move(control)), m_stream(std::move(stream)),
      m_ring(std::move(ring)) {
    m_traffic.mac = settings.mac ? *settings.mac : m_control->state().mac;
}

InterfaceLink::~InterfaceLink() {
    InterfaceLink::plug({});
}

// A reader under way is sent home, and later ones turn round until the sink is exchanged.
void InterfaceLink::plug(ethernet::FrameSink sink) {
    stopStream();
    m_unplugging = true;
    m_control->interrupt();
    {
        const std::lock_guard reading(m_reading);
        m_sink = std::move(sink);
        m_unplugging = false;
    }
    const std::lock_guard lock(m_filtering);
    m_plugged = static_cast<bool>(m_sink);
    applyFilters();
    startStream();
}

void InterfaceLink::send(const std::uint8_t* frame, std::size_t size) {
    // What is asked from the image port has its answer there.
    if (isCommand(frame, size) && big(frame + net::kUdpSourcePort, 2) != m_imagePort) {
        learn(frame);
    }
    m_control->send(frame, size);
}

void InterfaceLink::learn(const std::uint8_t* frame) {
    const std::uint64_t mac = big(frame + net::kSourceMac, net::kMacSize);
    const std::uint64_t ipPort =
        big(frame + net::kSourceIp, net::kIpSize) << 16 | big(frame + net::kUdpSourcePort, 2);
    if (mac == m_learntMac.load(std::memory_order_relaxed) &&
        ipPort == m_learntIpPort.load(std::memory_order_relaxed)) {
        return;
    }
    const std::lock_guard lock(m_filtering);
    std::copy_n(frame + net::kSourceMac, net::kMacSize, m_traffic.mac.begin());
    std::copy_n(frame + net::kSourceIp, net::kIpSize, m_traffic.address.begin());
    m_traffic.udpPort = static_cast<std::uint16_t>(ipPort);
    applyFilters();
    startStream();
    m_learntMac.store(mac, std::memory_order_relaxed);
    m_learntIpPort.store(ipPort, std::memory_order_relaxed);
}

void InterfaceLink::setImagePort(std::uint16_t udpPort) {
    const std::lock_guard lock(m_filtering);
    if (udpPort != m_imagePort) {
        m_imagePort = udpPort;
        applyFilters();
        startStream();
    }
}

// With m_filtering held.
void InterfaceLink::applyFilters() {
    using Kind = netif::Traffic::Kind;
    const netif::ControlTraffic& own = m_traffic;
    const std::uint16_t imagePort = m_imagePort;
    netif::Traffic control{Kind::Control, own.mac, own.address, own.udpPort, 0, {}};
    netif::Traffic unasked{Kind::Unasked, own.mac, own.address, imagePort, 0, {}};
    // What would change nothing stays out: a borrowed socket would be exchanged for it.
    if (own.udpPort == 0 || own.udpPort == imagePort) {
        control.exceptPort = imagePort;
    }
    if (m_ringPackets.udpPort == imagePort) {
        unasked.packets = m_ringPackets;
    }
    m_control->hear(m_plugged ? control : netif::Traffic{});
    m_stream->hear(m_plugged ? unasked : netif::Traffic{});
    if (m_traffic.mac != netif::Mac{}) {
        m_control->setStation(m_traffic.mac); // what is let in for one socket is for the other too
    }
}

std::shared_ptr<netif::PacketRing>
InterfaceLink::openRing(const netif::Mac& station, const netif::ImagePackets& wanted, int& error) {
    netif::ImagePackets packets = wanted;
    if (packets.every == 0) {
        packets.every = RingReader::bellEvery(static_cast<std::uint32_t>(std::min(m_ring->mtu(), kJumbo)));
    }
    const netif::PacketRing::Options options{
        {netif::Traffic::Kind::Images, station, {}, 0, 0, packets},
        {netif::Traffic::Kind::ImageEnds, station, {}, 0, 0, packets},
        m_ringBytes};
    if (!m_ring->open(options, error)) {
        return nullptr;
    }
    m_ring->setStation(station);
    const std::lock_guard lock(m_filtering);
    m_ringPackets = packets;
    applyFilters();
    return m_ring;
}

void InterfaceLink::closeRing() {
    m_ring->close();
    const std::lock_guard lock(m_filtering);
    m_ringPackets = {};
    applyFilters();
}

// With m_filtering held. Once something can come the thread stays.
void InterfaceLink::startStream() {
    const bool isKnown = m_imagePort != 0 || m_traffic.address != netif::Ipv4{};
    if (m_plugged && isKnown && !m_streamThread.joinable()) {
        m_stopStream = false;
        m_streamThread = std::thread([this] { readStream(); });
    }
}

void InterfaceLink::stopStream() {
    std::thread ending;
    {
        const std::lock_guard lock(m_filtering);
        m_plugged = false;
        ending = std::move(m_streamThread);
    }
    if (ending.joinable()) {
        m_stopStream = true;
        m_stream->interrupt();
        ending.join();
    }
}

void InterfaceLink::readStream() {
    constexpr std::chrono::hours kForEver{1};
    bool more = false; // where one frame of a stream is there, the next mostly is too
    while (!m_stopStream) {
        const auto frame = m_stream->receive(more ? Clock::time_point::min() : Clock::now() + kForEver);
        more = !frame.empty();
        if (!more || m_stopStream) {
            continue;
        }
        if (isArpRequest(frame.data(), frame.size())) {
            answerArp(frame.data());
        } else if (!isArp(frame.data(), frame.size())) { // of other ARP the port wants nothing
            m_sink(frame.data(), frame.size());
        }
    }
}

// Only the port's own address gets through the filter.
void InterfaceLink::answerArp(const std::uint8_t* request) {
    std::array<std::uint8_t, net::kMinFrame> reply{};
    std::copy_n(request, net::kArpEnd, reply.begin());
    reply[net::kArpOperation + 1] = net::kArpReply;
    std::copy_n(request + net::kArpSenderMac, net::kMacSize + net::kIpSize, &reply[net::kArpTargetMac]);
    std::copy_n(request + net::kSourceMac, net::kMacSize, &reply[net::kDestinationMac]);
    {
        const std::lock_guard lock(m_filtering);
        std::copy(m_traffic.mac.begin(), m_traffic.mac.end(), &reply[net::kSourceMac]);
        std::copy(m_traffic.mac.begin(), m_traffic.mac.end(), &reply[net::kArpSenderMac]);
        std::copy(m_traffic.address.begin(), m_traffic.address.end(), &reply[net::kArpSenderIp]);
    }
    m_stream->send(reply.data(), reply.size());
}

void InterfaceLink::readInPlace(Clock::time_point deadline) {
    const bool look = deadline <= Clock::now();
    std::unique_lock reading(m_reading, std::defer_lock);
    if (look ? !reading.try_lock() : (reading.lock(), false)) {
        return; // somebody reads already
    }
    for (unsigned frames = 0; frames < (look ? kMostAtOnce : 1U) && !m_unplugging; ++frames) {
        const auto frame = m_control->receive(deadline);
        if (frame.empty()) {
            return;
        }
        if (m_sink) {
            m_sink(frame.data(), frame.size());
        }
    }
}

LinkStatistics InterfaceLink::statistics() const {
    const netif::PacketStatistics control = m_control->statistics();
    const netif::PacketStatistics stream = m_stream->statistics();
    const netif::PacketStatistics ring = m_ring->statistics();
    LinkStatistics sum;
    sum.sent = control.sent;
    sum.received = control.received + stream.received + ring.received;
    sum.overrun = control.overrun + stream.overrun + ring.overrun;
    sum.dropped = control.dropped + stream.dropped + ring.dropped;
    return sum;
}

} // namespace softboard
