// The bootstrap registers as people speak of them (GigE Vision 1.2 and 2.0, "Bootstrap registers"): names,
// lengths, access, and what the bytes mean.
#pragma once

#include "protocol/bootstrap.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace bootstrap {

enum class Access : std::uint8_t { Read, Write, ReadWrite };

enum class Meaning : std::uint8_t {
    Bits,   // hexadecimal
    Number, // decimal
    Ip,     // an IPv4 address or mask, first octet most significant
    Text,
};

struct Register {
    std::string_view name;
    Address address = 0;
    std::size_t length = 4; // bytes
    Access access = Access::Read;
    Meaning meaning = Meaning::Bits;
};

namespace detail {
inline constexpr std::size_t kWord = 4;
inline constexpr Access kR = Access::Read;
inline constexpr Access kW = Access::Write;
inline constexpr Access kRW = Access::ReadWrite;
} // namespace detail

// Ascending. Of interfaces, message channels and stream channels that a device may have several of, the
// first.
inline constexpr std::array kRegisters{
    Register{"Version", kVersion},
    Register{"DeviceMode", kDeviceMode},
    Register{"DeviceMacHigh", kMacHigh},
    Register{"DeviceMacLow", kMacLow},
    Register{"InterfaceCapability", kInterfaceCapability},
    Register{"InterfaceConfiguration", kInterfaceConfiguration, detail::kWord, detail::kRW},
    Register{"CurrentIp", kCurrentIp, detail::kWord, detail::kR, Meaning::Ip},
    Register{"CurrentSubnetMask", kCurrentSubnetMask, detail::kWord, detail::kR, Meaning::Ip},
    Register{"CurrentGateway", kCurrentGateway, detail::kWord, detail::kR, Meaning::Ip},
    Register{"ManufacturerName", kManufacturerName, kNameSize, detail::kR, Meaning::Text},
    Register{"ModelName", kModelName, kNameSize, detail::kR, Meaning::Text},
    Register{"DeviceVersion", kDeviceVersion, kNameSize, detail::kR, Meaning::Text},
    Register{"ManufacturerInfo", kManufacturerInfo, kManufacturerInfoSize, detail::kR, Meaning::Text},
    Register{"SerialNumber", kSerialNumber, kSerialNumberSize, detail::kR, Meaning::Text},
    Register{"UserDefinedName", kUserDefinedName, kUserDefinedNameSize, detail::kRW, Meaning::Text},
    Register{"FirstUrl", kFirstUrl, kUrlSize, detail::kR, Meaning::Text},
    Register{"SecondUrl", kSecondUrl, kUrlSize, detail::kR, Meaning::Text},
    Register{"InterfaceCount", kInterfaceCount, detail::kWord, detail::kR, Meaning::Number},
    Register{"PersistentIp", kPersistentIp, detail::kWord, detail::kRW, Meaning::Ip},
    Register{"PersistentSubnetMask", kPersistentSubnetMask, detail::kWord, detail::kRW, Meaning::Ip},
    Register{"PersistentGateway", kPersistentGateway, detail::kWord, detail::kRW, Meaning::Ip},
    Register{"LinkSpeed", kLinkSpeed, detail::kWord, detail::kR, Meaning::Number},
    Register{"MessageChannelCount", kMessageChannelCount, detail::kWord, detail::kR, Meaning::Number},
    Register{"StreamChannelCount", kStreamChannelCount, detail::kWord, detail::kR, Meaning::Number},
    Register{"ActionSignalCount", kActionSignalCount, detail::kWord, detail::kR, Meaning::Number},
    Register{"StreamCapability", kStreamCapability},
    Register{"Capability", kCapability},
    Register{"HeartbeatTimeout", kHeartbeatTimeout, detail::kWord, detail::kRW, Meaning::Number},
    Register{"TimestampTickFrequencyHigh", kTimestampTickFrequencyHigh},
    Register{
        "TimestampTickFrequencyLow", kTimestampTickFrequencyLow, detail::kWord, detail::kR, Meaning::Number},
    Register{"TimestampControl", kTimestampControl, detail::kWord, detail::kW},
    Register{"TimestampValueHigh", kTimestampValueHigh},
    Register{"TimestampValueLow", kTimestampValueLow},
    Register{"DiscoveryAckDelay", kDiscoveryAckDelay, detail::kWord, detail::kRW, Meaning::Number},
    Register{"GvcpConfiguration", kGvcpConfiguration, detail::kWord, detail::kRW},
    Register{"PendingTimeout", kPendingTimeout, detail::kWord, detail::kR, Meaning::Number},
    Register{"ControlSwitchoverKey", kControlSwitchoverKey, detail::kWord, detail::kW},
    Register{"GvspConfiguration", kGvspConfiguration, detail::kWord, detail::kRW},
    Register{"ControlChannelPrivilege", kControlChannelPrivilege, detail::kWord, detail::kRW},
    Register{"PrimaryApplicationPort", kPrimaryApplicationPort, detail::kWord, detail::kR, Meaning::Number},
    Register{"PrimaryApplicationIp", kPrimaryApplicationIp, detail::kWord, detail::kR, Meaning::Ip},
    Register{"MessageChannelPort", kMessageChannelPort, detail::kWord, detail::kRW},
    Register{
        "MessageChannelDestination", kMessageChannelDestination, detail::kWord, detail::kRW, Meaning::Ip},
    Register{"StreamChannelPort", kStreamChannelPort, detail::kWord, detail::kRW},
    Register{"StreamChannelPacketSize", kStreamChannelPacketSize, detail::kWord, detail::kRW},
    Register{
        "StreamChannelPacketDelay", kStreamChannelPacketDelay, detail::kWord, detail::kRW, Meaning::Number},
    Register{"StreamChannelDestination", kStreamChannelDestination, detail::kWord, detail::kRW, Meaning::Ip},
    Register{"StreamChannelSourcePort", kStreamChannelSourcePort, detail::kWord, detail::kR, Meaning::Number},
    Register{"StreamChannelCapability", kStreamChannelCapability},
    Register{"StreamChannelConfiguration", kStreamChannelConfiguration, detail::kWord, detail::kRW},
};

// Each ends before the next one begins, and none leaves the part of memory that all devices share.
static_assert(std::adjacent_find(kRegisters.begin(), kRegisters.end(), [](const auto& a, const auto& b) {
                  return a.address + a.length > b.address;
              }) == kRegisters.end());
static_assert(kRegisters.back().address + kRegisters.back().length <= kManufacturerSpecific);

// Letter case does not count. Null when there is none.
constexpr const Register* findRegister(std::string_view name) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    const auto* const found = std::find_if(kRegisters.begin(), kRegisters.end(), [&](const Register& each) {
        return std::equal(each.name.begin(), each.name.end(), name.begin(), name.end(), [&](char a, char b) {
            return lower(a) == lower(b);
        });
    });
    return found != kRegisters.end() ? found : nullptr;
}

// The one that begins at an address.
constexpr const Register* findRegister(Address address) {
    const auto* const found = std::find_if(
        kRegisters.begin(), kRegisters.end(), [&](const Register& each) { return each.address == address; });
    return found != kRegisters.end() ? found : nullptr;
}

} // namespace bootstrap
