// The cameras of one process on one wire: each takes the frames for its MAC address and those for everyone,
// from the wire and from the other cameras.
#pragma once

#include "Wire.h"

#include "simcam/Camera.h"

#include <atomic>
#include <map>
#include <memory>
#include <thread>
#include <vector>

namespace gbe_simcam {

class Segment {
public:
    struct Member {
        simcam::Mac mac;
        std::unique_ptr<simcam::Camera> camera;
    };

    // The MAC addresses are all different. Frames run from now on.
    Segment(std::unique_ptr<Wire> wire, std::vector<Member> members);
    ~Segment();
    Segment(const Segment&) = delete;
    Segment& operator=(const Segment&) = delete;

    std::size_t size() const { return m_members.size(); }
    simcam::Mac mac(std::size_t index) const { return m_members[index].mac; }
    simcam::Camera& camera(std::size_t index) { return *m_members[index].camera; }
    Wire& wire() { return *m_wire; }

private:
    using Frame = std::span<const std::uint8_t>;

    void run();
    void sent(const simcam::Camera* from, Frame frame);
    void sentMany(const simcam::Camera* from, std::span<const Wire::Parts> frames);
    // Hands the frame to those that it is for, but not to `from`; true when it was for one of them alone.
    bool deliver(const simcam::Camera* from, Frame frame);

    const std::unique_ptr<Wire> m_wire;
    const std::vector<Member> m_members;
    std::map<simcam::Mac, simcam::Camera*> m_byMac; // constant once the frames run
    std::atomic<bool> m_stop{false};
    std::thread m_reader;
};

} // namespace gbe_simcam
