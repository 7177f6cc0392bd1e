// The checksum of IPv4, UDP and TCP (RFC 1071): the complement of the ones' complement sum of 16-bit words,
// most significant byte first.
#pragma once

#include <cstddef>
#include <cstdint>

namespace net {

class InternetChecksum {
public:
    // An odd last byte counts as the first one of a word: only the last piece may have one.
    InternetChecksum& add(const std::uint8_t* bytes, std::size_t size) {
        for (std::size_t i = 0; i + 1 < size; i += 2) {
            m_sum += static_cast<std::uint32_t>(bytes[i] << 8 | bytes[i + 1]);
        }
        m_sum += size % 2 != 0 ? static_cast<std::uint32_t>(bytes[size - 1] << 8) : 0;
        return *this;
    }
    InternetChecksum& add(std::uint16_t word) {
        m_sum += word;
        return *this;
    }

    // What the sender writes into a field that was zero while adding. Over what the receiver got, the field
    // included, it is 0 when all is right.
    std::uint16_t value() const {
        std::uint64_t sum = m_sum;
        while (sum > 0xFFFF) {
            sum = (sum & 0xFFFF) + (sum >> 16);
        }
        return static_cast<std::uint16_t>(~sum);
    }

private:
    std::uint64_t m_sum = 0;
};

} // namespace net
