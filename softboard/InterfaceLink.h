// The wire of a port that is a network interface of Linux.
#pragma once

#include "softboard/Link.h"

#include "netif/PacketRing.h"
#include "netif/PacketSocket.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

namespace softboard {

// How a port is a network interface.
struct InterfaceSettings {
    std::string interface;         // empty: it is none
    std::optional<netif::Mac> mac; // the port's own address; the interface's without
    std::chrono::microseconds spin{0};
    std::size_t ringBytes = netif::PacketRing::kDefaultBytes;
};

// How long a waiting reader looks for a frame before it sleeps, unless the configuration says otherwise.
std::chrono::microseconds defaultSpin();

// Control traffic is read in place by the thread that waits for it. The image stream has a socket and a
// thread of its own, so that no acknowledgement is lost behind it and the stream flows while nobody waits. So
// does ARP for the port's address once that is known: it is answered here, whether a command runs or not.
// Image packets that somebody wants come by a ring instead, whose owner reads it.
//
// The kernel lets pass what the port can want: ARP for its address, acknowledgements to its UDP port, the
// stream to its image port. Which these are the link learns from the commands that it sends and from the
// board's register. The interface is promiscuous while the port's address is not the interface's own.
class InterfaceLink final : public Link {
public:
    // Null, and one sentence in `error` (with its errno value in `code`), when the right is missing.
    static std::unique_ptr<InterfaceLink>
    create(const InterfaceSettings& settings, std::string& error, int* code = nullptr);

    ~InterfaceLink() override;

    void plug(ethernet::FrameSink sink) override;
    void send(const std::uint8_t* frame, std::size_t size) override;
    bool carrier() const override { return m_control->carrier(); }
    LinkStatistics statistics() const override;
    void setImagePort(std::uint16_t udpPort) override;
    std::shared_ptr<netif::PacketRing>
    openRing(const netif::Mac& station, const netif::ImagePackets& wanted, int& error) override;
    void closeRing() override;
    bool readsInPlace() const override { return true; }
    // One frame when it had to wait; all that is there when it only looks.
    void readInPlace(Clock::time_point deadline) override;
    void interrupt() override { m_control->interrupt(); }

private:
    using Socket = std::unique_ptr<netif::PacketSocket>;
    using Ring = std::shared_ptr<netif::PacketRing>;

    InterfaceLink(const InterfaceSettings& settings, Socket control, Socket stream, Ring ring);
    void learn(const std::uint8_t* frame);
    void applyFilters();
    void startStream();
    void stopStream();
    void readStream();
    void answerArp(const std::uint8_t* request);

    const std::size_t m_ringBytes;
    const Socket m_control;
    const Socket m_stream;
    const Ring m_ring;

    std::mutex
        m_reading; // held while control frames are read; guards the sink together with the thread's end
    std::atomic<bool> m_unplugging{false};
    ethernet::FrameSink m_sink;

    std::atomic<std::uint64_t> m_learntMac{0}; // as in m_traffic, for a quick look
    std::atomic<std::uint64_t> m_learntIpPort{0};
    std::mutex m_filtering; // guards what follows
    netif::ControlTraffic m_traffic;
    std::atomic<std::uint16_t> m_imagePort{0}; // written with it held only
    netif::ImagePackets m_ringPackets;         // that do not pass to the sink
    bool m_plugged = false;
    std::atomic<bool> m_stopStream{false};
    std::thread m_streamThread;
};

} // namespace softboard
