#include "softboard/RingReader.h"

#include <algorithm>

namespace softboard {

namespace {

// Within an image: what has come waits so long at most. At 10 Gbit/s that is an eighth of the ring.
constexpr std::chrono::milliseconds kWithinImage{4};
constexpr std::chrono::milliseconds kLookInterval{100}; // at the interface
constexpr unsigned kMostBatches = 64;
constexpr std::size_t kHeaders = net::kUdpPayload + gvsp::kHeader; // without IP options

// Whether more of the image is to come behind this packet. One that is sent again comes alone.
bool isWithinImage(const netif::PacketRing::Frame& frame) {
    if (frame.size < kHeaders) {
        return false;
    }
    const std::uint8_t* const header = frame.data + net::kUdpPayload;
    const auto format = static_cast<gvsp::Format>(header[gvsp::kFormat] & ~gvsp::kExtendedIds);
    return (header[gvsp::kStatus] | header[gvsp::kStatus + 1]) == 0 &&
           (format == gvsp::Format::Leader || format == gvsp::Format::Payload);
}

} // namespace

RingReader::RingReader(ImageStream& stream, std::shared_ptr<netif::PacketRing> ring, Sink sink)
    : m_stream(stream), m_ring(std::move(ring)), m_earlierOverrun(m_ring->statistics().overrun),
      m_sink(std::move(sink)) {}

RingReader::~RingReader() {
    leave();
    join();
}

void RingReader::start() {
    const std::lock_guard lock(m_joining);
    m_thread = std::thread([this] { run(); });
}

void RingReader::leave() {
    m_leave = true;
    m_ring->interrupt();
}

void RingReader::join() {
    const std::lock_guard lock(m_joining);
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void RingReader::run() {
    using Until = netif::PacketRing::Until;
    bool here = true;
    while (!m_leave) {
        const bool came = takeSome();
        const auto due = m_stream.tend();
        look(!here);
        // An image that nothing came of meanwhile has stopped: then every packet counts.
        const bool within = came && m_withinImage;
        const auto latest = within ? Clock::now() + kWithinImage : m_nextLook;
        here = m_ring->wait(within ? Until::Bell : Until::Frame, due ? std::min(*due, latest) : latest);
    }
}

// Takes what is there, but looks up from time to time. False when there was nothing.
bool RingReader::takeSome() {
    unsigned batches = 0;
    for (Frames frames = m_ring->take(); !frames.empty() && !m_leave; frames = m_ring->take()) {
        m_withinImage = isWithinImage(frames.back());
        m_sink(frames);
        m_ring->release();
        if (++batches == kMostBatches) {
            m_withinImage = false; // no sleep where more may be there
            break;
        }
    }
    return batches > 0;
}

void RingReader::look(bool now) {
    const auto time = Clock::now();
    if (now || time >= m_nextLook) {
        m_stream.setLink(m_ring->look());
        m_nextLook = time + kLookInterval;
    }
}

} // namespace softboard
