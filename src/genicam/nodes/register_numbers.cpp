// The registers that show their bytes as a number or a text.
#include "genicam/nodes/GenICamScopedReadWriteLock.h"
#include "genicam/nodes/ImplGenICamRegister.h"
#include "genicam/nodes/failures.h"
#include "genicam/nodes/numbers.h"
#include "util/Quirks.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <string_view>

namespace tavo {
namespace {

using Guard = GenICamScopedReadWriteLock;

constexpr std::int64_t kMaxValueBits = 64;

// The lowest `bits` (1 to 64).
constexpr std::uint64_t lowMask(unsigned bits) {
    return ~std::uint64_t{0} >> (kMaxValueBits - bits);
}

// Extends the sign of a field of `bits` (1 to 64).
constexpr std::int64_t signExtended(std::uint64_t value, unsigned bits) {
    const bool negative = (value >> (bits - 1) & 1) != 0;
    return static_cast<std::int64_t>(negative ? value | ~lowMask(bits) : value);
}

static_assert(signExtended(0xFFFE, 16) == -2);
static_assert(signExtended(0x7FFE, 16) == 0x7FFE);
static_assert(lowMask(1) == 1 && lowMask(64) == ~std::uint64_t{0});

} // namespace

// ---- IntReg ----------------------------------------------------------------------------------------------

std::int64_t ImplGenICamIntReg::valueBits() {
    const std::int64_t length = getLength();
    if (length < 1 || length > kMaxValueBits / 8) {
        failLength(*this, length, "; an integer has 1 to 8");
    }
    return length * 8;
}

std::int64_t ImplGenICamIntReg::getMin() {
    const auto bits = static_cast<unsigned>(valueBits());
    return m_sign == Sign::Unsigned ? 0 : signExtended(std::uint64_t{1} << (bits - 1), bits);
}

std::int64_t ImplGenICamIntReg::getMax() {
    const auto bits = static_cast<unsigned>(valueBits());
    const bool wholeRange = m_sign == Sign::Unsigned && bits < kMaxValueBits;
    return static_cast<std::int64_t>(lowMask(bits) >> (wholeRange ? 0 : 1));
}

// A register longer than a value gives its lowest 64 bits; one without bytes gives 0.
std::int64_t ImplGenICamIntReg::readInteger() {
    internalGet(false);
    const std::uint64_t value = content().number(isBigEndian(content()));
    const std::size_t size = content().size();
    if (m_sign == Sign::Signed && size >= 1 && size < sizeof(value)) {
        return signExtended(value, static_cast<unsigned>(size * 8));
    }
    return static_cast<std::int64_t>(value);
}

// The low bytes of the value, whatever minimum and maximum say; a longer register is filled with zeros.
void ImplGenICamIntReg::writeInteger(std::int64_t value) {
    RegisterBytes bytes = emptyContent();
    bytes.setNumber(static_cast<std::uint64_t>(value), isBigEndian(bytes));
    internalSet(std::move(bytes));
}

// ---- MaskedIntReg ----------------------------------------------------------------------------------------

std::int64_t ImplGenICamMaskedIntReg::bitPlace(std::int64_t stored, std::int64_t length) const {
    if (getEndianess() == Endianess::LittleEndian) {
        return stored;
    }
    return numbers::add(numbers::multiply(length, 8), -1 - stored);
}

ImplGenICamMaskedIntReg::Field ImplGenICamMaskedIntReg::field(std::int64_t length) const {
    if (m_lsb < 0 || m_msb < 0) {
        failAt<GicIllegalNodeException>(*this, ": the description names no bits of it");
    }
    const auto [low, high] = std::minmax({bitPlace(m_lsb, length), bitPlace(m_msb, length)});
    if (low < 0 || high >= kMaxValueBits || high / 8 >= length) {
        failAt<GicIllegalNodeException>(*this, ": its bits lie outside its bytes");
    }
    return {static_cast<unsigned>(low), static_cast<unsigned>(high - low + 1)};
}

std::int64_t ImplGenICamMaskedIntReg::getLSB() {
    return std::min(bitPlace(m_lsb, getLength()), bitPlace(m_msb, getLength()));
}

std::int64_t ImplGenICamMaskedIntReg::getMSB() {
    return std::max(bitPlace(m_lsb, getLength()), bitPlace(m_msb, getLength()));
}

std::int64_t ImplGenICamMaskedIntReg::getBitLength() const {
    const auto [low, high] = std::minmax(m_lsb, m_msb);
    const auto distance = static_cast<std::uint64_t>(high) - static_cast<std::uint64_t>(low);
    constexpr auto kMost = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    return distance < kMost ? static_cast<std::int64_t>(distance + 1) : static_cast<std::int64_t>(kMost);
}

std::uint64_t ImplGenICamMaskedIntReg::getValueMask() {
    const Field place = field(getLength());
    return lowMask(place.bits) << place.lsb;
}

std::int64_t ImplGenICamMaskedIntReg::valueBits() {
    if (getBitLength() > kMaxValueBits) {
        failAt<GicIllegalRegisterLengthException>(*this, " has more than 64 bits");
    }
    return field(getLength()).bits;
}

// The field is brought down without its sign first: one that ends at the highest bit reads as it was written.
std::int64_t ImplGenICamMaskedIntReg::readInteger() {
    const Field place = field(currentLength());
    internalGet(false);
    const std::uint64_t value = content().number(isBigEndian(content())) >> place.lsb & lowMask(place.bits);
    return getSign() == Sign::Signed ? signExtended(value, place.bits) : static_cast<std::int64_t>(value);
}

void ImplGenICamMaskedIntReg::writeInteger(std::int64_t value) {
    const Field place = field(currentLength());
    internalGet(true);
    RegisterBytes bytes = content();
    const bool bigEndian = isBigEndian(bytes);
    const std::uint64_t mask = lowMask(place.bits) << place.lsb;
    const std::uint64_t others = bytes.number(bigEndian) & ~mask;
    bytes.setNumber((static_cast<std::uint64_t>(value) << place.lsb & mask) | others, bigEndian);
    internalSet(std::move(bytes));
}

// ---- FloatReg --------------------------------------------------------------------------------------------

namespace {

bool isSinglePrecision(const ImplGenICamNode& node, std::int64_t length) {
    if (length != sizeof(float) && length != sizeof(double)) {
        failLength(node, length, "; a float has 4 or 8");
    }
    return length == sizeof(float);
}

using Single = std::numeric_limits<float>;
using Double = std::numeric_limits<double>;

// The nearest float: the largest one also for what decimal digits round it up to, infinity beyond. A plain
// conversion leaves both undefined.
float toSingle(double value) {
    constexpr double kMost = Single::max();
    constexpr double kHalfAStep = 0x1p103; // between the largest float and what would follow it
    if (std::abs(value) <= kMost) {
        return static_cast<float>(value);
    }
    const float nearest = std::abs(value) < kMost + kHalfAStep ? Single::max() : Single::infinity();
    return value < 0 ? -nearest : nearest;
}

} // namespace

double ImplGenICamFloatReg::getMin() {
    if (!quirks().positiveFloatMinimum) {
        return -getMax();
    }
    return isSinglePrecision(*this, getLength()) ? double{Single::min()} : Double::min();
}

double ImplGenICamFloatReg::getMax() {
    return isSinglePrecision(*this, getLength()) ? double{Single::max()} : Double::max();
}

double ImplGenICamFloatReg::readFloat() {
    isSinglePrecision(*this, currentLength()); // nothing is read for a length that cannot be
    internalGet(false);
    const std::uint64_t bits = content().number(isBigEndian(m_endianess, content()));
    if (isSinglePrecision(*this, static_cast<std::int64_t>(content().size()))) {
        return static_cast<double>(std::bit_cast<float>(static_cast<std::uint32_t>(bits)));
    }
    return std::bit_cast<double>(bits);
}

void ImplGenICamFloatReg::writeFloat(double value) {
    const bool single = isSinglePrecision(*this, currentLength());
    RegisterBytes bytes = emptyContent();
    bytes.setNumber(
        single ? std::bit_cast<std::uint32_t>(toSingle(value)) : std::bit_cast<std::uint64_t>(value),
        isBigEndian(m_endianess, bytes));
    internalSet(std::move(bytes));
}

// ---- StringReg -------------------------------------------------------------------------------------------

std::string ImplGenICamStringReg::getValue() {
    const Guard guard(this, Guard::ReadLock);
    internalGet(false);
    const std::string_view whole(reinterpret_cast<const char*>(content().data()), content().size());
    return std::string(quirks().textsKeepZeros ? whole : whole.substr(0, whole.find('\0')));
}

void ImplGenICamStringReg::setValue(const std::string& value) {
    const Guard guard(this, Guard::WriteLock);
    RegisterBytes bytes = emptyContent();
    std::memcpy(bytes.data(), value.data(), std::min(value.size(), bytes.size()));
    internalSet(std::move(bytes));
}

} // namespace tavo
