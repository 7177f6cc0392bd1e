// The camera on a real wire: its choice of an address, reboots, slow writes, and faults of the wire.
#include "harness.h"
#include "support/golden.h"

#include <algorithm>
#include <set>
#include <sstream>

namespace {

using namespace simcam_test;
using simcam::Reg;

constexpr int kInvalidParameter = 0x8002;

std::uint32_t ipAt(const Bytes& frame, std::size_t at) {
    return simcam::Reader(simcam::ByteView(frame).subspan(at)).u32();
}

// What is sent within a time, with the milliseconds that passed before each frame.
std::vector<std::pair<std::int64_t, Bytes>> watch(Bench& bench, milliseconds time) {
    std::vector<std::pair<std::int64_t, Bytes>> sent;
    const auto start = bench.now;
    while (bench.now < start + time) {
        const auto next = bench.camera->deadline().value_or(start + time);
        bench.now = std::max(bench.now, std::min(next, start + time));
        for (const Bytes& frame : bench.due()) {
            sent.emplace_back((bench.now - start) / milliseconds(1), frame);
        }
    }
    return sent;
}

// --- link-local addresses ---

TEST(SimcamLinkLocal, ProbesThreeTimesAndAnnouncesTwice) {
    std::set<std::uint32_t> chosen;
    for (const char* mac : {"02:11:22:33:44:55", "02:11:22:33:44:56", "02:11:22:33:44:55"}) {
        Bench bench(ethernet::Settings{{"mac", mac}, {"ip", "link-local"}});
        const auto sent = watch(bench, milliseconds(60000));
        ASSERT_EQ(sent.size(), 5u);
        const std::uint32_t ip = ipAt(sent[0].second, 38);
        chosen.insert(ip);
        EXPECT_TRUE(ip >= 0xA9FE0100 && ip <= 0xA9FEFEFF) << ip;
        const std::pair<int, int> pauses[] = {
            {0, 1000}, {1000, 2000}, {1000, 2000}, {2000, 2000}, {2000, 2000}};
        std::int64_t before = 0;
        for (std::size_t i = 0; i < sent.size(); ++i) {
            const auto& [time, frame] = sent[i];
            EXPECT_EQ(part(frame, 0, 6), Bytes(6, 0xFF));
            EXPECT_EQ(part(frame, 20, 2), be16(1)) << "a request";
            EXPECT_EQ(ipAt(frame, 28), i < 3 ? 0 : ip) << "probes have no sender";
            EXPECT_EQ(ipAt(frame, 38), ip);
            EXPECT_TRUE(time - before >= pauses[i].first && time - before <= pauses[i].second)
                << time - before;
            before = time;
        }
        EXPECT_EQ(bench.camera->registers().get(Reg::CurrentIp), ip);
    }
    EXPECT_EQ(chosen.size(), 2u) << "the choice follows from the MAC address";
}

// Steps: "+ms" passes; "use", "probe" and "ask" are ARP messages of another station, with the address as its
// own, to find out whether it is free, to talk to its owner; "own" is the probe come back.
TEST(SimcamLinkLocal, MeetsConflicts) {
    const struct {
        const char* name;
        const char* steps;
        bool claimed;
        bool another; // address than at first
        int announcements;
    } rows[] = {
        {"nothing happens", "+9000", true, false, 2},
        {"in use while probing", "+1500 use +9000", true, true, 2},
        {"two probe at once", "+1500 probe +9000", true, true, 2},
        {"the own probe comes back", "+1500 own +9000", true, false, 2},
        {"somebody asks while probing", "+1500 ask +9000", true, false, 2},
        {"somebody probes later", "+9000 probe ask", true, false, 2},
        {"defended", "+9000 use", true, false, 3},
        {"given up", "+9000 use +9000 use", false, true, 3},
        {"given up and another taken", "+9000 use +9000 use +9000", true, true, 5},
        {"defended again after ten seconds", "+9000 use +10000 use", true, false, 4},
        {"after ten conflicts", "use use use use use use use use use use +9000", true, true, 2},
        {"after more it takes its time", "use use use use use use use use use use use +60000", false, true,
         0},
    };
    constexpr simcam::Mac kOwn = 0x021122334455;
    for (const auto& row : rows) {
        simcam::Time now{std::chrono::hours(1)};
        simcam::LinkLocal machine(kOwn, milliseconds(1000));
        machine.start(now);
        const std::uint32_t first = machine.address();
        int announcements = 0;
        std::istringstream steps(row.steps);
        for (std::string step; steps >> step;) {
            const auto end = now + milliseconds(step[0] == '+' ? std::stoi(step) : 0);
            while (machine.deadline() && *machine.deadline() <= end) {
                now = *machine.deadline();
                announcements += machine.advance(now) == simcam::LinkLocal::Act::Announce;
            }
            now = end;
            const std::uint32_t sender = step == "use" ? machine.address() : step == "ask" ? 0xA9FE0001 : 0;
            const simcam::ArpMessage arp{true, {step == "own" ? kOwn : 7, sender, 0}, machine.address()};
            const bool heard = step[0] != '+' && machine.heard(arp, now) == simcam::LinkLocal::Act::Announce;
            announcements += heard;
        }
        EXPECT_EQ(machine.claimed(), row.claimed) << row.name;
        EXPECT_EQ(machine.address() != first, row.another) << row.name;
        EXPECT_EQ(announcements, row.announcements) << row.name;
    }
}

// A frame as another station with the camera's address sends it.
Bytes arpOf(std::uint32_t sender, std::uint32_t target) {
    Bytes frame = golden::load("arp_request_to_camera");
    std::ranges::copy(be32(sender), frame.begin() + 28);
    std::ranges::copy(be32(target), frame.begin() + 38);
    return frame;
}

TEST(SimcamAddress, IsLostWithControlAndFoundAgain) {
    std::vector<std::string> notices;
    Bench bench(ethernet::Settings{{"ip", "link-local"}}, [&](simcam::Notice, const std::string& line) {
        notices.push_back(line);
    });
    EXPECT_TRUE(bench.exchange(arpOf(0xA9FE0001, 0)).empty()) << "0 is nobody's address";
    const Bytes discovery = bench.frame(bench.host, Bench::message(0x02, 5, {}), true);
    EXPECT_TRUE(bench.exchange(discovery).empty()) << "it has nothing to answer from";
    watch(bench, milliseconds(9000));
    const std::uint32_t ip = bench.camera->station().ip().address;
    const auto reply = bench.exchange(arpOf(0xA9FE0001, ip));
    ASSERT_EQ(reply.size(), 1u);
    EXPECT_EQ(part(reply[0], 0, 6), Bytes(6, 0xFF)) << "link-local replies go to all";
    EXPECT_EQ(bench.exchange(discovery).size(), 1u);
    bench.cameraIp = ip;
    bench.takeControl();
    bench.exchange(arpOf(ip, ip));
    bench.exchange(arpOf(ip, ip));
    EXPECT_FALSE(bench.camera->report(bench.now).controller);
    EXPECT_EQ(bench.camera->registers().get(Reg::CurrentIp), 0u);
    watch(bench, milliseconds(9000));
    EXPECT_NE(bench.camera->station().ip().address, ip);
    EXPECT_EQ(notices.size(), 6u) << "address, control, defended, given up, control gone, address";
}

// What a FORCEIP comes to, by the address of the settings and by those that are forced one after the other.
TEST(SimcamAddress, IsForced) {
    const struct {
        const char* name;
        const char* own;
        std::vector<std::uint32_t> forced;
        std::uint32_t mask;
        int status; // of the last; -1: not answered
        std::uint32_t ip;
    } rows[] = {
        {"while it looks for one", "link-local", {0x0A000005}, 0xFF000000, 0, 0x0A000005},
        {"back to its own", "169.254.7.100", {0x0A000005, 0}, 0xFF000000, 0, 0xA9FE0764},
        {"back to looking for one", "link-local", {0x0A000005, 0}, 0xFF000000, -1, 0},
        {"a group's", "169.254.7.100", {0xE0000001}, 0xFF000000, kInvalidParameter, 0xA9FE0764},
        {"everybody's", "169.254.7.100", {0xFFFFFFFF}, 0xFF000000, kInvalidParameter, 0xA9FE0764},
        {"with holes in the mask", "169.254.7.100", {0x0A000005}, 0xFF00FF00, kInvalidParameter, 0xA9FE0764},
    };
    for (const auto& row : rows) {
        Bench bench(ethernet::Settings{{"ip", row.own}});
        std::vector<Bytes> sent;
        for (const std::uint32_t ip : row.forced) {
            const Bytes payload = Bytes(2) + Bytes{0x02, 0x11, 0x22, 0x33, 0x44, 0x55} + Bytes(12) +
                                  be32(ip) + Bytes(12) + be32(row.mask) + Bytes(16);
            const Bytes message = Bench::message(0x04, bench.host.nextId++, payload, 0x11);
            sent = bench.exchange(bench.frame(bench.host, message, true));
        }
        EXPECT_EQ(sent.empty() ? -1 : ackOf(sent[0]).status, row.status) << row.name;
        EXPECT_EQ(bench.camera->report(bench.now).ip.address, row.ip) << row.name;
    }
}

// --- reboots ---

TEST(SimcamReboot, KeepsWhatIsKeptWithoutPower) {
    Bench bench(ethernet::Settings{{"name", "factory"}, {"set", "OffsetX=16;0xA114=600"}});
    run(bench, "before",
        "Privilege=2; OffsetX?16; Height?600; Height=64; Width=64; UserSetSelector=1; UserSetSave=1; "
        "Width=32; UserSetDefault=1;"
        "HeartbeatTimeout=9000; PersistentIp=0x0A000007; PersistentSubnetMask=0xFF000000;"
        "InterfaceConfiguration=5; StreamPort=1520; AcquisitionStart=1");
    ASSERT_EQ(bench.command(0x86, be32(0x00E8) + Bytes(16, 'n')).status, 0);
    const Bytes question = bench.frame(bench.host, Bench::message(0x80, 900, be32(0x0A00)));
    bench.camera->reboot(bench.now, milliseconds(500));
    bench.pass(milliseconds(499));
    EXPECT_TRUE(bench.exchange(question).empty()) << "silent";
    EXPECT_EQ(bench.camera->deadline(), bench.now + milliseconds(1));
    bench.pass(milliseconds(1));
    EXPECT_TRUE(bench.due().empty());
    EXPECT_EQ(bench.camera->report(bench.now).ip.address, 0x0A000007u) << "its persistent address";
    bench.cameraIp = 0x0A000007;
    run(bench, "after",
        "Privilege?0; Width?64; Height?600; UserSetSelector?0; UserSetDefault?1; HeartbeatTimeout?3000;"
        "PersistentIp?0xA000007; InterfaceConfiguration?5; StreamPort?0; FramesSent?0; DeviceStatus?1;"
        "Privilege=2; UserSetSelector=1; UserSetLoad=1; Width?64; InterfaceConfiguration=4");
    EXPECT_EQ(bench.read(0x00E8, 16), Bytes(16, 'n'));
    bench.camera->reboot(bench.now, milliseconds(0));
    bench.due();
    EXPECT_EQ(bench.camera->report(bench.now).ip.address, 0xA9FE0764u) << "switched off";
}

// What arrives before anybody has asked what is due, as when the camera's thread comes late, is not lost.
TEST(SimcamReboot, HearsAsSoonAsItSaysThatItIsNotSilent) {
    for (const bool asked : {false, true}) {
        Bench bench;
        bench.camera->reboot(bench.now, milliseconds(5));
        bench.now += milliseconds(5);
        EXPECT_EQ(asked && bench.camera->report(bench.now).silent, false);
        const Bytes question = bench.frame(bench.host, Bench::message(0x80, 900, be32(0x0A00)));
        bench.camera->receive(question, bench.now);
        EXPECT_EQ(bench.due().size(), 1U) << asked;
    }
}

TEST(SimcamReboot, WhatIsKeptStandsInAFile) {
    Bench bench;
    run(bench, "written", "Privilege=2; Gain#2=3.5; UserSetSelector=2; UserSetSave=1");
    const auto kept = bench.camera->changedNonvolatile();
    ASSERT_TRUE(kept);
    EXPECT_FALSE(bench.camera->changedNonvolatile()) << "once";
    const std::string text = simcam::nonvolatileText(*kept);
    std::string error;
    EXPECT_EQ(simcam::parseNonvolatile(text, error), kept) << error;
    const char* const damaged[] = {
        "Width = 00000040",              // kept in user sets only
        "UserSet1/Width = 00000005",     // below its limit
        "UserSet0/Width = 00000040",     // the set that never changes
        "UserSet1/Width = 0000040",      // half a byte
        "UserSet1/Width = 0000004G",     // no digit
        "UserSetDefault = 00000003",     // likewise
        "UserSet1/FrameRate = 7FC00000", // no number
        "=",                             // no entries
    };
    for (const char* line : damaged) {
        EXPECT_FALSE(simcam::parseNonvolatile(std::string("# sound\n") + line, error)) << line;
        EXPECT_EQ(error, "line 2 is not what a camera keeps");
    }
    for (std::size_t size = 0; size < text.size(); size += 97) { // never worse than an error
        simcam::parseNonvolatile(text.substr(0, size), error);
    }
}

// --- slow writes ---

TEST(SimcamSlowWrite, IsAnnouncedAndAnsweredWhenItIsDone) {
    const Bytes width = be32(0xA110) + be32(64);
    const struct {
        const char* name;
        const char* slow;
        const char* announces;
        std::uint16_t code;
        Bytes payload;
        int atOnce;              // code of what is sent at once, 0 for nothing
        int later;               // after 300 ms
        const char* before = ""; // the write
    } rows[] = {
        {"any", "300", "always", 0x82, width, 0x89, 0x83},
        {"by memory", "300", "always", 0x86, width, 0x89, 0x87},
        {"of the standard", "300", "always", 0x82, be32(0x0938) + be32(9000), 0x83, 0},
        {"of another", "300 Height;0", "always", 0x82, width, 0x83, 0},
        {"of one among two", "300 0xA114", "always", 0x82, width + be32(0xA114) + be32(64), 0x89, 0x83},
        {"refused", "300", "always", 0x82, be32(0xA110) + be32(5), 0x83, 0},
        {"read", "300", "always", 0x80, be32(0xA110), 0x81, 0},
        {"not asked for", "300", "asked", 0x82, width, 0, 0x83},
        {"asked for", "300", "asked", 0x82, width, 0x89, 0x83, "GvcpConfiguration=2"},
        {"never", "300", "never", 0x82, width, 0, 0x83, "GvcpConfiguration=2"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Bench bench({{"slow-write", row.slow}, {"pending-ack", row.announces}});
        bench.takeControl();
        run(bench, "before", row.before);
        const Bytes command = bench.frame(bench.host, Bench::message(row.code, 77, row.payload));
        const auto codeOf = [](const std::vector<Bytes>& sent) {
            return sent.empty() ? 0 : ackOf(sent[0]).code;
        };
        const auto sent = bench.exchange(command);
        EXPECT_EQ(codeOf(sent), row.atOnce);
        bench.pass(milliseconds(100));
        const auto again = bench.exchange(command); // a host that has lost its patience
        EXPECT_EQ(codeOf(again), row.atOnce);
        if (row.atOnce == 0x89) {
            EXPECT_EQ(ackOf(sent.at(0)).payload, be32(300));
            EXPECT_EQ(ackOf(again.at(0)).payload, be32(200));
            EXPECT_EQ(ackOf(again.at(0)).id, 77);
        }
        bench.pass(milliseconds(199));
        EXPECT_TRUE(bench.due().empty());
        bench.pass(milliseconds(1));
        const auto late = bench.due();
        EXPECT_EQ(codeOf(late), row.later);
        EXPECT_LE(late.size(), 1u) << "one command, one answer";
    }
}

// --- faults of the wire ---

TEST(SimcamLinkFaults, StrikeTheDirectionsThatTheyAreMeantFor) {
    const struct {
        const char* faults;
        std::uint64_t heard; // commands, of three
        std::size_t atOnce;
        std::size_t later; // after 20 ms
    } rows[] = {
        {"", 3, 3, 0},
        {"drop=1", 0, 0, 0},
        {"out-drop=1", 3, 0, 0},
        {"in-duplicate=1", 6, 6, 0},
        {"duplicate=1", 6, 12, 0},
        {"out-reorder=1", 3, 0, 3},
        {"in-reorder=1", 0, 0, 3},
        {"out-delay=1 delay-min=20 delay-max=20", 3, 0, 3},
        {"in-corrupt=1 seed=5", 0, 0, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.faults);
        Bench bench(ethernet::Settings{{"link-faults", row.faults}});
        std::size_t sent = 0;
        for (std::uint16_t id = 1; id <= 3; ++id) {
            sent += bench.exchange(bench.frame(bench.host, Bench::message(0x80, id, be32(0xA110)))).size();
        }
        EXPECT_EQ(bench.camera->log().total(), row.heard);
        EXPECT_EQ(sent, row.atOnce);
        EXPECT_EQ(watch(bench, milliseconds(20)).size(), row.later);
    }
}

} // namespace
