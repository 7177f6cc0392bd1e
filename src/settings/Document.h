// A file of settings: lines "Name=Value", and among them lines "[Selector=Entry]" that say in which position
// of which selectors the lines below them are meant. docs/settings-files.md describes it for people.
#pragma once

#include <cstddef>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace settings {

// What a file may hold: generous for the largest cameras, and little for a computer.
inline constexpr std::size_t kMaxText = std::size_t{16} << 20; // bytes
inline constexpr std::size_t kMaxLine = std::size_t{1} << 20;
inline constexpr std::size_t kMaxValue = kMaxLine / 5; // a line has room for it when each byte is escaped
inline constexpr std::size_t kMaxName = 256;           // also of an entry
inline constexpr std::size_t kMaxStatements = 65536;
inline constexpr std::size_t kMaxSelectors = 16; // in one place

// What the first line of a written file begins with; the version follows.
inline constexpr std::string_view kHeading = "# liomol settings, version ";
inline constexpr std::string_view kVersion = "1";

struct Position {
    std::string selector;
    std::string entry;

    bool operator==(const Position&) const = default;
};

// Positions of selectors, the outermost first; empty where no selector is given.
using Place = std::vector<Position>;

struct Statement {
    unsigned line = 0; // counted from 1; 0 for what comes from no file
    std::shared_ptr<const Place> place;
    std::string name;
    std::string value;
    bool ifUnlocked = false; // "?=": it was locked when it was saved, and may be so again
    bool isText = false;     // in quotation marks: no number, whatever it looks like

    bool operator==(const Statement& other) const {
        return *place == *other.place && name == other.name && value == other.value &&
               ifUnlocked == other.ifUnlocked && isText == other.isText;
    }
};

using Document = std::vector<Statement>;

// "[A=b, C=d]"; empty for no position.
std::string placeText(const Place& place);

class Malformed : public std::runtime_error {
public:
    // "line 7: <text>"
    Malformed(unsigned line, const std::string& text)
        : std::runtime_error("line " + std::to_string(line) + ": " + text) {}
};

// Also reads the files of other tools, "Name Value" and "Name<tab>Value". Throws Malformed for a line that
// is none of it, and for what is too large.
Document parse(std::string_view text);

// What parse reads as the same document, a line for each statement and each change of place.
std::string write(const Document& document);

// The value as it stands behind "=".
std::string valueText(const Statement& statement);
// The two kinds of line, for who writes comments between them.
std::string statementLine(const Statement& statement);
std::string placeLine(const Place& place);

} // namespace settings
