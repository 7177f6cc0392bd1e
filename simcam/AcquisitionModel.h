// Acquisition by the camera's clock: which frames are exposed when, and which of them wait to be sent.
//
//              AcquisitionStart                    software trigger of AcquisitionStart
//     Idle ───────────────────────► Waiting ─────────────────────────────────────────────► Running
//      ▲        (straight to Running when that trigger is off)                                │
//      └──── AcquisitionStop, AcquisitionAbort, the last frame of the mode, control lost ─────┘
//
// Running with the FrameStart and FrameBurstStart triggers off exposes frames at the frame rate, else one
// frame or one burst a software trigger.
#pragma once

#include "simcam/RegisterModel.h"

#include <deque>

namespace simcam {

class AcquisitionModel : public RegisterModel {
public:
    explicit AcquisitionModel(Registers& registers) : m_registers(registers) {}

    void refresh(Time now) override;
    gvcp::Status check(const Candidate& candidate) const override;
    void written(Reg reg, std::uint32_t index, Time now) override;
    void controlLost(Time) override { stop(); }

    bool isAcquiring() const { return m_state != State::Idle; }
    bool isExposing() const { return m_exposing; }
    bool waitsForFrameTrigger() const;
    std::uint64_t frames() const { return m_frames; } // since the camera was made
    std::uint64_t starts() const { return m_starts; } // likewise
    std::optional<Time> lastFrame() const { return m_lastFrame; }
    std::optional<Time> lastStart() const { return m_lastStart; }

    // Likewise, or since the last StatisticsReset.
    std::uint64_t countedFrames() const { return m_counted; }

    // A frame that is to be sent; the first one since the camera was made has the number 1.
    struct Exposure {
        std::uint64_t number = 0;
        Time time{};
    };
    // The oldest frame that waits, when there is one. Frames wait while the stream has a destination, within
    // limits; those that found no room are skipped. Stopping forgets those that wait.
    std::optional<Exposure> takeExposure();
    bool isWaiting() const { return !m_waiting.empty(); }
    void skipWaiting();
    std::uint64_t skipped() const { return m_skipped; } // as counted frames
    // When the next frame is exposed, if nothing happens before.
    std::optional<Time> deadline() const;
    // What the link carries of image data.
    double bytesPerSecond() const;
    // Between one packet and the next beside what the link takes.
    std::chrono::nanoseconds packetDelay() const;

private:
    enum class State { Idle, Waiting, Running };
    enum Trigger : std::uint32_t { kAcquisitionStart, kFrameStart, kBurstStart };

    bool triggered(Trigger trigger) const { return m_registers.get(Reg::TriggerMode, trigger) != 0; }
    bool freeRunning() const { return !triggered(kFrameStart) && !triggered(kBurstStart); }
    double maxFrameRate() const;
    std::chrono::nanoseconds period() const;
    std::chrono::nanoseconds exposure() const;

    void fire(Reg command, std::uint32_t index, Time now);
    void start(Time now);
    void run(Time now);
    void softwareTrigger(std::uint32_t index, Time now);
    void stop();
    void expose(std::uint64_t count, Time last, std::chrono::nanoseconds step);
    void keep(std::uint64_t count, Time last, std::chrono::nanoseconds step);
    double secondsToSend() const;
    void advance(Time now);
    void showStatus(Time now);

    Registers& m_registers;
    State m_state = State::Idle;
    Time m_next{};                       // Running freely: when the next frame is due
    std::optional<Time> m_triggeredAt;   // when the frames of an accepted trigger are due
    std::uint64_t m_triggeredFrames = 0; // how many they are
    std::uint32_t m_triggers[3] = {};    // since the start, for the dividers
    std::optional<std::uint64_t> m_toGo; // frames until the mode ends by itself
    bool m_exposing = false;
    std::uint64_t m_frames = 0;
    std::uint64_t m_starts = 0;
    std::uint64_t m_missed = 0; // software triggers that found no use
    std::optional<Time> m_lastFrame;
    std::optional<Time> m_lastStart;
    std::uint64_t m_counted = 0;
    std::deque<Exposure> m_waiting; // to be sent
    std::uint64_t m_skipped = 0;
};

} // namespace simcam
