// Bytes of registers seen as numbers, bit fields, floats and texts.
#include "genicam/device_fixture.h"

#include <gmock/gmock.h>

#include <random>

namespace test_support {
namespace {

using tavo::ImplGenICamFloatReg;
using tavo::ImplGenICamIntReg;
using tavo::ImplGenICamMaskedIntReg;
using tavo::ImplGenICamRegister;
using testing::ElementsAre;

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

TEST(RegisterNumbers, FieldsThatCannotBeEndInAnError) {
    const struct {
        const char* name;
        std::int64_t length, lsb, msb;
        const char* endianess;
        int code;
    } rows[] = {
        {"not given", 4, -1, -1, "LittleEndian", -40007},
        {"not given, big-endian", 4, -1, -1, "BigEndian", -40007},
        {"half given", 4, 0, -1, "LittleEndian", -40007},
        {"beyond 64 bits", 8, 60, 64, "LittleEndian", -40007},
        {"below the register", 2, 16, 16, "BigEndian", -40007},
        {"absurd", 8, kLowest, kHighest, "BigEndian", -40007},
        {"absurd the other way", 8, kHighest, 0, "BigEndian", -40007},
        {"in a register too long", 20, 0, 0, "BigEndian", -40007},
        {"highest bit", 8, 63, 63, "LittleEndian", 0},
        {"single bit, big-endian", 4, 0, 0, "BigEndian", 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Device device(inRoot(
            reg("F", 0, row.length,
                "<LSB>" + std::to_string(row.lsb) + "</LSB><MSB>" + std::to_string(row.msb) +
                    "</MSB><Sign>Unsigned</Sign><Endianess>" + row.endianess + "</Endianess>",
                "MaskedIntReg")));
        const std::string code = std::to_string(row.code);
        device.expect("F=1 -> " + code + "; F -> " + (row.code == 0 ? "1" : code));
        auto& field = device.as<ImplGenICamMaskedIntReg>("F");
        EXPECT_EQ(codeOf([&] { field.getValueMask(); }), row.code);
        codeOf([&] { field.getMin(); });
        if (field.getLSB() == 31) { // bit 0 of the last row, counted from the other end
            EXPECT_EQ(field.getMSB(), 31);
            EXPECT_EQ(field.getValueMask(), 0x80000000U);
        }
    }
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
        SCOPED_TRACE(testing::Message() << row.length << " " << row.written);
        Device device;
        auto& node = device.addRegister<ImplGenICamFloatReg>(0, row.length);
        EXPECT_EQ(codeOf([&] { node.setValue(row.written); }), row.code);
        EXPECT_EQ(codeOf([&] { EXPECT_EQ(node.getValue(), row.read); }), row.code);
        EXPECT_EQ(codeOf([&] { EXPECT_EQ(node.getMin(), row.min); }), row.code);
        EXPECT_EQ(codeOf([&] { EXPECT_EQ(node.getMax(), row.max); }), row.code);
    }
}

TEST(Registers, DoAsTheirScripts) {
    const std::string big = "<Endianess>BigEndian</Endianess>";
    runScripts({
        {"a sign that is not given does not extend", reg("N", 0, 2), "@0=FE FF; N -> 65534"},
        // A register longer than a value gives its lowest 64 bits and is filled with zeros.
        {"long, little-endian", reg("N", 0, 10),
         "@0=01 02 03 04 05 06 07 08 09 0A; N -> 578437695752307201; N=0x1122; "
         "@0+10 -> 22 11 00 00 00 00 00 00 00 00"},
        {"long, big-endian", reg("N", 0, 10, big),
         "@0=01 02 03 04 05 06 07 08 09 0A; N -> 217304205466536202; N=0x1122; "
         "@0+10 -> 00 00 00 00 00 00 00 00 11 22"},
        {"floats of both orders", reg("B", 0, 4, big, "FloatReg") + reg("L", 8, 4, "", "FloatReg"),
         "B=1; @0+4 -> 3F 80 00 00; L=1; @8+4 -> 00 00 80 3F; B -> 1; L -> 1"},
        {"texts fill the whole register", reg("S", 0, 4, "", "StringReg"),
         "@0=78 78 78 78 6E; S=ab; @0+5 -> 61 62 00 00 6E; S=abcdef; S -> abcd; @4+1 -> 6E"},
        {"raw texts within their limits",
         reg("Two", 0, 2, "", "Register") + reg("None", 0, 0, "", "Register") +
             reg("Long", 0, 513, "", "Register") + reg("Negative", 0, -1, "", "Register") +
             reg("Lowest", 0, kLowest, "", "Register"),
         "@0=0A FF; Two -> 0a ff; #Two -> 0r 0w; #None -> 0r 0w; None -> ; #Long -> 0r 0w; "
         "Long -> <buffer too large (more than 512 bytes)>; Negative -> -40008; Lowest -> -40008"},
        {"lengths from other nodes are added and bounded",
         "<Integer Name='L'/>" + reg("S", 0, 2, "<pLength>L</pLength>", "StringReg"),
         "@0=61 62 63 64 65; L=3; S -> abcde; L=-2; S -> ; S=x; L=-3; S -> -40008; S=x -> -40008; L=" +
             std::to_string(tavo::kMaxRegisterLength) + "; S -> -40008; S=x -> -40008; L=" +
             std::to_string(kHighest) + "; S -> -40008; L=" + std::to_string(kLowest) + "; S -> -40008"},
    });
}

TEST(Registers, ShowBytesInAddressOrderWhicheverAccessCameFirst) {
    for (const bool numberFirst : {false, true}) {
        Device device(inRoot(reg("N", 0, 2, "<Endianess>BigEndian</Endianess>")));
        auto& node = device.as<ImplGenICamIntReg>("N");
        unsigned char bytes[4] = {0, 0, 0x33, 0x33};
        device.expect(numberFirst ? "@0=0A FF; N -> 2815" : "@0=0A FF");
        node.get(bytes, 4);
        EXPECT_THAT(bytes, ElementsAre(0x0A, 0xFF, 0x33, 0x33));
        EXPECT_EQ(node.getValue(), 0x0AFF);
        device.port.failing = true;
        unsigned char one[1] = {0x12};
        EXPECT_EQ(codeOf([&] { node.set(one, 1); }), -40011);
        device.expect("!heal; N -> 2815");
        node.set(one, 1);
        EXPECT_EQ(node.getValue(), 0x12FF);
    }
}

TEST(Registers, AddressesWrapInsteadOfOverflowing) {
    Device device(inRoot(
        "<Integer Name='T'><Value>9223372036854775807</Value></Integer>" +
        reg("N", kHighest, 4, "<Address>1</Address><pIndex Offset='9223372036854775807'>T</pIndex>")));
    EXPECT_EQ(device.as<ImplGenICamRegister>("N").getAddress(), kLowest + 1);
}

} // namespace
} // namespace test_support
