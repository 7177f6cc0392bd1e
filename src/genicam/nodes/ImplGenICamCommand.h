// A command: a value that is written, and that the camera clears when it is done.
#pragma once

#include "genicam/nodes/node_interfaces.h"
#include "util/Quirks.h"

#include <chrono>

namespace tavo {

class ImplGenICamCommand : public ImplGenICamCommandInterface, public virtual GenICamCommand {
public:
    void execute() override;
    bool isDone() override;
    std::int64_t getPollingTime() const override { return m_pollingTime; }
    // "inactive" when done, else "active".
    std::string getValueAsString() override;

    void setStoredValue(std::int64_t value) { m_value = value; }
    void setCommandValue(std::int64_t value) { m_commandValue = value; }
    void setPollingTime(std::int64_t milliseconds) { m_pollingTime = milliseconds; }
    void setPValue(GenICamNode* node) { m_pValue.set(node); }
    void setPCommandValue(GenICamNode* node) { m_pCommandValue.set(node); }

    // What the node below holds, where the standard lets a command be referred to as a number.
    bool hasNumber() const override { return !quirks().numericVariablesOnly; }
    std::int64_t readInteger() override { return m_pValue ? m_pValue.readInteger() : m_value; }
    double readFloat() override { return static_cast<double>(readInteger()); }

protected:
    AccessRule accessRule() const override { return valueAccessRule(m_pValue); }

private:
    std::int64_t m_value = 0;
    std::int64_t m_commandValue = 0;
    std::int64_t m_pollingTime = 0;
    std::chrono::steady_clock::time_point m_nextCheckTime = std::chrono::steady_clock::time_point::min();
    NumberReference m_pValue;
    NumberReference m_pCommandValue;
};

} // namespace tavo
