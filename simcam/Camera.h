// A GigE Vision camera in software as a station on an Ethernet: CameraCore with a thread and a bounded inbox.
// All calls may come from any thread, except that the sink that it is plugged into must not call plug() back.
#pragma once

#include "platform/ethernet_endpoint.h"
#include "simcam/CameraCore.h"

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace simcam {

class Camera : public ethernet::Endpoint {
public:
    // Null on a bad setting; `error` then says in one line what is wrong. The notices begin during the call.
    static std::unique_ptr<Camera>
    make(const ethernet::Settings& settings, std::string& error, NoticeSink notices = {});
    ~Camera() override;

    void plug(ethernet::FrameSink sink) override;
    // Takes many frames at once, each in two pieces of which the second may be empty. The bytes are valid
    // only during the call.
    using BatchSink = std::function<void(const std::vector<PacketBatch::Parts>& frames)>;
    // With a sink for what comes in numbers: packets of the stream. Else those take the way of all frames.
    void plug(ethernet::FrameSink sink, BatchSink batches);
    void receive(const std::uint8_t* frame, std::size_t size) override;

    // Diagnosis, as a service technician's console would give it.
    Report report();
    EventLog& log() { return m_core.log(); }
    FaultPlan& faults() { return m_core.faults(); }
    // See CameraCore. Silence lasts `time` from now.
    void reboot(milliseconds silent);
    void silence(milliseconds time);
    void setLinkFaults(const LinkFaults& faults);
    void setSlowWrites(std::vector<SlowWrite> slow);
    // Bytes of camera memory, regardless of access rights; none where nothing is.
    std::optional<Bytes> peek(Address address, std::size_t count);
    // Changes them, with what follows from a write; false where nothing is, or nothing of that value.
    bool poke(Address address, ByteView bytes);
    std::optional<std::uint32_t> peekRegister(Address address);
    bool pokeRegister(Address address, std::uint32_t value);
    // Whether there is memory without behaviour behind its registers.
    bool isPlain() const { return m_plain; }
    // Frames that were lost because the inbox was full.
    std::uint64_t dropped() const;

private:
    struct Made {
        CameraSettings settings;
        Description description;
        Nonvolatile::Contents kept;
    };
    Camera(Made made, NoticeSink notices);
    void run();
    void wake();
    bool waitForWork(std::deque<Bytes>& frames);
    struct Turn {
        std::vector<Bytes> due;
        std::optional<Nonvolatile::Contents> kept; // when it is to be written
    };
    Turn work(const std::deque<Bytes>& frames);
    void send(const std::vector<Bytes>& frames);
    // Does something to the camera, and has its thread see to what follows.
    template<class Action> void act(Action action) {
        {
            const std::scoped_lock lock(m_coreMutex);
            action();
        }
        wake();
    }

    mutable std::mutex m_inboxMutex;
    std::condition_variable m_wake;
    std::deque<Bytes> m_inbox;   // guarded by m_inboxMutex
    std::uint64_t m_dropped = 0; // guarded by m_inboxMutex
    // Guarded by m_inboxMutex: there is work besides frames; at first an address may have to be found.
    bool m_acted = true;
    bool m_stop = false; // guarded by m_inboxMutex
    // Of the camera's thread alone.
    std::optional<Time> m_next;
    PacketBatch m_packets; // of the stream, in this turn
    Bytes m_frame;

    const bool m_plain;
    const std::string m_stateFile;
    const NoticeSink m_notices;
    std::mutex m_coreMutex;
    CameraCore m_core; // guarded by m_coreMutex

    std::mutex m_sinkMutex;     // held while the sink is in use
    ethernet::FrameSink m_sink; // guarded by m_sinkMutex
    BatchSink m_batchSink;      // likewise
    std::thread m_thread;
};

} // namespace simcam
