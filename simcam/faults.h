// Faults that a person or a test makes the camera show while it runs. Safe to use from every thread.
#pragma once

#include "protocol/gvcp.h"
#include "simcam/limits.h"

#include <array>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace simcam {

struct Fault {
    enum class Kind : std::uint8_t {
        Silent,    // the command never arrives
        LoseAck,   // the command is carried out and not answered
        Delay,     // the answer is sent `value` milliseconds late
        Pending,   // as Delay, with a PENDING_ACK at once that announces it, wanted or not
        WrongId,   // the answer carries the command's id plus `value`
        Duplicate, // the answer is sent 1 + `value` times
        Truncate,  // only the first `value` bytes of the answer's GVCP message are sent, in a sound datagram
        Status,    // the command is not carried out; the answer carries the status `value`
        Corrupt,   // the answer's last byte is damaged on the way, so that its checksum is wrong
    };
    static constexpr int kForever = -1;

    Kind kind = Kind::Silent;
    std::uint32_t value = 0;
    int count = 1;                          // commands that it strikes; kForever: until cleared
    std::optional<gvcp::Command> only = {}; // strikes only this kind of command

    friend bool operator==(const Fault&, const Fault&) = default;
};

struct FaultName {
    Fault::Kind kind;
    std::string_view name;
    std::uint32_t value; // where the text gives none
};

inline constexpr std::array kFaultNames{
    FaultName{Fault::Kind::Silent, "silent", 0},     FaultName{Fault::Kind::LoseAck, "lose-ack", 0},
    FaultName{Fault::Kind::Delay, "delay", 100},     FaultName{Fault::Kind::Pending, "pending", 100},
    FaultName{Fault::Kind::WrongId, "wrong-id", 1},  FaultName{Fault::Kind::Duplicate, "duplicate", 1},
    FaultName{Fault::Kind::Truncate, "truncate", 4}, FaultName{Fault::Kind::Status, "status", 0x8FFF},
    FaultName{Fault::Kind::Corrupt, "corrupt", 0},
};

struct CommandName {
    std::string_view name;
    gvcp::Command command;
};

inline constexpr std::array kCommandNames{
    CommandName{"discovery", gvcp::Command::DiscoveryCmd},
    CommandName{"forceip", gvcp::Command::ForceIpCmd},
    CommandName{"readreg", gvcp::Command::ReadRegCmd},
    CommandName{"writereg", gvcp::Command::WriteRegCmd},
    CommandName{"readmem", gvcp::Command::ReadMemCmd},
    CommandName{"writemem", gvcp::Command::WriteMemCmd},
    CommandName{"packetresend", gvcp::Command::PacketResendCmd},
};

// "<name>[=value] [xN|forever] [discovery|forceip|readreg|writereg|readmem|writemem|packetresend]", as
// "delay=500 x3 readreg". None with a one-line `error` when the text is not of that form.
std::optional<Fault> parseFault(std::string_view text, std::string& error);
// And back.
std::string faultText(const Fault& fault);

class FaultPlan {
public:
    // Faults strike in the order in which they were added, one a command. False when there are kMostFaults.
    bool add(const Fault& fault);
    void clear();
    bool empty() const;
    std::vector<Fault> all() const;

    // The fault that strikes this command, counted down.
    std::optional<Fault> take(gvcp::Command command);

private:
    mutable std::mutex m_mutex;
    std::vector<Fault> m_faults; // guarded by m_mutex
};

} // namespace simcam
