// The camera's own registers do what the description says of them, in the camera's time, and its memory holds
// the description. Refusals are 8002 for an invalid value, 8004 for write protection, 8007 while the camera
// is busy.
#include "harness.h"

namespace {

using namespace simcam_test;

TEST(SimcamFeatures, Behave) {
    const struct {
        const char* name;
        const char* steps;
    } rows[] = {
        {"sizes fit the sensor",
         "Width=640; PayloadSize?768000; Height=480; PayloadSize?307200; Width=642!8002; Height=481!8002;"
         "Width=12!8002; Width?640; Height?480; OffsetX=1280; OffsetX=1284!8002; OffsetX?1280;"
         "Width=644!8002; WidthMax=100!8004; WidthMax?1920"},
        {"formats have their bits and filters",
         "Width=640; Height=480; PixelFormat=0x010C0006; PayloadSize?460800; PixelFormat=0x02180014;"
         "PayloadSize?921600; PixelFormat=0x01080002!8002; PixelFormat?0x2180014; PixelColorFilter?0;"
         "PixelFormat=0x01080009; PixelColorFilter?1; TestPattern=7; TestPattern=8!8002; TestPattern?7"},
        {"coarser images are smaller",
         "Width=640; OffsetX=1280; BinningHorizontal=1; WidthMax?960; Width?640; OffsetX?320;"
         "DecimationHorizontal=0x03000000; WidthMax?320; Width?320; OffsetX?0; BinningHorizontal=2;"
         "WidthMax?212; Width?212; DecimationHorizontal=0x05000000!8002; BinningHorizontal=4!8002;"
         "BinningHorizontal?2; BinningHorizontal=0; DecimationHorizontal=0x01000000; WidthMax?1920"},
        {"frames come by the clock",
         "Width=640; Height=480; FrameRate=25; StreamDestination=0xA9FE072A; StreamPort=1520;"
         "AcquisitionStart=1; AcquisitionStart?0; DeviceStatus?7; Width=320!8007; UserSetLoad=1!8007;"
         "PixelFormat=0x01100003!8007; TriggerMode#1=0!8007; +10010; FramesSent?250;"
         "PacketsSent?53000; BytesSent?0x1828B10400000000;" // of 210 packets of 1500 bytes, leader, trailer
         "FrameRate=50; +1000; FramesSent?300; StreamPort=0; +1000; FramesSent?300; PacketsSent?63600;"
         "AcquisitionStop=1; +5000; FramesSent?300; DeviceStatus?5; StatisticsReset=1; FramesSent?0;"
         "Width=320"},
        {"five frames",
         "StreamDestination=0xA9FE072A; StreamPort=1520; AcquisitionMode=2;"
         "AcquisitionFrameCount=5; AcquisitionStart=1; +10000; FramesSent?5; DeviceStatus?5; AcquisitionStart=1; +10000; FramesSent?10"},
        {"exposure and link limit the rate",
         "ExposureTime=1000000; FrameRateMax?9.95025; ThroughputLimitMode=1; ThroughputLimit=11520000;"
         "FrameRateMax?5; ThroughputLimitMode=0; ExposureTime=100; FrameRateMax?54.2535; FrameRate=0.5!8002;"
         "FrameRate=nan!8002; FrameRate?30; FrameRate=900; StreamDestination=0xA9FE072A;"
         "StreamPort=1520; AcquisitionStart=1; +1020; FramesSent?54"},
        {"automatic functions set their values",
         "ExposureTime=5000; ExposureAuto=1; ExposureAuto?0; ExposureTime?150000; ExposureTime=5000;"
         "ExposureAuto=2; ExposureAuto?2; ExposureTime?150000; ExposureTime=5000!8004; ExposureAuto=0;"
         "ExposureTime=5000; Gain=3; GainAuto=2; Gain?6; Gain=3!8004; BlackLevel=0x05000000;"
         "BlackLevelAuto=1; BlackLevel?0; BlackLevel=0x00FEFFFF; BlackLevel=0xFFFDFFFF!8002"}, // -512, -513
        {"lines are kept behind their selector",
         "LineSelector=2; LineSource=1; LineSelector=3; LineSource?0; LineInverter=1; LineStatus?1;"
         "LineStatusAll?8; UserOutputs=0x01000000; LineStatusAll?12; LineSelector=2; LineInverter=1; "
         "LineStatusAll?8; UserOutputMask=0x02000000;"
         "UserOutputs=0x02000000; UserOutputs?0x3000000; LineSelector=2; LineSource?1; LineSelector=0;"
         "LineMode=1!8004; LineSelector=4!8002"},
        {"counters and timers run",
         "CounterStatus?0; CounterEventSource=1; CounterEventSource#1=2; CounterDuration=40;"
         "TimerTriggerSource=1; TimerDelay=1000000; TimerDuration=500000; AcquisitionStart=1; +1200;"
         "CounterValue?36; CounterValue#1?1200000; CounterStatus?1; TimerValue?200000; TimerStatus?1; +800;"
         "CounterValue?40; CounterStatus?2; TimerValue?500000; TimerStatus?2; CounterEventSource#1=1;"
         "CounterValue#1?2000000; CounterReset#1=1; CounterValueAtReset#1?2000000; CounterValue#1?0;"
         "TimerReset=1; TimerStatus?0; CounterEventSource#1=0; +1000; CounterValue#1?0"},
        {"user sets keep settings and nothing else",
         "UserSetSave=1!8004; Width=640; OffsetX=1280; LineSelector=3; LineSource=2; LutValue#511=77;"
         "UserSetSelector=1; UserSetSave=1; UserSetSelector=0; PersistentIp=0x0A000001; UserSetLoad=1;"
         "UserSetLoad?0; Width?1920; OffsetX?0; LineSource?0; LutValue#511?4095; LineSelector?3;"
         "PersistentIp?0xA000001; BinningHorizontal=3; UserSetSelector=1; UserSetLoad=1; Width?640;"
         "OffsetX?1280; LineSource?2; LutValue#511?77; BinningHorizontal?0"},
        {"loading a user set has the consequences of writing", // the default set counts nothing
         "CounterEventSource=2; +1000; CounterReset=1; +5; UserSetLoad=1; +1000; CounterValue?5000"},
        {"timestamps run, latch and restart", // 120 s are 15000000000 ticks
         "+120000; TimestampLatch=1; TimestampControl=2; TimestampLatched?15000000000; TimestampHigh?3;"
         "TimestampLow?0x7E11D600; Uptime?0xE270700000000; TimestampControl=1; +8; TimestampLatch=1;"
         "TimestampLatched?1000000; TimestampReset=1; TimestampLatch=1; TimestampLatched?0"},
        {"stream and interface keep what they can", // a test packet is not sent, sizes are multiples of 4
         "StreamPacketSize=1500; StreamPacketSize?1500; StreamPacketSize=0xC00005DE;"
         "StreamPacketSize?0x400005DC; StreamPacketSize=100; StreamPacketSize?220; StreamPacketSize=60000;"
         "StreamPacketSize?9000; StreamPort=0xFFFF05F0; StreamPort?0x5F0; InterfaceConfiguration=3;"
         "InterfaceConfiguration?5; InterfaceConfiguration=0; InterfaceConfiguration?4;"
         "GvcpConfiguration=0xFFFFFFFE; GvcpConfiguration?2"},
    };
    for (const auto& row : rows) {
        Bench bench;
        bench.takeControl();
        run(bench, row.name, row.steps);
    }
}

TEST(SimcamFeatures, SoftwareTriggersExposeWhatTheySay) {
    const struct {
        const char* name;
        const char* trigger; // its index
        const char* settings;
        int fired; // one a millisecond
        const char* results;
    } rows[] = {
        {"frame", "1", "", 4, "FramesSent?4; TriggersMissed?0; TriggerSoftware=1; TriggersMissed?1"},
        {"every second", "1", "TriggerDivider#1=2;", 3, "FramesSent?1; TriggersMissed?0"},
        {"three each", "1", "TriggerMultiplier#1=3;", 4, "FramesSent?12"},
        {"bursts", "2", "BurstFrameCount=7;", 2, "FramesSent?14"},
        {"late", "1", "TriggerDelay#1=2500;", 4, "FramesSent?2; TriggersMissed?2"}, // come while one waits
        {"from a line", "1", "TriggerSource#1=1;", 2, "FramesSent?0; TriggersMissed?2"},
        {"of the acquisition", "0", "", 2, "FramesSent?30; TriggersMissed?1"},
    };
    for (const auto& row : rows) {
        Bench bench;
        bench.takeControl();
        const std::string trigger = row.trigger;
        const std::string state = trigger == "0" ? "0" : "2"; // waits for the acquisition's or a frame's
        run(bench, row.name,
            "Width=64; Height=64; StreamDestination=0xA9FE072A; StreamPort=1520;" +
                (row.settings + ("TriggerMode#" + trigger)) + "=1; AcquisitionStart=1; +1000; FramesSent?0;" +
                "AcquisitionStatusSelector=" + state + "; AcquisitionStatus?1");
        for (int i = 0; i < row.fired; ++i) {
            run(bench, row.name, "TriggerSoftware#" + trigger + "=1; +1");
        }
        bench.live(milliseconds(1001 - row.fired));
        run(bench, row.name, row.results);
    }
}

TEST(SimcamPlainMemory, IsThereForDescriptionsOfOthers) {
    Bench bench(ethernet::Settings{{"registers", "plain"}});
    bench.takeControl();
    EXPECT_EQ(bench.read(0x12345000, 64), Bytes(64));
    EXPECT_EQ(bench.command(0x86, be32(0xA0000FF8) + Bytes(16, 7)).status, 0); // across two pages
    EXPECT_EQ(bench.read(0xA0000FF4, 24), Bytes(4) + Bytes(16, 7) + Bytes(4));
    EXPECT_EQ(bench.command(0x84, be32(0xFFFFFFFC) + be32(16)).status, 0x8003) << "around the end";
    EXPECT_EQ(bench.write(0x0048, 1), 0x8004) << "bootstrap registers stay what they are";
    EXPECT_EQ(bench.write(0xA110, 3), 0) << "and nothing else has a meaning";
    std::uint32_t pages = 2;
    while (bench.write(0x10000000 + pages * 4096, 1) == 0) {
        ASSERT_LT(++pages, 5000u);
    }
    EXPECT_EQ(pages, 4095u) << "memory has an end";
}

TEST(SimcamFiles, EndWhereTheSettingSays) {
    const struct {
        const char* ending;
        std::uint32_t count;
        int status;
    } rows[] = {{"padded", 40, 0}, {"padded", 44, 0x8003}, {"exact", 36, 0}, {"exact", 40, 0x8003}};
    for (const auto& row : rows) {
        Bench bench({{"file-end", row.ending}, {"description-text", std::string(35, 'x')}});
        const Ack ack = bench.command(0x84, be32(0x48000000) + be32(row.count));
        EXPECT_EQ(ack.status, row.status) << row.ending << " " << row.count;
    }
}

} // namespace
