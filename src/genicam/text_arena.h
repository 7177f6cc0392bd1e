// Where the builders of one description keep their strings.
#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

namespace genicam {

// Copies of texts that live as long as the arena. A description repeats the same few names and keywords in
// every node, so a text that was stored lately is given again instead of copied. Not for concurrent use.
class TextArena {
public:
    TextArena() = default;
    TextArena(const TextArena&) = delete;
    TextArena& operator=(const TextArena&) = delete;

    // A view of a copy of `text`, valid until the arena is destroyed.
    std::string_view store(std::string_view text);

private:
    std::string_view copy(std::string_view text);

    static constexpr std::size_t blockSize = 64 * 1024;
    static constexpr std::size_t longestShared = 32; // longer texts are hardly ever repeated
    static constexpr std::size_t recentCount = 1024;

    std::array<std::string_view, recentCount> m_recent;
    std::vector<std::unique_ptr<char[]>> m_blocks;
    char* m_free = nullptr;
    std::size_t m_left = 0;
};

} // namespace genicam
