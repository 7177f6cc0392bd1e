#include "harness.h"

#include <bit>
#include <sstream>

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

} // namespace

Bytes part(const Bytes& data, std::size_t at, std::size_t count) {
    const auto begin = data.begin() + static_cast<std::ptrdiff_t>(at);
    return {begin, begin + static_cast<std::ptrdiff_t>(count)};
}

void sealIp(Bytes& frame) {
    frame[24] = frame[25] = 0;
    const Bytes checksum = be16(sum(part(frame, 14, frame[14] % 16u * 4u)));
    std::copy(checksum.begin(), checksum.end(), frame.begin() + 24);
}

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

Bench::Bench(const ethernet::Settings& extra, simcam::NoticeSink notices) {
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
    camera = std::make_unique<simcam::CameraCore>(*parsed, *description, now, std::move(notices));
}

Bytes Bench::message(std::uint16_t code, std::uint16_t id, const Bytes& payload, std::uint8_t flags) {
    return Bytes{0x42, flags} + be16(code) + be16(static_cast<std::uint16_t>(payload.size())) + be16(id) +
           payload;
}

Bytes Bench::frame(const Host& from, const Bytes& message, bool broadcast) const {
    const auto udpLength = static_cast<std::uint16_t>(message.size() + 8);
    const Bytes addresses = be32(from.ip) + be32(broadcast ? 0xFFFFFFFF : cameraIp);
    const auto ipHead = [&](std::uint16_t checksum) {
        return Bytes{0x45, 0} + be16(static_cast<std::uint16_t>(udpLength + 20)) + be16(0) + be16(0x4000) +
               Bytes{128, 17} + be16(checksum) + addresses;
    };
    const auto udp = [&](std::uint16_t checksum) {
        return be16(from.port) + be16(3956) + be16(udpLength) + be16(checksum) + message;
    };
    const std::uint16_t checksum = sum(pseudoHeader(addresses, udpLength) + udp(0));
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

std::vector<Bytes> Bench::live(milliseconds time) {
    const auto end = now + time;
    std::vector<Bytes> all;
    for (auto next = camera->deadline(); next && *next <= end; next = camera->deadline()) {
        now = std::max(now, *next);
        for (Bytes& frame : due()) {
            all.push_back(std::move(frame));
        }
    }
    now = end;
    return all;
}

Ack Bench::command(Host& from, std::uint16_t code, const Bytes& payload) {
    const auto sent = exchange(frame(from, message(code, from.nextId++, payload)));
    return sent.empty() ? Ack{0xFFFF, 0, 0, {}} : ackOf(sent.front());
}

std::uint16_t Bench::write(std::uint32_t address, std::uint32_t value) {
    return command(0x82, be32(address) + be32(value)).status;
}

Bytes Bench::read(std::uint32_t address, std::uint16_t count) {
    const Ack ack = command(0x84, be32(address) + be32(count));
    EXPECT_EQ(ack.status, 0) << "memory at " << address;
    return ack.status == 0 ? part(ack.payload, 4, ack.payload.size() - 4) : Bytes(count);
}

void Bench::takeControl() {
    ASSERT_EQ(write(0x0A00, 2), 0);
    ASSERT_EQ(write(0x0938, 100000000), 0);
}

// --- scripts ---

namespace {

std::string refusal(const Ack& ack) {
    char text[8] = "";
    std::snprintf(text, sizeof text, ack.status == 0 ? "" : "!%04X", ack.status);
    return text;
}

} // namespace

Bench::Target Bench::target(std::string name) {
    Host& who = name.starts_with("2:") ? other : name.starts_with("3:") ? neighbour : host;
    name.erase(0, name.find(':') == 1 ? 2 : 0);
    const std::size_t hash = std::min(name.find('#'), name.size());
    const auto index = hash < name.size() ? static_cast<std::uint32_t>(std::stoul(name.substr(hash + 1))) : 0;
    for (const simcam::RegisterFact& row : simcam::kRegisters) {
        if (row.name == name.substr(0, hash)) {
            return {who, row, be32(row.address + index * row.size)};
        }
    }
    throw std::runtime_error("no register " + name);
}

std::string Bench::writeNamed(const std::string& name, const std::string& value) {
    const Target to = target(name);
    const std::uint32_t bits = to.row.kind == simcam::Kind::Float
                                   ? std::bit_cast<std::uint32_t>(std::stof(value))
                                   : static_cast<std::uint32_t>(std::stoul(value, nullptr, 0));
    return refusal(command(to.who, 0x82, to.address + be32(bits)));
}

std::string Bench::readNamed(const std::string& name, const std::string& like) {
    const Target from = target(name);
    const bool word = from.row.size == 4;
    const Ack ack = word ? command(from.who, 0x80, from.address)
                         : command(from.who, 0x84, from.address + be32(from.row.size));
    std::uint64_t bits = 0;
    for (std::size_t i = word ? 0 : 4; i < ack.payload.size(); ++i) {
        bits = bits << 8 | ack.payload[i];
    }
    char text[32];
    if (from.row.kind == simcam::Kind::Float) {
        std::snprintf(text, sizeof text, "%g", std::bit_cast<float>(static_cast<std::uint32_t>(bits)));
    } else {
        const char* format = like.starts_with("0x") ? "0x%llX" : "%llu";
        std::snprintf(text, sizeof text, format, static_cast<unsigned long long>(bits));
    }
    return ack.status == 0 ? std::string(text) : refusal(ack);
}

void run(Bench& bench, const std::string& name, const std::string& steps) {
    std::istringstream all(steps);
    for (std::string step; std::getline(all, step, ';');) {
        step.erase(0, std::min(step.find_first_not_of(' '), step.size()));
        SCOPED_TRACE(name + ": " + step);
        const std::size_t at = step.find_first_of("=?");
        if (step.starts_with('+')) {
            bench.live(milliseconds(std::stoll(step)));
            continue;
        }
        ASSERT_NE(at, std::string::npos);
        const std::string target = step.substr(0, at);
        const std::string value = step.substr(at + 1);
        const std::size_t refused = std::min(value.find('!'), value.size());
        if (step[at] == '?') {
            EXPECT_EQ(bench.readNamed(target, value), value);
        } else {
            EXPECT_EQ(bench.writeNamed(target, value.substr(0, refused)), value.substr(refused));
        }
    }
}

} // namespace simcam_test
