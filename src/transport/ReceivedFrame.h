// A frame that arrived by another route than the data queue.
#pragma once

#include "transport/gvcp_frame.h"

#include <QtCore/QByteArray>

#include <algorithm>

namespace transport {

// The frame as a packet with zeros behind it, and the count of bytes that are the answer's own.
struct ReceivedFrame {
    explicit ReceivedFrame(const QByteArray& frame) {
        const std::size_t length = std::min(static_cast<std::size_t>(frame.size()), UDPPacket::kSize);
        packet.clear();
        std::copy_n(frame.constData(), length, packet.bytes.begin());
        size = frame::contentLength(packet, length);
    }

    UDPPacket packet;
    std::size_t size = 0;
};

} // namespace transport
