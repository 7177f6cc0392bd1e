#include "simcam/CameraCore.h"

#include "protocol/net.h"
#include "simcam/FeatureModel.h"

namespace simcam {

CameraCore::CameraCore(const CameraSettings& settings, const Description& description, Time start)
    : m_station(settings.mac, settings.ip), m_memory(m_registers), m_bootstrap(m_registers, start),
      m_device({m_station, m_registers, m_memory, m_log, m_faults}, settings.latency) {
    fillIn(settings, description);
    m_memory.addModel(m_bootstrap);
    if (settings.plainMemory) {
        m_memory.usePlainMemory();
    } else {
        m_features = std::make_unique<FeatureModel>(m_registers, m_bootstrap, m_log, start);
        m_memory.addModel(*m_features);
    }
    m_device.onControlLost([this](Time now) {
        m_bootstrap.controlLost(now);
        if (m_features) {
            m_features->controlLost(now);
        }
    });
    for (const Fault& fault : settings.faults) {
        m_faults.add(fault);
    }
}

CameraCore::~CameraCore() = default;

void CameraCore::fillIn(const CameraSettings& settings, const Description& description) {
    m_registers.set(Reg::MacHigh, settings.mac >> 32);
    m_registers.set(Reg::MacLow, settings.mac);
    m_registers.set(Reg::CurrentIp, settings.ip.address);
    m_registers.set(Reg::CurrentSubnetMask, settings.ip.mask);
    m_registers.set(Reg::CurrentGateway, settings.ip.gateway);
    m_registers.setText(Reg::ManufacturerName, settings.vendor);
    m_registers.setText(Reg::ModelName, settings.model);
    m_registers.setText(Reg::DeviceVersion, settings.version);
    m_registers.setText(Reg::ManufacturerInfo, settings.info);
    m_registers.setText(Reg::SerialNumber, settings.serial);
    m_registers.setText(Reg::UserDefinedName, settings.name);
    m_registers.setText(Reg::FirstUrl, description.firstUrl);
    m_registers.setText(Reg::SecondUrl, description.secondUrl);
    m_memory.addFile(description.zip.address, description.zip.content);
    if (description.text) {
        m_memory.addFile(description.text->address, description.text->content);
    }
}

void CameraCore::send(Bytes frame, Time when) {
    if (m_outbox.size() < kOutboxFrames) {
        m_outbox.push({when, m_order++, std::move(frame)});
    }
}

void CameraCore::receive(ByteView frame, Time now) {
    Received received = m_station.receive(frame);
    if (!received.answer.empty()) {
        send(std::move(received.answer), now);
    }
    if (!received.datagram || received.datagram->toPort != gvcp::kPort) {
        return;
    }
    for (const Answer& answer : m_device.handle(*received.datagram, now)) {
        Bytes made = m_station.datagram(answer.to, gvcp::kPort, answer.message);
        if (answer.damaged && !answer.message.empty()) {
            made[net::kUdpPayload + answer.message.size() - 1] ^= 0xFF;
        }
        send(std::move(made), now + answer.delay);
    }
}

std::vector<Bytes> CameraCore::due(Time now) {
    m_device.advance(now);
    std::vector<Bytes> frames;
    while (!m_outbox.empty() && m_outbox.top().when <= now) {
        frames.push_back(m_outbox.top().frame);
        m_outbox.pop();
    }
    return frames;
}

std::optional<Time> CameraCore::deadline() const {
    auto next = m_device.deadline();
    if (!m_outbox.empty() && (!next || m_outbox.top().when < *next)) {
        next = m_outbox.top().when;
    }
    return next;
}

Report CameraCore::report(Time now) {
    m_device.advance(now);
    m_memory.refresh(now);
    Report report;
    if (m_features) {
        const AcquisitionModel& acquisition = m_features->acquisition();
        report.acquiring = acquisition.isAcquiring();
        report.frames = acquisition.statistics().frames;
        report.packets = acquisition.statistics().packets;
        report.bytes = acquisition.statistics().bytes;
    }
    report.destinationIp = static_cast<std::uint32_t>(m_registers.get(Reg::StreamDestination));
    report.destinationPort = static_cast<std::uint16_t>(m_registers.get(Reg::StreamPort));
    report.privilege = m_device.control().value();
    report.controller = m_device.control().owner();
    report.ip = m_station.ip();
    return report;
}

} // namespace simcam
