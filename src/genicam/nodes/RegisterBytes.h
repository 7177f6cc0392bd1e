// The bytes of a register as they stand in the camera, and numbers in them. Most registers have 4 or 8 bytes
// and need no allocation.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace tavo {

class RegisterBytes {
public:
    RegisterBytes() = default;
    RegisterBytes(const RegisterBytes& other) { *this = other; }
    RegisterBytes(RegisterBytes&&) = default;
    RegisterBytes& operator=(const RegisterBytes& other);
    RegisterBytes& operator=(RegisterBytes&&) = default;
    bool operator==(const RegisterBytes& other) const;

    std::size_t size() const { return m_size; }
    unsigned char* data() { return m_large ? m_large.get() : m_small.data(); }
    const unsigned char* data() const { return m_large ? m_large.get() : m_small.data(); }

    // Changes the size; all bytes become 0.
    void reset(std::size_t size);
    // All bytes become 0.
    void clear();

    // The bytes as an unsigned number: its lowest 64 bits when there are more than 8 bytes.
    std::uint64_t number(bool bigEndian) const;
    // The reverse; bytes beyond the lowest 64 bits stay as they are.
    void setNumber(std::uint64_t value, bool bigEndian);

private:
    static constexpr std::size_t kSmall = 8;

    std::array<unsigned char, kSmall> m_small{};
    std::unique_ptr<unsigned char[]> m_large;
    std::size_t m_size = 0;
};

} // namespace tavo
