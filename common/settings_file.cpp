#include "common/settings_file.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <utility>

namespace common {

namespace {

constexpr std::string_view kBlank = " \t\r";

} // namespace

std::error_code readTextFile(const std::string& name, std::size_t limit, std::string& text) {
    errno = 0;
    std::ifstream file(name, std::ios::binary);
    text.resize(file ? limit + 1 : 0); // one more, so that a larger file is noticed
    file.read(text.data(), static_cast<std::streamsize>(text.size()));
    const bool isRead = file || file.eof();
    text.resize(isRead ? static_cast<std::size_t>(file.gcount()) : 0);
    if (!isRead) {
        return {errno != 0 ? errno : EIO, std::generic_category()};
    }
    return text.size() > limit ? std::make_error_code(std::errc::file_too_large) : std::error_code();
}

std::string_view trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(kBlank);
    return first == text.npos ? std::string_view()
                              : text.substr(first, text.find_last_not_of(kBlank) - first + 1);
}

std::vector<std::string_view> words(std::string_view text) {
    std::vector<std::string_view> all;
    for (text = trimmed(text); !text.empty(); text = trimmed(text)) {
        const std::size_t end = std::min(text.find_first_of(kBlank), text.size());
        all.push_back(text.substr(0, end));
        text.remove_prefix(end);
    }
    return all;
}

bool splitSetting(std::string_view text, std::string_view& key, std::string_view& value) {
    const std::size_t equals = text.find('=');
    if (equals == text.npos) {
        return false;
    }
    key = trimmed(text.substr(0, equals));
    value = trimmed(text.substr(equals + 1));
    return true;
}

SettingsReader::SettingsReader(std::string_view text, std::string name)
    : m_rest(text), m_name(std::move(name)) {}

bool SettingsReader::next() {
    while (m_mistake.empty() && !m_rest.empty()) {
        ++m_line;
        const std::size_t end = std::min(m_rest.find('\n'), m_rest.size());
        const std::string_view line = trimmed(m_rest.substr(0, end));
        m_rest.remove_prefix(std::min(end + 1, m_rest.size()));
        if (!line.empty() && line.front() != '#' && line.front() != ';') {
            take(line);
            return m_mistake.empty();
        }
    }
    return false;
}

void SettingsReader::take(std::string_view line) {
    constexpr std::size_t kShown = 40;
    m_isSection = line.front() == '[';
    if (m_isSection) {
        m_section = trimmed(line.substr(1, line.size() - 2));
        refuse(line.size() < 2 || line.back() != ']' ? "a section needs a closing bracket" : "");
    } else if (!splitSetting(line, m_key, m_value)) {
        refuse("neither a [section] nor KEY = VALUE: " + std::string(line.substr(0, kShown)));
    } else if (m_key.empty()) {
        refuse("a value without a key");
    }
}

std::string SettingsReader::place() const {
    return m_name + ":" + std::to_string(m_line);
}

void SettingsReader::refuse(const std::string& why) {
    if (!why.empty() && m_mistake.empty()) {
        m_mistake = place() + ": " + why;
    }
}

} // namespace common
