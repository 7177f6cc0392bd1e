// The device side of GVCP (GigE Vision 1.2): takes command messages and says what to answer, to whom and
// when. A value machine without I/O and without a clock of its own. One thread at a time.
#pragma once

#include "simcam/Answer.h"
#include "simcam/ControlChannel.h"
#include "simcam/EventLog.h"
#include "simcam/Memory.h"
#include "simcam/PastBlocks.h"
#include "simcam/Retransmissions.h"
#include "simcam/faults.h"
#include "simcam/notices.h"
#include "simcam/settings.h"

#include <functional>
#include <vector>

namespace simcam {

class GvcpDevice {
public:
    struct Parts {
        Station& station;
        Registers& registers;
        Memory& memory;
        EventLog& log;
        FaultPlan& faults;
        const CameraSettings&
            settings; // its latency, slow writes and PENDING_ACKs, which may change, and more
        const NoticeSink& notices;
    };
    struct Hooks {
        std::function<void(Time)> controlLost; // an owner of the control channel is gone, for whatever reason
        // A FORCEIP for this device; with the address 0 it wants the configuration to start over.
        std::function<void(const IpConfiguration&, Time)> forceIp;
        std::function<void(const ResendRequest&)> resend;
    };

    // The parts are the caller's and outlive this.
    GvcpDevice(const Parts& parts, Hooks hooks) : m_parts(parts), m_hooks(std::move(hooks)) {}

    // Takes a datagram that came to the GVCP port.
    std::vector<Answer> handle(const Datagram& datagram, Time now);
    // Drops control when its heartbeat is overdue. To be called at the deadline or later.
    void advance(Time now);
    std::optional<Time> deadline() const;

    const ControlChannel& control() const { return m_control; }
    // Takes control from its owner, if there is one.
    void dropControl(Time now, const char* why);

private:
    static constexpr std::size_t kWord = 4;         // bytes of a register
    static constexpr std::size_t kRegisterPair = 8; // address and value
    using Status = gvcp::Status;
    struct Request {
        Peer from;
        bool broadcast = false;
        std::uint8_t flags = 0;
        std::uint16_t code = 0;
        std::uint16_t length = 0;
        std::uint16_t id = 0;
        ByteView payload;
        Time now{};
    };
    struct Handler {
        gvcp::Command command;
        Response (GvcpDevice::*run)(const Request&);
        bool toEveryone; // also takes broadcasts
    };
    static const std::array<Handler, 7> kHandlers;

    static const Handler* handlerOf(std::uint16_t code);
    std::optional<Request> parse(const Datagram& datagram, Time now) const;
    Response respond(const Request& request, ByteView message, const std::optional<Fault>& fault);
    Response execute(const Request& request);
    Response discovery(const Request& request);
    Response forceIp(const Request& request);
    Response resend(const Request& request);
    bool takes(std::size_t registers) const;
    Response readRegisters(const Request& request);
    Response writeRegisters(const Request& request);
    Response readMemory(const Request& request);
    Response writeMemory(const Request& request);

    Status mayRead(const Request& request, Address address, std::size_t count) const;
    Status writeBytes(const Request& request, Address address, ByteView bytes, std::size_t& written);
    Status writePrivilege(const Request& request, ByteView bytes);
    void showControl();
    void loseControl(Time now);
    void tellControl(const std::optional<Peer>& before) const;
    milliseconds timeOf(const Request& request) const;

    std::vector<Answer>
    answers(const Request& request, const Response& response, const std::optional<Fault>& fault) const;
    Peer destination(const Request& request) const;
    milliseconds delayOf(const Request& request) const;
    bool announces() const;
    void note(const Request& request, Status status, bool repeated);

    Parts m_parts;
    Hooks m_hooks;
    ControlChannel m_control;
    Retransmissions m_retransmissions;
};

} // namespace simcam
