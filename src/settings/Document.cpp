#include "settings/Document.h"

#include "settings/words.h"

#include <algorithm>

namespace settings {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

// One line, and what has been read of it.
class LineReader {
public:
    LineReader(unsigned number, std::string_view text) : m_number(number), m_rest(text) {}

    [[noreturn]] void fail(const std::string& why) const { throw Malformed(m_number, why); }

    bool atEnd() const { return m_rest.empty(); }
    std::string_view rest() const { return m_rest; }
    void skipBlanks() {
        while (!m_rest.empty() && isBlank(m_rest.front())) {
            m_rest.remove_prefix(1);
        }
    }
    bool take(std::string_view expected) {
        if (!m_rest.starts_with(expected)) {
            return false;
        }
        m_rest.remove_prefix(expected.size());
        return true;
    }
    std::string takeName() {
        const auto* const end = std::find_if_not(m_rest.begin(), m_rest.end(), isNameCharacter);
        const std::string name(m_rest.begin(), end);
        if (name.empty()) {
            fail(m_rest.empty() ? "a name is missing" : "a name is expected where " + here() + " is");
        }
        if (name.size() > kMaxName) {
            fail("a name of more than " + std::to_string(kMaxName) + " characters");
        }
        m_rest.remove_prefix(name.size());
        return name;
    }
    // In quotation marks, or up to one of the characters of `ends` or the end of the line.
    std::string takeValue(std::string_view ends, std::size_t most) {
        if (!take("\"")) {
            return limited(std::string(trimmed(takeRest(ends))), most);
        }
        std::optional<Quoted> quoted = readQuoted(m_rest);
        if (!quoted) {
            fail("a text in quotation marks that is not closed, or with an unknown escape");
        }
        m_rest.remove_prefix(quoted->length);
        return limited(std::move(quoted->value), most);
    }
    // As it stands there.
    std::string takeVerbatim(std::size_t most) { return limited(std::string(takeRest({})), most); }
    void expectEnd(const char* behindWhat) {
        skipBlanks();
        if (!atEnd()) {
            fail(here() + " behind " + behindWhat);
        }
    }

private:
    std::string here() const {
        constexpr std::size_t kShown = 20;
        return quoted(m_rest.substr(0, kShown));
    }
    std::string_view takeRest(std::string_view ends) {
        const std::string_view taken = m_rest.substr(0, m_rest.find_first_of(ends));
        m_rest.remove_prefix(taken.size());
        return taken;
    }
    std::string limited(std::string value, std::size_t most) const {
        if (value.size() > most) {
            fail("a value of more than " + std::to_string(most) + " bytes");
        }
        return value;
    }

    unsigned m_number;
    std::string_view m_rest;
};

Position readPosition(LineReader& line) {
    line.skipBlanks();
    Position position;
    position.selector = line.takeName();
    line.skipBlanks();
    if (!line.take("=")) {
        line.fail("[" + position.selector + "...] has no \"=\"");
    }
    line.skipBlanks();
    position.entry = line.takeValue(",]", kMaxName);
    line.skipBlanks();
    return position;
}

// Behind the opening bracket.
Place readPlace(LineReader& line) {
    Place place;
    line.skipBlanks();
    bool more = !line.take("]");
    while (more) {
        if (place.size() == kMaxSelectors) {
            line.fail("more than " + std::to_string(kMaxSelectors) + " selectors in one place");
        }
        place.push_back(readPosition(line));
        more = line.take(",");
        if (!more && !line.take("]")) {
            line.fail("a bracket that is not closed");
        }
    }
    line.expectEnd("the closing bracket");
    return place;
}

// "Name=Value", "Name?=Value", "Name Value"; behind a tab the value is meant as it stands.
void readStatement(LineReader& line, Statement& statement) {
    statement.name = line.takeName();
    if (line.take("\t")) {
        statement.value = line.takeVerbatim(kMaxValue);
        statement.isText = !isBare(statement.value);
        return;
    }
    const bool hasBlank = line.rest().starts_with(' ');
    line.skipBlanks();
    statement.ifUnlocked = line.take("?=");
    if (!statement.ifUnlocked && !line.take("=") && !(hasBlank && !line.atEnd())) {
        line.fail(
            line.atEnd() ? "\"" + statement.name + "\" has no value"
                         : "no \"=\" behind \"" + statement.name + "\"");
    }
    line.skipBlanks();
    const bool isQuoted = line.rest().starts_with('"');
    statement.value = line.takeValue({}, kMaxValue);
    statement.isText = isQuoted || !isBare(statement.value);
    if (isQuoted) {
        line.expectEnd("the closing quotation mark");
    }
}

class DocumentReader {
public:
    void readLine(std::string_view text) {
        ++m_number;
        LineReader line(m_number, text);
        check(line, text);
        line.skipBlanks();
        if (line.atEnd() || line.rest().starts_with('#')) {
            return;
        }
        if (line.take("[")) {
            m_place = std::make_shared<const Place>(readPlace(line));
            return;
        }
        if (m_document.size() == kMaxStatements) {
            line.fail("more than " + std::to_string(kMaxStatements) + " values");
        }
        Statement statement{m_number, m_place, {}, {}, false, false};
        readStatement(line, statement);
        m_document.push_back(std::move(statement));
    }
    Document take() { return std::move(m_document); }

private:
    void check(const LineReader& line, std::string_view text) const {
        if (text.size() > kMaxLine) {
            line.fail("is longer than " + std::to_string(kMaxLine) + " bytes");
        }
        if (text.find('\0') != text.npos) {
            line.fail("holds a zero byte: this is no file of settings");
        }
        if (m_number == 1 && text.starts_with(kHeading) && text.substr(kHeading.size()) != kVersion) {
            line.fail("a later version of these files, which this program does not read");
        }
    }

    unsigned m_number = 0;
    std::shared_ptr<const Place> m_place = std::make_shared<const Place>();
    Document m_document;
};

} // namespace

std::string placeText(const Place& place) {
    return place.empty() ? std::string() : placeLine(place);
}

Document parse(std::string_view text) {
    if (text.size() > kMaxText) {
        throw Malformed(1, "the file is larger than " + std::to_string(kMaxText) + " bytes");
    }
    if (text.starts_with(kByteOrderMark)) {
        text.remove_prefix(kByteOrderMark.size());
    }
    DocumentReader reader;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        std::string_view line = text.substr(0, end);
        if (line.ends_with('\r')) {
            line.remove_suffix(1);
        }
        reader.readLine(line);
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return reader.take();
}

std::string valueText(const Statement& statement) {
    return statement.isText ? quoted(statement.value) : quotedIfNeeded(statement.value);
}

std::string statementLine(const Statement& statement) {
    return statement.name + (statement.ifUnlocked ? "?=" : "=") + valueText(statement);
}

std::string placeLine(const Place& place) {
    std::string text = "[";
    for (const Position& position : place) {
        const bool isPlain = std::ranges::all_of(position.entry, isNameCharacter) && !position.entry.empty();
        text += (text.size() > 1 ? ", " : "") + position.selector + '=';
        text += isPlain ? position.entry : quoted(position.entry);
    }
    return text + ']';
}

std::string write(const Document& document) {
    std::string text;
    const Place none;
    const Place* place = &none;
    for (const Statement& statement : document) {
        if (*statement.place != *place) {
            place = statement.place.get();
            text += placeLine(*place) + '\n';
        }
        text += statementLine(statement) + '\n';
    }
    return text;
}

} // namespace settings
