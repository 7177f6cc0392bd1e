// Files of settings: sections "[name]" with lines "KEY = VALUE". Lines that begin with # or ; are comments;
// blanks around names, keys and values do not count.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace common {

// Reads a whole file; std::errc::file_too_large when it holds more than `limit` bytes.
std::error_code readTextFile(const std::string& name, std::size_t limit, std::string& text);

// The text without the blanks, tabs and carriage returns around it; and what stands between them.
std::string_view trimmed(std::string_view text);
std::vector<std::string_view> words(std::string_view text);

// Takes "KEY = VALUE" apart; false without an equals sign.
bool splitSetting(std::string_view text, std::string_view& key, std::string_view& value);

// Gives the sections and settings of a text one after the other, up to its end or its first mistake. The text
// must outlive the reader. One thread.
class SettingsReader {
public:
    // `name` stands for the text in messages.
    SettingsReader(std::string_view text, std::string name);

    // False: there is no more, or there is a mistake.
    bool next();

    bool isSection() const { return m_isSection; }
    std::string_view section() const { return m_section; } // what stands between the brackets
    std::string_view key() const { return m_key; }
    std::string_view value() const { return m_value; }
    std::string place() const; // "name:line"

    // Tells what is wrong with this line; nothing more follows. An empty reason is none.
    void refuse(const std::string& why);
    // The first mistake, in one line that begins with its place; empty: none.
    const std::string& mistake() const { return m_mistake; }

private:
    void take(std::string_view line);

    std::string_view m_rest;
    std::string m_name;
    std::string m_mistake;
    std::size_t m_line = 0;
    bool m_isSection = false;
    std::string_view m_section;
    std::string_view m_key;
    std::string_view m_value;
};

} // namespace common
