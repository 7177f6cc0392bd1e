// GvcpDevice's answers: what is sent for what a command came to, to whom and when.
#include "simcam/GvcpDevice.h"

#include <algorithm>

namespace simcam {

using gvcp::Command;
using gvcp::Status;

namespace {

constexpr std::uint32_t kPendingAckEnabled = 2;

} // namespace

std::vector<Answer> GvcpDevice::answers(
    const Request& request, const Response& response, const std::optional<Fault>& fault) const {
    if (!response.answered || (request.flags & gvcp::kFlagAckRequired) == 0) {
        return {};
    }
    const auto code = static_cast<std::uint16_t>(request.code + 1);
    Answer answer{
        destination(request), ackMessage(response.status, code, request.id, response.payload),
        delayOf(request)};
    std::vector<Answer> all;
    if (response.takes > milliseconds(0)) {
        if (announces()) {
            all.push_back(pendingAck(answer, response.takes));
        }
        answer.delay += response.takes;
        if (response.repeated) { // its own answer is on its way
            return all;
        }
    }
    for (Answer& sent : fault ? spoilt(answer, *fault) : std::vector{answer}) {
        all.push_back(std::move(sent));
    }
    return all;
}

bool GvcpDevice::announces() const {
    const bool asked = (m_parts.registers.get(Reg::GvcpConfiguration) & kPendingAckEnabled) != 0;
    const PendingAcks when = m_parts.settings.pendingAcks;
    return when == PendingAcks::Always || (when == PendingAcks::WhenAsked && asked);
}

// How long a write takes; nothing else does.
milliseconds GvcpDevice::timeOf(const Request& request) const {
    const auto& slow = m_parts.settings.slowWrites;
    Reader reader(request.payload);
    if (static_cast<Command>(request.code) == Command::WriteMemCmd) {
        const Address address = reader.u32();
        return timeOfWrite(slow, address, address + static_cast<Address>(reader.left()));
    }
    milliseconds time{0};
    while (static_cast<Command>(request.code) == Command::WriteRegCmd && reader.left() >= kRegisterPair) {
        const Address address = reader.u32();
        time = std::max(time, timeOfWrite(slow, address, address + kWord));
        reader.skip(kWord);
    }
    return time;
}

// Back to where the command came from, except that an application in another subnet that allows it is
// answered by broadcast: its own address may not be reachable from here.
Peer GvcpDevice::destination(const Request& request) const {
    const bool allowed = (request.flags & gvcp::kFlagBroadcastAck) != 0;
    const Handler* handler = handlerOf(request.code);
    const bool mayBroadcast = allowed && handler != nullptr && handler->toEveryone;
    if (mayBroadcast && !m_parts.station.ip().inSubnet(request.from.ip)) {
        return {kBroadcastMac, kBroadcastIp, request.from.port};
    }
    return request.from;
}

// Many devices hear one broadcast; each spreads its answer over the time that the host gave them all.
milliseconds GvcpDevice::delayOf(const Request& request) const {
    const std::uint64_t spread = m_parts.registers.get(Reg::DiscoveryAckDelay);
    const bool spreads = request.broadcast && static_cast<Command>(request.code) == Command::DiscoveryCmd;
    const milliseconds latency = m_parts.settings.latency;
    return spreads ? latency + milliseconds(m_parts.station.mac() % (spread + 1)) : latency;
}

void GvcpDevice::note(const Request& request, Status status, bool repeated) {
    Event event{request.now, static_cast<Command>(request.code), request.id, 0, 0, status, repeated};
    Reader reader(request.payload);
    switch (event.command) {
    case Command::ReadRegCmd:
        event.address = reader.u32();
        event.value = static_cast<std::uint32_t>(request.payload.size() / kWord);
        break;
    case Command::WriteRegCmd:
        event.address = reader.u32();
        event.value = reader.u32();
        break;
    case Command::ReadMemCmd:
        event.address = reader.u32();
        event.value = reader.u32() & 0xFFFF;
        break;
    case Command::WriteMemCmd:
        event.address = reader.u32();
        event.value = static_cast<std::uint32_t>(reader.left());
        break;
    default:
        break;
    }
    m_parts.log.add(event);
}

} // namespace simcam
