#include "softboard/Hub.h"

#include "protocol/net.h"

#include <algorithm>

namespace softboard {

namespace {

// 48 bits, the first byte highest.
std::uint64_t macAt(const std::uint8_t* bytes) {
    std::uint64_t mac = 0;
    for (std::size_t i = 0; i < net::kMacSize; ++i) {
        mac = mac << 8 | bytes[i];
    }
    return mac;
}

} // namespace

Hub::~Hub() {
    detachAll();
}

std::shared_ptr<const Hub::Links> Hub::links() const {
    const std::lock_guard lock(m_mutex);
    return m_links;
}

void Hub::attach(std::shared_ptr<Link> link) {
    Link& attached = *link;
    {
        const std::lock_guard lock(m_mutex);
        Links changed = *m_links;
        changed.push_back(std::move(link));
        m_links = std::make_shared<const Links>(std::move(changed));
    }
    attached.setImagePort(m_imagePort);
    attached.plug([this, from = &attached](const std::uint8_t* frame, std::size_t size) {
        received(from, frame, size);
    });
}

bool Hub::detach(const std::function<bool(const Link&)>& which) {
    std::shared_ptr<Link> link;
    {
        const std::lock_guard lock(m_mutex);
        Links changed = *m_links;
        const auto found =
            std::find_if(changed.begin(), changed.end(), [&](const auto& l) { return which(*l); });
        if (found == changed.end()) {
            return false;
        }
        link = *found;
        changed.erase(found);
        m_links = std::make_shared<const Links>(std::move(changed));
    }
    link->interrupt();
    link->plug({});
    return true;
}

void Hub::detachAll() {
    while (detach([](const Link&) { return true; })) {
    }
}

void Hub::send(const std::uint8_t* frame, std::size_t size) {
    const auto current = links();
    if (size >= net::kEtherType) {
        m_portAddress.store(macAt(frame + net::kSourceMac), std::memory_order_relaxed);
    }
    for (const auto& link : *current) {
        link->send(frame, size);
    }
}

void Hub::received(const Link* from, const std::uint8_t* frame, std::size_t size) {
    const auto current = links();
    const bool forPortAlone =
        size >= net::kEtherType && macAt(frame) == m_portAddress.load(std::memory_order_relaxed);
    if (!forPortAlone && current->size() > 1) {
        for (const auto& link : *current) {
            if (link.get() != from) {
                link->send(frame, size);
            }
        }
    }
    m_sink(frame, size);
}

bool Hub::carrier() const {
    const auto current = links();
    return std::any_of(current->begin(), current->end(), [](const auto& link) { return link->carrier(); });
}

LinkStatistics Hub::statistics() const {
    LinkStatistics sum;
    const auto current = links();
    for (const auto& link : *current) {
        const LinkStatistics one = link->statistics();
        sum.sent += one.sent;
        sum.received += one.received;
        sum.dropped += one.dropped;
        sum.overrun += one.overrun;
    }
    return sum;
}

void Hub::setImagePort(std::uint16_t udpPort) {
    m_imagePort = udpPort;
    const auto current = links();
    for (const auto& link : *current) {
        link->setImagePort(udpPort);
    }
}

std::shared_ptr<netif::PacketRing>
Hub::openRing(const netif::Mac& station, const netif::ImagePackets& packets, int& error) {
    error = 0;
    std::shared_ptr<netif::PacketRing> ring;
    const auto current = links();
    for (auto link = current->begin(); link != current->end() && !ring && error == 0; ++link) {
        ring = (*link)->openRing(station, packets, error);
    }
    return ring;
}

void Hub::closeRing() {
    const auto current = links();
    for (const auto& link : *current) {
        link->closeRing();
    }
}

bool Hub::readsInPlace() const {
    const auto current = links();
    return std::any_of(
        current->begin(), current->end(), [](const auto& link) { return link->readsInPlace(); });
}

void Hub::readInPlace(Clock::time_point deadline) {
    const auto current = links();
    std::shared_ptr<Link> waitIn;
    for (const auto& link : *current) {
        if (!link->readsInPlace()) {
            continue;
        }
        if (waitIn) {
            link->readInPlace(Clock::time_point::min());
        } else {
            waitIn = link;
        }
    }
    if (waitIn) {
        waitIn->readInPlace(deadline);
    }
}

void Hub::interrupt() {
    const auto current = links();
    for (const auto& link : *current) {
        link->interrupt();
    }
}

} // namespace softboard
