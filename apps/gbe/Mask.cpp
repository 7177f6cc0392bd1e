#include "Mask.h"

#include "protocol/gvcp.h"
#include "protocol/internet_checksum.h"
#include "protocol/net.h"

#include <QtCore/QCryptographicHash>
#include <QtCore/QRegularExpression>

#include <algorithm>
#include <charconv>
#include <random>

namespace gbe {
namespace {

constexpr std::size_t kShortestWord = 3; // that is looked for in texts: a shorter one is everywhere

std::uint64_t randomKey() {
    std::random_device random;
    return std::uint64_t{random()} << 32 | random();
}

// The bits of an address that say what kind of address it is (RFC 1918, RFC 3927).
unsigned keptBits(const Ipv4& ip) {
    struct Range {
        std::uint32_t begin;
        unsigned bits;
    };
    static constexpr Range kRanges[] = {
        {0x0A000000, 8}, {0xAC100000, 12}, {0xC0A80000, 16}, {0xA9FE0000, 16}};
    for (const Range& range : kRanges) {
        if ((ip.number() ^ range.begin) >> (32 - range.bits) == 0) {
            return range.bits;
        }
    }
    return 0;
}

unsigned big16(std::span<const std::uint8_t> bytes, std::size_t at) {
    return static_cast<unsigned>(bytes[at] << 8 | bytes[at + 1]);
}

std::uint32_t big32(std::span<const std::uint8_t> bytes, std::size_t at) {
    return Ipv4::at(bytes.data() + at).number();
}

void put16(std::span<std::uint8_t> bytes, std::size_t at, unsigned value) {
    bytes[at] = static_cast<std::uint8_t>(value >> 8);
    bytes[at + 1] = static_cast<std::uint8_t>(value);
}

void clear(std::span<std::uint8_t> bytes) {
    std::fill(bytes.begin(), bytes.end(), std::uint8_t{0});
}

// Every match of a pattern by what `make` makes of it; the bytes of the text need not be UTF-8.
template<typename Make>
std::string replaced(const std::string& text, const QRegularExpression& pattern, Make&& make) {
    const QString whole = QString::fromLatin1(text.data(), static_cast<int>(text.size()));
    std::string result;
    std::size_t at = 0;
    for (auto matches = pattern.globalMatch(whole); matches.hasNext();) {
        const QRegularExpressionMatch match = matches.next();
        const auto begin = static_cast<std::size_t>(match.capturedStart());
        const auto end = static_cast<std::size_t>(match.capturedEnd());
        result += text.substr(at, begin - at) + make(text.substr(begin, end - begin));
        at = end;
    }
    return result + text.substr(at);
}

// With the address fields already changed.
void renewChecksums(std::span<std::uint8_t> frame) {
    const std::size_t total =
        std::min<std::size_t>(big16(frame, net::kIpTotalLength), frame.size() - net::kEthernetHeader);
    put16(frame, net::kIpChecksum, 0);
    net::InternetChecksum header;
    put16(frame, net::kIpChecksum, header.add(frame.data() + net::kIpVersion, net::kIpHeader).value());
    if (total < net::kIpHeader + net::kUdpHeader || big16(frame, net::kUdpChecksum) == 0) {
        return;
    }
    put16(frame, net::kUdpChecksum, 0);
    net::InternetChecksum sum;
    sum.add(net::kIpProtocolUdp).add(static_cast<std::uint16_t>(big16(frame, net::kUdpLength)));
    sum.add(frame.data() + net::kSourceIp, 2 * net::kIpSize);
    sum.add(frame.data() + net::kUdpSourcePort, total - net::kIpHeader);
    put16(frame, net::kUdpChecksum, sum.value() == 0 ? 0xFFFF : sum.value());
}

} // namespace

Mask::Mask(bool hides) : m_hides(hides), m_key(randomKey()) {}

Mac Mask::mac(const Mac& mac) {
    if (!m_hides || !mac.isStation()) {
        return mac;
    }
    constexpr std::uint8_t kOwnChoice = 2; // of the first byte: no vendor gave it
    const auto [place, isNew] = m_macs.try_emplace(mac, mac);
    if (isNew) {
        const bool isVendors = (mac[0] & kOwnChoice) == 0;
        const auto number = static_cast<unsigned>(m_macs.size());
        place->second = {
            {mac[0], isVendors ? mac[1] : std::uint8_t{0}, isVendors ? mac[2] : std::uint8_t{0}, 0,
             static_cast<std::uint8_t>(number >> 8), static_cast<std::uint8_t>(number)}};
    }
    return place->second;
}

// Each bit is turned or not by what stands before it, so that different addresses stay different.
Ipv4 Mask::ip(const Ipv4& ip) {
    if (!m_hides || !ip.isStation()) {
        return ip;
    }
    const auto [place, isNew] = m_ips.try_emplace(ip, ip);
    if (!isNew) {
        return place->second;
    }
    const std::uint32_t number = ip.number();
    std::uint32_t masked = number;
    for (unsigned bit = keptBits(ip); bit < 32; ++bit) {
        const std::uint32_t before = bit == 0 ? 0 : number >> (32 - bit);
        const QByteArray what = QByteArray::number(static_cast<qulonglong>(m_key)) + ' ' +
                                QByteArray::number(bit) + ' ' + QByteArray::number(before);
        const QByteArray hash = QCryptographicHash::hash(what, QCryptographicHash::Sha256);
        masked ^= (hash[0] & 1) != 0 ? 1U << (31 - bit) : 0;
    }
    place->second = Ipv4::fromNumber(masked);
    if (!place->second.isStation()) {
        place->second[0] = static_cast<std::uint8_t>(1 + masked % 100);
    }
    return place->second;
}

std::string Mask::word(const std::string& kind, const std::string& text) {
    if (!m_hides || text.empty()) {
        return text;
    }
    std::string& place = m_words[kind + ' ' + text];
    if (place.empty()) {
        place = kind + "-" + std::to_string(++m_counts[kind]);
        if (text.size() >= kShortestWord) {
            m_inText.emplace(text, place);
        }
    }
    return place;
}

std::string Mask::text(const std::string& text) {
    static const QRegularExpression macs(
        "(?<![0-9A-Fa-f])(?<![0-9A-Fa-f]:)(?:[0-9A-Fa-f]{2}:){5}[0-9A-Fa-f]{2}(?![0-9A-Fa-f]|:[0-9A-Fa-f])");
    static const QRegularExpression ips("(?<![0-9.])[0-9]{1,3}(?:\\.[0-9]{1,3}){3}(?![0-9.])");
    if (!m_hides) {
        return text;
    }
    std::string result = replaced(text, macs, [&](const std::string& found) {
        const auto parsed = Mac::parse(found);
        return parsed ? mac(*parsed).text() : found;
    });
    result = replaced(result, ips, [&](const std::string& found) {
        const auto parsed = Ipv4::parse(found);
        return parsed ? ip(*parsed).text() : found;
    });
    for (const auto& [word, instead] : m_inText) {
        const QString escaped =
            QRegularExpression::escape(QString::fromLatin1(word.data(), static_cast<int>(word.size())));
        const QRegularExpression whole("(?<![0-9A-Za-z])" + escaped + "(?![0-9A-Za-z])");
        result = replaced(result, whole, [&](const std::string&) { return instead; });
    }
    return result;
}

std::string Mask::value(const std::string& feature, const std::string& text) {
    struct Kind {
        const char* pattern;
        const char* kind;
    };
    static constexpr Kind kKinds[] = {
        {"Serial", "serial"},
        {"User(ID|Name|DefinedName)|DeviceID$", "name"},
        {"MAC|Mac[A-Z]", "mac"},
        {"IPAddress|Gateway|SC[DM]A|SCDA|MCDA|ApplicationIP", "ip"}};
    const QString name = QString::fromStdString(feature);
    const auto* const found = std::find_if(std::begin(kKinds), std::end(kKinds), [&](const Kind& each) {
        return QRegularExpression(each.pattern).match(name).hasMatch();
    });
    if (!m_hides || found == std::end(kKinds)) {
        return this->text(text);
    }
    const std::string changed = this->text(text);
    const bool isAddress = Ipv4::parse(text) || Mac::parse(text); // what is left of those is nobody's
    return changed != text || text == "0" || isAddress ? changed : word(found->kind, text);
}

void Mask::macAt(Bytes bytes) {
    const Mac masked = mac(Mac::at(bytes.data()));
    std::copy(masked.begin(), masked.end(), bytes.begin());
}

void Mask::ipAt(Bytes bytes) {
    const Ipv4 masked = ip(Ipv4::at(bytes.data()));
    std::copy(masked.begin(), masked.end(), bytes.begin());
}

void Mask::fieldAt(Bytes bytes, const std::string& kind) {
    const std::string text(bytes.begin(), std::find(bytes.begin(), bytes.end(), 0));
    const std::string masked = word(kind, text).substr(0, bytes.size());
    clear(bytes);
    std::copy(masked.begin(), masked.end(), bytes.begin());
}

void Mask::frame(std::vector<std::uint8_t>& frame) {
    if (!m_hides || frame.size() < net::kEthernetHeader) {
        return;
    }
    const Bytes bytes(frame);
    macAt(bytes.subspan(net::kDestinationMac, net::kMacSize));
    macAt(bytes.subspan(net::kSourceMac, net::kMacSize));
    constexpr std::uint8_t kNoOptions = 0x45;
    const unsigned type = big16(bytes, net::kEtherType);
    if (type == net::kEtherTypeArp && frame.size() >= net::kArpEnd) {
        macAt(bytes.subspan(net::kArpSenderMac, net::kMacSize));
        ipAt(bytes.subspan(net::kArpSenderIp, net::kIpSize));
        macAt(bytes.subspan(net::kArpTargetMac, net::kMacSize));
        ipAt(bytes.subspan(net::kArpTargetIp, net::kIpSize));
        clear(bytes.subspan(net::kArpEnd));
    } else if (
        type == net::kEtherTypeIpv4 && frame.size() >= net::kUdpPayload &&
        frame[net::kIpVersion] == kNoOptions && frame[net::kIpProtocol] == net::kIpProtocolUdp) {
        ipAt(bytes.subspan(net::kSourceIp, net::kIpSize));
        ipAt(bytes.subspan(net::kDestinationIp, net::kIpSize));
        const bool isControl = big16(bytes, net::kUdpSourcePort) == gvcp::kPort ||
                               big16(bytes, net::kUdpDestinationPort) == gvcp::kPort;
        const Bytes payload = bytes.subspan(net::kUdpPayload);
        isControl ? gvcp(payload) : clear(payload);
        renewChecksums(bytes);
    } else {
        clear(bytes.subspan(net::kEthernetHeader));
    }
}

void Mask::gvcp(Bytes payload) {
    if (payload.size() < gvcp::kHeader) {
        clear(payload);
        return;
    }
    const unsigned code = big16(payload, gvcp::kCommandCode);
    const unsigned id = big16(payload, gvcp::kRequestId);
    const std::size_t length =
        std::min<std::size_t>(big16(payload, gvcp::kLength), payload.size() - gvcp::kHeader);
    const Bytes data = payload.subspan(gvcp::kPayload, length);
    clear(payload.subspan(gvcp::kPayload + length));
    payload[gvcp::kCommandKey] == gvcp::kKey ? command(code, id, data) : acknowledgement(code, id, data);
}

void Mask::command(unsigned code, unsigned id, Bytes data) {
    constexpr std::size_t kWord = 4;
    switch (static_cast<gvcp::Command>(code)) {
    case gvcp::Command::ReadRegCmd:
        m_asked[id].clear();
        for (std::size_t at = 0; at + kWord <= data.size(); at += kWord) {
            m_asked[id].push_back(big32(data, at));
        }
        break;
    case gvcp::Command::WriteRegCmd:
        for (std::size_t at = 0; at + 2 * kWord <= data.size(); at += 2 * kWord) {
            registerValue(big32(data, at), data.subspan(at + kWord, kWord));
        }
        break;
    case gvcp::Command::WriteMemCmd:
        clear(data.subspan(std::min(kWord, data.size())));
        break;
    case gvcp::Command::ForceIpCmd:
        if (data.size() >= gvcp::force_ip::kSize) {
            macAt(data.subspan(gvcp::force_ip::kMac, net::kMacSize));
            ipAt(data.subspan(gvcp::force_ip::kIp, net::kIpSize));
            ipAt(data.subspan(gvcp::force_ip::kGateway, net::kIpSize));
        }
        break;
    case gvcp::Command::DiscoveryCmd:
    case gvcp::Command::ReadMemCmd:
    case gvcp::Command::PacketResendCmd:
        break;
    default:
        clear(data);
    }
}

void Mask::acknowledgement(unsigned code, unsigned id, Bytes data) {
    constexpr std::size_t kWord = 4;
    switch (static_cast<gvcp::Command>(code)) {
    case gvcp::Command::ReadRegAck: {
        const auto& asked = m_asked[id];
        for (std::size_t i = 0; (i + 1) * kWord <= data.size(); ++i) {
            const Bytes value = data.subspan(i * kWord, kWord);
            i < asked.size() ? registerValue(asked[i], value) : clear(value);
        }
        break;
    }
    case gvcp::Command::ReadMemAck:
        clear(data.subspan(std::min(kWord, data.size())));
        break;
    case gvcp::Command::DiscoveryAck:
        discovery(data);
        break;
    case gvcp::Command::ForceIpAck:
    case gvcp::Command::WriteRegAck:
    case gvcp::Command::WriteMemAck:
    case gvcp::Command::PendingAck:
        break;
    default:
        clear(data);
    }
}

void Mask::discovery(Bytes data) {
    namespace at = gvcp::discovery;
    if (data.size() < at::kSize) {
        clear(data);
        return;
    }
    macAt(data.subspan(at::kMac, net::kMacSize));
    ipAt(data.subspan(at::kIp, net::kIpSize));
    ipAt(data.subspan(at::kGateway, net::kIpSize));
    fieldAt(data.subspan(at::kSerialNumber, bootstrap::kSerialNumberSize), "serial");
    fieldAt(data.subspan(at::kUserDefinedName, bootstrap::kUserDefinedNameSize), "name");
}

// The first part of memory means the same in all cameras; of the rest an address is known that was seen
// elsewhere, and a number that is hidden in texts.
void Mask::registerValue(bootstrap::Address address, Bytes value) {
    using namespace bootstrap;
    constexpr Address kIps[] = {
        kCurrentIp,
        kCurrentGateway,
        kPersistentIp,
        kPersistentGateway,
        kPrimaryApplicationIp,
        kMessageChannelDestination,
        kStreamChannelDestination};
    const bool isText = (address >= kManufacturerInfo && address < kUserDefinedName + kUserDefinedNameSize) ||
                        (address >= kFirstUrl && address < kSecondUrl + kUrlSize);
    if (std::find(std::begin(kIps), std::end(kIps), address) != std::end(kIps)) {
        ipAt(value);
    } else if (address == kMacHigh || address == kMacLow || isText) {
        clear(value);
    } else if (address >= kManufacturerSpecific) {
        const Ipv4 content = Ipv4::at(value.data());
        if (m_ips.count(content) != 0) {
            ipAt(value);
        } else if (m_inText.count(std::to_string(content.number())) != 0) {
            clear(value);
        }
    }
}

} // namespace gbe
