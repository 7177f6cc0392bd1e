#include "genicam/description/Arena.h"

#include <cstring>
#include <functional>
#include <utility>

namespace genicam {

void Arena::adopt(std::unique_ptr<char[]> buffer, std::size_t size) {
    m_adopted = std::move(buffer);
    m_adoptedSize = size;
}

std::string_view Arena::store(std::string_view text) {
    const char* const begin = m_adopted.get();
    const std::less_equal<> notAfter;
    if (text.empty() ||
        (notAfter(begin, text.data()) && notAfter(text.data() + text.size(), begin + m_adoptedSize))) {
        return text;
    }
    auto* const copy = static_cast<char*>(allocate(text.size(), alignof(char)));
    std::memcpy(copy, text.data(), text.size());
    return {copy, text.size()};
}

std::string_view Arena::storeName(std::string_view name) {
    if (name.empty()) {
        return {};
    }
    std::string_view& recent = m_recentNames[hashOfName(name) % kRecentNames];
    if (recent != name) {
        recent = store(name);
    }
    return recent;
}

} // namespace genicam
