#include "PictureNames.h"

#include "Failure.h"

#include <algorithm>

namespace gbe {
namespace {

constexpr unsigned kUsualDigits = 3;
constexpr unsigned kMostDigits = 9;

// Where the end of a name begins, ".png"; of a name without, its length.
std::size_t endOf(const std::string& name) {
    const std::size_t dot = name.find_last_of("./");
    return dot != name.npos && name[dot] == '.' && dot > 0 && name[dot - 1] != '/' ? dot : name.size();
}

bool isDigit(char letter) {
    return letter >= '0' && letter <= '9';
}

} // namespace

PictureNames::PictureNames(const std::string& pattern, unsigned count) {
    std::string* part = &m_before;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        if (pattern[i] != '%') {
            *part += pattern[i];
            continue;
        }
        std::size_t end = i + 1;
        while (end < pattern.size() && isDigit(pattern[end])) {
            ++end;
        }
        const std::string digits = pattern.substr(i + 1, end - i - 1);
        const char letter = end < pattern.size() ? pattern[end] : '\0';
        if (letter == '%' && digits.empty()) {
            *part += '%';
        } else if (letter == 'd' && !m_numbered && digits.size() <= 2) {
            m_numbered = true;
            m_digits = digits.empty() ? 1 : std::min<unsigned>(std::stoul(digits), kMostDigits);
            part = &m_behind;
        } else {
            throw Failure(
                "\"" + pattern + "\": one %d, or %03d, is the place of the number; %% is a per cent sign",
                ExitStatus::Usage);
        }
        i = end;
    }
    if (!m_numbered && count > 1) {
        const std::size_t end = endOf(m_before);
        m_behind = m_before.substr(end);
        m_before = m_before.substr(0, end) + "-";
        m_digits = std::max<unsigned>(kUsualDigits, std::to_string(count).size());
        m_numbered = true;
    }
}

std::string PictureNames::at(unsigned number) const {
    if (!m_numbered) {
        return m_before;
    }
    const std::string digits = std::to_string(number);
    return m_before + std::string(m_digits - std::min<std::size_t>(m_digits, digits.size()), '0') + digits +
           m_behind;
}

} // namespace gbe
