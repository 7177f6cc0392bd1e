#include "softboard/RingReader.h"

#include <algorithm>
#include <bit>
#include <utility>

namespace softboard {

namespace {

// So many bytes are fetched at once at the most: it takes some 80 microseconds.
constexpr std::uint32_t kAtOnce = 1200000;
// How long what has come waits for the bell at most; at 10 Gbit/s that is half of the ring.
constexpr std::chrono::milliseconds kLongestNap{15};
constexpr std::chrono::milliseconds kLookInterval{100}; // at the interface
// How long the ring goes unread when a caller has gone. Whoever fetches one image after the other is back by
// then, even on a busy machine; half a megabyte comes at a gigabit a second.
constexpr std::chrono::milliseconds kAside{4};
constexpr unsigned kBatch = 64;       // frames under one lock of the stream
constexpr unsigned kMostBatches = 64; // before anything else is looked at
constexpr unsigned kMostPieces = 16;  // of so many batches; more than a ring holds of usual packets

// Whether an image ends with this packet.
bool isEnd(const netif::PacketRing::Frame& frame) {
    constexpr std::size_t kHeaders = net::kUdpPayload + gvsp::kHeader; // without IP options
    if (frame.size < kHeaders) {
        return false;
    }
    const auto format =
        static_cast<gvsp::Format>(frame.data[net::kUdpPayload + gvsp::kFormat] & ~gvsp::kExtendedIds);
    return format == gvsp::Format::Trailer || format == gvsp::Format::AllIn;
}

} // namespace

RingReader::RingReader(ImageStream& stream, std::shared_ptr<netif::PacketRing> ring, Sink sink)
    : m_stream(stream), m_ring(std::move(ring)), m_earlierOverrun(m_ring->statistics().overrun),
      m_sink(std::move(sink)) {}

std::uint16_t RingReader::bellEvery(std::uint32_t packetSize) {
    constexpr std::uint32_t kMost = 1U << 15;
    const std::uint32_t packets = kAtOnce / std::max(packetSize, 1U);
    return static_cast<std::uint16_t>(std::bit_floor(std::clamp(packets, 1U, kMost)));
}

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
    m_aside.set(std::chrono::nanoseconds(0)); // who clears it sets it again
    m_ring->interrupt();
}

void RingReader::join() {
    const std::lock_guard lock(m_joining);
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void RingReader::run() {
    while (!m_leave) {
        m_keeping = true;
        if (const std::unique_lock reading(m_reading, std::try_to_lock); reading) {
            while (!isSentHome()) {
                round(Clock::time_point::max(), false);
            }
            m_aside.set(kAside);
        }
        m_keeping = false;
        m_aside.await();
    }
}

// From the keeper's thread, which nobody waits for long; not from another caller, nor by who is in no need.
std::unique_lock<std::mutex> RingReader::takeOver(Clock::time_point deadline) {
    std::unique_lock reading(m_reading, std::try_to_lock);
    if (!reading && m_keeping && Clock::now() < deadline) {
        ++m_wanted;
        m_ring->interrupt();
        reading.lock();
        --m_wanted;
    }
    return reading;
}

bool RingReader::attend(Clock::time_point deadline) {
    {
        const std::unique_lock reading = takeOver(deadline);
        if (!reading || isSentHome()) {
            return false;
        }
        m_aside.clear();
        while (!round(deadline, true) && !isSentHome() && Clock::now() < deadline) {
        }
    }
    m_aside.set(kAside);
    return true;
}

// Whoever reads goes away for it; the keeper's thread is back soon.
void RingReader::catchUp() {
    ++m_wanted;
    m_ring->interrupt();
    {
        const std::lock_guard reading(m_reading);
        --m_wanted;
        m_more = true;
        for (unsigned pieces = 0; m_more && pieces < kMostPieces && !m_leave; ++pieces) {
            takeSome(false);
        }
    }
    m_aside.set(kAside);
}

bool RingReader::round(Clock::time_point deadline, bool returnWithAnswer) {
    using Until = netif::PacketRing::Until;
    m_rung = std::min(m_rung + m_ring->takeBells(), netif::PacketRing::kCountless);
    m_resting = m_resting && m_rung == 0 && returnWithAnswer;
    if (!m_resting) {
        takeSome(returnWithAnswer && m_mayWait);
    }
    const auto tended = m_stream.tend();
    m_mayWait = tended.mayWait;
    m_resting = m_resting && !tended.due; // nothing that is under way may lie there
    look();
    if ((m_more && !m_resting) || (returnWithAnswer && tended.answer)) {
        return tended.answer;
    }
    // While images come. When nothing came through a whole nap, every packet counts.
    const auto napEnd = m_lastCame + kLongestNap;
    const bool flowing = Clock::now() < napEnd;
    auto latest = std::min(deadline, flowing ? napEnd : m_nextLook);
    latest = tended.due ? std::min(*tended.due, latest) : latest;
    m_lookNow = !m_ring->wait(flowing ? Until::Bell : Until::Frame, latest);
    m_resting = false;
    return false;
}

// Takes what is there, but not for ever; of several images that are there one, unless the ring fills up:
// then the caller does not keep up.
void RingReader::takeSome(bool oneImage) {
    m_resting = m_came = m_imageEnded = false;
    m_more = true;
    m_oneImage = oneImage && !m_ring->isHalfFull();
    for (unsigned batches = 0; m_more && batches < kMostBatches && !m_leave; ++batches) {
        m_left = kBatch;
        m_sink(*this);
        if (m_oneImage && m_imageEnded) {
            m_resting = m_rung == 0;
            break;
        }
    }
    m_rung = m_more ? m_rung : 0;
    if (m_came) {
        m_lookNow = m_lookNow || !m_link;
        m_lastCame = Clock::now();
    }
}

const netif::PacketRing::Frame* RingReader::next() {
    if (m_left == 0) {
        return nullptr;
    }
    --m_left;
    const netif::PacketRing::Frame* const frame = m_ring->next();
    if (frame == nullptr) {
        m_left = 0;
        m_more = false;
        return nullptr;
    }
    m_came = true;
    if (isEnd(*frame)) {
        m_imageEnded = true;
        m_rung -= m_rung > 0 ? 1 : 0;
        m_left = m_oneImage ? 0 : m_left;
    }
    return frame;
}

// Now and then, and at once where what was seen last cannot be true any more.
void RingReader::look() {
    const auto time = Clock::now();
    if (m_lookNow || time >= m_nextLook) {
        m_link = m_ring->look();
        m_stream.setLink(m_link);
        m_lookNow = false;
        m_nextLook = time + kLookInterval;
    }
}

} // namespace softboard
