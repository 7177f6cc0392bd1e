// The keeper of a stream whose packets come from a ring: it takes them out, and looks after the time in
// between.
#pragma once

#include "softboard/Alarm.h"
#include "softboard/ImageStream.h"

#include "netif/PacketRing.h"

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

namespace softboard {

// When the thread wakes decides on what an image costs, and on how soon it is handed out. While images come,
// it sleeps until the bell: the last packet of an image, and in large images one in a megabyte, so that
// little is left to do at the end. Only when nothing has come for a while it sleeps until any packet comes.
//
// A caller that waits for an image does the reading itself. The keeper's thread sleeps meanwhile, takes over
// when the caller has gone and nobody has come for a moment, and leaves off for the next one.
//
// Such a caller fetches one image at a time, and leaves in the ring what came behind it: who was kept from
// running finds more images there than he has buffers for, and loses none.
class RingReader final : public ImageStream::Keeper {
public:
    // Takes what next() gives to the stream; called from the thread that reads.
    using Sink = std::function<void(RingReader& reader)>;

    // Of a stream's packets of this size so many to one that rings the bell; a power of two.
    static std::uint16_t bellEvery(std::uint32_t packetSize);

    // The stream outlives the keeper's thread.
    RingReader(ImageStream& stream, std::shared_ptr<netif::PacketRing> ring, Sink sink);
    ~RingReader() override;

    void start() override;
    bool attend(Clock::time_point deadline) override;
    void hurry() override { m_ring->interrupt(); }
    void catchUp() override;
    void leave() override;

    // Of the sink: a frame, valid until the next call, or null when it is enough for now.
    const netif::PacketRing::Frame* next();

    void join() override;
    std::uint64_t overrun() override { return m_ring->statistics().overrun - m_earlierOverrun; }

private:
    void run();
    bool isSentHome() const { return m_leave || m_wanted > 0; }
    std::unique_lock<std::mutex> takeOver(Clock::time_point deadline);
    // True when who waits for an image has an answer.
    bool round(Clock::time_point deadline, bool returnWithAnswer);
    void takeSome(bool oneImage);
    void look();

    ImageStream& m_stream;
    const std::shared_ptr<netif::PacketRing> m_ring;
    const std::uint64_t m_earlierOverrun;
    const Sink m_sink;
    std::atomic<bool> m_leave{false};
    std::atomic<bool> m_keeping{false}; // the keeper's thread reads, or tries to
    std::atomic<unsigned> m_wanted{0};  // by how many threads: who reads leaves off
    Alarm m_aside;                      // what the keeper's thread waits for while others do its work
    std::mutex m_joining;               // guards the thread
    std::thread m_thread;

    std::mutex m_reading; // guards what follows, and the ring
    bool m_link = false;  // as seen last
    bool m_lookNow = true;
    bool m_more = false;       // may be there still
    bool m_resting = false;    // after an image: a part of the next is left alone until the bell
    std::size_t m_rung = 0;    // bells, of what may be there
    bool m_oneImage = false;   // is enough for now
    bool m_mayWait = false;    // what came behind an image, in the ring
    bool m_imageEnded = false; // since it was looked at
    unsigned m_left = 0;       // frames that the sink may have
    bool m_came = false;       // something, since the round began
    Clock::time_point m_lastCame{};
    Clock::time_point m_nextLook{};
};

} // namespace softboard
