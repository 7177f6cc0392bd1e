// The images of one camera on one port: the receiver of its stream, shared by the threads that bring packets,
// the one that keeps time, and those that wait for images.
#pragma once

#include "softboard/Link.h"
#include "softboard/resend_command.h"
#include "softboard/udp_frame.h"

#include "gvsp/Receiver.h"
#include "platform/image_path.h"

#include <array>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <vector>

namespace softboard {

// Any thread may call anything. No lock is held while frames are sent: a camera may answer at once.
//
// A stream has one keeper, which calls tend() when a deadline of the receiver has come. It ends with end():
// from then on no byte of a buffer is touched. Where the keeper also fetches the packets, a thread that waits
// for an image does its work meanwhile: then no thread has to be woken between the packets and the caller.
class ImageStream {
public:
    using Packet = std::span<const std::uint8_t>; // the data of a UDP datagram
    using Send = std::function<void(const std::uint8_t* frame, std::size_t size)>;

    // Looks after the time, in a thread of its own.
    class Keeper {
    public:
        virtual ~Keeper() = default;
        virtual void start() = 0;
        // Does the keeper's work in the calling thread until who waits has an answer, `deadline`, or for a
        // while. False when that cannot be, or somebody else does it.
        virtual bool attend(Clock::time_point /*deadline*/) { return false; }
        // A deadline has come nearer than the last tend() said. Called from other threads.
        virtual void hurry() = 0;
        // What has come by now is handed in, as far as the keeper fetches it. Called from other threads.
        virtual void catchUp() {}
        // The thread is to end, and
        virtual void leave() = 0;
        // has ended: the stream is not called any more. May be called again.
        virtual void join() = 0;
        // Packets that were lost because the thread was too slow.
        virtual std::uint64_t overrun() = 0;
    };
    enum class From { Keeper, Other };
    struct Tended {
        std::optional<Clock::time_point> due; // when something will be due again
        bool answer = false;                  // to who waits: an image, or that there will be none
        bool mayWait = false;                 // packets behind an image: no newer one shall take its place
    };

    // What a stream can be opened with. IMAGE_PATH_OK or IMAGE_PATH_BAD_ARGUMENT.
    static int check(const TavoImageSettings& settings);

    // Settings that pass the check. `send` takes the commands to the camera.
    ImageStream(const TavoImageSettings& settings, Send send);
    ~ImageStream();
    ImageStream(const ImageStream&) = delete;
    ImageStream& operator=(const ImageStream&) = delete;

    // To be called once, before packets come.
    void keepBy(std::unique_ptr<Keeper> keeper);

    const StreamAddress& address() const { return m_address; }

    // Packets that arrived together, in their order: `next` gives one after the other, then nothing; it is
    // called with the lock held. Who brings them: a keeper will tend anyway.
    template<class Next> void take(Next&& next, From from) {
        std::unique_lock lock(m_mutex);
        if (m_ended) {
            return;
        }
        const gvsp::Time now = Clock::now().time_since_epoch();
        for (std::optional<Packet> packet = next(); packet; packet = next()) {
            m_receiver.packet(*packet, now);
        }
        taken(lock, from);
    }
    // Time has passed: what is due is done.
    Tended tend();

    // The calls of the image path (platform/image_path.h).
    int wait(int timeoutMs, TavoImage& image);
    int giveBack(unsigned buffer);
    void wake();
    int restart(const TavoImageSettings& settings);
    void statistics(TavoImageStatistics& out);

    // Whether the camera's side of the wire is there.
    void setLink(bool present);
    // The port is closed, for good. Does not wait for the keeper.
    void end();
    // Ends the stream and waits for its keeper.
    void close();

private:
    struct Request {
        gvsp::ResendWish wish;
        std::uint16_t id = 0;
    };
    using Requests = std::array<Request, 16>;

    void taken(std::unique_lock<std::mutex>& lock, From from);
    void finish(std::unique_lock<std::mutex>& lock);
    std::size_t takeRequests(Requests& requests);
    void ask(std::span<const Request> requests) const;
    void handOut(TavoImage& out);
    std::optional<int> result(TavoImage& image);
    void sleep(std::unique_lock<std::mutex>& lock, std::optional<Clock::time_point> deadline);

    const StreamAddress m_address;
    const ResendRoute m_route;
    const Send m_send;
    const std::size_t m_bufferSize;
    std::unique_ptr<Keeper> m_keeper;

    std::mutex m_mutex; // guards what follows
    std::condition_variable m_arrived;
    gvsp::Receiver m_receiver;
    std::vector<gvsp::Buffer> m_buffers;
    std::vector<bool> m_borrowed;                    // by number of the buffer
    std::vector<std::vector<TavoMissing>> m_missing; // of the image in a borrowed buffer
    gvsp::Image m_image;                             // the last that was fetched
    unsigned m_waiters = 0;                          // in m_arrived
    unsigned m_attending = 0;                        // who may be doing the keeper's work
    bool m_woken = false;
    bool m_ended = false;
    bool m_link = true;
    gvsp::Time m_due = gvsp::Time::max(); // when the keeper looks again
    std::uint16_t m_requestId = 0;        // the last
};

} // namespace softboard
