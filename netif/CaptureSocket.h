// Listens to a network interface: frames of both directions, with the kernel's times.
#pragma once

#include "netif/InterfaceSocket.h"
#include "netif/Sleeper.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace netif {

// It wants the right CAP_NET_RAW, and nothing of what it hears is taken from anybody. Checksums that a host
// left to its card are filled in. While the interface is away nothing is heard. One thread, but interrupt().
class CaptureSocket {
public:
    struct Frame {
        std::span<const std::uint8_t> bytes; // valid until the next call
        std::uint64_t time = 0;              // nanoseconds since 1970
        bool isOutgoing = false;             // this computer has sent it
    };

    // Null, and one sentence in `error` (with its errno value in `code`), when the right is missing or the
    // name is none.
    static std::unique_ptr<CaptureSocket>
    create(const std::string& interface, const Filter& filter, std::string& error, int& code);

    // Waits for the next frame until `deadline`. Nothing then, after interrupt() was called, or early for no
    // reason.
    std::optional<Frame> next(Clock::time_point deadline);
    void interrupt() { m_sleeper.wake(); }

    // Frames that the kernel had no room for, so far.
    std::uint64_t lost();

private:
    explicit CaptureSocket(std::unique_ptr<InterfaceSocket> socket);

    std::optional<Frame> take();

    const std::unique_ptr<InterfaceSocket> m_socket;
    Sleeper m_sleeper;
    std::vector<std::uint8_t> m_buffer;
    std::uint64_t m_lost = 0;
};

} // namespace netif
