// A whole camera without thread, clock or wire: frames and times go in, frames with times come out. Camera
// gives it a thread; tests drive it with a clock of their own. One thread at a time, except for log() and
// faults().
#pragma once

#include "simcam/Addressing.h"
#include "simcam/Description.h"
#include "simcam/EventLog.h"
#include "simcam/LinkFaults.h"
#include "simcam/Memory.h"
#include "simcam/Nonvolatile.h"
#include "simcam/PacketBatch.h"
#include "simcam/settings.h"

#include <memory>

namespace simcam {

class CameraUnit;

// What the camera does and would send.
struct Report {
    bool acquiring = false;
    std::uint64_t frames = 0;  // exposed since the start or the last StatisticsReset
    std::uint64_t skipped = 0; // of those: too many waited to be sent, or nobody could be reached
    std::uint64_t packets = 0; // of the stream that were sent
    std::uint64_t bytes = 0;   // of those packets, IP headers and what follows them
    std::uint64_t resent = 0;  // of those packets, because they were asked for again
    std::uint64_t refused = 0; // packets that were asked for again in vain
    std::uint32_t destinationIp = 0;
    std::uint16_t destinationPort = 0;
    std::uint32_t privilege = 0;    // value of the control channel privilege register
    std::optional<Peer> controller; // the application that holds control
    IpConfiguration ip;             // address 0: it has none yet
    bool silent = false;            // by request or during a reboot
    std::uint64_t lost = 0;         // frames that faults of the wire have taken
};

class CameraCore {
public:
    // `kept` is what an earlier camera of this identity kept without power.
    CameraCore(
        CameraSettings settings, Description description, Time start, NoticeSink notices = {},
        const Nonvolatile::Contents& kept = {});
    ~CameraCore();

    void receive(ByteView frame, Time now);
    // The frames whose time has come: answers in the order of their times, then packets of the stream. More
    // of those may be due, as the deadline then says.
    std::vector<Bytes> due(Time now);
    // The same; packets of the stream, while the wire is sound, in a batch.
    std::vector<Bytes> due(Time now, PacketBatch& packets);
    // When due() has something to do next, if nothing arrives before.
    std::optional<Time> deadline() const;

    // Restarts the camera: nothing but what it keeps without power survives. It neither hears nor speaks
    // for `silent`, and then looks for its address.
    void reboot(Time now, milliseconds silent);
    // It neither hears nor speaks until then; all else goes on, as with its cable pulled.
    void silence(Time until);
    void setLinkFaults(const LinkFaults& faults);
    void setSlowWrites(std::vector<SlowWrite> slow) { m_settings.slowWrites = std::move(slow); }

    // What it keeps without power, when that has changed since the last call.
    std::optional<Nonvolatile::Contents> changedNonvolatile();

    Report report(Time now);
    EventLog& log() { return m_log; }
    FaultPlan& faults() { return m_faults; }
    const Station& station() const { return m_station; }
    Memory& memory();
    const Registers& registers() const;

private:
    void build(Time now, const Nonvolatile::Contents& kept);
    void comeUp(Time now);
    void hear(ByteView frame, Time now);
    void send(std::vector<Bytes> frames, Time when);
    void stream(Time now, PacketBatch& packets);
    bool isSilent(Time now) const { return m_silentUntil && now < *m_silentUntil; }

    CameraSettings m_settings;
    const Description m_description;
    const NoticeSink m_notices;
    EventLog m_log;
    FaultPlan m_faults;
    Station m_station;
    Addressing m_addressing;
    std::unique_ptr<CameraUnit> m_unit; // never null; another one after a reboot
    Line m_in;
    Line m_out;
    std::optional<Time> m_silentUntil;
    std::optional<Time> m_upAt; // the end of a reboot
};

} // namespace simcam
