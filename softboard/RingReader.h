// The keeper of a stream whose packets come from a ring: it takes them out, and looks after the time in
// between.
#pragma once

#include "softboard/ImageStream.h"

#include "netif/PacketRing.h"

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <span>
#include <thread>

namespace softboard {

// Between images the thread sleeps until a packet comes; within one, until the packet that ends it, looking
// in between at what is there already. So it wakes twice or thrice an image, and an image is handed out as
// soon as its last packet has come.
class RingReader final : public ImageStream::Keeper {
public:
    using Frames = std::span<const netif::PacketRing::Frame>;
    // Takes frames to the stream; called from the reader's thread.
    using Sink = std::function<void(Frames frames)>;

    // The stream outlives the keeper's thread.
    RingReader(ImageStream& stream, std::shared_ptr<netif::PacketRing> ring, Sink sink);
    ~RingReader() override;

    void start() override;
    void hurry() override { m_ring->interrupt(); }
    void leave() override;
    void join() override;
    std::uint64_t overrun() override { return m_ring->statistics().overrun - m_earlierOverrun; }

private:
    void run();
    bool takeSome();
    void look(bool now);

    ImageStream& m_stream;
    const std::shared_ptr<netif::PacketRing> m_ring;
    const std::uint64_t m_earlierOverrun;
    const Sink m_sink;
    std::atomic<bool> m_leave{false};
    std::mutex m_joining; // guards the thread
    std::thread m_thread;

    // Of the thread.
    bool m_withinImage = false;
    Clock::time_point m_nextLook{};
};

} // namespace softboard
