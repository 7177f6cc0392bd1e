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
// it sleeps until the bell: the last packet of an image. Large images it fetches in pieces, so that little is
// left to do then. Only when nothing has come for a while it sleeps until any packet comes.
//
// A caller that waits for an image does the reading itself. The keeper's thread sleeps meanwhile, and takes
// over when the caller has gone and nobody has come for a moment; the next caller gets it back together with
// an image.
class RingReader final : public ImageStream::Keeper {
public:
    // Takes what next() gives to the stream; called from the thread that reads.
    using Sink = std::function<void(RingReader& reader)>;

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
    bool isSentHome() const { return m_leave || m_catchingUp > 0; }
    // True when who waits for an image has an answer.
    bool round(Clock::time_point deadline, bool returnWithAnswer);
    void takeSome();
    void learnPiece(std::size_t bytes, Clock::duration time);
    void look();

    ImageStream& m_stream;
    const std::shared_ptr<netif::PacketRing> m_ring;
    const std::uint64_t m_earlierOverrun;
    const Sink m_sink;
    std::atomic<bool> m_leave{false};
    std::atomic<bool> m_attended{false};   // since the keeper's thread took over
    std::atomic<unsigned> m_catchingUp{0}; // threads that want the ring
    Alarm m_aside;                         // what the keeper's thread waits for while others do its work
    std::mutex m_joining;                  // guards the thread
    std::thread m_thread;

    std::mutex m_reading; // guards what follows, and the ring
    bool m_link = false;  // as seen last
    bool m_lookNow = true;
    bool m_more = false;         // may be there still
    bool m_imageEnded = false;   // since it was looked at
    unsigned m_left = 0;         // frames that the sink may have
    std::size_t m_came = 0;      // bytes since the round began
    std::size_t m_image = 0;     // bytes of the image under way
    std::size_t m_lastImage = 0; // and of the one before
    Clock::time_point m_lastCame{};
    Clock::duration m_piece; // in which so much of a large image comes as is fetched at once
    Clock::time_point m_nextLook{};
};

} // namespace softboard
