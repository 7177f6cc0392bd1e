// Every register of the camera in software, in ascending order: the bootstrap registers of GigE Vision and,
// from 0xA000 on, its own. One row is one register or an array of registers that follow each other; the
// description (description.xml) names the same addresses, and tests read and write every feature of it.
#pragma once

#include "protocol/bootstrap.h"

#include <array>
#include <cstdint>
#include <string_view>

namespace simcam {

using Address = bootstrap::Address;

enum class Access : std::uint8_t { RO, WO, RW };
enum class Kind : std::uint8_t { Unsigned, Signed, Float, Text };
enum class Order : std::uint8_t { BE, LE };

// Who changes a register and who keeps it.
enum class Role : std::uint8_t {
    Fixed,   // set when the camera is made
    Live,    // computed by the camera
    State,   // written by applications, the same in every user set
    Setting, // written by applications, kept in user sets
    Window,  // shows the element of an array that a selector register selects
    Trigger, // writing 1 makes something happen; reads 0 again
};

// name, address, size of an element in bytes, elements, access, kind, order, role, initial, lowest, highest
// The limits hold for each write of a number; limits that depend on other registers are the models'. With
// both limits 0 every value is taken.
// clang-format off
#define SIMCAM_BOOTSTRAP_REGISTERS(X) \
    X(Version,              bootstrap::kVersion,                    4, 1, RO, Unsigned, BE, Fixed,   0x00010002, 0, 0) \
    X(DeviceMode,           bootstrap::kDeviceMode,                 4, 1, RO, Unsigned, BE, Fixed,   0x80000001, 0, 0) \
    X(MacHigh,              bootstrap::kMacHigh,                    4, 1, RO, Unsigned, BE, Fixed,   0, 0, 0) \
    X(MacLow,               bootstrap::kMacLow,                     4, 1, RO, Unsigned, BE, Fixed,   0, 0, 0) \
    X(InterfaceCapability,  bootstrap::kInterfaceCapability,        4, 1, RO, Unsigned, BE, Fixed,   0x00000005, 0, 0) \
    X(InterfaceConfiguration, bootstrap::kInterfaceConfiguration,   4, 1, RW, Unsigned, BE, State,   0x00000004, 0, 0) \
    X(CurrentIp,            bootstrap::kCurrentIp,                  4, 1, RO, Unsigned, BE, Fixed,   0, 0, 0) \
    X(CurrentSubnetMask,    bootstrap::kCurrentSubnetMask,          4, 1, RO, Unsigned, BE, Fixed,   0, 0, 0) \
    X(CurrentGateway,       bootstrap::kCurrentGateway,             4, 1, RO, Unsigned, BE, Fixed,   0, 0, 0) \
    X(ManufacturerName,     bootstrap::kManufacturerName,          32, 1, RO, Text,     BE, Fixed,   0, 0, 0) \
    X(ModelName,            bootstrap::kModelName,                 32, 1, RO, Text,     BE, Fixed,   0, 0, 0) \
    X(DeviceVersion,        bootstrap::kDeviceVersion,             32, 1, RO, Text,     BE, Fixed,   0, 0, 0) \
    X(ManufacturerInfo,     bootstrap::kManufacturerInfo,          48, 1, RO, Text,     BE, Fixed,   0, 0, 0) \
    X(SerialNumber,         bootstrap::kSerialNumber,              16, 1, RO, Text,     BE, Fixed,   0, 0, 0) \
    X(UserDefinedName,      bootstrap::kUserDefinedName,           16, 1, RW, Text,     BE, State,   0, 0, 0) \
    X(FirstUrl,             bootstrap::kFirstUrl,                 512, 1, RO, Text,     BE, Fixed,   0, 0, 0) \
    X(SecondUrl,            bootstrap::kSecondUrl,                512, 1, RO, Text,     BE, Fixed,   0, 0, 0) \
    X(InterfaceCount,       bootstrap::kInterfaceCount,             4, 1, RO, Unsigned, BE, Fixed,   1, 0, 0) \
    X(PersistentIp,         bootstrap::kPersistentIp,               4, 1, RW, Unsigned, BE, State,   0, 0, 0) \
    X(PersistentSubnetMask, bootstrap::kPersistentSubnetMask,       4, 1, RW, Unsigned, BE, State,   0, 0, 0) \
    X(PersistentGateway,    bootstrap::kPersistentGateway,          4, 1, RW, Unsigned, BE, State,   0, 0, 0) \
    X(LinkSpeed,            bootstrap::kLinkSpeed,                  4, 1, RO, Unsigned, BE, Fixed,   1000, 0, 0) \
    X(MessageChannelCount,  bootstrap::kMessageChannelCount,        4, 1, RO, Unsigned, BE, Fixed,   0, 0, 0) \
    X(StreamChannelCount,   bootstrap::kStreamChannelCount,         4, 1, RO, Unsigned, BE, Fixed,   1, 0, 0) \
    X(ActionSignalCount,    bootstrap::kActionSignalCount,          4, 1, RO, Unsigned, BE, Fixed,   0, 0, 0) \
    X(StreamCapability,     bootstrap::kStreamCapability,           4, 1, RO, Unsigned, BE, Fixed,   0xC0000000, 0, 0) \
    X(Capability,           bootstrap::kCapability,                 4, 1, RO, Unsigned, BE, Fixed,   0xF9A00027, 0, 0) \
    X(HeartbeatTimeout,     bootstrap::kHeartbeatTimeout,           4, 1, RW, Unsigned, BE, State,   3000, 0, 0) \
    X(TickFrequencyHigh,    bootstrap::kTimestampTickFrequencyHigh, 4, 1, RO, Unsigned, BE, Fixed,   0, 0, 0) \
    X(TickFrequencyLow,     bootstrap::kTimestampTickFrequencyLow,  4, 1, RO, Unsigned, BE, Fixed,   125000000, 0, 0) \
    X(TimestampControl,     bootstrap::kTimestampControl,           4, 1, WO, Unsigned, BE, Trigger, 0, 0, 0) \
    X(TimestampHigh,        bootstrap::kTimestampValueHigh,         4, 1, RO, Unsigned, BE, Live,    0, 0, 0) \
    X(TimestampLow,         bootstrap::kTimestampValueLow,          4, 1, RO, Unsigned, BE, Live,    0, 0, 0) \
    X(DiscoveryAckDelay,    bootstrap::kDiscoveryAckDelay,          4, 1, RW, Unsigned, BE, State,   0, 0, 1000) \
    X(GvcpConfiguration,    bootstrap::kGvcpConfiguration,          4, 1, RW, Unsigned, BE, State,   0, 0, 0) \
    X(PendingTimeout,       bootstrap::kPendingTimeout,             4, 1, RO, Unsigned, BE, Fixed,   60000, 0, 0) \
    X(SwitchoverKey,        bootstrap::kControlSwitchoverKey,       4, 1, WO, Unsigned, BE, State,   0, 0, 0) \
    X(GvspConfiguration,    bootstrap::kGvspConfiguration,          4, 1, RW, Unsigned, BE, State,   0, 0, 0) \
    X(Privilege,            bootstrap::kControlChannelPrivilege,    4, 1, RW, Unsigned, BE, Live,    0, 0, 0) \
    X(PrimaryPort,          bootstrap::kPrimaryApplicationPort,     4, 1, RO, Unsigned, BE, Live,    0, 0, 0) \
    X(PrimaryIp,            bootstrap::kPrimaryApplicationIp,       4, 1, RO, Unsigned, BE, Live,    0, 0, 0) \
    X(StreamPort,           bootstrap::kStreamChannelPort,          4, 1, RW, Unsigned, BE, State,   0, 0, 0) \
    X(StreamPacketSize,     bootstrap::kStreamChannelPacketSize,    4, 1, RW, Unsigned, BE, State,   0x40000000 | 1500, 0, 0) \
    X(StreamPacketDelay,    bootstrap::kStreamChannelPacketDelay,   4, 1, RW, Unsigned, BE, State,   0, 0, 0) \
    X(StreamDestination,    bootstrap::kStreamChannelDestination,   4, 1, RW, Unsigned, BE, State,   0, 0, 0) \
    X(StreamSourcePort,     bootstrap::kStreamChannelSourcePort,    4, 1, RO, Unsigned, BE, Fixed,   20202, 0, 0) \
    X(StreamFeatures,       bootstrap::kStreamChannelCapability,    4, 1, RO, Unsigned, BE, Fixed,   bootstrap::kExtendedChunkDataBit, 0, 0) \
    X(StreamConfiguration,  bootstrap::kStreamChannelConfiguration, 4, 1, RW, Unsigned, BE, State,   bootstrap::kExtendedChunkDataBit, 0, 0)

#define SIMCAM_FEATURE_REGISTERS(X) \
    X(FirmwareVersion,      0xA000, 32, 1, RO, Text,     BE, Fixed,   0, 0, 0) \
    X(DeviceStatus,         0xA020,  4, 1, RO, Unsigned, BE, Live,    0, 0, 0) \
    X(Temperature,          0xA024,  4, 3, RO, Float,    BE, Live,    0, 0, 0) \
    X(ClockFrequency,       0xA030,  4, 2, RO, Float,    BE, Fixed,   74250000, 0, 0) \
    X(ThroughputLimitMode,  0xA038,  4, 1, RW, Unsigned, BE, Setting, 0, 0, 1) \
    X(ThroughputLimit,      0xA03C,  4, 1, RW, Unsigned, BE, Setting, 125000000, 1000000, 125000000) \
    X(IndicatorMode,        0xA040,  4, 1, RW, Unsigned, BE, Setting, 1, 0, 2) \
    X(Uptime,               0xA048,  8, 1, RO, Unsigned, LE, Live,    0, 0, 0) \
    X(TimestampLatched,     0xA050,  8, 1, RO, Unsigned, BE, Live,    0, 0, 0) \
    X(TimestampLatch,       0xA058,  4, 1, RW, Unsigned, BE, Trigger, 0, 0, 1) \
    X(TimestampReset,       0xA05C,  4, 1, RW, Unsigned, BE, Trigger, 0, 0, 1) \
    X(UserDataLength,       0xA060,  4, 1, RW, Unsigned, BE, State,   16, 8, 64) \
    X(SensorInfo,           0xA068, 16, 1, RO, Text,     BE, Fixed,   0, 0, 0) \
    X(UserData,             0xA080, 64, 1, RW, Text,     BE, State,   0, 0, 0) \
    X(SensorWidth,          0xA100,  4, 1, RO, Unsigned, BE, Fixed,   1920, 0, 0) \
    X(SensorHeight,         0xA104,  4, 1, RO, Unsigned, BE, Fixed,   1200, 0, 0) \
    X(WidthMax,             0xA108,  4, 1, RO, Unsigned, BE, Live,    0, 0, 0) \
    X(HeightMax,            0xA10C,  4, 1, RO, Unsigned, BE, Live,    0, 0, 0) \
    X(Width,                0xA110,  4, 1, RW, Unsigned, BE, Setting, 1920, 16, 1920) \
    X(Height,               0xA114,  4, 1, RW, Unsigned, BE, Setting, 1200, 2, 1200) \
    X(OffsetX,              0xA118,  4, 1, RW, Unsigned, BE, Setting, 0, 0, 1904) \
    X(OffsetY,              0xA11C,  4, 1, RW, Unsigned, BE, Setting, 0, 0, 1198) \
    X(BinningHorizontal,    0xA120,  4, 1, RW, Unsigned, BE, Setting, 0, 0, 3) \
    X(BinningVertical,      0xA124,  4, 1, RW, Unsigned, BE, Setting, 0, 0, 3) \
    X(DecimationHorizontal, 0xA128,  4, 1, RW, Unsigned, LE, Setting, 1, 1, 4) \
    X(DecimationVertical,   0xA12C,  4, 1, RW, Unsigned, LE, Setting, 1, 1, 4) \
    X(ImageControl,         0xA130,  4, 1, RW, Unsigned, BE, Setting, 0, 0, 0) \
    X(PixelFormat,          0xA134,  4, 1, RW, Unsigned, BE, Setting, 0x01080001, 0, 0) \
    X(PixelColorFilter,     0xA138,  4, 1, RO, Unsigned, BE, Live,    0, 0, 0) \
    X(TestPattern,          0xA13C,  4, 1, RW, Unsigned, BE, Setting, 0, 0, 7) \
    X(PayloadSize,          0xA140,  4, 1, RO, Unsigned, BE, Live,    0, 0, 0) \
    X(ShutterMode,          0xA144,  4, 1, RW, Unsigned, BE, Setting, 0, 0, 1) \
    X(SensorPixelSize,      0xA148,  8, 1, RO, Float,    LE, Fixed,   0, 0, 0) \
    X(AcquisitionMode,      0xA200,  4, 1, RW, Unsigned, BE, Setting, 0, 0, 2) \
    X(AcquisitionStart,     0xA204,  4, 1, RW, Unsigned, BE, Trigger, 0, 0, 1) \
    X(AcquisitionStop,      0xA208,  4, 1, RW, Unsigned, BE, Trigger, 0, 0, 1) \
    X(AcquisitionAbort,     0xA20C,  4, 1, RW, Unsigned, BE, Trigger, 0, 0, 1) \
    X(AcquisitionFrameCount, 0xA214, 4, 1, RW, Unsigned, BE, Setting, 1, 1, 65535) \
    X(FrameRateEnable,      0xA218,  4, 1, RW, Unsigned, BE, Setting, 1, 0, 1) \
    X(FrameRate,            0xA21C,  4, 1, RW, Float,    BE, Setting, 30, 1, 1000) \
    X(FrameRateMax,         0xA220,  4, 1, RO, Float,    BE, Live,    0, 0, 0) \
    X(AcquisitionStatusSelector, 0xA224, 4, 1, RW, Unsigned, BE, State, 0, 0, 3) \
    X(AcquisitionStatus,    0xA228,  4, 1, RO, Unsigned, BE, Live,    0, 0, 0) \
    X(BurstFrameCount,      0xA22C,  4, 1, RW, Unsigned, BE, Setting, 1, 1, 1023) \
    X(ExposureMode,         0xA230,  4, 1, RW, Unsigned, BE, Setting, 1, 0, 2) \
    X(ExposureTime,         0xA234,  4, 1, RW, Unsigned, BE, Setting, 100000, 100, 100000000) \
    X(ExposureAuto,         0xA238,  4, 1, RW, Unsigned, BE, Setting, 0, 0, 2) \
    X(TriggerMode,          0xA240,  4, 3, RW, Unsigned, BE, Setting, 0, 0, 1) \
    X(TriggerSource,        0xA250,  4, 3, RW, Unsigned, BE, Setting, 0, 0, 2) \
    X(TriggerActivation,    0xA260,  4, 3, RW, Unsigned, BE, Setting, 0, 0, 3) \
    X(TriggerOverlap,       0xA26C,  4, 1, RW, Unsigned, BE, Setting, 0, 0, 2) \
    X(TriggerDelay,         0xA270,  4, 3, RW, Unsigned, BE, Setting, 0, 0, 1000000) \
    X(TriggerDivider,       0xA280,  4, 3, RW, Unsigned, BE, Setting, 1, 1, 255) \
    X(TriggerMultiplier,    0xA290,  4, 3, RW, Unsigned, BE, Setting, 1, 1, 255) \
    X(TriggerSoftware,      0xA2A0,  4, 3, RW, Unsigned, BE, Trigger, 0, 0, 1) \
    X(Gain,                 0xA300,  4, 4, RW, Float,    BE, Setting, 0, 0, 24) \
    X(GainAuto,             0xA310,  4, 1, RW, Unsigned, BE, Setting, 0, 0, 2) \
    X(BlackLevel,           0xA314,  4, 4, RW, Signed,   LE, Setting, 0, -512, 511) \
    X(BlackLevelAuto,       0xA324,  4, 1, RW, Unsigned, BE, Setting, 0, 0, 2) \
    X(BalanceRatio,         0xA328,  8, 3, RW, Float,    LE, Setting, 1, 0, 16) \
    X(BalanceWhiteAuto,     0xA340,  4, 1, RW, Unsigned, BE, Setting, 0, 0, 2) \
    X(Gamma,                0xA344,  4, 1, RW, Float,    BE, Setting, 1, 0, 4) \
    X(GammaEnable,          0xA348,  4, 1, RW, Unsigned, BE, Setting, 0, 0, 1) \
    X(DigitalShift,         0xA34C,  4, 1, RW, Unsigned, LE, Setting, 0, 0, 4) \
    X(LutEnable,            0xA400,  4, 4, RW, Unsigned, BE, Setting, 0, 0, 1) \
    X(LineSelector,         0xA500,  4, 1, RW, Unsigned, BE, State,   0, 0, 3) \
    X(LineMode,             0xA504,  4, 1, RW, Unsigned, BE, Window,  0, 0, 1) \
    X(LineInverter,         0xA508,  4, 1, RW, Unsigned, BE, Window,  0, 0, 1) \
    X(LineSource,           0xA50C,  4, 1, RW, Unsigned, BE, Window,  0, 0, 5) \
    X(LineFormat,           0xA510,  4, 1, RW, Unsigned, BE, Window,  0, 0, 3) \
    X(LineDebouncer,        0xA514,  4, 1, RW, Unsigned, BE, Window,  0, 0, 10000) \
    X(LineStatus,           0xA518,  4, 1, RO, Unsigned, BE, Live,    0, 0, 0) \
    X(LineStatusAll,        0xA51C,  4, 1, RO, Unsigned, BE, Live,    0, 0, 0) \
    X(UserOutputs,          0xA520,  4, 1, RW, Unsigned, LE, State,   0, 0, 3) \
    X(UserOutputMask,       0xA524,  4, 1, RW, Unsigned, LE, State,   3, 0, 3) \
    X(LineModes,            0xA540,  4, 4, RO, Unsigned, BE, Setting, 0, 0, 0) \
    X(LineInverters,        0xA550,  4, 4, RO, Unsigned, BE, Setting, 0, 0, 0) \
    X(LineSources,          0xA560,  4, 4, RO, Unsigned, BE, Setting, 0, 0, 0) \
    X(LineFormats,          0xA570,  4, 4, RO, Unsigned, BE, Setting, 2, 0, 0) \
    X(LineDebouncers,       0xA580,  4, 4, RO, Unsigned, BE, Setting, 10, 0, 0) \
    X(CounterBlock,         0xA600,  4, 1, RO, Unsigned, BE, Fixed,   0xB000, 0, 0) \
    X(TimerBlock,           0xA604,  4, 1, RO, Unsigned, BE, Fixed,   0xB100, 0, 0) \
    X(UserSetSelector,      0xA700,  4, 1, RW, Unsigned, BE, State,   0, 0, 2) \
    X(UserSetLoad,          0xA704,  4, 1, RW, Unsigned, BE, Trigger, 0, 0, 1) \
    X(UserSetSave,          0xA708,  4, 1, RW, Unsigned, BE, Trigger, 0, 0, 1) \
    X(UserSetDefault,       0xA70C,  4, 1, RW, Unsigned, BE, State,   0, 0, 2) \
    X(UserSetDescription,   0xA720, 32, 3, RW, Text,     BE, State,   0, 0, 0) \
    X(FramesSent,           0xA800,  8, 1, RO, Unsigned, BE, Live,    0, 0, 0) \
    X(PacketsSent,          0xA808,  8, 1, RO, Unsigned, BE, Live,    0, 0, 0) \
    X(BytesSent,            0xA810,  8, 1, RO, Unsigned, LE, Live,    0, 0, 0) \
    X(CommandCount,         0xA818,  4, 1, RO, Unsigned, LE, Live,    0, 0, 0) \
    X(StatisticsReset,      0xA81C,  4, 1, RW, Unsigned, BE, Trigger, 0, 0, 1) \
    X(TriggersMissed,       0xA820,  4, 1, RO, Unsigned, BE, Live,    0, 0, 0) \
    X(ChunkModeActive,      0xA900,  4, 1, RW, Unsigned, BE, Setting, 0, 0, 1) \
    X(ChunkSelector,        0xA904,  4, 1, RW, Unsigned, BE, State,   0, 0, 3) \
    X(ChunkEnable,          0xA910,  4, 4, RW, Unsigned, BE, Setting, 1, 0, 1) \
    X(ChunkFrameID,         0xA920,  8, 1, RO, Unsigned, BE, Live,    0, 0, 0) \
    X(ChunkTimestamp,       0xA928,  8, 1, RO, Unsigned, BE, Live,    0, 0, 0) \
    X(ChunkExposureTime,    0xA930,  8, 1, RO, Float,    BE, Live,    0, 0, 0) \
    X(CounterEventSource,   0xB000,  4, 2, RW, Unsigned, BE, Setting, 0, 0, 3) \
    X(CounterActivation,    0xB008,  4, 2, RW, Unsigned, BE, Setting, 0, 0, 2) \
    X(CounterResetSource,   0xB010,  4, 2, RW, Unsigned, BE, Setting, 0, 0, 1) \
    X(CounterDuration,      0xB018,  4, 2, RW, Unsigned, BE, Setting, 0x7FFFFFFF, 1, 0x7FFFFFFF) \
    X(CounterValue,         0xB020,  4, 2, RO, Unsigned, BE, Live,    0, 0, 0) \
    X(CounterValueAtReset,  0xB028,  4, 2, RO, Unsigned, BE, Live,    0, 0, 0) \
    X(CounterStatus,        0xB030,  4, 2, RO, Unsigned, BE, Live,    0, 0, 0) \
    X(CounterReset,         0xB038,  4, 2, RW, Unsigned, BE, Trigger, 0, 0, 1) \
    X(TimerDuration,        0xB100,  4, 2, RW, Unsigned, BE, Setting, 1000, 1, 10000000) \
    X(TimerDelay,           0xB108,  4, 2, RW, Unsigned, BE, Setting, 0, 0, 10000000) \
    X(TimerValue,           0xB110,  4, 2, RO, Unsigned, BE, Live,    0, 0, 0) \
    X(TimerStatus,          0xB118,  4, 2, RO, Unsigned, BE, Live,    0, 0, 0) \
    X(TimerReset,           0xB120,  4, 2, RW, Unsigned, BE, Trigger, 0, 0, 1) \
    X(TimerTriggerSource,   0xB128,  4, 2, RW, Unsigned, BE, Setting, 0, 0, 2) \
    X(LutValue,             0xC000,  4, 512, RW, Unsigned, BE, Setting, 0, 0, 4095)
// clang-format on

#define SIMCAM_REGISTERS(X) SIMCAM_BOOTSTRAP_REGISTERS(X) SIMCAM_FEATURE_REGISTERS(X)

enum class Reg : std::uint16_t {
#define X(name, ...) name,
    SIMCAM_REGISTERS(X)
#undef X
};

struct RegisterFact {
    std::string_view name;
    Address address;
    std::uint32_t size;
    std::uint32_t count;
    Access access;
    Kind kind;
    Order order;
    Role role;
    std::int64_t initial;
    std::int64_t low;
    std::int64_t high;

    constexpr std::uint32_t bytes() const { return size * count; }
    constexpr bool limited() const { return low != high; }
};

inline constexpr std::array kRegisters{
#define X(name, address, size, count, access, kind, order, role, initial, low, high)                         \
    RegisterFact{#name,      address, size, count, Access::access, Kind::kind, Order::order,                 \
                 Role::role, initial, low,  high},
    SIMCAM_REGISTERS(X)
#undef X
};

inline constexpr const RegisterFact& fact(Reg reg) {
    return kRegisters[static_cast<std::size_t>(reg)];
}

// Ascending without overlap, on word boundaries.
inline constexpr bool registersAreSound() {
    Address end = 0;
    for (const RegisterFact& row : kRegisters) {
        if (row.address < end || row.address % 4 != 0 || row.bytes() % 4 != 0 || row.bytes() == 0) {
            return false;
        }
        end = row.address + row.bytes();
    }
    return true;
}
static_assert(registersAreSound());

} // namespace simcam
