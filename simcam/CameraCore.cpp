#include "simcam/CameraCore.h"

#include "protocol/net.h"
#include "simcam/CameraUnit.h"
#include "simcam/FeatureModel.h"
#include "simcam/StreamModel.h"

#include <algorithm>

namespace simcam {

CameraCore::CameraCore(
    CameraSettings settings, Description description, Time start, NoticeSink notices,
    const Nonvolatile::Contents& kept)
    : m_settings(std::move(settings)), m_description(std::move(description)), m_notices(std::move(notices)),
      m_station(m_settings.mac, {}),
      m_addressing(m_station, m_notices, {m_settings.ip, m_settings.probeSecond}) {
    for (const Fault& fault : m_settings.faults) {
        m_faults.add(fault);
    }
    setLinkFaults(m_settings.linkFaults);
    build(start, kept);
    m_addressing.start(m_unit->registers, start);
}

CameraCore::~CameraCore() = default;

void CameraCore::build(Time now, const Nonvolatile::Contents& kept) {
    const auto forceIp = [this](const IpConfiguration& ip, Time when) {
        if (ip.address == 0) {
            m_addressing.start(m_unit->registers, when);
        } else {
            m_addressing.force(ip);
        }
    };
    m_unit = std::make_unique<CameraUnit>(
        CameraUnit::Surroundings{m_settings, m_description, m_station, m_log, m_faults, m_notices, forceIp},
        kept, now);
}

Memory& CameraCore::memory() {
    return m_unit->memory;
}

const Registers& CameraCore::registers() const {
    return m_unit->registers;
}

void CameraCore::setLinkFaults(const LinkFaults& faults) {
    m_in.setFaults(faults.in, faults.seed);
    m_out.setFaults(faults.out, ~faults.seed);
}

void CameraCore::send(std::vector<Bytes> frames, Time when) {
    for (Bytes& frame : frames) {
        m_out.push(std::move(frame), when);
    }
}

// Whoever comes first after a reboot finds the camera up, with its search for an address begun.
void CameraCore::comeUp(Time now) {
    if (m_upAt && now >= *m_upAt) {
        m_upAt.reset();
        tell(m_notices, Notice::Reboot, "up again");
        m_addressing.start(m_unit->registers, now);
    }
}

void CameraCore::receive(ByteView frame, Time now) {
    comeUp(now);
    if (isSilent(now)) {
        return;
    }
    if (m_in.isOpen()) {
        hear(frame, now);
        return;
    }
    m_in.push(Bytes(frame.begin(), frame.end()), now);
    for (const Bytes& arrived : m_in.take(now)) {
        hear(arrived, now);
    }
}

void CameraCore::hear(ByteView frame, Time now) {
    Received received = m_station.receive(frame);
    if (!received.answer.empty()) {
        m_out.push(std::move(received.answer), now);
    }
    if (received.arp) {
        bool lost = false;
        send(m_addressing.heard(*received.arp, now, lost), now);
        if (lost) {
            m_unit->device.dropControl(now, "the address is gone");
        }
    }
    if (!received.datagram || received.datagram->toPort != gvcp::kPort) {
        return;
    }
    for (const Answer& answer : m_unit->device.handle(*received.datagram, now)) {
        if (m_station.ip().address == 0) { // none to answer from: a FORCEIP has made it look for another
            continue;
        }
        Bytes made = m_station.datagram(answer.to, gvcp::kPort, answer.message);
        if (answer.damaged && !answer.message.empty()) {
            made[net::kUdpPayload + answer.message.size() - 1] ^= 0xFF;
        }
        m_out.push(std::move(made), now + answer.delay);
    }
}

std::vector<Bytes> CameraCore::due(Time now) {
    PacketBatch packets;
    auto frames = due(now, packets);
    auto more = packets.copies();
    frames.insert(frames.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
    return frames;
}

// On a wire with faults the stream's packets take the same way as all other frames.
void CameraCore::stream(Time now, PacketBatch& packets) {
    packets.clear();
    if (isSilent(now)) {
        m_unit->stream->pass(now);
        return;
    }
    m_unit->stream->next(now, packets);
    if (m_out.hasFaults()) {
        send(packets.copies(), now);
        packets.clear();
    }
}

std::vector<Bytes> CameraCore::due(Time now, PacketBatch& packets) {
    comeUp(now);
    const bool silent = isSilent(now);
    for (const Bytes& arrived : m_in.take(now)) {
        if (!silent) {
            hear(arrived, now);
        }
    }
    m_unit->device.advance(now);
    send(m_addressing.advance(now), now);
    stream(now, packets);
    auto frames = m_out.take(now);
    return silent ? std::vector<Bytes>() : frames;
}

std::optional<Time> CameraCore::deadline() const {
    std::optional<Time> next;
    for (const auto& one :
         {m_unit->device.deadline(), m_unit->stream->deadline(), m_addressing.deadline(), m_in.deadline(),
          m_out.deadline(), m_upAt}) {
        next = one && (!next || *one < *next) ? one : next;
    }
    return next;
}

void CameraCore::reboot(Time now, milliseconds silent) {
    tell(m_notices, Notice::Reboot, "reboots, silent for " + std::to_string(silent.count()) + " ms");
    m_unit->device.dropControl(now, "rebooted");
    m_addressing.stop();
    const auto kept = m_unit->nonvolatile->save();
    build(now, kept);
    m_station.forgetNeighbours();
    m_in.clear();
    m_out.clear();
    m_upAt = now + silent;
    m_silentUntil = m_upAt;
}

void CameraCore::silence(Time until) {
    m_silentUntil = std::max(until, m_upAt.value_or(until));
}

std::optional<Nonvolatile::Contents> CameraCore::changedNonvolatile() {
    return m_unit->nonvolatile->takeChanged() ? std::optional(m_unit->nonvolatile->save()) : std::nullopt;
}

Report CameraCore::report(Time now) {
    comeUp(now);
    m_unit->device.advance(now);
    m_unit->memory.refresh(now);
    Report report;
    if (m_unit->features) {
        const AcquisitionModel& acquisition = m_unit->features->acquisition();
        report.acquiring = acquisition.isAcquiring();
        report.frames = acquisition.countedFrames();
        report.skipped = acquisition.skipped();
    }
    const StreamModel::Statistics sent = m_unit->stream->statistics();
    report.packets = sent.packets;
    report.bytes = sent.bytes;
    report.resent = sent.resent;
    report.refused = sent.refused;
    const Registers& registers = m_unit->registers;
    report.destinationIp = static_cast<std::uint32_t>(registers.get(Reg::StreamDestination));
    report.destinationPort = static_cast<std::uint16_t>(registers.get(Reg::StreamPort));
    report.privilege = m_unit->device.control().value();
    report.controller = m_unit->device.control().owner();
    report.ip = m_station.ip();
    report.silent = isSilent(now);
    report.lost = m_in.lost() + m_out.lost();
    return report;
}

} // namespace simcam
