// Where the builders of one description live, with all that they hold.
#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <memory_resource>
#include <string_view>

namespace genicam {

// A quick hash of an element's or an attribute's name, which must not be empty: no two names of node kinds
// have the same one modulo 128.
constexpr std::size_t hashOfName(std::string_view name) {
    const auto letter = [name](std::size_t i) -> std::size_t { return static_cast<unsigned char>(name[i]); };
    return 7 * name.size() + letter(0) + 2 * letter(name.size() / 2);
}

// Memory that is given out piece by piece and freed all at once, with the arena. What is put into it is never
// destroyed by itself, so it must own nothing outside. Not for concurrent use.
class Arena {
public:
    Arena() = default;
    Arena(const Arena&) = delete;
    Arena& operator=(const Arena&) = delete;

    void* allocate(std::size_t size, std::size_t alignment) { return m_memory.allocate(size, alignment); }

    // Takes over a buffer whose texts need no copy any more.
    void adopt(std::unique_ptr<char[]> buffer, std::size_t size);
    // The text as it will be found as long as the arena lives: itself when it lies in the adopted buffer,
    // else a copy.
    std::string_view store(std::string_view text);
    // The same for one of the few names that are repeated all the time: given as it was stored before, if
    // that was lately, so that what reads names later touches but a few of them.
    std::string_view storeName(std::string_view name);

private:
    static constexpr std::size_t kFirstBlock =
        std::size_t{16} * 1024; // later ones grow in proportion to what there is
    static constexpr std::size_t kRecentNames = 256;

    std::pmr::monotonic_buffer_resource m_memory{kFirstBlock};
    std::unique_ptr<char[]> m_adopted;
    std::size_t m_adoptedSize = 0;
    std::array<std::string_view, kRecentNames> m_recentNames;
};

} // namespace genicam
