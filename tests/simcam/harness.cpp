#include "harness.h"

namespace simcam_test {

namespace {

std::uint16_t sum(const Bytes& data) {
    std::uint32_t total = 0;
    for (std::size_t i = 0; i < data.size(); i += 2) {
        total += static_cast<std::uint32_t>(data[i] << 8 | (i + 1 < data.size() ? data[i + 1] : 0));
    }
    while (total > 0xFFFF) {
        total = (total & 0xFFFF) + (total >> 16);
    }
    return static_cast<std::uint16_t>(~total);
}

Bytes part(const Bytes& data, std::size_t at, std::size_t count) {
    const auto begin = data.begin() + static_cast<std::ptrdiff_t>(at);
    return {begin, begin + static_cast<std::ptrdiff_t>(count)};
}

std::uint16_t u16(const Bytes& data, std::size_t at) {
    return static_cast<std::uint16_t>(data.at(at) << 8 | data.at(at + 1));
}

Bytes mac(std::uint64_t value) {
    return be16(static_cast<std::uint16_t>(value >> 32)) + be32(static_cast<std::uint32_t>(value));
}

Bytes pseudoHeader(const Bytes& addresses, std::uint16_t length) {
    return addresses + be16(17) + be16(length);
}

constexpr std::uint64_t kCameraMac = 0x021122334455;
constexpr std::uint32_t kCameraIp = 0xA9FE0764;

} // namespace

Bytes be16(std::uint16_t value) {
    return {static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value)};
}

Bytes be32(std::uint32_t value) {
    return be16(static_cast<std::uint16_t>(value >> 16)) + be16(static_cast<std::uint16_t>(value));
}

Bytes operator+(Bytes left, const Bytes& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

Bench::Bench(const ethernet::Settings& extra) {
    ethernet::Settings settings{{"mac", "02:11:22:33:44:55"}, {"ip", "169.254.7.100"}};
    for (const auto& [key, value] : extra) {
        settings[key] = value;
    }
    std::string error;
    const auto parsed = simcam::parseSettings(settings, error);
    const auto description = parsed ? simcam::makeDescription(*parsed, error) : std::nullopt;
    if (!description) {
        throw std::runtime_error(error);
    }
    camera = std::make_unique<simcam::CameraCore>(*parsed, *description, now);
}

Bytes Bench::message(std::uint16_t code, std::uint16_t id, const Bytes& payload, std::uint8_t flags) {
    return Bytes{0x42, flags} + be16(code) + be16(static_cast<std::uint16_t>(payload.size())) + be16(id) +
           payload;
}

Bytes Bench::frame(const Host& from, const Bytes& message, bool udpChecksum, bool broadcast) const {
    const auto udpLength = static_cast<std::uint16_t>(message.size() + 8);
    const Bytes addresses = be32(from.ip) + be32(broadcast ? 0xFFFFFFFF : kCameraIp);
    const auto ipHead = [&](std::uint16_t checksum) {
        return Bytes{0x45, 0} + be16(static_cast<std::uint16_t>(udpLength + 20)) + be16(0) + be16(0x4000) +
               Bytes{128, 17} + be16(checksum) + addresses;
    };
    const auto udp = [&](std::uint16_t checksum) {
        return be16(from.port) + be16(3956) + be16(udpLength) + be16(checksum) + message;
    };
    const std::uint16_t checksum = udpChecksum ? sum(pseudoHeader(addresses, udpLength) + udp(0)) : 0;
    Bytes made = mac(broadcast ? 0xFFFFFFFFFFFF : kCameraMac) + mac(from.mac) + be16(0x0800) +
                 ipHead(sum(ipHead(0))) + udp(checksum);
    made.resize(std::max<std::size_t>(made.size(), 60));
    return made;
}

std::vector<Bytes> Bench::exchange(const Bytes& frame) {
    camera->receive(frame, now);
    return due();
}

Ack ackOf(const Bytes& frame) {
    EXPECT_GE(frame.size(), 60u);
    EXPECT_EQ(sum(part(frame, 14, 20)), 0) << "IPv4 checksum";
    const std::uint16_t udpLength = u16(frame, 38);
    EXPECT_EQ(u16(frame, 16), udpLength + 20);
    EXPECT_NE(u16(frame, 40), 0) << "UDP checksum is not computed";
    EXPECT_EQ(sum(pseudoHeader(part(frame, 26, 8), udpLength) + part(frame, 34, udpLength)), 0)
        << "UDP checksum";
    const std::uint16_t length = u16(frame, 46);
    EXPECT_EQ(length + 16, udpLength);
    return {u16(frame, 42), u16(frame, 44), u16(frame, 48), part(frame, 50, udpLength - 16u)};
}

std::optional<Ack> Bench::command(Host& from, std::uint16_t code, const Bytes& payload) {
    const auto sent = exchange(frame(from, message(code, from.nextId++, payload)));
    return sent.empty() ? std::nullopt : std::optional(ackOf(sent.front()));
}

std::uint32_t Bench::read(std::uint32_t address) {
    const auto ack = command(0x80, be32(address));
    if (!ack || ack->status != 0 || ack->payload.size() != 4) {
        ADD_FAILURE() << "register " << std::hex << address << " gave status "
                      << (ack ? ack->status : 0xFFFF);
        return 0xDEADBEEF;
    }
    return static_cast<std::uint32_t>(u16(ack->payload, 0)) << 16 | u16(ack->payload, 2);
}

std::uint16_t Bench::write(Host& from, std::uint32_t address, std::uint32_t value) {
    const auto ack = command(from, 0x82, be32(address) + be32(value));
    return ack ? ack->status : 0xFFFF;
}

Bytes Bench::readMemory(std::uint32_t address, std::uint16_t count) {
    const auto ack = command(0x84, be32(address) + be16(0) + be16(count));
    if (!ack || ack->status != 0) {
        ADD_FAILURE() << "memory " << std::hex << address << " gave status " << (ack ? ack->status : 0xFFFF);
        return Bytes(count);
    }
    return part(ack->payload, 4, ack->payload.size() - 4);
}

std::uint16_t Bench::writeMemory(std::uint32_t address, const Bytes& data) {
    const auto ack = command(0x86, be32(address) + data);
    return ack ? ack->status : 0xFFFF;
}

} // namespace simcam_test
