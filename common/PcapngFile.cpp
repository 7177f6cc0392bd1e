#include "common/PcapngFile.h"

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <utility>

namespace common {
namespace {

enum BlockType : std::uint32_t {
    kInterfaceDescription = 1,
    kInterfaceStatistics = 5,
    kEnhancedPacket = 6,
    kSectionHeader = 0x0A0D0D0A,
};

// Options: those below 3 exist in every block.
constexpr std::uint16_t kComment = 1;
constexpr std::uint16_t kSystem = 3;
constexpr std::uint16_t kApplication = 4;
constexpr std::uint16_t kName = 2;
constexpr std::uint16_t kDescription = 3;
constexpr std::uint16_t kIpv4 = 4;
constexpr std::uint16_t kMac = 6;
constexpr std::uint16_t kTimeResolution = 9;
constexpr std::uint16_t kFilter = 11;
constexpr std::uint16_t kFrameFlags = 2;
constexpr std::uint16_t kStartTime = 2;
constexpr std::uint16_t kEndTime = 3;
constexpr std::uint16_t kReceived = 4;
constexpr std::uint16_t kDropped = 5;

constexpr std::uint32_t kByteOrderMark = 0x1A2B3C4D;
constexpr std::uint64_t kLengthUnknown = ~std::uint64_t{0};
constexpr std::uint16_t kLinkTypeEthernet = 1;
constexpr std::uint8_t kNanoseconds = 9; // ten to the power of minus this
constexpr std::size_t kLongestText = 0xFFF0;
constexpr std::size_t kTotalLength = 4; // where a block has its length, and again at its end

} // namespace

// A block: its type and length, a body, options, its length again; all in pieces of four bytes.
class PcapngFile::Block {
public:
    explicit Block(std::uint32_t type) { number(type).number<std::uint32_t>(0); }

    template<typename Number> Block& number(Number value) {
        for (std::size_t i = 0; i < sizeof value; ++i) {
            m_bytes.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
        }
        return *this;
    }
    // High half first, as the format has it.
    Block& time(std::uint64_t value) {
        return number(static_cast<std::uint32_t>(value >> 32)).number(static_cast<std::uint32_t>(value));
    }
    Block& bytes(std::span<const std::uint8_t> bytes) {
        m_bytes.insert(m_bytes.end(), bytes.begin(), bytes.end());
        m_bytes.resize((m_bytes.size() + 3) / 4 * 4);
        return *this;
    }
    Block& option(std::uint16_t code, std::span<const std::uint8_t> value) {
        m_hasOptions = true;
        return number(code).number(static_cast<std::uint16_t>(value.size())).bytes(value);
    }
    // An empty one is left out.
    Block& option(std::uint16_t code, std::string_view text) {
        const auto* const begin = reinterpret_cast<const std::uint8_t*>(text.data());
        return text.empty() ? *this : option(code, std::span(begin, std::min(text.size(), kLongestText)));
    }
    Block& count(std::uint16_t code, std::uint64_t value) {
        m_hasOptions = true;
        return number(code).number<std::uint16_t>(sizeof value).number(value);
    }
    Block& moment(std::uint16_t code, std::uint64_t value) {
        m_hasOptions = true;
        return number(code).number<std::uint16_t>(sizeof value).time(value);
    }

    const std::vector<std::uint8_t>& finish() {
        if (m_hasOptions) {
            number<std::uint32_t>(0);
        }
        const auto length = static_cast<std::uint32_t>(m_bytes.size() + sizeof(std::uint32_t));
        number(length);
        for (std::size_t i = 0; i < sizeof length; ++i) {
            m_bytes[kTotalLength + i] = static_cast<std::uint8_t>(length >> (8 * i));
        }
        return m_bytes;
    }

private:
    std::vector<std::uint8_t> m_bytes;
    bool m_hasOptions = false;
};

PcapngFile::PcapngFile(
    Sink sink, const std::string& application, const std::string& system,
    const std::vector<std::string>& comments)
    : m_sink(std::move(sink)) {
    Block block(kSectionHeader);
    block.number(kByteOrderMark).number<std::uint16_t>(1).number<std::uint16_t>(0).number(kLengthUnknown);
    for (const std::string& comment : comments) {
        block.option(kComment, comment);
    }
    block.option(kSystem, system).option(kApplication, application);
    m_sink(block.finish());
}

std::uint32_t PcapngFile::addInterface(const Interface& interface) {
    Block block(kInterfaceDescription);
    block.number(kLinkTypeEthernet).number<std::uint16_t>(0).number<std::uint32_t>(0); // frames are whole
    block.option(kName, interface.name).option(kDescription, interface.description);
    if (interface.ip) {
        block.option(kIpv4, *interface.ip);
    }
    if (interface.mac) {
        block.option(kMac, *interface.mac);
    }
    block.option(kTimeResolution, std::span(&kNanoseconds, 1));
    if (!interface.filter.empty()) {
        block.option(kFilter, std::string(1, '\0') + interface.filter); // 0: a text
    }
    m_sink(block.finish());
    return m_interfaces++;
}

void PcapngFile::addFrame(
    std::uint32_t interface, std::uint64_t time, std::span<const std::uint8_t> frame, Direction direction,
    const std::string& comment) {
    const auto length = static_cast<std::uint32_t>(frame.size());
    Block block(kEnhancedPacket);
    block.number(interface).time(time).number(length).number(length).bytes(frame);
    if (direction != Direction::Unknown) {
        const std::array<std::uint8_t, 4> flags{
            static_cast<std::uint8_t>(direction == Direction::Inbound ? 1 : 2)};
        block.option(kFrameFlags, flags);
    }
    m_sink(block.option(kComment, comment).finish());
}

void PcapngFile::addStatistics(
    std::uint32_t interface, const Statistics& statistics, const std::string& comment) {
    Block block(kInterfaceStatistics);
    block.number(interface).time(statistics.to);
    block.option(kComment, comment).moment(kStartTime, statistics.from).moment(kEndTime, statistics.to);
    m_sink(block.count(kReceived, statistics.received).count(kDropped, statistics.dropped).finish());
}

} // namespace common
