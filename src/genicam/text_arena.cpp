#include "genicam/text_arena.h"

#include <cstdint>
#include <cstring>

namespace genicam {
namespace {

// FNV-1a; the texts hashed are short.
std::uint32_t hashOf(std::string_view text) {
    std::uint32_t hash = 2166136261u;
    for (const char c : text) {
        hash = (hash ^ static_cast<unsigned char>(c)) * 16777619u;
    }
    return hash ^ (hash >> 16);
}

} // namespace

std::string_view TextArena::store(std::string_view text) {
    if (text.empty()) {
        return {};
    }
    if (text.size() > longestShared) {
        return copy(text);
    }
    std::string_view& recent = m_recent[hashOf(text) % recentCount];
    if (recent != text) {
        recent = copy(text);
    }
    return recent;
}

std::string_view TextArena::copy(std::string_view text) {
    if (text.size() > m_left) {
        const std::size_t size = text.size() > blockSize / 4 ? text.size() : blockSize;
        m_blocks.push_back(std::make_unique<char[]>(size));
        if (size == text.size()) { // a block of its own; the current one goes on being filled
            std::memcpy(m_blocks.back().get(), text.data(), size);
            return {m_blocks.back().get(), size};
        }
        m_free = m_blocks.back().get();
        m_left = size;
    }
    char* const stored = m_free;
    std::memcpy(stored, text.data(), text.size());
    m_free += text.size();
    m_left -= text.size();
    return {stored, text.size()};
}

} // namespace genicam
