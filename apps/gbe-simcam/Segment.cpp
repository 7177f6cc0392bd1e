#include "Segment.h"

#include "protocol/net.h"

#include <algorithm>

namespace gbe_simcam {

namespace {

simcam::Mac destinationOf(std::span<const std::uint8_t> frame) {
    simcam::Mac to = 0;
    for (std::size_t i = 0; i < net::kMacSize; ++i) {
        to = to << 8 | frame[i];
    }
    return to;
}

constexpr std::chrono::seconds kLongWait{60}; // it is interrupted when there is a reason

} // namespace

Segment::Segment(std::unique_ptr<Wire> wire, std::vector<Member> members)
    : m_wire(std::move(wire)), m_members(std::move(members)) {
    for (const Member& member : m_members) {
        m_byMac[member.mac] = member.camera.get();
    }
    for (const Member& member : m_members) {
        const simcam::Camera* const from = member.camera.get();
        member.camera->plug(
            [this, from](const std::uint8_t* frame, std::size_t size) {
                sent(from, {frame, size});
            },
            [this, from](const std::vector<Wire::Parts>& frames) { sentMany(from, frames); });
    }
    m_reader = std::thread([this] { run(); });
}

Segment::~Segment() {
    for (const Member& member : m_members) {
        member.camera->plug({});
    }
    m_stop = true;
    m_wire->interrupt();
    m_reader.join();
}

void Segment::run() {
    while (!m_stop) {
        const Frame frame = m_wire->receive(Wire::Clock::now() + kLongWait);
        if (!frame.empty()) {
            deliver(nullptr, frame);
        }
    }
}

void Segment::sent(const simcam::Camera* from, Frame frame) {
    if (!deliver(from, frame)) {
        m_wire->send(frame.data(), frame.size());
    }
}

// What is for everyone, or for another camera, takes the way of single frames.
void Segment::sentMany(const simcam::Camera* from, std::span<const Wire::Parts> frames) {
    const auto stays = [this](const Wire::Parts& frame) {
        const simcam::Mac to = destinationOf(frame[0]);
        return to == simcam::kBroadcastMac || m_byMac.contains(to);
    };
    if (std::ranges::none_of(frames, stays)) {
        m_wire->sendMany(frames);
        return;
    }
    for (const auto& [first, second] : frames) {
        std::vector<std::uint8_t> whole(first.begin(), first.end());
        whole.insert(whole.end(), second.begin(), second.end());
        sent(from, whole);
    }
}

bool Segment::deliver(const simcam::Camera* from, Frame frame) {
    if (frame.size() < net::kEthernetHeader) {
        return false;
    }
    const simcam::Mac to = destinationOf(frame);
    if (to == simcam::kBroadcastMac) {
        for (const auto& [mac, camera] : m_byMac) {
            if (camera != from) {
                camera->receive(frame.data(), frame.size());
            }
        }
        return false;
    }
    const auto found = m_byMac.find(to);
    if (found == m_byMac.end() || found->second == from) {
        return false;
    }
    found->second->receive(frame.data(), frame.size());
    return true;
}

} // namespace gbe_simcam
