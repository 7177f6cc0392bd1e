// Big-endian bytes, read through a bounded cursor and written into a growing buffer. Byte order is made by
// shifts; nothing here casts a pointer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

namespace simcam {

using Bytes = std::vector<std::uint8_t>;
using ByteView = std::span<const std::uint8_t>;

// Reads from the front of a view. The first read past the end fails the reader for good: it and every later
// read give zeros, and ok() stays false.
class Reader {
public:
    explicit Reader(ByteView data) : m_data(data) {}

    std::size_t left() const { return m_data.size() - m_at; }
    bool ok() const { return !m_failed; }

    std::uint8_t u8() { return static_cast<std::uint8_t>(number(1)); }
    std::uint16_t u16() { return static_cast<std::uint16_t>(number(2)); }
    std::uint32_t u32() { return static_cast<std::uint32_t>(number(4)); }
    std::uint64_t u48() { return number(6); }
    std::uint64_t u64() { return number(8); }
    void skip(std::size_t count) { bytes(count); }

    // The next `count` bytes of the view that the reader was made from; empty when there are fewer.
    ByteView bytes(std::size_t count) {
        if (m_failed || left() < count) {
            m_failed = true;
            return {};
        }
        m_at += count;
        return m_data.subspan(m_at - count, count);
    }

private:
    std::uint64_t number(std::size_t count) {
        std::uint64_t value = 0;
        for (const std::uint8_t byte : bytes(count)) {
            value = value << 8 | byte;
        }
        return value;
    }

    ByteView m_data;
    std::size_t m_at = 0;
    bool m_failed = false;
};

// Appends to a buffer; a field that is known only later is patched in place.
class Writer {
public:
    Writer& u8(std::uint8_t value) { return number(value, 1); }
    Writer& u16(std::uint16_t value) { return number(value, 2); }
    Writer& u32(std::uint32_t value) { return number(value, 4); }
    Writer& u24(std::uint32_t value) { return number(value, 3); }
    Writer& u48(std::uint64_t value) { return number(value, 6); }
    Writer& u64(std::uint64_t value) { return number(value, 8); }
    Writer& zeros(std::size_t count) {
        m_data.insert(m_data.end(), count, 0);
        return *this;
    }
    Writer& bytes(ByteView data) {
        m_data.insert(m_data.end(), data.begin(), data.end());
        return *this;
    }

    void patchU16(std::size_t at, std::uint16_t value) {
        m_data.at(at) = static_cast<std::uint8_t>(value >> 8);
        m_data.at(at + 1) = static_cast<std::uint8_t>(value);
    }

    std::size_t size() const { return m_data.size(); }
    ByteView view() const { return m_data; }
    Bytes take() { return std::move(m_data); }
    void clear() { m_data.clear(); }

private:
    Writer& number(std::uint64_t value, std::size_t count) {
        while (count-- > 0) {
            m_data.push_back(static_cast<std::uint8_t>(value >> (8 * count)));
        }
        return *this;
    }

    Bytes m_data;
};

inline ByteView viewOf(std::string_view text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

} // namespace simcam
