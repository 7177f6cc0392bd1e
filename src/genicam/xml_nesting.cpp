#include "genicam/xml_nesting.h"

#include <rapidxml.hpp>

#include <cstring>

namespace genicam {
namespace {

using Tables = rapidxml::internal::lookup_tables<0>;

// Walks over the text exactly as RapidXML does, token by token and with its own character tables, so that the
// two never disagree on what is markup. Each step returns false where RapidXML would report an error or come
// to the end: it goes no deeper from there.
class NestingScan {
public:
    explicit NestingScan(const char* text) : m_text(text) {}

    bool staysWithin(std::size_t limit) {
        while (m_depth <= limit && nextMarkup()) {
        }
        return m_depth <= limit;
    }

private:
    static constexpr const unsigned char* whitespace = Tables::lookup_whitespace;
    static constexpr const unsigned char* nodeName = Tables::lookup_node_name;
    static constexpr const unsigned char* attributeName = Tables::lookup_attribute_name;

    static bool is(const unsigned char* table, char c) { return table[static_cast<unsigned char>(c)] != 0; }

    void skip(const unsigned char* table) {
        while (is(table, *m_text)) {
            ++m_text;
        }
    }

    bool take(char expected) {
        if (*m_text != expected) {
            return false;
        }
        ++m_text;
        return true;
    }

    bool take(const char* expected) {
        const std::size_t length = std::strlen(expected);
        if (std::strncmp(m_text, expected, length) != 0) {
            return false;
        }
        m_text += length;
        return true;
    }

    bool skipPast(const char* end) {
        const char* const found = std::strstr(m_text, end);
        if (found == nullptr) {
            return false;
        }
        m_text = found + std::strlen(end);
        return true;
    }

    bool nextMarkup() {
        if (m_depth == 0) { // between top-level nodes text is an error
            skip(whitespace);
        } else {
            m_text += std::strcspn(m_text, "<");
        }
        if (!take('<')) {
            return false;
        }
        switch (*m_text) {
        case '/':
            return m_depth > 0 ? closingTag() : openingTag();
        case '?':
            ++m_text; // the question mark of the end is another one
            return skipPast("?>");
        case '!':
            return declaration();
        default:
            return openingTag();
        }
    }

    bool closingTag() {
        ++m_text;
        skip(nodeName);
        skip(whitespace);
        --m_depth;
        return take('>');
    }

    bool openingTag() {
        const char* const name = m_text;
        skip(nodeName);
        if (m_text == name) {
            return false;
        }
        skip(whitespace);
        while (is(attributeName, *m_text)) {
            if (!attribute()) {
                return false;
            }
        }
        if (take('/')) {
            return take('>');
        }
        ++m_depth;
        return take('>');
    }

    bool attribute() {
        skip(attributeName);
        skip(whitespace);
        if (!take('=')) {
            return false;
        }
        skip(whitespace);
        const char quote = *m_text;
        if (quote != '\'' && quote != '"') {
            return false;
        }
        const char* const end = std::strchr(m_text + 1, quote);
        if (end == nullptr) {
            return false;
        }
        m_text = end + 1;
        skip(whitespace);
        return true;
    }

    bool declaration() {
        if (take("!--")) {
            return skipPast("-->");
        }
        if (take("![CDATA[")) {
            return skipPast("]]>");
        }
        const char* const start = m_text;
        if (take("!DOCTYPE") && is(whitespace, *m_text)) {
            return skipDoctype();
        }
        m_text = start;
        return skipPast(">");
    }

    bool skipDoctype() {
        std::size_t brackets = 0;
        for (++m_text; *m_text != '\0'; ++m_text) {
            if (*m_text == '[') {
                ++brackets;
            } else if (*m_text == ']' && brackets > 0) {
                --brackets;
            } else if (*m_text == '>' && brackets == 0) {
                ++m_text;
                return true;
            }
        }
        return false;
    }

    const char* m_text;
    std::size_t m_depth = 0;
};

} // namespace

bool isNestedWithin(const char* text, std::size_t limit) {
    return NestingScan(text).staysWithin(limit);
}

} // namespace genicam
