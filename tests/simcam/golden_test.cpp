// The camera against the annotated frames: it takes each command as the host sends it and answers with
// exactly the bytes that stand in the acknowledgement's file.
#include "harness.h"
#include "support/golden.h"

namespace {

using namespace simcam_test;

const ethernet::Settings kGoldenCamera{
    {"registers", "plain"},
    {"vendor", "Golden Optics"},
    {"model", "GO-1"},
    {"info", "annotated"},
    {"serial", "G0001"},
    {"name", "left"},
    {"first-url", "Local:go.zip;40000000;1A2B"}};

TEST(SimcamGolden, EachCommandGetsItsAcknowledgement) {
    const struct {
        const char* command;
        const char* answer;
        bool controlled; // the host has taken control before
    } rows[] = {
        {"arp_request_to_camera", "arp_reply_of_camera", false},
        {"discovery_cmd", "discovery_ack", false},
        {"forceip_cmd", "forceip_ack", false},
        {"readreg_cmd", "readreg_ack", true},
        {"writereg_cmd", "writereg_ack", false},
        {"readmem_cmd", "readmem_ack", false},
        {"writemem_cmd", "writemem_ack", true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.command);
        Bench bench(kGoldenCamera);
        if (row.controlled) {
            bench.host.nextId = 0x7000;
            bench.takeControl();
        }
        const auto sent = bench.exchange(golden::load(row.command));
        ASSERT_EQ(sent.size(), 1u);
        EXPECT_EQ(sent.front(), golden::load(row.answer));
    }
}

} // namespace
