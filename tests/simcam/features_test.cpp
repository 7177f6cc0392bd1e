// The camera's own registers do what the description says of them.
#include "harness.h"

#include <bit>
#include <cmath>

namespace {

using namespace simcam_test;
using simcam::Reg;
using std::chrono::seconds;

constexpr std::uint16_t kInvalidParameter = 0x8002, kWriteProtect = 0x8004, kBusy = 0x8007;

std::uint32_t at(Reg reg, std::uint32_t index = 0) {
    return simcam::fact(reg).address + index * simcam::fact(reg).size;
}

std::uint32_t bits(float value) {
    return std::bit_cast<std::uint32_t>(value);
}

class SimcamFeatures : public testing::Test {
protected:
    SimcamFeatures() {
        bench.takeControl();
        EXPECT_EQ(bench.write(at(Reg::HeartbeatTimeout), 100000000), 0);
    }
    std::uint32_t read(Reg reg, std::uint32_t index = 0) { return bench.read(at(reg, index)); }
    std::uint16_t write(Reg reg, std::uint32_t value, std::uint32_t index = 0) {
        return bench.write(at(reg, index), value);
    }
    float readFloat(Reg reg, std::uint32_t index = 0) { return std::bit_cast<float>(read(reg, index)); }
    std::uint64_t frames() { return bench.camera->report(bench.now).frames; }

    Bench bench;
};

TEST_F(SimcamFeatures, SizesFitTheSensor) {
    const struct {
        Reg reg;
        std::uint32_t value;
        std::uint16_t status;
        Reg follows;
        std::uint32_t is;
    } rows[] = {
        // one after the other
        {Reg::Width, 640, 0, Reg::PayloadSize, 640 * 1200},
        {Reg::Height, 480, 0, Reg::PayloadSize, 640 * 480},
        {Reg::Width, 642, kInvalidParameter, Reg::Width, 640},
        {Reg::Height, 481, kInvalidParameter, Reg::Height, 480},
        {Reg::Width, 12, kInvalidParameter, Reg::Width, 640},
        {Reg::OffsetX, 1280, 0, Reg::OffsetX, 1280},
        {Reg::OffsetX, 1284, kInvalidParameter, Reg::OffsetX, 1280},
        {Reg::Width, 644, kInvalidParameter, Reg::Width, 640},
        {Reg::PixelFormat, 0x010C0006, 0, Reg::PayloadSize, 640 * 480 * 12 / 8},
        {Reg::PixelFormat, 0x02180014, 0, Reg::PayloadSize, 640 * 480 * 3},
        {Reg::PixelFormat, 0x01080002, kInvalidParameter, Reg::PixelFormat, 0x02180014},
        {Reg::PixelFormat, 0x01080009, 0, Reg::PixelColorFilter, 1},
        {Reg::BinningHorizontal, 1, 0, Reg::WidthMax, 960},
        {Reg::BinningHorizontal, 2, 0, Reg::OffsetX, 0},
        {Reg::DecimationHorizontal, 0x03000000, 0, Reg::WidthMax, 212}, // little-endian 3
        {Reg::DecimationHorizontal, 0x05000000, kInvalidParameter, Reg::Width, 212},
        {Reg::BinningHorizontal, 4, kInvalidParameter, Reg::BinningHorizontal, 2},
        {Reg::TestPattern, 6, 0, Reg::TestPattern, 6},
        {Reg::TestPattern, 7, kInvalidParameter, Reg::TestPattern, 6},
        {Reg::WidthMax, 100, kWriteProtect, Reg::WidthMax, 212},
    };
    for (const auto& row : rows) {
        const std::string name = std::string(simcam::fact(row.reg).name) + " " + std::to_string(row.value);
        EXPECT_EQ(write(row.reg, row.value), row.status) << name;
        EXPECT_EQ(read(row.follows), row.is) << name;
    }
}

TEST_F(SimcamFeatures, AcquisitionCountsFramesByTheClock) {
    EXPECT_EQ(write(Reg::Width, 640), 0);
    EXPECT_EQ(write(Reg::Height, 480), 0);
    EXPECT_EQ(write(Reg::FrameRate, bits(25.0f)), 0);
    EXPECT_EQ(write(Reg::StreamDestination, 0xA9FE072A), 0);
    EXPECT_EQ(write(Reg::StreamPort, 1520), 0);
    EXPECT_EQ(write(Reg::AcquisitionStart, 1), 0);
    EXPECT_EQ(read(Reg::AcquisitionStart), 0u) << "the command clears itself";
    EXPECT_EQ(read(Reg::DeviceStatus), 7u);
    EXPECT_EQ(write(Reg::Width, 320), kBusy);
    EXPECT_EQ(write(Reg::PixelFormat, 0x01100003), kBusy);
    EXPECT_EQ(write(Reg::UserSetLoad, 1), kBusy);
    bench.pass(seconds(10));
    const auto report = bench.camera->report(bench.now);
    EXPECT_TRUE(report.acquiring);
    EXPECT_EQ(report.frames, 250u);
    const std::uint64_t data = (640 * 480 + 1463) / 1464; // 1500 less the headers of 36
    EXPECT_EQ(report.packets, 250 * (data + 2));
    EXPECT_EQ(report.bytes, 250 * (640 * 480 + data * 36 + 72 + 44));
    EXPECT_EQ(report.destinationPort, 1520);
    EXPECT_EQ(write(Reg::FrameRate, bits(50.0f)), 0); // while it runs
    bench.pass(seconds(1));
    EXPECT_EQ(frames(), 300u);
    EXPECT_EQ(write(Reg::StreamPort, 0), 0);
    bench.pass(seconds(1));
    EXPECT_EQ(frames(), 350u);
    EXPECT_EQ(bench.camera->report(bench.now).packets, 300 * (data + 2)) << "nowhere to send to";
    EXPECT_EQ(write(Reg::AcquisitionStop, 1), 0);
    bench.pass(seconds(5));
    EXPECT_EQ(frames(), 350u);
    EXPECT_EQ(bench.readMemory(at(Reg::FramesSent), 8), Bytes(6) + be16(350));
    EXPECT_EQ(write(Reg::StatisticsReset, 1), 0);
    EXPECT_EQ(frames(), 0u);
    EXPECT_EQ(write(Reg::Width, 320), 0);
}

TEST_F(SimcamFeatures, ModesEndByThemselves) {
    const struct {
        std::uint32_t mode;
        std::uint32_t count;
        std::uint64_t frames;
        bool ends;
    } rows[] = {{0, 5, 300, false}, {1, 5, 1, true}, {2, 5, 5, true}};
    for (const auto& row : rows) {
        EXPECT_EQ(write(Reg::AcquisitionMode, row.mode), 0);
        EXPECT_EQ(write(Reg::AcquisitionFrameCount, row.count), 0);
        EXPECT_EQ(write(Reg::StatisticsReset, 1), 0);
        EXPECT_EQ(write(Reg::AcquisitionStart, 1), 0);
        bench.pass(seconds(10));
        EXPECT_EQ(frames(), row.frames) << row.mode;
        EXPECT_EQ(bench.camera->report(bench.now).acquiring, !row.ends) << row.mode;
        EXPECT_EQ(write(Reg::AcquisitionAbort, 1), 0);
    }
}

TEST_F(SimcamFeatures, RateIsLimitedByExposureAndLink) {
    const struct {
        std::uint32_t exposure; // in tenths of a microsecond
        std::uint32_t limited;
        std::uint32_t limit; // bytes a second
        double max;
    } rows[] = {
        {1000000, 0, 0, 1 / 0.1005},
        {1000000, 1, 11520000, 5},
        {100, 0, 0, 125e6 / (1920 * 1200)},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(write(Reg::ExposureTime, row.exposure), 0);
        EXPECT_EQ(write(Reg::ThroughputLimitMode, row.limited), 0);
        if (row.limited != 0) {
            EXPECT_EQ(write(Reg::ThroughputLimit, row.limit), 0);
        }
        EXPECT_NEAR(readFloat(Reg::FrameRateMax), row.max, row.max * 1e-5);
    }
    EXPECT_EQ(write(Reg::FrameRate, bits(0.5f)), kInvalidParameter);
    EXPECT_EQ(write(Reg::FrameRate, bits(std::nanf(""))), kInvalidParameter);
    EXPECT_EQ(readFloat(Reg::FrameRate), 30.0f);
    EXPECT_EQ(write(Reg::FrameRate, bits(900.0f)), 0);
    EXPECT_EQ(write(Reg::AcquisitionStart, 1), 0);
    bench.pass(seconds(10));
    EXPECT_EQ(frames(), 542u); // 54.25 a second, not 900
}

TEST_F(SimcamFeatures, SoftwareTriggersExposeWhatTheySay) {
    const struct {
        const char* name;
        std::uint32_t trigger;
        std::uint32_t divider, multiplier, burst, delayUs;
        int fired;
        std::uint64_t frames;
        std::uint32_t missed;
    } rows[] = {
        {"frame", 1, 1, 1, 1, 0, 4, 4, 0},
        {"every second", 1, 2, 1, 1, 0, 4, 2, 0},
        {"three each", 1, 1, 3, 1, 0, 4, 12, 0},
        {"bursts", 2, 1, 1, 7, 0, 2, 14, 0},
        {"late", 1, 1, 1, 1, 2500, 4, 2, 2}, // one a millisecond: the second comes while the first waits
        {"start of the acquisition", 0, 1, 1, 1, 0, 2, 30, 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        for (std::uint32_t i = 0; i < 3; ++i) {
            EXPECT_EQ(write(Reg::TriggerMode, i == row.trigger, i), 0);
        }
        EXPECT_EQ(write(Reg::TriggerDivider, row.divider, row.trigger), 0);
        EXPECT_EQ(write(Reg::TriggerMultiplier, row.multiplier, row.trigger), 0);
        EXPECT_EQ(write(Reg::TriggerDelay, row.delayUs, row.trigger), 0);
        EXPECT_EQ(write(Reg::BurstFrameCount, row.burst), 0);
        EXPECT_EQ(write(Reg::StatisticsReset, 1), 0);
        EXPECT_EQ(write(Reg::AcquisitionStart, 1), 0);
        EXPECT_EQ(write(Reg::TriggerMode, 0, 1), kBusy);
        bench.pass(seconds(1));
        EXPECT_EQ(frames(), 0u);
        EXPECT_EQ(write(Reg::AcquisitionStatusSelector, row.trigger == 0 ? 0 : 2), 0);
        EXPECT_EQ(read(Reg::AcquisitionStatus), 1u) << "waits for its trigger";
        for (int i = 0; i < row.fired; ++i) {
            EXPECT_EQ(write(Reg::TriggerSoftware, 1, row.trigger), 0);
            bench.pass(milliseconds(1));
        }
        bench.pass(milliseconds(1000 - row.fired));
        EXPECT_EQ(frames(), row.frames);
        EXPECT_EQ(read(Reg::TriggersMissed), row.missed);
        EXPECT_EQ(write(Reg::AcquisitionStop, 1), 0);
    }
    EXPECT_EQ(write(Reg::TriggerSoftware, 1, 1), 0); // nobody waits
    EXPECT_EQ(read(Reg::TriggersMissed), 2u);
}

TEST_F(SimcamFeatures, AutomaticFunctionsSetTheirValues) {
    const struct {
        Reg automatic;
        Reg value;
        std::uint32_t other;
        std::uint32_t automaticValue;
    } rows[] = {
        {Reg::ExposureAuto, Reg::ExposureTime, 5000, 150000},
        {Reg::GainAuto, Reg::Gain, bits(3.0f), bits(6.0f)},
        {Reg::BlackLevelAuto, Reg::BlackLevel, 0x05000000, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(simcam::fact(row.automatic).name);
        EXPECT_EQ(write(row.value, row.other), 0);
        EXPECT_EQ(write(row.automatic, 1), 0);
        EXPECT_EQ(read(row.automatic), 0u) << "once is over";
        EXPECT_EQ(read(row.value), row.automaticValue);
        EXPECT_EQ(write(row.value, row.other), 0);
        EXPECT_EQ(write(row.automatic, 2), 0);
        EXPECT_EQ(read(row.automatic), 2u);
        EXPECT_EQ(write(row.value, row.other), kWriteProtect);
        EXPECT_EQ(write(row.automatic, 0), 0);
        EXPECT_EQ(write(row.value, row.other), 0);
    }
    EXPECT_EQ(write(Reg::BlackLevel, 0x00FEFFFF), 0); // little-endian -512
    EXPECT_EQ(write(Reg::BlackLevel, 0xFFFDFFFF), kInvalidParameter);
}

TEST_F(SimcamFeatures, LineSelectorSelects) {
    EXPECT_EQ(write(Reg::LineSelector, 2), 0);
    EXPECT_EQ(write(Reg::LineSource, 1), 0);
    EXPECT_EQ(write(Reg::LineSelector, 3), 0);
    EXPECT_EQ(read(Reg::LineSource), 0u);
    EXPECT_EQ(write(Reg::LineInverter, 1), 0);
    EXPECT_EQ(read(Reg::LineStatus), 1u);
    EXPECT_EQ(read(Reg::LineStatusAll), 8u);
    EXPECT_EQ(write(Reg::UserOutputs, 0x01000000), 0);
    EXPECT_EQ(read(Reg::LineStatusAll), 12u);
    EXPECT_EQ(write(Reg::UserOutputMask, 0x02000000), 0);
    EXPECT_EQ(write(Reg::UserOutputs, 0x02000000), 0);
    EXPECT_EQ(read(Reg::UserOutputs), 0x03000000u) << "the mask keeps the first";
    EXPECT_EQ(write(Reg::LineSelector, 2), 0);
    EXPECT_EQ(read(Reg::LineSource), 1u);
    EXPECT_EQ(write(Reg::LineSelector, 0), 0);
    EXPECT_EQ(write(Reg::LineMode, 1), kWriteProtect) << "an input";
    EXPECT_EQ(write(Reg::LineSelector, 4), kInvalidParameter);
}

TEST_F(SimcamFeatures, CountersAndTimersRun) {
    EXPECT_EQ(read(Reg::CounterStatus), 0u);
    EXPECT_EQ(write(Reg::CounterEventSource, 1), 0);
    EXPECT_EQ(write(Reg::CounterEventSource, 2, 1), 0);
    EXPECT_EQ(write(Reg::CounterDuration, 40), 0);
    EXPECT_EQ(write(Reg::TimerTriggerSource, 1), 0);
    EXPECT_EQ(write(Reg::TimerDelay, 1000000), 0);
    EXPECT_EQ(write(Reg::TimerDuration, 500000), 0);
    EXPECT_EQ(write(Reg::AcquisitionStart, 1), 0);
    bench.pass(milliseconds(1200));
    EXPECT_EQ(read(Reg::CounterValue), 36u);
    EXPECT_EQ(read(Reg::CounterValue, 1), 1200000u);
    EXPECT_EQ(read(Reg::CounterStatus), 1u);
    EXPECT_EQ(read(Reg::TimerValue), 200000u);
    EXPECT_EQ(read(Reg::TimerStatus), 1u);
    bench.pass(milliseconds(800));
    EXPECT_EQ(read(Reg::CounterValue), 40u);
    EXPECT_EQ(read(Reg::CounterStatus), 2u);
    EXPECT_EQ(read(Reg::TimerValue), 500000u);
    EXPECT_EQ(read(Reg::TimerStatus), 2u);
    EXPECT_EQ(write(Reg::CounterEventSource, 1, 1), 0);
    EXPECT_EQ(read(Reg::CounterValue, 1), 2000000u) << "a new source goes on from there";
    EXPECT_EQ(write(Reg::CounterReset, 1, 1), 0);
    EXPECT_EQ(read(Reg::CounterValueAtReset, 1), 2000000u);
    EXPECT_EQ(read(Reg::CounterValue, 1), 0u);
    EXPECT_EQ(write(Reg::TimerReset, 1), 0);
    EXPECT_EQ(read(Reg::TimerStatus), 0u);
    EXPECT_EQ(write(Reg::CounterEventSource, 0, 1), 0);
    bench.pass(seconds(1));
    EXPECT_EQ(read(Reg::CounterValue, 1), 0u);
}

TEST_F(SimcamFeatures, LoadingAUserSetHasTheConsequencesOfWriting) {
    EXPECT_EQ(write(Reg::CounterEventSource, 2), 0);
    bench.pass(seconds(1));
    EXPECT_EQ(write(Reg::CounterReset, 1), 0);
    bench.pass(milliseconds(5));
    EXPECT_EQ(write(Reg::UserSetLoad, 1), 0); // the default set counts nothing
    bench.pass(seconds(1));
    EXPECT_EQ(read(Reg::CounterValue), 5000u);
}

TEST_F(SimcamFeatures, UserSetsKeepSettingsAndNothingElse) {
    EXPECT_EQ(write(Reg::UserSetSave, 1), kWriteProtect) << "the default set";
    EXPECT_EQ(write(Reg::Width, 640), 0);
    EXPECT_EQ(write(Reg::OffsetX, 1280), 0);
    EXPECT_EQ(write(Reg::LineSelector, 3), 0);
    EXPECT_EQ(write(Reg::LineSource, 2), 0);
    EXPECT_EQ(write(Reg::LutValue, 77, 511), 0);
    EXPECT_EQ(write(Reg::UserSetSelector, 1), 0);
    EXPECT_EQ(write(Reg::UserSetSave, 1), 0);
    EXPECT_EQ(write(Reg::UserSetSelector, 0), 0);
    EXPECT_EQ(write(Reg::PersistentIp, 0x0A000001), 0);
    EXPECT_EQ(write(Reg::UserSetLoad, 1), 0);
    EXPECT_EQ(read(Reg::UserSetLoad), 0u);
    EXPECT_EQ(read(Reg::Width), 1920u);
    EXPECT_EQ(read(Reg::OffsetX), 0u);
    EXPECT_EQ(read(Reg::LineSource), 0u);
    EXPECT_EQ(read(Reg::LutValue, 511), 4095u);
    EXPECT_EQ(read(Reg::LineSelector), 3u) << "no setting";
    EXPECT_EQ(read(Reg::PersistentIp), 0x0A000001u) << "no setting";
    EXPECT_EQ(write(Reg::BinningHorizontal, 3), 0);
    EXPECT_EQ(write(Reg::UserSetSelector, 1), 0);
    EXPECT_EQ(write(Reg::UserSetLoad, 1), 0);
    EXPECT_EQ(read(Reg::Width), 640u) << "cut by the binning that was set when loading began";
    EXPECT_EQ(read(Reg::OffsetX), 1280u);
    EXPECT_EQ(read(Reg::LineSource), 2u);
    EXPECT_EQ(read(Reg::LutValue, 511), 77u);
}

TEST_F(SimcamFeatures, ClocksAndTemperaturesMove) {
    const float cold = readFloat(Reg::Temperature);
    EXPECT_EQ(write(Reg::AcquisitionStart, 1), 0);
    bench.pass(seconds(120));
    EXPECT_GT(readFloat(Reg::Temperature), cold + 5);
    EXPECT_NE(readFloat(Reg::Temperature, 1), readFloat(Reg::Temperature));
    EXPECT_EQ(write(Reg::TimestampLatch, 1), 0);
    EXPECT_EQ(write(Reg::TimestampControl, 2), 0);
    EXPECT_EQ(bench.readMemory(at(Reg::TimestampLatched), 8), be32(3) + be32(0x7E11D600)); // 120 s of 8 ns
    EXPECT_EQ(bench.readMemory(at(Reg::TimestampHigh), 8), be32(3) + be32(0x7E11D600));
    EXPECT_EQ(bench.readMemory(at(Reg::Uptime), 8), (Bytes{0, 0x0E, 0x27, 0x07, 0, 0, 0, 0})); // 120 000 000
    EXPECT_EQ(write(Reg::TimestampControl, 1), 0);
    bench.pass(milliseconds(8));
    EXPECT_EQ(write(Reg::TimestampLatch, 1), 0);
    EXPECT_EQ(bench.readMemory(at(Reg::TimestampLatched), 8), be32(0) + be32(1000000));
    EXPECT_EQ(write(Reg::TimestampReset, 1), 0);
    EXPECT_EQ(write(Reg::TimestampLatch, 1), 0);
    EXPECT_EQ(bench.readMemory(at(Reg::TimestampLatched), 8), Bytes(8));
    EXPECT_EQ(read(Reg::TimestampLatched), 0u) << "half of a register reads, too";
}

TEST_F(SimcamFeatures, StreamAndInterfaceRegistersKeepWhatTheyCan) {
    const struct {
        Reg reg;
        std::uint32_t written;
        std::uint32_t read;
    } rows[] = {
        {Reg::StreamPacketSize, 1500, 1500},
        {Reg::StreamPacketSize, 0xC00005DE, 0x400005DC}, // a test packet, and no multiple of 4
        {Reg::StreamPacketSize, 100, 220},
        {Reg::StreamPacketSize, 60000, 9000},
        {Reg::StreamPort, 0xFFFF05F0, 0x05F0},
        {Reg::InterfaceConfiguration, 3, 5},
        {Reg::InterfaceConfiguration, 0, 4},
        {Reg::GvcpConfiguration, 0xFFFFFFFE, 2},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(write(row.reg, row.written), 0);
        EXPECT_EQ(read(row.reg), row.read) << simcam::fact(row.reg).name << " " << row.written;
    }
    EXPECT_EQ(bench.writeMemory(at(Reg::UserDefinedName), Bytes(16, 'n')), 0);
    EXPECT_EQ(bench.camera->registers().text(Reg::UserDefinedName), std::string(16, 'n'));
}

TEST(SimcamPlainMemory, IsThereForDescriptionsOfOthers) {
    Bench bench(ethernet::Settings{{"registers", "plain"}});
    bench.takeControl();
    EXPECT_EQ(bench.readMemory(0x12345000, 64), Bytes(64));
    EXPECT_EQ(bench.writeMemory(0xA0000FF8, Bytes(16, 7)), 0); // across two pages
    EXPECT_EQ(bench.readMemory(0xA0000FF4, 24), Bytes(4) + Bytes(16, 7) + Bytes(4));
    EXPECT_EQ(bench.write(0x0048, 1), kWriteProtect) << "bootstrap registers stay what they are";
    EXPECT_EQ(bench.write(0xA110, 3), 0) << "and nothing else has a meaning";
    std::uint32_t pages = 2;
    while (bench.write(0x10000000 + pages * 4096, 1) == 0) {
        ASSERT_LT(++pages, 5000u);
    }
    EXPECT_EQ(pages, 4095u) << "memory has an end";
}

} // namespace
