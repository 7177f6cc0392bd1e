// The keeper of a stream whose packets come from elsewhere: it does nothing but look after the time.
#pragma once

#include "softboard/ImageStream.h"

#include <condition_variable>
#include <mutex>
#include <thread>

namespace softboard {

class StreamTimer final : public ImageStream::Keeper {
public:
    // The stream outlives the keeper's thread.
    explicit StreamTimer(ImageStream& stream) : m_stream(stream) {}
    ~StreamTimer() override;

    void start() override;
    void hurry() override;
    void leave() override;
    void join() override;
    std::uint64_t overrun() override { return 0; }

private:
    void run();

    ImageStream& m_stream;
    std::mutex m_mutex; // guards what follows
    std::condition_variable m_changed;
    bool m_hurry = false;
    bool m_leave = false;
    std::mutex m_joining; // guards the thread
    std::thread m_thread;
};

} // namespace softboard
