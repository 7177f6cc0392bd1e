// The contents of the camera's registers (register_table.h), by name and by address, each kept in the byte
// order that the wire sees. Holds values and nothing else: what a write does is the models' matter. One
// thread at a time.
#pragma once

#include "simcam/bytes.h"
#include "simcam/register_table.h"

#include <optional>
#include <string>

namespace simcam {

// A byte of a register: which element of which register, and how far into it.
struct Place {
    Reg reg;
    std::uint32_t index;
    std::uint32_t offset;
};

class Registers {
public:
    Registers();

    static std::optional<Place> find(Address address);

    // Numbers. Reading a Float as an integer gives its bits.
    std::uint64_t get(Reg reg, std::uint32_t index = 0) const;
    std::int64_t getSigned(Reg reg, std::uint32_t index = 0) const;
    double getFloat(Reg reg, std::uint32_t index = 0) const;
    void set(Reg reg, std::uint64_t value, std::uint32_t index = 0);
    void setFloat(Reg reg, double value, std::uint32_t index = 0);

    // Texts end at their first zero byte; one that fills its register has none. A longer one is cut.
    std::string text(Reg reg, std::uint32_t index = 0) const;
    void setText(Reg reg, std::string_view text, std::uint32_t index = 0);

    // An element's bytes, or those of all elements.
    ByteView element(Reg reg, std::uint32_t index = 0) const;
    ByteView all(Reg reg) const;
    // Replaces an element's bytes by as many; `bytes` must have the element's size.
    void store(Reg reg, std::uint32_t index, ByteView bytes);
    void storeAll(Reg reg, ByteView bytes);

    // What `bytes` mean as a value of the register's kind.
    static std::uint64_t number(const RegisterFact& row, ByteView bytes);
    static double real(const RegisterFact& row, ByteView bytes);
    static std::int64_t signExtended(const RegisterFact& row, std::uint64_t number);

private:
    static std::size_t offsetOf(Reg reg, std::uint32_t index);

    Bytes m_bytes; // all registers one after the other, without the gaps between them
};

} // namespace simcam
