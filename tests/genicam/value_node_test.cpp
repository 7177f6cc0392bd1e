// Integers, floats, Booleans, commands, enumerations and categories on top of registers and constants.
#include "genicam/device_fixture.h"

#include <gmock/gmock.h>

#include <limits>

namespace test_support {
namespace {

using tavo::ImplGenICamBoolean;
using tavo::ImplGenICamCategory;
using tavo::ImplGenICamCommand;
using tavo::ImplGenICamEnumEntry;
using tavo::ImplGenICamEnumeration;
using tavo::ImplGenICamFloat;
using tavo::ImplGenICamFloatReg;
using tavo::ImplGenICamInteger;
using tavo::ImplGenICamIntReg;
using tavo::ImplGenICamStringReg;
using testing::ElementsAre;

constexpr auto kLowest = std::numeric_limits<std::int64_t>::min();
constexpr auto kHighest = std::numeric_limits<std::int64_t>::max();
constexpr int kIllegalValue = -40006;

TEST(Integer, AcceptsWhatItsLimitsAndIncrementAllow) {
    const struct {
        const char* name;
        std::int64_t min, max, inc, value;
        int code;
    } rows[] = {
        {"highest", 0, 100, 10, 100, 0},
        {"above", 0, 100, 10, 101, kIllegalValue},
        {"below", 0, 100, 10, -10, kIllegalValue},
        {"between increments", 0, 100, 10, 55, kIllegalValue},
        {"increments count from zero", 1, 9, 2, 3, kIllegalValue},
        {"not from the minimum", 1, 9, 2, 4, 0},
        {"increment 0 counts as 1", 0, 9, 0, 7, 0},
        {"negative increment", -9, 9, -3, 6, 0},
        {"no trap", kLowest, kHighest, -1, kLowest, 0},
        {"whole range", kLowest, kHighest, 1, kHighest, 0},
    };
    for (const bool constant : {true, false}) {
        for (const auto& row : rows) {
            SCOPED_TRACE(row.name);
            Device device;
            auto& node = device.add<ImplGenICamInteger>();
            auto& min = device.add<ImplGenICamInteger>();
            auto& max = device.add<ImplGenICamInteger>();
            auto& inc = device.add<ImplGenICamInteger>();
            min.setStoredValue(row.min);
            max.setStoredValue(row.max);
            inc.setStoredValue(row.inc);
            if (constant) {
                node.setMin(row.min);
                node.setMax(row.max);
                node.setInc(row.inc);
            } else {
                node.setPMin(&min);
                node.setPMax(&max);
                node.setPInc(&inc);
            }
            node.setStoredValue(1);
            EXPECT_EQ(codeOf([&] { node.setValue(row.value); }), row.code);
            EXPECT_EQ(node.getValue(), row.code == 0 ? row.value : 1);
        }
    }
}

TEST(Float, ChecksItsLimits) {
    Device device;
    auto& node = device.add<ImplGenICamFloat>();
    EXPECT_EQ(codeOf([&] { node.setValue(0); }), kIllegalValue) << "the default minimum is above zero";
    EXPECT_EQ(codeOf([&] { node.setValue(std::nan("")); }), kIllegalValue);
    node.setMin(-1);
    node.setMax(2.5);
    EXPECT_EQ(codeOf([&] { node.setValue(2.5); }), 0);
    EXPECT_EQ(codeOf([&] { node.setValue(2.6); }), kIllegalValue);
    EXPECT_EQ(codeOf([&] { node.setValue(-1.1); }), kIllegalValue);
    EXPECT_EQ(node.getValue(), 2.5);
}

TEST(References, OfAnotherNumericKindAreConverted) {
    Device device;
    auto& whole = device.addRegister<ImplGenICamIntReg>(0, 4);
    whole.setSign(Sign::Signed);
    auto& real = device.addRegister<ImplGenICamFloatReg>(8, 8);
    auto& floatOverInteger = device.add<ImplGenICamFloat>();
    floatOverInteger.setMin(-1e300);
    floatOverInteger.setPValue(&whole);
    auto& integerOverFloat = device.add<ImplGenICamInteger>();
    integerOverFloat.setPValue(&real);
    floatOverInteger.setValue(-2.75);
    EXPECT_EQ(whole.getValue(), -2);
    EXPECT_EQ(floatOverInteger.getValue(), -2.0);
    EXPECT_EQ(codeOf([&] { floatOverInteger.setValue(1e30); }), kIllegalValue);
    integerOverFloat.setValue(41);
    EXPECT_EQ(real.getValue(), 41.0);
    const struct {
        double stored;
        std::int64_t read;
    } rows[] = {{-7.9, -7}, {1e30, kHighest}, {-1e30, kLowest}, {std::nan(""), 0}};
    for (const auto& row : rows) {
        real.setValue(row.stored);
        EXPECT_EQ(integerOverFloat.getValue(), row.read) << row.stored;
    }
    auto& text = device.addRegister<ImplGenICamStringReg>(0, 4);
    auto& overText = device.add<ImplGenICamInteger>();
    overText.setPValue(&text);
    overText.setStoredValue(9);
    EXPECT_EQ(overText.getValue(), 9) << "a node without a number is no reference";
}

TEST(Boolean, MapsTheTwoValuesThatItKnows) {
    Device device;
    auto& below = device.addRegister<ImplGenICamIntReg>(0, 1);
    auto& node = device.add<ImplGenICamBoolean>();
    node.setPValue(&below);
    node.setOnValue(5);
    node.setOffValue(3);
    node.setValue(true);
    EXPECT_EQ(device.port.memory[0], 5);
    EXPECT_EQ(node.getValueAsString(), "true");
    EXPECT_EQ(node.readInteger(), 1);
    node.setValue(false);
    EXPECT_EQ(device.port.memory[0], 3);
    EXPECT_EQ(node.getValueAsString(), "false");
    below.setValue(4);
    EXPECT_EQ(codeOf([&] { node.getValue(); }), kIllegalValue);
    auto& alone = device.add<ImplGenICamBoolean>();
    alone.setValue(true);
    EXPECT_TRUE(alone.getValue());
}

TEST(Command, IsDoneOnceTheCameraHasClearedIt) {
    Device device;
    auto& below = device.addRegister<ImplGenICamIntReg>(0, 1, Cache::NoCache);
    auto& value = device.add<ImplGenICamInteger>();
    value.setStoredValue(6);
    auto& node = device.add<ImplGenICamCommand>();
    node.setPValue(&below);
    node.setPCommandValue(&value);
    node.execute();
    EXPECT_EQ(device.port.memory[0], 6);
    EXPECT_FALSE(node.isDone());
    EXPECT_EQ(node.getValueAsString(), "active");
    device.port.memory[0] = 0;
    EXPECT_TRUE(node.isDone());
    EXPECT_EQ(node.getValueAsString(), "inactive");
}

TEST(Command, AsksAtMostOnceInItsPollingTime) {
    Device device;
    auto& below = device.addRegister<ImplGenICamIntReg>(0, 1, Cache::NoCache);
    auto& node = device.add<ImplGenICamCommand>();
    node.setPValue(&below);
    node.setCommandValue(1);
    node.setPollingTime(3600 * 1000);
    EXPECT_EQ(device.during([&] { EXPECT_TRUE(node.isDone()); }), (Device::Traffic{1, 0}));
    EXPECT_EQ(device.during([&] { EXPECT_TRUE(node.isDone()); }), (Device::Traffic{0, 0}));
    node.execute();
    EXPECT_EQ(device.during([&] { EXPECT_FALSE(node.isDone()); }), (Device::Traffic{1, 0}))
        << "an answer from before the execution was given for it";
}

struct Enumerated : Device {
    ImplGenICamEnumEntry& entry(std::int64_t value, const char* symbol) {
        auto& node = add<ImplGenICamEnumEntry>(std::string("Mode_") + symbol);
        node.setValue(value);
        node.setSymbol(symbol);
        mode.addEntry(&node);
        return node;
    }
    ImplGenICamEnumeration& mode = add<ImplGenICamEnumeration>("Mode");
};

TEST(Enumeration, KnowsItsEntriesByValueAndSymbol) {
    Enumerated device;
    auto& below = device.addRegister<ImplGenICamIntReg>(0, 1);
    device.mode.setPValue(&below);
    device.entry(0, "Off");
    device.entry(2, "On");
    auto& later = device.entry(2, "AlsoOn");
    device.mode.setStringValue("On");
    EXPECT_EQ(device.port.memory[0], 2);
    EXPECT_EQ(device.mode.getStringValue(), "AlsoOn") << "a later entry takes over an earlier one's value";
    EXPECT_EQ(device.mode.getEntryByValue(2), &later);
    EXPECT_EQ(device.mode.getEntryByValue(7), nullptr);
    EXPECT_EQ(device.mode.getEntries().size(), 3U);
    device.mode.setIntValue(0);
    EXPECT_EQ(device.mode.getValueAsString(), "Off");
    EXPECT_EQ(codeOf([&] { device.mode.setStringValue("on"); }), kIllegalValue);
    EXPECT_EQ(codeOf([&] { device.mode.setIntValue(1); }), kIllegalValue);
    EXPECT_EQ(device.port.memory[0], 0);
    below.setValue(9);
    EXPECT_EQ(codeOf([&] { device.mode.getIntValue(); }), kIllegalValue);
    EXPECT_EQ(codeOf([&] { device.mode.getStringValue(); }), kIllegalValue);
}

TEST(Values, AsText) {
    Device device;
    auto& whole = device.add<ImplGenICamInteger>("Whole");
    auto& real = device.add<ImplGenICamFloat>("Real");
    whole.setRepresentation(Types::GenICamRepresentationType::HexNumber);
    whole.setStoredValue(-255);
    EXPECT_EQ(whole.getValueAsString(), "-255");
    const struct {
        double value;
        const char* text;
    } rows[] = {
        {0.5, "0.5"}, {1234567.0, "1.23457e+06"}, {100000.0, "100000"}, {1e-5, "1e-05"}, {-0.0, "-0"}};
    for (const auto& row : rows) {
        real.setStoredValue(row.value);
        EXPECT_EQ(real.getValueAsString(), row.text);
    }
    EXPECT_EQ(device.add<ImplGenICamCategory>("Root").getValueAsString(), "Root");
}

TEST(Values, AreFoundByTheInterfacesTheyOffer) {
    Device device;
    tavo::GenICamNode& whole = device.add<ImplGenICamInteger>("Whole");
    tavo::GenICamNode& reg = device.addRegister<ImplGenICamIntReg>(0, 4);
    EXPECT_NE(whole.asInteger(), nullptr);
    EXPECT_EQ(whole.asInteger(), dynamic_cast<tavo::GenICamIntegerInterface*>(&whole));
    EXPECT_EQ(whole.asFloat(), nullptr);
    EXPECT_NE(reg.asRegister(), nullptr);
    EXPECT_NE(reg.asInteger(), nullptr);
    EXPECT_NE(reg.asSelector(), nullptr);
    EXPECT_EQ(reg.asString(), nullptr);
    EXPECT_FALSE(reg.asSelector()->isSelector());
}

} // namespace
} // namespace test_support
