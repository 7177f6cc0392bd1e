#include "netif/filter.h"

#include "protocol/gvcp.h"
#include "protocol/gvsp.h"
#include "protocol/net.h"

#include <cstddef>
#include <limits>

namespace netif {

namespace {

// Writes a filter program whose tests jump to its end, where the verdicts are. Offsets of jumps are a byte
// each, which bounds a program to about 250 instructions.
class Program {
public:
    void load8(std::size_t at) { add(BPF_LD | BPF_B | BPF_ABS, at); }
    void load16(std::size_t at) { add(BPF_LD | BPF_H | BPF_ABS, at); }
    void load32(std::size_t at) { add(BPF_LD | BPF_W | BPF_ABS, at); }
    void loadInterface() {
        add(BPF_LD | BPF_W | BPF_ABS, static_cast<std::uint32_t>(SKF_AD_OFF + SKF_AD_IFINDEX));
    }

    // A UDP field, by its offset in a frame without IP options: the header's real length is in the index
    // register.
    void load8OfUdp(std::size_t at) { add(BPF_LD | BPF_B | BPF_IND, at - net::kIpHeader); }
    void load16OfUdp(std::size_t at) { add(BPF_LD | BPF_H | BPF_IND, at - net::kIpHeader); }
    void measureIpHeader() { add(BPF_LDX | BPF_B | BPF_MSH, net::kIpVersion); }

    void passIf(std::uint32_t value) { branch(BPF_JEQ, value, kPass, kNext); }
    void passIfBits(std::uint32_t bits) { branch(BPF_JSET, bits, kPass, kNext); }
    void dropIf(std::uint32_t value) { branch(BPF_JEQ, value, kDrop, kNext); }
    void dropIfBits(std::uint32_t bits) { branch(BPF_JSET, bits, kDrop, kNext); }
    void dropUnless(std::uint32_t value) { branch(BPF_JEQ, value, kNext, kDrop); }

    void keepBits(std::uint32_t bits) { add(BPF_ALU | BPF_AND | BPF_K, bits); }

    void drop() { add(BPF_RET | BPF_K, 0); }

    // Skips `count` instructions.
    void skipIfBits(std::uint32_t bits, std::uint8_t count) { branch(BPF_JSET, bits, count, kNext); }
    void skipUnlessBits(std::uint32_t bits, std::uint8_t count) { branch(BPF_JSET, bits, kNext, count); }
    void skipIf(std::uint32_t value, std::uint8_t count) { branch(BPF_JEQ, value, count, kNext); }
    void skipUnless(std::uint32_t value, std::uint8_t count) { branch(BPF_JEQ, value, kNext, count); }

    // What reaches the end goes on to another filter.
    Filter finishBefore(const Filter& filter) {
        m_code.insert(m_code.end(), filter.begin(), filter.end());
        return std::move(m_code);
    }
    // What reaches the end is dropped, or passes.
    Filter finish(bool passAtEnd) {
        const std::size_t first = m_code.size(); // of the two verdicts
        add(BPF_RET | BPF_K, passAtEnd ? kWholeFrame : 0);
        add(BPF_RET | BPF_K, passAtEnd ? 0 : kWholeFrame);
        for (std::size_t i = 0; i < first; ++i) {
            if (BPF_CLASS(m_code[i].code) == BPF_JMP) {
                resolve(m_code[i].jt, i, first, passAtEnd);
                resolve(m_code[i].jf, i, first, passAtEnd);
            }
        }
        return std::move(m_code);
    }

private:
    static constexpr std::uint8_t kNext = 0;
    static constexpr std::uint8_t kPass = 255;
    static constexpr std::uint8_t kDrop = 254;
    static constexpr std::uint32_t kWholeFrame = std::numeric_limits<std::uint32_t>::max();

    void add(int code, std::size_t value) {
        m_code.push_back({static_cast<std::uint16_t>(code), 0, 0, static_cast<std::uint32_t>(value)});
    }
    void branch(int how, std::uint32_t value, std::uint8_t ifTrue, std::uint8_t ifFalse) {
        m_code.push_back({static_cast<std::uint16_t>(BPF_JMP | how | BPF_K), ifTrue, ifFalse, value});
    }
    static void resolve(std::uint8_t& jump, std::size_t from, std::size_t verdicts, bool passAtEnd) {
        if (jump == kPass || jump == kDrop) {
            const bool second = (jump == kPass) != passAtEnd;
            jump = static_cast<std::uint8_t>(verdicts + (second ? 1 : 0) - from - 1);
        }
    }

    Filter m_code;
};

constexpr std::uint32_t kGroupBit = 0x01;       // of the first byte of a destination address
constexpr std::uint32_t kFragmentBits = 0x3FFF; // more fragments, and the offset: no part is a datagram

std::uint32_t big(const std::uint8_t* bytes, std::size_t count) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < count; ++i) {
        value = value << 8 | bytes[i];
    }
    return value;
}

void dropForeignAddress(Program& program, const Mac& mac) {
    program.load8(net::kDestinationMac);
    program.skipIfBits(kGroupBit, 4);
    program.load32(net::kDestinationMac);
    program.dropUnless(big(mac.data(), 4));
    program.load16(net::kDestinationMac + 4);
    program.dropUnless(big(mac.data() + 4, 2));
}

// Leaves the header's length in the index register.
void dropUnlessUdp(Program& program) {
    program.load16(net::kEtherType);
    program.dropUnless(net::kEtherTypeIpv4);
    program.load8(net::kIpProtocol);
    program.dropUnless(net::kIpProtocolUdp);
    program.load16(net::kIpFragment);
    program.dropIfBits(kFragmentBits);
    program.measureIpHeader();
}

void dropUnlessImage(Program& program, const Mac& mac, const ImagePackets& packets) {
    dropForeignAddress(program, mac);
    dropUnlessUdp(program);
    program.load16OfUdp(net::kUdpDestinationPort);
    program.dropUnless(packets.udpPort);
    program.load32(net::kSourceIp);
    program.dropUnless(big(packets.camera.data(), packets.camera.size()));
}

} // namespace

Filter stationFilter(const std::vector<Mac>& stations) {
    if (stations.size() > kMostStations) {
        return {};
    }
    Program program;
    program.load8(net::kDestinationMac);
    program.passIfBits(kGroupBit);
    for (const Mac& mac : stations) {
        program.load32(net::kDestinationMac);
        program.skipUnless(big(mac.data(), 4), 2);
        program.load16(net::kDestinationMac + 4);
        program.passIf(big(mac.data() + 4, 2));
    }
    return program.finish(false);
}

Filter controlFilter(const ControlTraffic& traffic) {
    Program program;
    dropForeignAddress(program, traffic.mac);
    program.load16(net::kEtherType);
    if (traffic.address == Ipv4{}) {
        program.passIf(net::kEtherTypeArp);
    }
    dropUnlessUdp(program);
    if (traffic.exceptPort != 0) {
        program.load16OfUdp(net::kUdpDestinationPort);
        program.dropIf(traffic.exceptPort);
    }
    program.load16OfUdp(traffic.udpPort != 0 ? net::kUdpDestinationPort : net::kUdpSourcePort);
    program.passIf(traffic.udpPort != 0 ? traffic.udpPort : gvcp::kPort);
    return program.finish(false);
}

Filter acknowledgementFilter() {
    Program program;
    program.load16(net::kEtherType);
    program.passIf(net::kEtherTypeArp);
    dropUnlessUdp(program);
    program.load16OfUdp(net::kUdpSourcePort);
    program.passIf(gvcp::kPort);
    return program.finish(false);
}

Filter captureFilter(const Mac& mac, bool all) {
    Program program;
    if (mac != Mac{}) {
        constexpr std::uint8_t kTests = 4; // of one address: two loads, two jumps
        program.load8(net::kDestinationMac);
        program.skipIfBits(kGroupBit, 2 * kTests);
        program.load32(net::kDestinationMac);
        program.skipUnless(big(mac.data(), 4), 2);
        program.load16(net::kDestinationMac + 4);
        program.skipIf(big(mac.data() + 4, 2), kTests);
        program.load32(net::kSourceMac);
        program.dropUnless(big(mac.data(), 4));
        program.load16(net::kSourceMac + 4);
        program.dropUnless(big(mac.data() + 4, 2));
    }
    program.load16(net::kEtherType);
    program.passIf(net::kEtherTypeArp);
    dropUnlessUdp(program);
    if (all) {
        return program.finish(true);
    }
    for (const std::size_t port : {net::kUdpDestinationPort, net::kUdpSourcePort}) {
        program.load16OfUdp(port);
        program.passIf(gvcp::kPort);
    }
    return program.finish(false);
}

Filter streamFilter(const Mac& mac, const Ipv4& address, std::uint16_t udpPort, const ImagePackets& except) {
    Program program;
    dropForeignAddress(program, mac);
    if (address != Ipv4{}) {
        program.load16(net::kEtherType);
        program.skipUnless(net::kEtherTypeArp, 3);
        program.load32(net::kArpTargetIp);
        program.passIf(big(address.data(), address.size()));
        program.drop();
    }
    if (udpPort == 0) {
        return program.finish(false);
    }
    dropUnlessUdp(program);
    program.load16OfUdp(net::kUdpDestinationPort);
    program.dropUnless(udpPort);
    if (except.udpPort != udpPort) {
        return program.finish(true);
    }
    program.load32(net::kSourceIp);
    program.dropIf(big(except.camera.data(), except.camera.size()));
    return program.finish(true);
}

Filter imageFilter(const Mac& mac, const ImagePackets& packets) {
    Program program;
    dropUnlessImage(program, mac, packets);
    return program.finish(true);
}

Filter imageEndFilter(const Mac& mac, const ImagePackets& packets) {
    constexpr std::uint32_t kSentAgainOrError =
        0x8000 | static_cast<std::uint32_t>(gvsp::Status::Resent); // of the status
    Program program;
    dropUnlessImage(program, mac, packets);
    program.load16OfUdp(net::kUdpPayload + gvsp::kStatus);
    program.passIfBits(kSentAgainOrError);
    program.load8OfUdp(net::kUdpPayload + gvsp::kFormat);
    program.skipIfBits(gvsp::kExtendedIds, 2);
    program.load16OfUdp(net::kUdpPayload + gvsp::kBlockId);
    program.passIf(gvsp::kTestBlock);
    program.load8OfUdp(net::kUdpPayload + gvsp::kFormat);
    program.skipUnlessBits(gvsp::kExtendedIds, 2);
    program.load16OfUdp(net::kUdpPayload + gvsp::kFlags);
    program.passIfBits(gvsp::kFlagResent);
    program.load8OfUdp(net::kUdpPayload + gvsp::kFormat);
    program.keepBits(static_cast<std::uint8_t>(~gvsp::kExtendedIds));
    program.passIf(static_cast<std::uint32_t>(gvsp::Format::Trailer));
    program.passIf(static_cast<std::uint32_t>(gvsp::Format::AllIn));
    if (packets.every != 0) {
        program.dropUnless(static_cast<std::uint32_t>(gvsp::Format::Payload));
        const std::uint32_t bits = packets.every - 1U;
        program.load8OfUdp(net::kUdpPayload + gvsp::kFormat);
        program.skipIfBits(gvsp::kExtendedIds, 3);
        program.load16OfUdp(net::kUdpPayload + gvsp::kPacketId + 1);
        program.keepBits(bits);
        program.passIf(0);
        program.load8OfUdp(net::kUdpPayload + gvsp::kFormat);
        program.skipUnlessBits(gvsp::kExtendedIds, 3);
        program.load16OfUdp(net::kUdpPayload + gvsp::kExtendedPacketId + 2);
        program.keepBits(bits);
        program.passIf(0);
    }
    return program.finish(false);
}

Filter makeFilter(const Traffic& traffic) {
    switch (traffic.kind) {
    case Traffic::Kind::Control:
        return controlFilter({traffic.mac, traffic.address, traffic.udpPort, traffic.exceptPort});
    case Traffic::Kind::Unasked:
        return streamFilter(traffic.mac, traffic.address, traffic.udpPort, traffic.packets);
    case Traffic::Kind::Images:
        return imageFilter(traffic.mac, traffic.packets);
    case Traffic::Kind::ImageEnds:
        return imageEndFilter(traffic.mac, traffic.packets);
    case Traffic::Kind::Acknowledgements:
        return acknowledgementFilter();
    case Traffic::Kind::Nothing:
        break;
    }
    return kNothing;
}

Filter barred(const Filter& filter, int index, const std::vector<Ipv4>& addresses) {
    if (addresses.size() > kMostBarred) {
        return kNothing;
    }
    Program program;
    program.loadInterface();
    program.skipIf(static_cast<std::uint32_t>(index), 1);
    program.drop();
    if (!addresses.empty()) {
        program.load16(net::kEtherType);
        program.skipUnless(net::kEtherTypeIpv4, static_cast<std::uint8_t>(1 + 2 * addresses.size()));
        program.load32(net::kDestinationIp);
    }
    for (const Ipv4& address : addresses) {
        program.skipUnless(address.number(), 1);
        program.drop();
    }
    return program.finishBefore(filter);
}

} // namespace netif
