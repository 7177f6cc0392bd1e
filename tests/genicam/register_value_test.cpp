// Bytes of registers seen as numbers, bit fields, floats and texts.
#include "genicam/device_fixture.h"

#include <gmock/gmock.h>

#include <limits>
#include <random>

namespace test_support {
namespace {

using tavo::ImplGenICamFloatReg;
using tavo::ImplGenICamInteger;
using tavo::ImplGenICamIntReg;
using tavo::ImplGenICamMaskedIntReg;
using tavo::ImplGenICamRegister;
using tavo::ImplGenICamStringReg;
using testing::ElementsAre;

constexpr auto kLowest = std::numeric_limits<std::int64_t>::min();
constexpr auto kHighest = std::numeric_limits<std::int64_t>::max();

// ---- A model of its own: bit by bit, without masks or shifts of whole values
// -----------------------------------

struct Layout {
    int length;
    Endian endianess;
    Sign sign;
    int lsb; // as the description counts
    int msb;
};

int fieldBits(const Layout& layout) {
    return std::abs(layout.msb - layout.lsb) + 1;
}

struct BitPlace {
    int byte;
    int bit;
};

// The bit of memory that holds bit `i` of the value: bits of big-endian registers count from the first byte's
// highest bit, those of little-endian ones from the first byte's lowest.
BitPlace placeOf(const Layout& layout, int i) {
    if (layout.endianess == Endian::BigEndian) {
        const int counted = std::max(layout.lsb, layout.msb) - i;
        return {counted / 8, 7 - counted % 8};
    }
    const int counted = std::min(layout.lsb, layout.msb) + i;
    return {counted / 8, counted % 8};
}

std::int64_t modelRead(const std::vector<unsigned char>& memory, const Layout& layout) {
    std::int64_t value = 0;
    bool highest = false;
    for (int i = fieldBits(layout) - 1; i >= 0; --i) {
        const BitPlace place = placeOf(layout, i);
        const bool bit = (memory[static_cast<std::size_t>(place.byte)] >> place.bit & 1) != 0;
        if (i == fieldBits(layout) - 1) {
            highest = bit;
            value = layout.sign == Sign::Signed && highest ? -1 : 0;
        }
        value = static_cast<std::int64_t>(static_cast<std::uint64_t>(value) * 2 + (bit ? 1U : 0U));
    }
    return value;
}

void modelWrite(std::vector<unsigned char>& memory, const Layout& layout, std::int64_t value) {
    for (int i = 0; i < fieldBits(layout); ++i) {
        const BitPlace place = placeOf(layout, i);
        auto& byte = memory[static_cast<std::size_t>(place.byte)];
        const bool bit = (static_cast<std::uint64_t>(value) >> i & 1) != 0;
        byte = static_cast<unsigned char>(bit ? byte | 1 << place.bit : byte & ~(1 << place.bit));
    }
}

Layout randomLayout(std::mt19937& random, bool whole) {
    const auto below = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
    Layout layout{1 + below(8), below(2) == 0 ? Endian::LittleEndian : Endian::BigEndian, {}, 0, 0};
    layout.sign = static_cast<Sign>(below(3));
    const int bits = layout.length * 8;
    layout.lsb = whole ? 0 : below(bits);
    layout.msb = whole ? bits - 1 : below(bits);
    return layout;
}

TEST(RegisterNumbers, RandomLayoutsAgreeWithTheBitModel) {
    std::mt19937 random(20261121);
    for (int round = 0; round < 4000; ++round) {
        const bool whole = round % 4 == 0;
        const Layout layout = randomLayout(random, whole);
        SCOPED_TRACE(
            testing::Message() << "round " << round << " length " << layout.length << " lsb " << layout.lsb
                               << " msb " << layout.msb << " endianess " << static_cast<int>(layout.endianess)
                               << " sign " << static_cast<int>(layout.sign));
        Device device;
        device.port.memory.resize(24);
        for (auto& byte : device.port.memory) {
            byte = static_cast<unsigned char>(random());
        }
        ImplGenICamIntReg* node = nullptr;
        if (whole) {
            node = &device.addRegister<ImplGenICamIntReg>(8, layout.length);
        } else {
            auto& field = device.addRegister<ImplGenICamMaskedIntReg>(8, layout.length);
            field.setLSB(layout.lsb);
            field.setMSB(layout.msb);
            node = &field;
        }
        node->setEndianess(layout.endianess);
        node->setSign(layout.sign);
        std::vector<unsigned char> model = device.port.bytes(8, layout.length);
        ASSERT_EQ(node->getValue(), modelRead(model, layout));

        const auto value = static_cast<std::int64_t>(
            static_cast<std::uint64_t>(random()) << 32 ^ static_cast<std::uint64_t>(random()));
        const std::vector<unsigned char> before = device.port.bytes(0, 24);
        node->setValue(value);
        modelWrite(model, layout, value);
        ASSERT_EQ(device.port.bytes(8, layout.length), model);
        ASSERT_EQ(node->getValue(), modelRead(model, layout));
        std::copy(before.begin() + 8, before.begin() + 8 + layout.length, device.port.memory.begin() + 8);
        ASSERT_EQ(device.port.bytes(0, 24), before) << "a neighbour changed";
        if (node->getMin() <= value && value <= node->getMax() && layout.sign != Sign::NotGiven) {
            ASSERT_EQ(node->getValue(), value);
        }
    }
}

TEST(RegisterNumbers, LimitsFollowLengthAndSign) {
    const struct {
        std::int64_t length;
        Sign sign;
        std::int64_t min, max;
        int code;
    } rows[] = {
        {1, Sign::Unsigned, 0, 255, 0},        {2, Sign::Signed, -32768, 32767, 0},
        {2, Sign::NotGiven, -32768, 32767, 0}, {4, Sign::Unsigned, 0, 0xFFFFFFFF, 0},
        {8, Sign::Unsigned, 0, kHighest, 0},   {8, Sign::Signed, kLowest, kHighest, 0},
        {0, Sign::Signed, 0, 0, -40008},       {9, Sign::Unsigned, 0, 0, -40008},
        {-1, Sign::Unsigned, 0, 0, -40008},    {kHighest, Sign::Unsigned, 0, 0, -40008},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.length);
        Device device;
        auto& node = device.addRegister<ImplGenICamIntReg>(0, row.length);
        node.setSign(row.sign);
        EXPECT_EQ(codeOf([&] { EXPECT_EQ(node.getMin(), row.min); }), row.code);
        EXPECT_EQ(codeOf([&] { EXPECT_EQ(node.getMax(), row.max); }), row.code);
    }
}

TEST(RegisterNumbers, ASignThatIsNotGivenLimitsButDoesNotExtend) {
    Device device;
    device.port.put(0, {0xFE, 0xFF});
    auto& node = device.addRegister<ImplGenICamIntReg>(0, 2);
    EXPECT_EQ(node.getValue(), 65534);
    EXPECT_EQ(node.getMin(), -32768);
}

TEST(RegisterNumbers, LongRegistersGiveTheirLowest64Bits) {
    for (const Endian endianess : {Endian::LittleEndian, Endian::BigEndian}) {
        const bool big = endianess == Endian::BigEndian;
        Device device;
        device.port.put(0, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10});
        auto& node = device.addRegister<ImplGenICamIntReg>(0, 10);
        node.setEndianess(endianess);
        EXPECT_EQ(node.getValue(), big ? 0x030405060708090A : 0x0807060504030201);
        node.setValue(0x1122);
        EXPECT_EQ(
            device.port.bytes(0, 10), big ? (std::vector<unsigned char>{0, 0, 0, 0, 0, 0, 0, 0, 0x11, 0x22})
                                          : (std::vector<unsigned char>{0x22, 0x11, 0, 0, 0, 0, 0, 0, 0, 0}));
    }
}

TEST(RegisterNumbers, FieldsThatCannotBeEndInAnError) {
    const struct {
        const char* name;
        std::int64_t length, lsb, msb;
        Endian endianess;
        int code;
    } rows[] = {
        {"not given", 4, -1, -1, Endian::LittleEndian, -40007},
        {"not given, big-endian", 4, -1, -1, Endian::BigEndian, -40007},
        {"half given", 4, 0, -1, Endian::LittleEndian, -40007},
        {"beyond 64 bits", 8, 60, 64, Endian::LittleEndian, -40007},
        {"below the register", 2, 16, 16, Endian::BigEndian, -40007},
        {"absurd", 8, kLowest, kHighest, Endian::BigEndian, -40007},
        {"absurd the other way", 8, kHighest, 0, Endian::BigEndian, -40007},
        {"in a register too long", 20, 0, 0, Endian::BigEndian, -40007},
        {"highest bit", 8, 63, 63, Endian::LittleEndian, 0},
        {"single bit, big-endian", 4, 0, 0, Endian::BigEndian, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Device device;
        auto& field = device.addRegister<ImplGenICamMaskedIntReg>(0, row.length);
        field.setLSB(row.lsb);
        field.setMSB(row.msb);
        field.setEndianess(row.endianess);
        field.setSign(Sign::Unsigned);
        EXPECT_EQ(codeOf([&] { field.setValue(1); }), row.code);
        EXPECT_EQ(codeOf([&] { EXPECT_EQ(field.getValue(), 1); }), row.code);
        EXPECT_EQ(codeOf([&] { field.getValueMask(); }), row.code);
        codeOf([&] { field.getMin(); });
        codeOf([&] { field.getLSB(); });
    }
}

TEST(RegisterNumbers, BigEndianBitsCountFromTheTop) {
    Device device;
    auto& field = device.addRegister<ImplGenICamMaskedIntReg>(0, 4);
    field.setEndianess(Endian::BigEndian);
    field.setBit(0);
    EXPECT_EQ(field.getLSB(), 31);
    EXPECT_EQ(field.getMSB(), 31);
    EXPECT_EQ(field.getValueMask(), 0x80000000U);
    field.setValue(1);
    EXPECT_THAT(device.port.bytes(0, 4), ElementsAre(0x80, 0, 0, 0));
}

TEST(RegisterNumbers, FloatsOfBothPrecisionsAndNoOther) {
    const struct {
        std::int64_t length;
        double written, read, min, max;
        int code;
    } rows[] = {
        {4, 1.5, 1.5, 1.1754944e-38, 3.4028235e38, 0},
        {4, 1e300, std::numeric_limits<double>::infinity(), 1.1754944e-38, 3.4028235e38, 0},
        {4, -1e300, -std::numeric_limits<double>::infinity(), 1.1754944e-38, 3.4028235e38, 0},
        {8, -2.25e200, -2.25e200, 2.2250738585072014e-308, 1.7976931348623157e308, 0},
        {2, 1, 0, 0, 0, -40008},
        {0, 1, 0, 0, 0, -40008},
    };
    for (const auto& row : rows) {
        for (const Endian endianess : {Endian::LittleEndian, Endian::BigEndian}) {
            SCOPED_TRACE(testing::Message() << row.length << " " << row.written);
            Device device;
            auto& node = device.addRegister<ImplGenICamFloatReg>(0, row.length);
            node.setEndianess(endianess);
            EXPECT_EQ(codeOf([&] { node.setValue(row.written); }), row.code);
            EXPECT_EQ(codeOf([&] { EXPECT_EQ(node.getValue(), row.read); }), row.code);
            EXPECT_EQ(codeOf([&] { EXPECT_EQ(node.getMin(), row.min); }), row.code);
            EXPECT_EQ(codeOf([&] { EXPECT_EQ(node.getMax(), row.max); }), row.code);
        }
    }
    Device device;
    auto& node = device.addRegister<ImplGenICamFloatReg>(0, 4);
    node.setEndianess(Endian::BigEndian);
    node.setValue(1.0);
    EXPECT_THAT(device.port.bytes(0, 4), ElementsAre(0x3F, 0x80, 0, 0));
}

TEST(RegisterTexts, FillTheWholeRegister) {
    Device device;
    auto& node = device.addRegister<ImplGenICamStringReg>(0, 4);
    device.port.put(0, {'x', 'x', 'x', 'x', 'n'});
    node.setValue("ab");
    EXPECT_EQ(node.getValue(), std::string("ab\0\0", 4));
    EXPECT_EQ(node.getMaxLength(), 4);
    node.setValue("abcdef");
    EXPECT_EQ(node.getValueAsString(), "abcd");
    EXPECT_EQ(device.port.memory[4], 'n');
}

TEST(RawRegisters, ShowBytesInAddressOrderWhicheverAccessCameFirst) {
    for (const bool numberFirst : {false, true}) {
        Device device;
        device.port.put(0, {0x0A, 0xFF});
        auto& node = device.addRegister<ImplGenICamIntReg>(0, 2);
        node.setEndianess(Endian::BigEndian);
        unsigned char bytes[4] = {0, 0, 0x33, 0x33};
        if (numberFirst) {
            EXPECT_EQ(node.getValue(), 0x0AFF);
        }
        node.get(bytes, 4);
        EXPECT_THAT(bytes, ElementsAre(0x0A, 0xFF, 0x33, 0x33));
        EXPECT_EQ(node.getValue(), 0x0AFF);
        EXPECT_EQ(node.getValueAsString(), "2815");
        unsigned char one[1] = {0x12};
        node.set(one, 1);
        EXPECT_EQ(node.getValue(), 0x12FF);
    }
}

TEST(RawRegisters, AsTextWithinTheirLimits) {
    Device device;
    device.port.put(0, {0x0A, 0xFF});
    const struct {
        std::int64_t length;
        const char* text;
        int reads, code;
    } rows[] = {
        {2, "0a ff", 1, 0},
        {0, "", 0, 0},
        {513, "<buffer too large (more than 512 bytes)>", 0, 0},
        {-1, "", 0, -40008},
        {kLowest, "", 0, -40008},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.length);
        auto& node = device.addRegister<ImplGenICamRegister>(0, row.length);
        int code = 0;
        const auto traffic =
            device.during([&] { code = codeOf([&] { EXPECT_EQ(node.getValueAsString(), row.text); }); });
        EXPECT_EQ(traffic.reads, row.reads);
        EXPECT_EQ(code, row.code);
    }
}

TEST(RawRegisters, LengthsFromOtherNodesAreAddedAndBounded) {
    Device device;
    auto& length = device.add<ImplGenICamInteger>();
    auto& node = device.addRegister<ImplGenICamRegister>(0, 2);
    node.setPLength(&length);
    unsigned char byte = 0;
    const struct {
        std::int64_t added;
        int code;
    } rows[] = {
        {3, 0},
        {-2, 0},
        {-3, -40008},
        {tavo::kMaxRegisterLength, -40008},
        {kHighest, -40008},
        {kLowest, -40008},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.added);
        length.setStoredValue(row.added);
        node.invalidateRegistersAndTriggerSignals();
        EXPECT_EQ(codeOf([&] { node.get(&byte, 1); }), row.code);
        EXPECT_EQ(codeOf([&] { node.set(&byte, 1); }), row.code);
    }
    length.setStoredValue(3);
    EXPECT_EQ(node.getLength(), 5);
}

TEST(RawRegisters, AddressesWrapInsteadOfOverflowing) {
    Device device;
    auto& term = device.add<ImplGenICamInteger>();
    term.setStoredValue(kHighest);
    auto& node = device.addRegister<ImplGenICamRegister>(kHighest, 4);
    node.addToAddress(1);
    node.addAddressElement(&term, kHighest);
    EXPECT_EQ(node.getAddress(), kLowest + 1);
    EXPECT_FALSE(node.addAddressElement(nullptr, 1));
}

TEST(RawRegisters, WithoutAPortNothingIsReached) {
    Device device;
    auto& node = device.addRegister<ImplGenICamIntReg>(0, 4);
    node.setPort(nullptr);
    EXPECT_EQ(codeOf([&] { node.getValue(); }), -40010);
    EXPECT_EQ(codeOf([&] { node.setValue(1); }), -40010);
}

} // namespace
} // namespace test_support
