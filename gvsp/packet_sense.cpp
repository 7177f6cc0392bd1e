#include "gvsp/packet_sense.h"

#include "gvsp/Block.h"
#include "gvsp/leader.h"

namespace gvsp {

bool canBegin(const Packet& packet) {
    switch (packet.kind()) {
    case Format::Leader:
        return packet.id == 0 && readLeader(packet.content);
    case Format::AllIn:
        return readLeader(packet.content).has_value();
    case Format::Trailer:
        return packet.id != 0 && packet.id <= kMostPackets && readTrailer(packet.content);
    case Format::Payload:
    case Format::H264:
    case Format::MultiZone:
    case Format::MultiPart:
    case Format::GenDc:
        return packet.id != 0 && packet.id <= kMostPackets && !packet.content.empty();
    }
    return false;
}

bool isLeaderOrTrailer(const Packet& packet) {
    return (packet.kind() == Format::Leader && readLeader(packet.content)) ||
           (packet.kind() == Format::Trailer && readTrailer(packet.content));
}

bool saysGone(std::uint16_t status) {
    return status != static_cast<std::uint16_t>(Status::NotYetAvailable) &&
           status != static_cast<std::uint16_t>(Status::TemporarilyUnavailable);
}

} // namespace gvsp
