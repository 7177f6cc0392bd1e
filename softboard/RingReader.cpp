#include "softboard/RingReader.h"

#include <algorithm>
#include <utility>

namespace softboard {

namespace {

// So much is fetched at once: it takes some 50 microseconds.
constexpr std::size_t kAtOnce = std::size_t{512} << 10;
// How long what has come waits for the bell at most; at 10 Gbit/s that is half of the ring.
constexpr std::chrono::milliseconds kLongestNap{15};
constexpr std::chrono::microseconds kShortestNap{200};
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
    const std::uint8_t format = frame.data[net::kUdpPayload + gvsp::kFormat];
    return static_cast<gvsp::Format>(format & ~gvsp::kExtendedIds) == gvsp::Format::Trailer;
}

} // namespace

RingReader::RingReader(ImageStream& stream, std::shared_ptr<netif::PacketRing> ring, Sink sink)
    : m_stream(stream), m_ring(std::move(ring)), m_earlierOverrun(m_ring->statistics().overrun),
      m_sink(std::move(sink)), m_piece(kShortestNap) {}

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
        if (std::unique_lock reading(m_reading, std::try_to_lock); reading) {
            m_attended = m_imageEnded = false;
            while (!isSentHome() && !(m_imageEnded && m_attended)) {
                m_imageEnded = false;
                round(Clock::time_point::max(), false);
            }
            m_aside.set(kAside);
        }
        m_aside.await();
    }
}

bool RingReader::attend(Clock::time_point deadline) {
    m_attended = true;
    {
        const std::unique_lock reading(m_reading, std::try_to_lock);
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
    ++m_catchingUp;
    m_ring->interrupt();
    {
        const std::lock_guard reading(m_reading);
        --m_catchingUp;
        m_more = true;
        for (unsigned pieces = 0; m_more && pieces < kMostPieces && !m_leave; ++pieces) {
            takeSome();
        }
    }
    m_aside.set(kAside);
}

bool RingReader::round(Clock::time_point deadline, bool returnWithAnswer) {
    using Until = netif::PacketRing::Until;
    takeSome();
    const auto tended = m_stream.tend();
    look();
    if (m_more || (returnWithAnswer && tended.answer)) {
        return tended.answer;
    }
    // While images come. When nothing came through a whole nap, every packet counts.
    const auto napEnd = m_lastCame + (m_lastImage <= kAtOnce ? Clock::duration(kLongestNap) : m_piece);
    const bool flowing = Clock::now() < napEnd;
    auto latest = std::min(deadline, flowing ? napEnd : m_nextLook);
    latest = tended.due ? std::min(*tended.due, latest) : latest;
    m_lookNow = !m_ring->wait(flowing ? Until::Bell : Until::Frame, latest);
    return false;
}

// Takes what is there, but not for ever.
void RingReader::takeSome() {
    const bool within = m_image != 0;
    m_came = 0;
    m_more = true;
    for (unsigned batches = 0; m_more && batches < kMostBatches && !m_leave; ++batches) {
        m_left = kBatch;
        m_sink(*this);
    }
    if (m_came > 0) {
        m_lookNow = m_lookNow || !m_link;
        const auto now = Clock::now();
        if (within) {
            learnPiece(m_came, now - m_lastCame);
        }
        m_lastCame = now;
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
    m_came += frame->size;
    m_image += frame->size;
    if (isEnd(*frame)) {
        m_lastImage = std::exchange(m_image, 0);
        m_imageEnded = true;
    }
    return frame;
}

// From how long it took until `bytes` of an image had come.
void RingReader::learnPiece(std::size_t bytes, Clock::duration time) {
    constexpr std::size_t kEnough = kAtOnce / 8;
    if (bytes >= kEnough) {
        const std::chrono::duration<double> piece =
            time * (static_cast<double>(kAtOnce) / static_cast<double>(bytes));
        m_piece = std::clamp<Clock::duration>(
            std::chrono::duration_cast<Clock::duration>(piece), kShortestNap, kLongestNap);
    }
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
