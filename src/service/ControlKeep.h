// The service's keeping of control for this process while that is stopped. Any thread.
#pragma once

#include <memory>
#include <mutex>
#include <string>

class GbeTransmission;
struct KeepOrder;

class ControlKeep {
public:
    ControlKeep();
    ~ControlKeep();
    ControlKeep(const ControlKeep&) = delete;
    ControlKeep& operator=(const ControlKeep&) = delete;

    // In place of an earlier one; as cmdKeep, or a negated errno when the service is not reached.
    int begin(const KeepOrder& order, std::string& reply);
    void end();

private:
    std::mutex m_mutex;
    std::unique_ptr<GbeTransmission> m_transmission; // under m_mutex; null: nothing is kept
};
