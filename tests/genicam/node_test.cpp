// What all nodes share: states, access checks, the device's lock, and how changes spread.
#include "genicam/device_fixture.h"
#include "genicam/nodes/GenICamScopedReadWriteLock.h"
#include "genicam/nodes/limits.h"

#include <algorithm>
#include <thread>

namespace test_support {
namespace {

using tavo::GenICamScopedReadWriteLock;
using tavo::ImplGenICamInteger;
using tavo::ImplGenICamIntReg;
using tavo::ImplGenICamNode;

TEST(AccessChecks, DecidersOfAnyNumericKindCount) {
    Device device(inRoot("<Integer Name='I'/><Float Name='F'><Min>0</Min></Float><Boolean Name='B'/>"));
    auto& free = device.add<ImplGenICamInteger>();
    EXPECT_TRUE(free.isImplemented() && free.isAvailable() && !free.isLocked());
    EXPECT_TRUE(free.isImplementedCache() && free.isAvailableCache());
    EXPECT_EQ(free.getAccessMode(), Access::RW);
    for (const auto& [decider, on] :
         {std::pair{"I", "I=2"}, std::pair{"F", "F=0.25"}, std::pair{"B", "B=true"}}) {
        SCOPED_TRACE(decider);
        auto& node = device.add<ImplGenICamInteger>();
        node.setPIsImplemented(&device.node(decider));
        node.setPIsAvailable(&device.node(decider));
        node.setPIsLocked(&device.node(decider));
        EXPECT_FALSE(node.isImplemented() || node.isAvailable() || node.isLocked());
        EXPECT_FALSE(node.isImplementedCache() || node.isAvailableCache());
        device.expect(on);
        EXPECT_TRUE(node.isImplemented() && node.isAvailable() && node.isLocked());
    }
}

TEST(AccessChecks, EachFaultHasItsCodeInTheOrderOfTheChecks) {
    const struct {
        const char* name;
        bool implemented, available, locked;
        const char* below;
        const char* imposed;
        int readCode, writeCode;
    } rows[] = {
        {"free", true, true, false, "RW", "", 0, 0},
        {"not implemented", false, false, true, "RO", "", status::NotImplemented, status::NotImplemented},
        {"not available", true, false, true, "RO", "", status::NotAvailable, status::NotAvailable},
        {"locked", true, true, true, "RO", "", 0, status::Locked},
        {"read-only below", true, true, false, "RO", "", 0, status::NotWritable},
        {"write-only below", true, true, false, "WO", "", status::NotReadable, 0},
        {"imposed read-only", true, true, false, "RW", "RO", 0, status::NotWritable},
        {"imposed write-only", true, true, false, "RW", "WO", status::NotReadable, 0},
        {"imposed over read-only", true, true, false, "RO", "RW", 0, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const auto value = [](bool state) { return state ? "<Value>1</Value></Integer>" : "</Integer>"; };
        Device device(inRoot(
            std::string("<Integer Name='Impl'>") + value(row.implemented) + "<Integer Name='Avail'>" +
            value(row.available) + "<Integer Name='Lock'>" + value(row.locked) +
            "<IntReg Name='R'><Length>4</Length><pPort>Device</pPort><AccessMode>" + row.below +
            "</AccessMode></IntReg><Integer Name='N'><pValue>R</pValue><ImposedAccessMode>" + row.imposed +
            "</ImposedAccessMode><pIsImplemented>Impl</pIsImplemented><pIsAvailable>Avail</pIsAvailable>"
            "<pIsLocked>Lock</pIsLocked></Integer>"));
        device.expect("N -> 0; N=0"); // checking is off at first
        device.camera.enableChecking(true);
        device.expect("N -> " + shown(row.readCode) + "; N=0 -> " + shown(row.writeCode));
        EXPECT_TRUE(device.camera.tree().lock(1)) << "a failed check must leave the lock free";
        device.camera.tree().unlock();
    }
}

TEST(AccessChecks, AreMadeOfTheOutermostNodeOnly) {
    Device device(inRoot(
        "<Integer Name='Never'/>" + reg("R", 0, 4, "<pIsAvailable>Never</pIsAvailable>") +
        "<Integer Name='N'><pValue>R</pValue></Integer>" +
        reg("Imposed", 4, 4, "<ImposedAccessMode>RO</ImposedAccessMode>")));
    device.camera.enableChecking(true);
    device.expect("R -> feature not available; N -> 0; Imposed=1 -> feature not writable");
    EXPECT_EQ(device.node("Imposed").getAccessMode(), Access::RW) << "a register's own mode";
}

// ---- One lock a device, re-entrant for the thread that holds it ----

bool isFree(Device& device) {
    bool free = false;
    std::thread([&] {
        free = device.camera.tree().lock(1);
        if (free) {
            device.camera.tree().unlock();
        }
    }).join();
    return free;
}

TEST(DeviceLock, NestsInItsThreadAndIsOnePerDevice) {
    Device first;
    Device second;
    auto& inFirst = first.add<ImplGenICamInteger>();
    auto& inSecond = second.add<ImplGenICamInteger>();
    GenICamScopedReadWriteLock one(&inFirst, GenICamScopedReadWriteLock::WriteLock);
    EXPECT_FALSE(one.lockHasTimedOut());
    {
        GenICamScopedReadWriteLock inner(&inFirst, GenICamScopedReadWriteLock::ReadLock);
        EXPECT_TRUE(inner.lockHasTimedOut()) << "the inner guard took nothing";
    }
    EXPECT_FALSE(isFree(first)) << "the inner guard must not release the outer one's lock";
    EXPECT_TRUE(isFree(second));
    std::thread([&] {
        const GenICamScopedReadWriteLock late(&inFirst, GenICamScopedReadWriteLock::ReadLock, 5);
        EXPECT_TRUE(late.lockHasTimedOut());
    }).join();
    GenICamScopedReadWriteLock two(&inSecond, GenICamScopedReadWriteLock::ReadLock);
    EXPECT_FALSE(isFree(second)) << "holding one device's lock must not pass for another's";
    for (int repeated = 0; repeated < 2; ++repeated) {
        one.unlock(); // not in the order in which they were taken
        EXPECT_TRUE(isFree(first));
        EXPECT_FALSE(isFree(second));
    }
    two.unlock();
    EXPECT_TRUE(isFree(second));
}

// ---- Spreading ----

TEST(Invalidation, SpreadsThroughLongChainsAndWideFans) {
    constexpr int kCount = 10000;
    for (const bool chain : {true, false}) {
        SCOPED_TRACE(chain ? "chain" : "fan");
        Device device;
        auto& root = device.addRegister<ImplGenICamIntReg>(0, 4);
        std::vector<ImplGenICamIntReg*> nodes;
        ImplGenICamNode* before = &root;
        for (int i = 0; i < kCount; ++i) {
            auto& node = device.addRegister<ImplGenICamIntReg>(4, 4);
            node.addDependency(chain ? *before : root);
            node.getValue();
            nodes.push_back(&node);
            before = &node;
        }
        root.invalidateRegistersAndTriggerSignals();
        EXPECT_TRUE(std::ranges::none_of(nodes, &ImplGenICamIntReg::isRegisterValid));
    }
}

TEST(Invalidation, OfCyclesEndsAndNoEarlierOneStandsInItsWay) {
    Device device;
    auto& a = device.add<ImplGenICamInteger>();
    auto& b = device.addRegister<ImplGenICamIntReg>(0, 4);
    a.addDependency(b);
    b.addDependency(a);
    a.addDependency(a);
    const tavo::DeviceLockScope scope(&device.camera.tree());
    for (int i = 0; i < 2; ++i) {
        b.getValue();
        a.invalidateRegistersAndTriggerSignals();
        EXPECT_FALSE(b.isRegisterValid());
    }
    b.getValue();
    device.camera.invalidateAllNodes();
    EXPECT_FALSE(b.isRegisterValid()) << "unnamed nodes are reached, too";
}

TEST(Invalidation, StopsAtVolatileNodes) {
    Device device(inRoot(
        reg("Source", 0, 4, caching("NoCache")) + reg("Steady", 4, 4) +
        reg("OverSource", 8, 4, "<pAddress>Source</pAddress>") +
        reg("OverSteady", 8, 4, "<pAddress>Steady</pAddress>") +
        "<Integer Name='Middle'><pValue>Source</pValue></Integer><Integer Name='Top'><pValue>Middle</pValue>"
        "</Integer><Integer Name='A'><pMin>B</pMin></Integer><Integer "
        "Name='B'><pMin>A</pMin><pMax>Source</pMax>"
        "</Integer><Integer Name='C'><pMin>D</pMin></Integer><Integer "
        "Name='D'><pMin>C</pMin><pMax>Steady</pMax>"
        "</Integer>"));
    // The second time, from what the first walk found on its way.
    for (const char* const when : {"first", "second"}) {
        for (const char* const name : {"Top", "Middle", "A", "B"}) {
            EXPECT_TRUE(device.node(name).isVolatile()) << name << ' ' << when;
        }
        EXPECT_FALSE(device.node("C").isVolatile() || device.node("D").isVolatile()) << when;
    }
    for (const char* const name : {"Source", "Steady"}) {
        auto& above = dynamic_cast<ImplGenICamIntReg&>(device.node(std::string("Over") + name));
        above.getValue();
        device.node(name).invalidateRegistersAndTriggerSignals();
        EXPECT_EQ(above.isRegisterValid(), name == std::string("Source"));
    }
}

TEST(Commands, OverRegistersThatCannotBeReadAreDoneOnceExecuted) {
    const std::string secret =
        "<IntReg Name='R'><Length>4</Length><AccessMode>WO</AccessMode><pPort>Device</pPort></IntReg>";
    const std::string over = "<CommandValue>1</CommandValue></Command>";
    for (const bool standard : {false, true}) {
        SCOPED_TRACE(standard ? "standard" : "default");
        Device device(
            inRoot(
                secret +
                "<Integer Name='I'><pValue>R</pValue></Integer><Command Name='C'><pValue>I</pValue>" + over +
                "<Command Name='Imposed'><ImposedAccessMode>RW</ImposedAccessMode><pValue>R</pValue>" + over),
            standard);
        device.camera.enableChecking(true);
        device.port.memory[3] = 1; // what the camera would answer if it did
        device.expect("#C= -> 0r 1w; #C -> 0r 0w; C -> inactive; #Imposed= -> 0r 1w; #Imposed -> 0r 0w");
        EXPECT_TRUE(device.node("C").asCommand()->isDone() && device.node("Imposed").asCommand()->isDone());
    }
}

// ---- References that lead nowhere ----

TEST(References, CyclesEndInAnError) {
    Device device(inRoot(
        "<Integer Name='A'><pValue>B</pValue></Integer><Float "
        "Name='B'><pValue>A</pValue><Min>-1</Min></Float>" +
        reg("Address", 0, 4, "<pAddress>Address</pAddress><pInvalidator>Address</pInvalidator>") +
        reg("Length", 0, 4, "<pLength>Length</pLength>") +
        "<Integer Name='Limit'><pMin>Limit</pMin><pIsLocked>Limit</pIsLocked></Integer>" // only its value is
                                                                                         // asked
        "<Category Name='Self'><pFeature>Self</pFeature></Category>" +
        reg("Sane", 0, 4)));
    for (const bool checking : {false, true}) {
        device.camera.enableChecking(checking);
        device.expect("A -> illegal node; B -> illegal node; A=1 -> illegal node; B=1 -> illegal node; "
                      "Address -> illegal node; Length -> illegal node; "
                      "Limit=0; Limit -> 0; Self -> Self; !stale; Sane -> 0"); // an error must not count for
                                                                               // the next access
        EXPECT_EQ(codeOf([&] { device.node("A").getAccessMode(); }), status::IllegalNode);
    }
}

TEST(References, LongChainsWorkUpToTheirLimit) {
    const struct {
        unsigned hops;
        int code;
    } rows[] = {{100, 0}, {tavo::kMaxReferenceDepth - 1, 0}, {100000, status::IllegalNode}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.hops);
        Device device;
        auto* node = &device.add<ImplGenICamInteger>();
        node->setStoredValue(3);
        for (unsigned i = 0; i < row.hops; ++i) {
            auto& above = device.add<ImplGenICamInteger>();
            above.setPValue(node);
            above.addDependency(*node);
            node = &above;
        }
        EXPECT_FALSE(node->isVolatile());
        EXPECT_EQ(codeOf([&] { EXPECT_EQ(node->getValue(), 3); }), row.code);
        EXPECT_EQ(codeOf([&] { node->setValue(4); }), row.code);
    }
}

} // namespace
} // namespace test_support
