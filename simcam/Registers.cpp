#include "simcam/Registers.h"

#include <algorithm>
#include <bit>
#include <cassert>

namespace simcam {

namespace {

constexpr auto kOffsets = [] {
    std::array<std::size_t, kRegisters.size() + 1> offsets{};
    for (std::size_t i = 0; i < kRegisters.size(); ++i) {
        offsets[i + 1] = offsets[i] + kRegisters[i].bytes();
    }
    return offsets;
}();

std::uint64_t floatBits(const RegisterFact& row, double value) {
    return row.size == 4 ? std::bit_cast<std::uint32_t>(static_cast<float>(value))
                         : std::bit_cast<std::uint64_t>(value);
}

} // namespace

Registers::Registers() : m_bytes(kOffsets.back()) {
    for (std::size_t i = 0; i < kRegisters.size(); ++i) {
        const RegisterFact& row = kRegisters[i];
        const Reg reg = static_cast<Reg>(i);
        for (std::uint32_t index = 0; row.kind != Kind::Text && index < row.count; ++index) {
            if (row.kind == Kind::Float) {
                setFloat(reg, static_cast<double>(row.initial), index);
            } else {
                set(reg, static_cast<std::uint64_t>(row.initial), index);
            }
        }
    }
}

std::optional<Place> Registers::find(Address address) {
    const auto after = std::upper_bound(
        kRegisters.begin(), kRegisters.end(), address,
        [](Address wanted, const RegisterFact& row) { return wanted < row.address; });
    if (after == kRegisters.begin()) {
        return std::nullopt;
    }
    const RegisterFact& row = *(after - 1);
    const std::uint32_t offset = address - row.address;
    if (offset >= row.bytes()) {
        return std::nullopt;
    }
    const auto reg = static_cast<Reg>(after - 1 - kRegisters.begin());
    return Place{reg, offset / row.size, offset % row.size};
}

std::size_t Registers::offsetOf(Reg reg, std::uint32_t index) {
    assert(index < fact(reg).count);
    return kOffsets[static_cast<std::size_t>(reg)] + std::size_t{index} * fact(reg).size;
}

ByteView Registers::element(Reg reg, std::uint32_t index) const {
    return ByteView(m_bytes).subspan(offsetOf(reg, index), fact(reg).size);
}

ByteView Registers::all(Reg reg) const {
    return ByteView(m_bytes).subspan(offsetOf(reg, 0), fact(reg).bytes());
}

void Registers::store(Reg reg, std::uint32_t index, ByteView bytes) {
    assert(bytes.size() == fact(reg).size);
    std::copy(
        bytes.begin(), bytes.end(), m_bytes.begin() + static_cast<std::ptrdiff_t>(offsetOf(reg, index)));
}

void Registers::storeAll(Reg reg, ByteView bytes) {
    assert(bytes.size() == fact(reg).bytes());
    std::copy(bytes.begin(), bytes.end(), m_bytes.begin() + static_cast<std::ptrdiff_t>(offsetOf(reg, 0)));
}

std::uint64_t Registers::number(const RegisterFact& row, ByteView bytes) {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        value = value << 8 | bytes[row.order == Order::BE ? i : bytes.size() - 1 - i];
    }
    return value;
}

double Registers::real(const RegisterFact& row, ByteView bytes) {
    const std::uint64_t bits = number(row, bytes);
    return row.size == 4 ? std::bit_cast<float>(static_cast<std::uint32_t>(bits))
                         : std::bit_cast<double>(bits);
}

std::int64_t Registers::signExtended(const RegisterFact& row, std::uint64_t number) {
    return row.size == 4 && row.kind == Kind::Signed
               ? static_cast<std::int32_t>(static_cast<std::uint32_t>(number))
               : static_cast<std::int64_t>(number);
}

std::uint64_t Registers::get(Reg reg, std::uint32_t index) const {
    return number(fact(reg), element(reg, index));
}

std::int64_t Registers::getSigned(Reg reg, std::uint32_t index) const {
    return signExtended(fact(reg), get(reg, index));
}

double Registers::getFloat(Reg reg, std::uint32_t index) const {
    return real(fact(reg), element(reg, index));
}

void Registers::set(Reg reg, std::uint64_t value, std::uint32_t index) {
    const RegisterFact& row = fact(reg);
    const std::size_t at = offsetOf(reg, index);
    for (std::size_t i = 0; i < row.size; ++i) {
        const std::size_t place = row.order == Order::LE ? i : row.size - 1 - i;
        m_bytes[at + place] = static_cast<std::uint8_t>(value >> (8 * i));
    }
}

void Registers::setFloat(Reg reg, double value, std::uint32_t index) {
    set(reg, floatBits(fact(reg), value), index);
}

std::string Registers::text(Reg reg, std::uint32_t index) const {
    const ByteView bytes = element(reg, index);
    return {bytes.begin(), std::find(bytes.begin(), bytes.end(), std::uint8_t{0})};
}

void Registers::setText(Reg reg, std::string_view text, std::uint32_t index) {
    Bytes bytes(fact(reg).size);
    std::copy_n(text.begin(), std::min(text.size(), bytes.size()), bytes.begin());
    store(reg, index, bytes);
}

} // namespace simcam
