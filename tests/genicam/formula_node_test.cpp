// SwissKnives and Converters over nodes.
#include "genicam/device_fixture.h"
#include "genicam/formula_nodes.h"

#include <gmock/gmock.h>

#include <limits>

namespace test_support {
namespace {

using tavo::ImplGenICamBoolean;
using tavo::ImplGenICamConverter;
using tavo::ImplGenICamFloat;
using tavo::ImplGenICamFloatReg;
using tavo::ImplGenICamIntConverter;
using tavo::ImplGenICamInteger;
using tavo::ImplGenICamIntReg;
using tavo::ImplGenICamIntSwissKnife;
using tavo::ImplGenICamNode;
using tavo::ImplGenICamSwissKnife;

constexpr auto kLowest = std::numeric_limits<std::int64_t>::min();
constexpr auto kHighest = std::numeric_limits<std::int64_t>::max();

struct FormulaDevice : Device {
    template<class Knife> Knife& knife(const char* formula) {
        Knife& node = add<Knife>();
        node.formula().tokenize(formula, &node);
        return node;
    }
    template<class Converter, class From>
    Converter& converter(const char* to, const char* from, ImplGenICamNode* below) {
        Converter& node = add<Converter>();
        node.formulaTo().tokenize(to, &node);
        node.formulaFrom().tokenize(from, &node);
        node.setPValue(below);
        auto& value = add<From>();
        if constexpr (std::is_same_v<From, ImplGenICamFloat>) {
            value.setMin(std::numeric_limits<double>::lowest());
        }
        node.setFromNode(&value);
        return node;
    }
    ImplGenICamConverter& floating(const char* to, const char* from, ImplGenICamNode* below) {
        return converter<ImplGenICamConverter, ImplGenICamFloat>(to, from, below);
    }
    ImplGenICamIntConverter& integral(const char* to, const char* from, ImplGenICamNode* below) {
        return converter<ImplGenICamIntConverter, ImplGenICamInteger>(to, from, below);
    }
};

TEST(SwissKnife, FollowsItsVariablesBecauseNothingIsKept) {
    FormulaDevice device;
    auto& a = device.addRegister<ImplGenICamIntReg>(0, 1, Cache::NoCache);
    auto& b = device.addRegister<ImplGenICamFloatReg>(4, 4, Cache::NoCache);
    auto& knife = device.knife<ImplGenICamSwissKnife>("Max * B + 1");
    knife.setVariable("Max", &a); // a variable may bear a function's name, in any letter case
    knife.setVariable("b", &b);
    b.setValue(0.5);
    device.port.memory[0] = 4;
    EXPECT_EQ(knife.getValue(), 3.0);
    device.port.memory[0] = 6;
    EXPECT_EQ(knife.getValue(), 4.0);
    EXPECT_EQ(knife.getValueAsString(), "4");
    EXPECT_EQ(knife.getIntegerVariable("max"), 6);
    EXPECT_EQ(knife.getFloatVariable("B"), 0.5);
    EXPECT_THROW(knife.getIntegerVariable("B"), int);
    EXPECT_THROW(knife.getFloatVariable("C"), int);
}

TEST(SwissKnife, IsNeverWritten) {
    FormulaDevice device;
    auto& real = device.knife<ImplGenICamSwissKnife>("1");
    auto& whole = device.knife<ImplGenICamIntSwissKnife>("1");
    auto& above = device.add<ImplGenICamInteger>();
    above.setPValue(&whole);
    EXPECT_EQ(codeOf([&] { real.setValue(1); }), -40005);
    EXPECT_EQ(codeOf([&] { whole.setValue(1); }), -40005);
    EXPECT_EQ(codeOf([&] { above.setValue(1); }), -40005);
    real.setImposedAccessMode(Access::RW);
    EXPECT_EQ(real.getAccessMode(), Access::RO);
    EXPECT_EQ(above.getAccessMode(), Access::RO);
    EXPECT_EQ(whole.getMin(), kLowest);
    EXPECT_EQ(whole.getMax(), kHighest);
    EXPECT_EQ(real.getMin(), std::numeric_limits<double>::min())
        << "the smallest normal number, deliberately";
}

TEST(SwissKnife, FaultsEndInTheirErrors) {
    FormulaDevice device;
    auto& boolean = device.add<ImplGenICamBoolean>();
    auto& failing = device.addRegister<ImplGenICamIntReg>(1 << 20, 4);
    const struct {
        const char* formula;
        int code;
    } rows[] = {
        {"UNKNOWN", -40009}, {"BOOLEAN", -40009}, {"1/ZERO", -40009},
        {"FAILING", -40011}, {"SELF+1", -40007},  {"ZERO ? FAILING : 3", 0},
    };
    auto& zero = device.add<ImplGenICamInteger>();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.formula);
        auto& knife = device.knife<ImplGenICamIntSwissKnife>(row.formula);
        knife.setVariable("BOOLEAN", &boolean);
        knife.setVariable("ZERO", &zero);
        knife.setVariable("FAILING", &failing);
        knife.setVariable("SELF", &knife);
        EXPECT_EQ(codeOf([&] { knife.getValue(); }), row.code);
    }
    auto& empty = device.add<ImplGenICamSwissKnife>();
    EXPECT_EQ(codeOf([&] { empty.getValue(); }), -40009);
}

TEST(SwissKnife, FormulasThatDoubleTheirWorkEndInTime) {
    FormulaDevice device;
    auto* below = &device.knife<ImplGenICamIntSwissKnife>("1");
    for (int i = 0; i < 40; ++i) {
        auto& knife = device.knife<ImplGenICamIntSwissKnife>("X+X");
        knife.setVariable("X", below);
        below = &knife;
        if (i == 9) {
            EXPECT_EQ(knife.getValue(), 1024);
        }
    }
    EXPECT_EQ(codeOf([&] { below->getValue(); }), -40007);
}

TEST(Converter, TranslatesInBothDirections) {
    FormulaDevice device;
    auto& whole = device.addRegister<ImplGenICamIntReg>(0, 4);
    whole.setSign(Sign::Signed);
    auto& real = device.addRegister<ImplGenICamFloatReg>(8, 8);
    auto& boolean = device.add<ImplGenICamBoolean>();
    auto& overWhole = device.floating("FROM*2", "TO/2", &whole);
    overWhole.setValue(5);
    EXPECT_EQ(whole.getValue(), 10);
    EXPECT_EQ(overWhole.getValue(), 5.0);
    overWhole.setValue(-1.75);
    EXPECT_EQ(whole.getValue(), -3) << "an integer below takes the result without its fraction";
    auto& overReal = device.floating("FROM+SHIFT", "TO-SHIFT", &real);
    auto& shift = device.add<ImplGenICamFloat>();
    shift.setStoredValue(0.25);
    overReal.setVariable("Shift", &shift);
    overReal.setValue(1);
    EXPECT_EQ(real.getValue(), 1.25);
    EXPECT_EQ(overReal.getValue(), 1.0);
    auto& integral = device.integral("FROM-7", "TO+7", &whole);
    integral.setValue(-3);
    EXPECT_EQ(whole.getValue(), -10);
    EXPECT_EQ(integral.getValueAsString(), "-3");
    auto& overBoolean = device.integral("FROM", "1", &boolean);
    overBoolean.setValue(4);
    EXPECT_TRUE(boolean.getValue());
}

TEST(Converter, WithoutAUsableNodeBelow) {
    FormulaDevice device;
    auto& alone = device.floating("FROM", "TO", nullptr);
    EXPECT_EQ(codeOf([&] { alone.setValue(1); }), -40007);
    EXPECT_EQ(codeOf([&] { alone.getValue(); }), -40009);
    auto& whole = device.add<ImplGenICamInteger>();
    whole.setMax(10);
    auto& limited = device.integral("FROM", "TO", &whole);
    limited.setImposedAccessMode(Access::RO);
    EXPECT_EQ(limited.getAccessMode(), Access::RO);
    EXPECT_EQ(codeOf([&] { limited.setValue(11); }), -40006) << "the limits of the node below apply";
    auto& circle = device.integral("FROM", "TO", nullptr);
    circle.setPValue(&circle);
    EXPECT_EQ(codeOf([&] { circle.setValue(1); }), -40007);
    EXPECT_EQ(codeOf([&] { circle.getValue(); }), -40007);
}

} // namespace
} // namespace test_support
