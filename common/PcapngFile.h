// Ethernet frames as a capture file in the format pcapng (IETF draft-ietf-opsawg-pcapng), which says besides
// the frames who recorded what, where and when.
//
// The bytes are little-endian on every machine, times are nanoseconds since 1970. Not for several threads at
// once.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace common {

class PcapngFile {
public:
    // Where the bytes go: a whole block with each call, so that a file is sound at every moment. A sink that
    // fails throws what it likes.
    using Sink = std::function<void(std::span<const std::uint8_t>)>;

    enum class Direction { Unknown, Inbound, Outbound };

    struct Interface {
        std::string name;
        std::string description;
        std::string filter; // what was let through, for people
        std::optional<std::array<std::uint8_t, 6>> mac;
        std::optional<std::array<std::uint8_t, 8>> ip; // IPv4 address and subnet mask
    };

    // What an interface has seen, for the end of a capture.
    struct Statistics {
        std::uint64_t from = 0;
        std::uint64_t to = 0;
        std::uint64_t received = 0;
        std::uint64_t dropped = 0;
    };

    // Begins the file. `application` made it on the system `system`; comments are for people.
    PcapngFile(
        Sink sink, const std::string& application, const std::string& system,
        const std::vector<std::string>& comments);

    // Its number; frames name it.
    std::uint32_t addInterface(const Interface& interface);
    void addFrame(
        std::uint32_t interface, std::uint64_t time, std::span<const std::uint8_t> frame, Direction direction,
        const std::string& comment = {});
    void
    addStatistics(std::uint32_t interface, const Statistics& statistics, const std::string& comment = {});

private:
    class Block;

    Sink m_sink;
    std::uint32_t m_interfaces = 0;
};

} // namespace common
