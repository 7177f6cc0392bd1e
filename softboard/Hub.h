// What lets several links hang on one port.
#pragma once

#include "softboard/Link.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace softboard {

// Every frame of a link goes to the port and to all other links, except that frames to the port's own
// address, learnt from the frames that it sends, stay off the others. Links come and go while frames run: a
// list that is being walked is never changed but replaced, so that no lock is held during a call of a link.
class Hub : public Link {
public:
    using Links = std::vector<std::shared_ptr<Link>>;

    ~Hub() override;

    // Only while nothing is attached: the sink is read without a lock.
    void plug(ethernet::FrameSink sink) override { m_sink = std::move(sink); }

    void attach(std::shared_ptr<Link> link);

    // Takes the first link off that `which` names; false when there is none.
    bool detach(const std::function<bool(const Link&)>& which);
    void detachAll();

    void send(const std::uint8_t* frame, std::size_t size) override;
    bool carrier() const override;
    LinkStatistics statistics() const override;
    void setImagePort(std::uint16_t udpPort) override;
    // Of the first link that has one.
    std::shared_ptr<netif::PacketRing>
    openRing(const netif::Mac& station, const netif::ImagePackets& packets, int& error) override;
    void closeRing() override;
    bool readsInPlace() const override;

    // Waits in the first link that reads in place and looks into the others.
    void readInPlace(Clock::time_point deadline) override;
    void interrupt() override;

private:
    std::shared_ptr<const Links> links() const;
    void received(const Link* from, const std::uint8_t* frame, std::size_t size);

    ethernet::FrameSink m_sink;
    mutable std::mutex m_mutex; // guards the pointer
    std::shared_ptr<const Links> m_links = std::make_shared<const Links>();
    std::atomic<std::uint64_t> m_portAddress{0}; // MAC, 0 until the port has sent
    std::atomic<std::uint16_t> m_imagePort{0};
};

} // namespace softboard
