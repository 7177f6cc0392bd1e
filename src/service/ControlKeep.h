// The service's keeping of control for this process while that is stopped. Any thread.
#pragma once

#include "protocol/addresses.h"
#include "protocol/kept_control.h"

#include <memory>
#include <mutex>
#include <string>

class GbeTransmission;

// Which camera, and where this process's commands to it come from.
struct KeepOrder {
    static constexpr unsigned kLongest = kept_control::kLongestStop;

    int board = 0;
    unsigned port = 0;
    net::Mac camera;
    net::Ipv4 cameraIp;
    net::Ipv4 ip;
    unsigned udpPort = 0;
    unsigned seconds = 0; // of each stop, 1 to kLongest

    friend bool operator==(const KeepOrder&, const KeepOrder&) = default;
};

class ControlKeep {
public:
    ControlKeep();
    ~ControlKeep();
    ControlKeep(const ControlKeep&) = delete;
    ControlKeep& operator=(const ControlKeep&) = delete;

    // In place of an earlier one: 1 when the service does it from now on, 0 when it refuses, with its reply,
    // or a negated errno when it is not reached.
    int begin(const KeepOrder& order, std::string& reply);
    void end();

private:
    std::mutex m_mutex;
    std::unique_ptr<GbeTransmission> m_transmission; // under m_mutex; null: nothing is kept
};
