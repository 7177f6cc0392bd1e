#include "simcam/GvcpDevice.h"

#include "simcam/text.h"

#include <algorithm>

namespace simcam {

using gvcp::Command;
using gvcp::Status;

namespace {

constexpr std::size_t kReadMemPayload = 8;
constexpr std::size_t kForceIpPayload = 56;
constexpr std::uint32_t kHeartbeatDisabled = 1;

std::string nameOf(const Peer& who) {
    return ipText(who.ip) + ":" + std::to_string(who.port);
}

bool aligned(std::size_t value) {
    return value % sizeof(std::uint32_t) == 0;
}

} // namespace

// --- which command is which ---

const std::array<GvcpDevice::Handler, 7> GvcpDevice::kHandlers{{
    {Command::DiscoveryCmd, &GvcpDevice::discovery, true},
    {Command::ForceIpCmd, &GvcpDevice::forceIp, true},
    {Command::PacketResendCmd, &GvcpDevice::resend, false},
    {Command::ReadRegCmd, &GvcpDevice::readRegisters, false},
    {Command::WriteRegCmd, &GvcpDevice::writeRegisters, false},
    {Command::ReadMemCmd, &GvcpDevice::readMemory, false},
    {Command::WriteMemCmd, &GvcpDevice::writeMemory, false},
}};

const GvcpDevice::Handler* GvcpDevice::handlerOf(std::uint16_t code) {
    const auto found = std::find_if(kHandlers.begin(), kHandlers.end(), [&](const Handler& row) {
        return static_cast<std::uint16_t>(row.command) == code;
    });
    return found == kHandlers.end() ? nullptr : &*found;
}

std::optional<GvcpDevice::Request> GvcpDevice::parse(const Datagram& datagram, Time now) const {
    Reader reader(datagram.payload);
    const std::uint8_t key = reader.u8();
    Request request;
    request.from = datagram.from;
    request.broadcast = datagram.broadcast;
    request.now = now;
    request.flags = reader.u8();
    request.code = reader.u16();
    request.length = reader.u16();
    request.id = reader.u16();
    request.payload = reader.bytes(std::min<std::size_t>(request.length, reader.left()));
    const Handler* handler = handlerOf(request.code);
    const bool isCommand = request.code % 2 == 0; // acknowledgements are odd and never answered
    // Without an address of its own the device can still be given one.
    const bool hasAddress = m_parts.station.ip().address != 0;
    const bool forEveryone =
        handler != nullptr && handler->toEveryone && (hasAddress || handler->command == Command::ForceIpCmd);
    const bool addressed = !request.broadcast || forEveryone;
    return reader.ok() && key == gvcp::kKey && isCommand && addressed ? std::optional(request) : std::nullopt;
}

std::vector<Answer> GvcpDevice::handle(const Datagram& datagram, Time now) {
    advance(now);
    const auto request = parse(datagram, now);
    if (!request) {
        return {};
    }
    const auto fault = m_parts.faults.take(static_cast<Command>(request->code));
    if (fault && fault->kind == Fault::Kind::Silent) {
        return {};
    }
    m_control.heard(request->from, now);
    return answers(*request, respond(*request, datagram.payload, fault), fault);
}

// What is remembered is what the device did, not what a fault made of the answer: a retransmission of a
// command whose answer was spoilt gets the sound one.
Response GvcpDevice::respond(const Request& request, ByteView message, const std::optional<Fault>& fault) {
    if (fault && fault->kind == Fault::Kind::Status) {
        Response refused{static_cast<Status>(fault->value), {}};
        note(request, refused.status, false);
        return refused;
    }
    // Discovery is asked anew each time: its answer does no harm and its ids are drawn at random. Packets are
    // asked for as often as they are wanted.
    const auto command = static_cast<Command>(request.code);
    const bool anew = command == Command::DiscoveryCmd || command == Command::PacketResendCmd;
    const auto again = anew ? std::nullopt : m_retransmissions.find(request.from, message, request.now);
    if (again) {
        note(request, again->status, true);
        return *again;
    }
    Response response = execute(request);
    response.takes = response.status == Status::Success ? timeOf(request) : milliseconds(0);
    note(request, response.status, false);
    if (!anew) {
        m_retransmissions.remember(request.from, message, response, request.now);
    }
    return response;
}

Response GvcpDevice::execute(const Request& request) {
    const Handler* handler = handlerOf(request.code);
    if (handler == nullptr) {
        return {Status::NotImplemented, {}};
    }
    if (request.payload.size() != request.length) {
        return {Status::InvalidHeader, {}};
    }
    return (this->*handler->run)(request);
}

// --- the commands ---

// The acknowledgement's payload has the layout of the bootstrap registers from address 0 on.
Response GvcpDevice::discovery(const Request& request) {
    if (!request.payload.empty()) {
        return {Status::InvalidHeader, {}};
    }
    Response response;
    response.payload.assign(gvcp::discovery::kSize, 0);
    for (const RegisterFact& row : kRegisters) {
        if (row.address < gvcp::discovery::kSize) {
            const ByteView content = m_parts.registers.all(Registers::find(row.address)->reg);
            std::copy(content.begin(), content.end(), response.payload.begin() + row.address);
        }
    }
    return response;
}

Response GvcpDevice::forceIp(const Request& request) {
    constexpr std::size_t kReserved = 12;
    Reader reader(request.payload);
    reader.skip(2);
    const Mac mac = reader.u48();
    IpConfiguration ip;
    for (std::uint32_t* field : {&ip.address, &ip.mask, &ip.gateway}) {
        reader.skip(kReserved);
        *field = reader.u32();
    }
    if (reader.ok() && mac != m_parts.station.mac()) {
        return {Status::Success, {}, false};
    }
    if (request.payload.size() != kForceIpPayload) {
        return {Status::InvalidHeader, {}};
    }
    if (m_control.owner()) {
        return {Status::AccessDenied, {}};
    }
    if (ip.address != 0 && (!isHostAddress(ip.address) || !isSubnetMask(ip.mask))) {
        return {Status::InvalidParameter, {}};
    }
    m_hooks.forceIp(ip, request.now);
    return {};
}

// What answers is the stream.
Response GvcpDevice::resend(const Request& request) {
    Response none;
    none.answered = false;
    ResendRequest wanted;
    wanted.from = request.from;
    wanted.extendedIds = (request.flags & gvcp::kFlagExtendedIds) != 0;
    Reader reader(request.payload);
    const std::uint16_t channel = reader.u16();
    wanted.block = reader.u16();
    const std::uint32_t mask = wanted.extendedIds ? UINT32_MAX : gvsp::kLastPacketId;
    wanted.first = reader.u32() & mask;
    wanted.last = reader.u32() & mask;
    if (wanted.extendedIds) {
        wanted.block = reader.u64();
    }
    if (!reader.ok()) {
        none.status = Status::InvalidHeader;
    } else if (channel != 0 || wanted.last < wanted.first) {
        none.status = Status::InvalidParameter;
    } else {
        m_hooks.resend(wanted);
    }
    return none;
}

// Whether one command may be for so many registers.
bool GvcpDevice::takes(std::size_t registers) const {
    return registers == 1 || m_parts.settings.concatenates;
}

Response GvcpDevice::readRegisters(const Request& request) {
    if (request.length == 0 || !aligned(request.length) || request.length > gvcp::kMaxPayload) {
        return {Status::InvalidHeader, {}};
    }
    if (!takes(request.length / kWord)) {
        return {Status::InvalidParameter, {}};
    }
    Response response;
    Reader reader(request.payload);
    while (reader.left() > 0 && response.status == Status::Success) {
        const Address address = reader.u32();
        response.status = aligned(address) ? mayRead(request, address, kWord) : Status::BadAlignment;
        if (response.status == Status::Success) {
            response.status = m_parts.memory.read(address, kWord, request.now, response.payload);
        }
    }
    return response;
}

Response GvcpDevice::writeRegisters(const Request& request) {
    if (request.length == 0 || request.length % kRegisterPair != 0 || request.length > gvcp::kMaxPayload) {
        return {Status::InvalidHeader, {}};
    }
    if (!takes(request.length / kRegisterPair)) {
        return {Status::InvalidParameter, {}};
    }
    Response response;
    Reader reader(request.payload);
    std::uint16_t done = 0;
    while (reader.left() > 0 && response.status == Status::Success) {
        const Address address = reader.u32();
        std::size_t written = 0;
        response.status = writeBytes(request, address, reader.bytes(kWord), written);
        done = static_cast<std::uint16_t>(done + (response.status == Status::Success ? 1 : 0));
    }
    Writer payload;
    payload.u16(0).u16(done);
    response.payload = payload.take();
    return response;
}

Response GvcpDevice::readMemory(const Request& request) {
    if (request.length != kReadMemPayload) {
        return {Status::InvalidHeader, {}};
    }
    Reader reader(request.payload);
    const Address address = reader.u32();
    reader.skip(2);
    const std::size_t count = reader.u16();
    if (!aligned(address) || !aligned(count)) {
        return {Status::BadAlignment, {}};
    }
    if (count == 0 || count > gvcp::kMaxMemoryBlock) {
        return {Status::InvalidParameter, {}};
    }
    Response response;
    response.status = mayRead(request, address, count);
    Writer payload;
    payload.u32(address);
    Bytes data;
    if (response.status == Status::Success) {
        response.status = m_parts.memory.read(address, count, request.now, data);
    }
    if (response.status == Status::Success) {
        response.payload = payload.bytes(data).take();
    }
    return response;
}

Response GvcpDevice::writeMemory(const Request& request) {
    if (request.length <= kWord || request.length > gvcp::kMaxPayload) {
        return {Status::InvalidHeader, {}};
    }
    Reader reader(request.payload);
    const Address address = reader.u32();
    const ByteView data = reader.bytes(reader.left());
    std::size_t written = 0;
    Response response;
    response.status =
        aligned(data.size()) ? writeBytes(request, address, data, written) : Status::BadAlignment;
    Writer payload;
    payload.u16(0).u16(static_cast<std::uint16_t>(written));
    response.payload = payload.take();
    return response;
}

// --- who may do what ---

// Under exclusive access others still learn who holds the device.
Status GvcpDevice::mayRead(const Request& request, Address address, std::size_t count) const {
    const bool aboutControl = count == kWord && (address == bootstrap::kControlChannelPrivilege ||
                                                 address == bootstrap::kPrimaryApplicationPort ||
                                                 address == bootstrap::kPrimaryApplicationIp);
    return m_control.mayRead(request.from) || aboutControl ? Status::Success : Status::AccessDenied;
}

Status GvcpDevice::writeBytes(const Request& request, Address address, ByteView bytes, std::size_t& written) {
    if (!aligned(address)) {
        return Status::BadAlignment;
    }
    while (written < bytes.size()) {
        const Address at = address + static_cast<Address>(written);
        const std::size_t size = std::min(m_parts.memory.extent(at), bytes.size() - written);
        Status status = Status::InvalidAddress;
        if (at == bootstrap::kControlChannelPrivilege) {
            status = writePrivilege(request, bytes.subspan(written, size));
        } else if (size > 0 && !m_control.mayWrite(request.from)) {
            status = Status::AccessDenied;
        } else if (size > 0) {
            status = m_parts.memory.writePiece(at, bytes.subspan(written, size), request.now);
        }
        if (status != Status::Success) {
            return status;
        }
        written += size;
    }
    return Status::Success;
}

Status GvcpDevice::writePrivilege(const Request& request, ByteView bytes) {
    const std::uint32_t value = Reader(bytes).u32();
    const auto key = static_cast<std::uint16_t>(m_parts.registers.get(Reg::SwitchoverKey));
    const auto before = m_control.owner();
    const Status status = m_control.write(value, key, request.from, request.now);
    if (before && !m_control.owner()) {
        loseControl(request.now);
    }
    showControl();
    tellControl(before);
    return status;
}

void GvcpDevice::showControl() {
    const Peer owner = m_control.owner().value_or(Peer{});
    m_parts.registers.set(Reg::Privilege, m_control.value());
    m_parts.registers.set(Reg::PrimaryPort, owner.port);
    m_parts.registers.set(Reg::PrimaryIp, owner.ip);
}

void GvcpDevice::loseControl(Time now) {
    m_control.release();
    showControl();
    m_hooks.controlLost(now);
}

void GvcpDevice::dropControl(Time now, const char* why) {
    if (const auto owner = m_control.owner()) {
        loseControl(now);
        tell(m_parts.notices, Notice::Control, "control of " + nameOf(*owner) + " ended: " + why);
    }
}

void GvcpDevice::tellControl(const std::optional<Peer>& before) const {
    const auto& after = m_control.owner();
    if (after && (!before || !before->sameApplication(*after))) {
        tell(
            m_parts.notices, Notice::Control,
            "controlled by " + nameOf(*after) + (before ? ", taken over" : ""));
    } else if (before && !after) {
        tell(m_parts.notices, Notice::Control, "released by " + nameOf(*before));
    }
}

std::optional<Time> GvcpDevice::deadline() const {
    if ((m_parts.registers.get(Reg::GvcpConfiguration) & kHeartbeatDisabled) != 0) {
        return std::nullopt;
    }
    return m_control.deadline(milliseconds(m_parts.registers.get(Reg::HeartbeatTimeout)));
}

void GvcpDevice::advance(Time now) {
    const auto limit = deadline();
    if (limit && now >= *limit) {
        dropControl(now, "no heartbeat");
    }
}

} // namespace simcam
