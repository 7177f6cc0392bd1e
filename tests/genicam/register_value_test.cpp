// Bytes of registers seen as numbers, bit fields, floats and texts.
#include "genicam/device_fixture.h"
#include "genicam/nodes/limits.h"

#include <gmock/gmock.h>

#include <random>

namespace test_support {
namespace {

using tavo::ImplGenICamIntReg;
using tavo::ImplGenICamMaskedIntReg;
using tavo::ImplGenICamRegister;
using testing::ElementsAre;

// ---- A model of its own: bit by bit, without masks or shifts of whole values ----

struct Layout {
    int length;
    Endian endianess;
    Sign sign;
    int lsb; // as the description counts
    int msb;
    bool wordsAreNumbers;

    int bits() const { return std::abs(msb - lsb) + 1; }
};

// Calls `visit` with each bit of the value and the byte and mask of memory that hold it, from the highest on:
// bits of big-endian registers count from the first byte's highest bit, of little-endian ones from its
// lowest, or from the last byte's lowest where words are numbers.
void eachBit(const Layout& layout, const std::function<void(int bit, std::size_t byte, int mask)>& visit) {
    const bool big = layout.endianess == Endian::BigEndian;
    const bool isNumber = !big && layout.wordsAreNumbers && layout.length == 4;
    for (int i = layout.bits() - 1; i >= 0; --i) {
        const int place = big ? std::max(layout.lsb, layout.msb) - i : std::min(layout.lsb, layout.msb) + i;
        const int byte = isNumber ? 3 - place / 8 : place / 8;
        visit(i, static_cast<std::size_t>(byte), 1 << (big ? 7 - place % 8 : place % 8));
    }
}

std::int64_t modelRead(const std::vector<unsigned char>& memory, const Layout& layout) {
    std::int64_t value = 0;
    eachBit(layout, [&](int i, std::size_t byte, int mask) {
        const bool bit = (memory[byte] & mask) != 0;
        if (i == layout.bits() - 1) {
            value = layout.sign == Sign::Signed && bit ? -1 : 0;
        }
        value = static_cast<std::int64_t>(static_cast<std::uint64_t>(value) * 2 + (bit ? 1U : 0U));
    });
    return value;
}

void modelWrite(std::vector<unsigned char>& memory, const Layout& layout, std::int64_t value) {
    eachBit(layout, [&](int i, std::size_t byte, int mask) {
        const bool bit = (static_cast<std::uint64_t>(value) >> i & 1) != 0;
        memory[byte] = static_cast<unsigned char>(bit ? memory[byte] | mask : memory[byte] & ~mask);
    });
}

Layout randomLayout(std::mt19937& random, bool whole) {
    const auto below = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
    const int length = 1 + below(8);
    const int lsb = whole ? 0 : below(length * 8);
    const int msb = whole ? length * 8 - 1 : below(length * 8);
    return {length,
            below(2) == 0 ? Endian::LittleEndian : Endian::BigEndian,
            static_cast<Sign>(below(3)),
            lsb,
            msb,
            below(2) == 0};
}

TEST(RegisterNumbers, RandomLayoutsAgreeWithTheBitModel) {
    std::mt19937 random(20261121);
    for (int round = 0; round < 4000; ++round) {
        const bool whole = round % 4 == 0;
        const Layout layout = randomLayout(random, whole);
        SCOPED_TRACE(testing::PrintToString(std::vector{
            round, layout.length, int(layout.endianess), int(layout.sign), layout.lsb, layout.msb,
            int(layout.wordsAreNumbers)}));
        Device device;
        device.port.memory.resize(24);
        for (auto& byte : device.port.memory) {
            byte = static_cast<unsigned char>(random());
        }
        auto* node = &device.addRegister<ImplGenICamIntReg>(8, layout.length);
        if (!whole) {
            auto& field = device.addRegister<ImplGenICamMaskedIntReg>(8, layout.length);
            field.setLSB(layout.lsb);
            field.setMSB(layout.msb);
            node = &field;
        }
        node->setEndianess(layout.endianess);
        node->setSign(layout.sign);
        node->setWordsAreNumbers(layout.wordsAreNumbers);
        std::vector<unsigned char> model = device.port.bytes(8, 16);
        ASSERT_EQ(node->getValue(), modelRead(model, layout));

        const auto value = static_cast<std::int64_t>(
            static_cast<std::uint64_t>(random()) << 32 ^ static_cast<std::uint64_t>(random()));
        node->setValue(value);
        modelWrite(model, layout, value);
        ASSERT_EQ(device.port.bytes(8, 16), model);
        ASSERT_EQ(node->getValue(), modelRead(model, layout));
        if (node->getMin() <= value && value <= node->getMax() && layout.sign != Sign::NotGiven) {
            ASSERT_EQ(node->getValue(), value);
        }
    }
}

TEST(RegisterNumbers, FieldsThatCannotBeEndInAnError) {
    const struct {
        const char* name;
        std::int64_t length, lsb, msb;
        const char* endianess;
        int code;
    } rows[] = {
        {"not given", 4, -1, -1, "LittleEndian", status::IllegalNode},
        {"beyond 64 bits", 8, 60, 64, "LittleEndian", status::IllegalNode},
        {"below the register", 2, 16, 16, "BigEndian", status::IllegalNode},
        {"beyond the register", 2, 8, 16, "LittleEndian", status::IllegalNode},
        {"in a register without bytes", 0, 0, 0, "LittleEndian", status::IllegalNode},
        {"absurd", 8, kLowest, kHighest, "BigEndian", status::IllegalNode},
        {"in a register too long", 20, 0, 0, "BigEndian", status::IllegalNode},
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
        const std::string code = shown(row.code);
        device.expect("F=1 -> " + code + "; F -> " + (row.code == 0 ? "1" : code));
        auto& field = device.as<ImplGenICamMaskedIntReg>("F");
        EXPECT_EQ(codeOf([&] { field.getValueMask(); }), row.code);
        const bool isTooWide = field.getBitLength() > 64;
        EXPECT_EQ(codeOf([&] { field.getMin(); }), isTooWide ? status::IllegalRegisterLength : row.code);
        EXPECT_EQ(codeOf([&] { field.getMax(); }), isTooWide ? status::IllegalRegisterLength : row.code);
    }
}

TEST(Registers, DoAsTheirScripts) {
    const std::string big = "<Endianess>BigEndian</Endianess>";
    runScripts({
        {"a sign that is not given does not extend", reg("N", 0, 2), "@0=FE FF; N -> 65534"},
        // A register longer than a value gives its lowest 64 bits and is filled with zeros.
        {"long, big-endian", reg("N", 0, 10, big),
         "@0=01 02 03 04 05 06 07 08 09 0A; N -> 217304205466536202; N=0x1122; "
         "@0+10 -> 00 00 00 00 00 00 00 00 11 22"},
        {"floats of both precisions and no other",
         reg("Single", 0, 4, "", "FloatReg") + reg("Double", 8, 8, "", "FloatReg") +
             reg("Two", 0, 2, "", "FloatReg") + reg("None", 0, 0, "", "FloatReg"),
         "Single=1e300; Single -> inf; Single=-1e300; Single -> -inf; Single=1.5; Single -> 1.5; "
         "Double=-2.25e200; Double -> -2.25e+200; #Two -> 0r 0w; Two -> illegal register length; Two=1 -> "
         "illegal register length; "
         "None -> illegal register length; None=1 -> illegal register length"},
        {"the largest float", reg("Single", 0, 4, "", "FloatReg"),
         "Single=3.4028235e38; @0+4 -> FF FF 7F 7F; Single=-3.4028235e38; @0+4 -> FF FF 7F FF; "
         "Single=3.4028236e38; Single -> inf"},
        {"texts fill the whole register", reg("S", 0, 4, "", "StringReg"),
         "@0=78 78 78 78 6E; S=ab; @0+5 -> 61 62 00 00 6E; S=abcdef; S -> abcd; @4+1 -> 6E"},
        {"raw texts within their limits",
         reg("Two", 0, 2, "", "Register") + reg("None", 0, 0, "", "Register") +
             reg("Long", 0, 513, "", "Register") + reg("Negative", 0, -1, "", "Register") +
             reg("Lowest", 0, kLowest, "", "Register"),
         "@0=0A FF; Two -> 0a ff; #Two -> 0r 0w; #None -> 0r 0w; None -> ; #Long -> 0r 0w; "
         "Long -> <buffer too large (more than 512 bytes)>; Negative -> illegal register length; Lowest -> "
         "illegal register length"},
        {"lengths from other nodes are added and bounded",
         "<Integer Name='L'/>" + reg("S", 0, 2, "<pLength>L</pLength>", "StringReg"),
         "@0=61 62 63 64 65; L=3; S -> abcde; L=-2; S -> ; S=x; L=-3; S -> illegal register length; S=x -> "
         "illegal register length; L=" +
             std::to_string(tavo::kMaxRegisterLength) +
             "; S -> illegal register length; S=x -> illegal register length; L=" + std::to_string(kHighest) +
             "; S -> illegal register length; L=" + std::to_string(kLowest) +
             "; S -> illegal register length"},
    });
}

TEST(Registers, TextsWhoseLengthAnotherNodeTellsHaveALimit) {
    const auto limit = static_cast<std::size_t>(tavo::kMaxTextLength);
    const struct {
        std::int64_t fixed, told;
        std::size_t read;
    } rows[] = {{0, 1000, 1000}, {1, 1 << 20, limit}, {70000, 0, 70000}, {70000, 1 << 20, 70000}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.told);
        Device device(inRoot(
            "<Integer Name='L'><Value>" + std::to_string(row.told) + "</Value></Integer>" +
            reg("S", 0, row.fixed, "<pLength>L</pLength>", "StringReg")));
        device.port.memory.resize(3 << 20);
        auto& text = device.as<tavo::ImplGenICamStringReg>("S");
        EXPECT_EQ(text.getValue().size(), row.read);
        EXPECT_EQ(text.getMaxLength(), static_cast<std::int64_t>(row.read));
        EXPECT_EQ(text.getLength(), row.fixed + row.told);
        text.setValue(std::string(row.read + 1, 'x'));
        EXPECT_EQ(device.port.memory[row.read - 1], 'x');
        EXPECT_EQ(device.port.memory[row.read], 0);
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
