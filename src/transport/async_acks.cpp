// Acknowledgements that a GigeCamera gets through its slots, from whoever receives frames elsewhere. A notice
// that the answer is still to come (PENDING_ACK) is none: it stores nothing and wakes nobody.
#include "transport/GigeCamera.h"
#include "util/qt_locks.h"

#include <algorithm>

namespace {

// A frame as a packet with zeros behind it, and the count of bytes that are the answer's own.
struct Received {
    explicit Received(const QByteArray& frame) {
        const std::size_t length = std::min(static_cast<std::size_t>(frame.size()), UDPPacket::kSize);
        packet.clear();
        std::copy_n(frame.constData(), length, packet.bytes.begin());
        size = frame::contentLength(packet, length);
    }

    UDPPacket packet;
    std::size_t size = 0;
};

} // namespace

int GigeCamera::processReadRegAckPacket(int port, const QByteArray& frame) {
    if (!isPort(port)) {
        return transport_error::kBadPort;
    }
    const Received ack(frame);
    const int status = checkAckPacket(&ack.packet);
    if (status != 0 || frame::isPending(ack.packet)) {
        return status;
    }
    if (ack.size < frame::kPayload + 4) {
        return transport_error::kTruncated;
    }
    AckHandOver& handOver = m_ports[port].ack;
    const util::ScopedMutex guard(handOver.mutex);
    handOver.readRegResult = frame::get32<frame::kPayload>(ack.packet);
    handOver.arrived = true;
    handOver.condition.wakeAll();
    return 0;
}

// Nobody is woken for a bad acknowledgement, deliberately: a good one may follow.
int GigeCamera::processReadMemAckPacket(int port, const QByteArray& frame) {
    if (!isPort(port)) {
        return transport_error::kBadPort;
    }
    const Received ack(frame);
    if (frame::isPending(ack.packet)) {
        return 0;
    }
    AckHandOver& handOver = m_ports[port].ack;
    const util::ScopedMutex guard(handOver.mutex);
    handOver.readMemResult =
        checkAckPacket(&ack.packet) == 0
            ? frame::copyMemory(ack.packet, ack.size, handOver.readMemBuffer, handOver.readMemCapacity)
            : -1;
    if (handOver.readMemResult >= 0) {
        handOver.arrived = true;
        handOver.condition.wakeAll();
    }
    return handOver.readMemResult;
}

// Takes any request id.
int GigeCamera::processDiscoveryAckPacket(int port, const QByteArray& frame) {
    const Received ack(frame);
    return storeAck(port, ack.packet, ack.size);
}

void GigeCamera::setReadMemTarget(int port, char* buffer, unsigned int capacity) {
    if (isPort(port)) {
        AckHandOver& handOver = m_ports[port].ack;
        const util::ScopedMutex guard(handOver.mutex);
        handOver.readMemBuffer = buffer;
        handOver.readMemCapacity = buffer != nullptr ? capacity : 0;
    }
}

bool GigeCamera::waitForAck(int port, int timeout) {
    if (!isPort(port)) {
        return false;
    }
    AckHandOver& handOver = m_ports[port].ack;
    const QDeadlineTimer deadline(timeout);
    const util::ScopedMutex guard(handOver.mutex);
    while (!handOver.arrived) {
        if (!util::waitFor(handOver.condition, handOver.mutex, deadline) && !handOver.arrived) {
            return false;
        }
    }
    handOver.arrived = false;
    return true;
}

std::uint32_t GigeCamera::readRegResult(int port) const {
    if (!isPort(port)) {
        return 0;
    }
    const util::ScopedMutex guard(m_ports[port].ack.mutex);
    return m_ports[port].ack.readRegResult;
}

int GigeCamera::readMemResult(int port) const {
    if (!isPort(port)) {
        return -1;
    }
    const util::ScopedMutex guard(m_ports[port].ack.mutex);
    return m_ports[port].ack.readMemResult;
}

#define LIOMOL_ACK_SLOTS(port)                                                                               \
    void GigeCamera::readreg_ack_port##port(QByteArray frame) {                                              \
        processReadRegAckPacket(port, frame);                                                                \
    }                                                                                                        \
    void GigeCamera::readmem_ack_port##port(QByteArray frame) {                                              \
        processReadMemAckPacket(port, frame);                                                                \
    }                                                                                                        \
    void GigeCamera::discovery_ack_port##port(QByteArray frame) {                                            \
        processDiscoveryAckPacket(port, frame);                                                              \
    }
LIOMOL_ACK_SLOTS(0)
LIOMOL_ACK_SLOTS(1)
LIOMOL_ACK_SLOTS(2)
LIOMOL_ACK_SLOTS(3)
#undef LIOMOL_ACK_SLOTS
