#include "transport/force_ip.h"

#include "transport/exchange.h"

namespace transport {

int forceIp(Port& port, const frame::ForcedAddress& to) {
    UDPPacket command;
    const unsigned length = frame::forceIp(command, port.toEverybody(), port.takeRequestId(), to);
    const Access access(port);
    AckWait wait(frame::rawRequestId(command), AckWait::Foreign::IsPassedOver, port.now(), access.time());
    UDPPacket answer;
    std::size_t size = 0;
    int result = runCommand(port, wait, {command, length}, answer, size);
    if (result < 0 && to.ip == IpBytes{}) {
        return 0;
    }
    result = result != 0 ? result : frame::ackStatus(answer);
    if (result == 0 && to.ip != IpBytes{}) {
        port.learnAddress(to.mac, to.ip);
    }
    return result;
}

} // namespace transport
