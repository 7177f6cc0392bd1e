// FORCEIP: gives an IP address to a camera by its MAC address, wherever its present IP address is.
#include "transport/GigeCamera.h"

#include <algorithm>
#include <chrono>

int GigeCamera::ForceIp(int port, const frame::ForcedAddress& to) {
    UDPPacket command;
    unsigned short length = 0;
    int result = BuildGvcpForceIpPacket(port, &command, &length, to);
    if (result != 0) {
        return result;
    }
    sendCommand(port, command, length);
    AckWait wait(
        frame::rawRequestId(command), AckWait::Foreign::IsPassedOver, std::chrono::steady_clock::now());
    UDPPacket answer;
    std::size_t size = 0;
    result = receiveAck(port, wait, answer, size);
    if (result < 0 && to.ip == IpBytes{}) {
        return 0;
    }
    result = result != 0 ? result : checkAckPacket(&answer);
    if (result == 0 && to.ip != IpBytes{}) {
        learnAddress(port, to);
    }
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
