#include "transport/discovery.h"

#include <algorithm>
#include <chrono>
#include <random>
#include <thread>
#include <vector>

namespace transport {
namespace {

using std::chrono::milliseconds;

// Quick cameras answer within the first pause; a camera slower than both together is missed.
constexpr milliseconds kFirstPause{100};
constexpr milliseconds kSecondPause{1000};
constexpr milliseconds kLongestSweep{500};

std::uint16_t randomRequestId() {
    thread_local std::minstd_rand engine{std::random_device{}()};
    return static_cast<std::uint16_t>(std::uniform_int_distribution<int>{1, 65534}(engine));
}

// Ends also where frames come in without end.
void drain(Port& port, std::uint16_t requestId) {
    const Port::Time end = port.now() + kLongestSweep;
    while (receiveDiscoveryAck(port, 0, requestId, end)) {
    }
}

// Empties the table, asks who is there and takes the quick answers.
std::uint16_t start(Port& port) {
    port.cameras().clear();
    port.arrears() = {};
    const std::uint16_t requestId = randomRequestId();
    UDPPacket command;
    const unsigned length = frame::discovery(command, port.toEverybody(), requestId, true);
    port.send(&command, length);
    std::this_thread::sleep_for(kFirstPause);
    drain(port, requestId);
    return requestId;
}

} // namespace

void discover(Port& port) {
    discover({&port});
}

void discover(std::initializer_list<Port*> ports) {
    for (Port* port : ports) {
        port->clearQueue();
    }
    std::vector<std::uint16_t> requestIds;
    for (Port* port : ports) {
        requestIds.push_back(start(*port));
    }
    std::this_thread::sleep_for(kSecondPause);
    auto requestId = requestIds.begin();
    for (Port* port : ports) {
        drain(*port, *requestId++);
    }
}

bool receiveDiscoveryAck(Port& port, int timeout, std::uint16_t requestId, Port::Time end) {
    UDPPacket ack;
    unsigned length = 0;
    if (port.receive(&ack, &length, timeout, end) != 0) {
        return false;
    }
    const bool other = requestId != 0 && frame::get16<frame::kRequestId>(ack) != requestId;
    // The data of a discovery is no memory, but its length is compared in the same odd byte order.
    const int announced = frame::announcedLength(ack) + static_cast<int>(frame::kPayload);
    if (!other && announced >= static_cast<int>(length)) {
        storeDiscoveryAck(port, ack, frame::contentLength(ack, length));
    }
    return true;
}

int storeDiscoveryAck(Port& port, const UDPPacket& ack, std::size_t size) {
    const auto code = static_cast<gvcp::Command>(frame::get16<frame::kGvcp + gvcp::kAckCode>(ack));
    if (code != gvcp::Command::DiscoveryAck || frame::isArp(ack) || frame::isFromDhcpClient(ack) ||
        size < frame::kPayload + gvcp::discovery::kSize || !frame::isSound(ack, size)) {
        return 0;
    }
    DiscoveryAckData data;
    std::copy_n(ack.at(frame::kPayload), data.bytes.size(), data.bytes.begin());
    return port.cameras().add(data);
}

} // namespace transport
