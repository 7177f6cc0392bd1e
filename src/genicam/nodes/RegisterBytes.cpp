#include "genicam/nodes/RegisterBytes.h"

#include <algorithm>

namespace tavo {

void RegisterBytes::reset(std::size_t size) {
    m_large.reset(size > kSmall ? new unsigned char[size] : nullptr);
    m_size = size;
    clear();
}

RegisterBytes& RegisterBytes::operator=(const RegisterBytes& other) {
    if (this != &other) {
        reset(other.m_size);
        std::copy_n(other.data(), m_size, data());
    }
    return *this;
}

bool RegisterBytes::operator==(const RegisterBytes& other) const {
    return std::equal(data(), data() + m_size, other.data(), other.data() + other.m_size);
}

void RegisterBytes::clear() {
    std::fill_n(data(), m_size, static_cast<unsigned char>(0));
}

std::uint64_t RegisterBytes::number(bool bigEndian) const {
    const std::size_t count = std::min(m_size, kSmall);
    const unsigned char* const bytes = data() + (bigEndian ? m_size - count : 0);
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < count; ++i) {
        value = value << 8 | bytes[bigEndian ? i : count - 1 - i];
    }
    return value;
}

void RegisterBytes::setNumber(std::uint64_t value, bool bigEndian) {
    const std::size_t count = std::min(m_size, kSmall);
    unsigned char* const bytes = data() + (bigEndian ? m_size - count : 0);
    for (std::size_t i = 0; i < count; ++i) {
        bytes[bigEndian ? count - 1 - i : i] = static_cast<unsigned char>(value >> (8 * i));
    }
}

} // namespace tavo
