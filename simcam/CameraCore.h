// A whole camera without thread, clock or wire: frames and times go in, frames with times come out. Camera
// gives it a thread; tests drive it with a clock of their own. One thread at a time, except for log() and
// faults().
#pragma once

#include "simcam/BootstrapModel.h"
#include "simcam/Description.h"
#include "simcam/GvcpDevice.h"
#include "simcam/Settings.h"

#include <memory>
#include <queue>

namespace simcam {

class FeatureModel;

// What the camera does and would send.
struct Report {
    bool acquiring = false;
    std::uint64_t frames = 0;  // exposed since the start or the last StatisticsReset
    std::uint64_t packets = 0; // of those frames' streams, as far as a destination was set
    std::uint64_t bytes = 0;   // of those packets, IP headers and what follows them
    std::uint32_t destinationIp = 0;
    std::uint16_t destinationPort = 0;
    std::uint32_t privilege = 0;    // value of the control channel privilege register
    std::optional<Peer> controller; // the application that holds control
    IpConfiguration ip;
};

class CameraCore {
public:
    CameraCore(const CameraSettings& settings, const Description& description, Time start);
    ~CameraCore();

    void receive(ByteView frame, Time now);
    // The frames whose time has come, in the order of their times.
    std::vector<Bytes> due(Time now);
    // When due() has something to do next, if nothing arrives before.
    std::optional<Time> deadline() const;

    Report report(Time now);
    EventLog& log() { return m_log; }
    FaultPlan& faults() { return m_faults; }
    const Station& station() const { return m_station; }
    Memory& memory() { return m_memory; }
    const Registers& registers() const { return m_registers; }

private:
    struct Outgoing {
        Time when;
        std::uint64_t order; // frames of one time leave in the order in which they were made
        Bytes frame;
        bool operator<(const Outgoing& other) const {
            return when != other.when ? when > other.when : order > other.order;
        }
    };

    void fillIn(const CameraSettings& settings, const Description& description);
    void send(Bytes frame, Time when);

    EventLog m_log;
    FaultPlan m_faults;
    Station m_station;
    Registers m_registers;
    Memory m_memory;
    BootstrapModel m_bootstrap;
    std::unique_ptr<FeatureModel> m_features; // none behind a description of others
    GvcpDevice m_device;
    std::priority_queue<Outgoing> m_outbox;
    std::uint64_t m_order = 0;
};

} // namespace simcam
