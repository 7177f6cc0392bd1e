// Many places of a camera's memory, with few commands.
#pragma once

#include "liomol/GenICamPortInterface.h"
#include "transport/Port.h"

#include <cstddef>
#include <functional>
#include <span>

namespace board {

inline constexpr long long kAddressSpace = 1LL << 32; // bytes of a camera

// Within one access of a port, which the caller holds. A register that the camera refuses costs a command or
// a few, and is left out.
class BatchRead {
public:
    using Place = tavo::GenICamBatchReadInterface::Place;
    // Is told the result of each command (command_channel.h); what it throws ends the reading.
    using Tell = std::function<void(int result)>;

    // `concatenates`: whether the camera takes commands for several registers. It becomes false when the
    // camera turns out not to.
    BatchRead(transport::Port& port, bool& concatenates, Tell tell)
        : m_port(port), m_concatenates(concatenates), m_tell(std::move(tell)) {}

    // As GenICamBatchReadInterface::readMany.
    bool run(std::span<Place> places);

private:
    using Places = std::span<Place>;

    void readRegisters(Places words);
    std::size_t readWithOneCommand(Places words);
    void readBlock(Places neighbours);
    bool readMemory(Place& place);
    void ended(int result);

    transport::Port& m_port;
    bool& m_concatenates;
    Tell m_tell;
    bool m_goesOn = true;
    unsigned m_refusals = 0; // of commands that brought nothing
};

} // namespace board
