// FORCEIP: gives an IP address to a camera by its MAC address, wherever its present IP address is.
#include "transport/GigeCamera.h"

#include <algorithm>
#include <chrono>
#include <optional>

namespace {

// What is left of the time to wait, in whole milliseconds; nothing once it is over.
std::optional<int> leftUntil(std::chrono::steady_clock::time_point end) {
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now()).count();
    return left > 0 ? std::optional(static_cast<int>(left)) : std::nullopt;
}

bool acknowledges(const UDPPacket& answer, const UDPPacket& command) {
    const auto code = static_cast<gvcp::Command>(frame::get16<frame::kGvcp + gvcp::kAckCode>(answer));
    return code == gvcp::Command::ForceIpAck && frame::rawRequestId(answer) == frame::rawRequestId(command);
}

} // namespace

int GigeCamera::ForceIp(int port, const frame::ForcedAddress& to) {
    UDPPacket command;
    unsigned short length = 0;
    int result = BuildGvcpForceIpPacket(port, &command, &length, to);
    if (result != 0) {
        return result;
    }
    sendCommand(port, command, length);
    result = receiveForceIpAck(port, command);
    if (to.ip == IpBytes{}) {
        return result < 0 ? 0 : result;
    }
    if (result == 0) {
        learnAddress(port, to);
    }
    return result;
}

// Passes over whatever else arrives.
int GigeCamera::receiveForceIpAck(int port, const UDPPacket& command) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(kAckTimeout);
    int result = transport_error::kForeignReply;
    for (auto left = leftUntil(end); left; left = leftUntil(end)) {
        UDPPacket answer;
        const int received = ReceiveUdpPacket(port, &answer, nullptr, *left);
        if (received == 0 && acknowledges(answer, command)) {
            return checkAckPacket(&answer);
        }
        if (received < 0 && received != transport_error::kTruncated &&
            received != transport_error::kOversized) {
            result = received;
            break;
        }
    }
    m_ports[port].unsettled = true;
    return result;
}

void GigeCamera::learnAddress(int port, const frame::ForcedAddress& to) {
    Port& known = m_ports[port];
    const auto learn = [&](DiscoveredCamera& camera) {
        if (std::equal(to.mac.begin(), to.mac.end(), camera.mac)) {
            std::copy(to.ip.begin(), to.ip.end(), camera.ip);
        }
    };
    std::for_each_n(known.discovered.begin(), known.discoveredCount, learn);
    learn(known.kept);
}
