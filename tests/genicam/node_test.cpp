// What all nodes share: states, access checks, and how changes spread.
#include "genicam/GenICamScopedReadWriteLock.h"
#include "genicam/device_fixture.h"

#include <gmock/gmock.h>

#include <limits>

namespace test_support {
namespace {

using tavo::ImplGenICamBoolean;
using tavo::ImplGenICamFloat;
using tavo::ImplGenICamInteger;
using tavo::ImplGenICamIntReg;
using tavo::ImplGenICamNode;

TEST(NodeStates, WithoutDecidersAllIsWell) {
    Device device;
    auto& node = device.add<ImplGenICamInteger>();
    EXPECT_TRUE(node.isImplemented());
    EXPECT_TRUE(node.isAvailable());
    EXPECT_FALSE(node.isLocked());
    EXPECT_TRUE(node.isImplementedCache());
    EXPECT_TRUE(node.isAvailableCache());
    EXPECT_EQ(node.getAccessMode(), Access::RW);
}

TEST(NodeStates, DecidersOfAnyNumericKindCount) {
    Device device;
    auto& integer = device.add<ImplGenICamInteger>();
    auto& real = device.add<ImplGenICamFloat>();
    auto& boolean = device.add<ImplGenICamBoolean>();
    for (ImplGenICamNode* const decider :
         {static_cast<ImplGenICamNode*>(&integer), static_cast<ImplGenICamNode*>(&real),
          static_cast<ImplGenICamNode*>(&boolean)}) {
        auto& node = device.add<ImplGenICamInteger>();
        node.setPIsImplemented(decider);
        node.setPIsAvailable(decider);
        node.setPIsLocked(decider);
        EXPECT_FALSE(node.isImplemented());
        EXPECT_FALSE(node.isAvailable());
        EXPECT_FALSE(node.isLocked());
        EXPECT_FALSE(node.isAvailableCache());
        integer.setStoredValue(2);
        real.setStoredValue(0.25);
        boolean.setStoredValue(true);
        EXPECT_TRUE(node.isImplemented());
        EXPECT_TRUE(node.isAvailable());
        EXPECT_TRUE(node.isLocked());
        integer.setStoredValue(0);
        real.setStoredValue(0);
        boolean.setStoredValue(false);
    }
}

TEST(AccessChecks, EachFaultHasItsCodeInTheOrderOfTheChecks) {
    const struct {
        const char* name;
        bool implemented, available, locked;
        Access below, imposed;
        int readCode, writeCode;
    } rows[] = {
        {"free", true, true, false, Access::RW, Access::NotGiven, 0, 0},
        {"not implemented", false, false, true, Access::RO, Access::NotGiven, -40001, -40001},
        {"not available", true, false, true, Access::RO, Access::NotGiven, -40002, -40002},
        {"locked", true, true, true, Access::RO, Access::NotGiven, 0, -40003},
        {"read-only below", true, true, false, Access::RO, Access::NotGiven, 0, -40005},
        {"write-only below", true, true, false, Access::WO, Access::NotGiven, -40004, 0},
        {"imposed read-only", true, true, false, Access::RW, Access::RO, 0, -40005},
        {"imposed write-only", true, true, false, Access::RW, Access::WO, -40004, 0},
        {"imposed over read-only", true, true, false, Access::RO, Access::RW, 0, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Device device;
        auto& implemented = device.add<ImplGenICamInteger>();
        auto& available = device.add<ImplGenICamInteger>();
        auto& locked = device.add<ImplGenICamInteger>();
        implemented.setStoredValue(row.implemented);
        available.setStoredValue(row.available);
        locked.setStoredValue(row.locked);
        auto& below = device.addRegister<ImplGenICamIntReg>(0, 4);
        below.setAccessMode(row.below);
        auto& node = device.add<ImplGenICamInteger>();
        node.setPValue(&below);
        node.setImposedAccessMode(row.imposed);
        node.setPIsImplemented(&implemented);
        node.setPIsAvailable(&available);
        node.setPIsLocked(&locked);
        const auto read = [&] { node.getValue(); };
        const auto write = [&] { node.setValue(1); };
        EXPECT_EQ(codeOf(read), 0) << "checking is off at first";
        EXPECT_EQ(codeOf(write), 0) << "checking is off at first";
        device.camera.enableChecking(true);
        EXPECT_EQ(codeOf(read), row.readCode);
        EXPECT_EQ(codeOf(write), row.writeCode);
        EXPECT_TRUE(device.camera.lock(1)) << "a failed check must leave the lock free";
        device.camera.unlock();
    }
}

TEST(AccessChecks, RegistersHaveTheirOwnModeAndAnImposedOneBesides) {
    Device device;
    device.camera.enableChecking(true);
    auto& node = device.addRegister<ImplGenICamIntReg>(0, 4);
    node.setImposedAccessMode(Access::RO);
    EXPECT_EQ(node.getAccessMode(), Access::RW);
    EXPECT_EQ(codeOf([&] { node.setValue(1); }), -40005);
}

TEST(AccessChecks, OnlyTheOutermostNodeIsChecked) {
    Device device;
    device.camera.enableChecking(true);
    auto& never = device.add<ImplGenICamInteger>();
    auto& below = device.addRegister<ImplGenICamIntReg>(0, 4);
    below.setPIsAvailable(&never);
    auto& node = device.add<ImplGenICamInteger>();
    node.setPValue(&below);
    EXPECT_EQ(codeOf([&] { below.getValue(); }), -40002);
    EXPECT_EQ(codeOf([&] { node.getValue(); }), 0);
}

// ---- Spreading
// -------------------------------------------------------------------------------------------------

struct Graph : Device {
    // Counts what is marked while the lock is held; marks end with it.
    std::size_t markedBy(ImplGenICamNode& node) {
        const tavo::DeviceLockScope scope(&camera);
        node.invalidateRegistersAndTriggerSignals();
        return camera.access().invalidation.marked().size();
    }
};

TEST(Invalidation, SpreadsThroughLongChainsAndWideFansOnce) {
    constexpr int count = 10000;
    for (const bool chain : {true, false}) {
        SCOPED_TRACE(chain ? "chain" : "fan");
        Graph graph;
        auto& root = graph.addRegister<ImplGenICamIntReg>(0, 4);
        std::vector<ImplGenICamIntReg*> nodes;
        ImplGenICamNode* before = &root;
        for (int i = 0; i < count; ++i) {
            auto& node = graph.addRegister<ImplGenICamIntReg>(4, 4);
            node.addDependency(chain ? *before : root);
            node.validateRegister();
            nodes.push_back(&node);
            before = &node;
        }
        EXPECT_EQ(graph.markedBy(root), count + 1U);
        EXPECT_FALSE(nodes.front()->isRegisterValid());
        EXPECT_FALSE(nodes.back()->isRegisterValid());
        EXPECT_FALSE(nodes.back()->isTriggered());
    }
}

TEST(Invalidation, ReachesEachNodeOnceUntilItsMarkEnds) {
    Graph graph;
    auto& a = graph.add<ImplGenICamInteger>();
    auto& b = graph.addRegister<ImplGenICamIntReg>(0, 4);
    a.addDependency(b);
    b.addDependency(a);
    a.addDependency(a);
    const tavo::DeviceLockScope scope(&graph.camera);
    a.invalidateRegistersAndTriggerSignals();
    EXPECT_TRUE(b.isTriggered());
    b.validateRegister();
    a.invalidateRegistersAndTriggerSignals();
    EXPECT_TRUE(b.isRegisterValid()) << "the mark of the first call must end the second";
    a.resetTriggerFlag();
    a.invalidateRegistersAndTriggerSignals();
    EXPECT_TRUE(b.isRegisterValid()) << "so must the mark of the node on the way";
}

TEST(Invalidation, StopsAtVolatileNodes) {
    Graph graph;
    auto& source = graph.addRegister<ImplGenICamIntReg>(0, 4, Cache::NoCache);
    auto& middle = graph.add<ImplGenICamInteger>();
    auto& top = graph.add<ImplGenICamInteger>();
    middle.addDependency(source);
    top.addDependency(middle);
    EXPECT_TRUE(top.isVolatile());
    EXPECT_TRUE(middle.isVolatile());
    EXPECT_EQ(graph.markedBy(middle), 1U);
    EXPECT_EQ(graph.markedBy(source), 1U);
    auto& steady = graph.add<ImplGenICamInteger>();
    steady.addDependency(graph.addRegister<ImplGenICamIntReg>(0, 4));
    EXPECT_FALSE(steady.isVolatile());
}

TEST(Invalidation, VolatilityOfLongChainsAndCycles) {
    Device device;
    std::vector<ImplGenICamInteger*> chain;
    for (int i = 0; i < 20000; ++i) {
        chain.push_back(&device.add<ImplGenICamInteger>());
        if (i > 0) {
            chain[static_cast<std::size_t>(i) - 1]->addDependency(*chain.back());
        }
    }
    chain.back()->addDependency(*chain.front());
    EXPECT_FALSE(chain[5]->isVolatile());
    auto& polled = device.addRegister<ImplGenICamIntReg>(0, 4, Cache::NoCache);
    auto& a = device.add<ImplGenICamInteger>();
    auto& b = device.add<ImplGenICamInteger>();
    a.addDependency(b);
    b.addDependency(a);
    b.addDependency(polled);
    EXPECT_TRUE(a.isVolatile());
    EXPECT_TRUE(b.isVolatile());
}

TEST(Invalidation, OfAllNodesReachesUnnamedWriteOnlyAndMarkedOnes) {
    Device device;
    auto& writeOnly = device.addRegister<ImplGenICamIntReg>(0, 4);
    writeOnly.setAccessMode(Access::WO);
    auto& marked = device.addRegister<ImplGenICamIntReg>(4, 4);
    writeOnly.validateRegister();
    {
        const tavo::DeviceLockScope scope(&device.camera);
        marked.invalidateRegistersAndTriggerSignals();
        marked.validateRegister();
        device.camera.invalidateAllNodes();
        EXPECT_FALSE(marked.isRegisterValid());
    }
    EXPECT_FALSE(writeOnly.isRegisterValid());
}

// ---- References that lead nowhere
// -------------------------------------------------------------------------------

TEST(References, CyclesEndInAnError) {
    Device device;
    auto& a = device.add<ImplGenICamInteger>("A");
    auto& b = device.add<ImplGenICamFloat>("B");
    auto& address = device.addRegister<ImplGenICamIntReg>(0, 4);
    auto& length = device.addRegister<ImplGenICamIntReg>(0, 4);
    auto& limit = device.add<ImplGenICamInteger>();
    a.setPValue(&b);
    b.setPValue(&a);
    b.setMin(std::numeric_limits<double>::lowest());
    a.addDependency(b);
    b.addDependency(a);
    address.addAddressElement(&address, 1);
    length.setPLength(&length);
    limit.setPMin(&limit); // asks for its value only, not for its limit
    const struct {
        const char* name;
        std::function<void()> access;
        int code;
    } rows[] = {
        {"integer read", [&] { a.getValue(); }, -40007},
        {"float read", [&] { b.getValue(); }, -40007},
        {"write", [&] { a.setValue(1); }, -40007},
        {"access mode", [&] { a.getAccessMode(); }, -40007},
        {"text", [&] { a.getValueAsString(); }, -40007},
        {"address", [&] { address.getValue(); }, -40007},
        {"length", [&] { length.getValue(); }, -40007},
        {"own limit", [&] { limit.setValue(5); }, 0},
        {"invalidation", [&] { a.invalidateRegistersAndTriggerSignals(); }, 0},
        {"all nodes", [&] { device.camera.invalidateAllNodes(); }, 0},
    };
    for (const bool checking : {false, true}) {
        device.camera.enableChecking(checking);
        for (const auto& row : rows) {
            EXPECT_EQ(codeOf(row.access), row.code) << row.name;
        }
    }
    auto& sane = device.addRegister<ImplGenICamIntReg>(0, 4);
    EXPECT_EQ(codeOf([&] { sane.getValue(); }), 0) << "an error must not count for the next access";
}

TEST(References, LongChainsWorkUpToTheirLimit) {
    const struct {
        unsigned hops;
        int code;
    } rows[] = {{100, 0}, {tavo::kMaxReferenceDepth - 1, 0}, {100000, -40007}};
    for (const auto& row : rows) {
        Device device;
        auto* node = &device.add<ImplGenICamInteger>();
        node->setStoredValue(3);
        for (unsigned i = 0; i < row.hops; ++i) {
            auto& above = device.add<ImplGenICamInteger>();
            above.setPValue(node);
            node = &above;
        }
        EXPECT_EQ(codeOf([&] { EXPECT_EQ(node->getValue(), 3); }), row.code) << row.hops;
        EXPECT_EQ(codeOf([&] { node->setValue(4); }), row.code) << row.hops;
    }
}

} // namespace
} // namespace test_support
