#include "genicam/description/xml_outline.h"

#include <rapidxml.hpp>

#include <algorithm>
#include <cstring>
#include <string_view>

namespace genicam {
namespace {

using Tables = rapidxml::internal::lookup_tables<0>;

// Walks over the text exactly as RapidXML does, token by token and with its own character tables, so that the
// two never disagree on what is markup. Each step returns false where RapidXML would report an error or come
// to the end: it goes no deeper from there.
class Walk {
public:
    explicit Walk(const char* text) : m_start(text), m_text(text), m_end(text + std::strlen(text)) {}

    XmlOutline run(std::size_t limit) {
        while (m_depth <= limit && m_markup <= kMaxXmlMarkup && nextMarkup()) {
            ++m_markup;
        }
        m_outline.isShallow = m_depth <= limit;
        m_outline.isSmall = m_markup <= kMaxXmlMarkup;
        m_outline.isPlain = m_plain && m_atEnd && m_outline.rootTag.end != 0;
        if (!m_outline.isPlain) {
            m_outline.children = {};
        }
        m_outline.end = static_cast<std::size_t>(m_end - m_start);
        return std::move(m_outline);
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

    std::string_view rest() const { return {m_text, static_cast<std::size_t>(m_end - m_text)}; }

    bool take(std::string_view expected) {
        if (!rest().starts_with(expected)) {
            return false;
        }
        m_text += expected.size();
        return true;
    }

    bool skipPast(std::string_view end) {
        const std::size_t found = rest().find(end);
        if (found == std::string_view::npos) {
            return false;
        }
        m_text += found + end.size();
        return true;
    }

    std::size_t place() const { return static_cast<std::size_t>(m_text - m_start); }

    // Between the pieces, where nothing but elements may stand.
    bool isOutside() const { return m_depth == m_transparent; }

    bool nextMarkup() {
        if (isOutside()) {
            skip(whitespace);
            m_atEnd = m_depth == 0 && *m_text == '\0';
            m_plain = m_plain && (*m_text == '<' || m_atEnd);
        }
        if (m_depth > 0) { // between top-level nodes text is an error
            m_text += std::min(rest().find('<'), rest().size());
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
        if (!take('>')) {
            return false;
        }
        if (isOutside()) {
            --m_transparent;
            --m_depth;
        } else if (--m_depth; isOutside()) {
            endPiece();
        }
        return true;
    }

    bool openingTag() {
        const std::size_t begin = place() - 1;
        const char* const name = m_text;
        skip(nodeName);
        if (m_text == name) {
            return false;
        }
        const std::string_view nameText(name, static_cast<std::size_t>(m_text - name));
        skip(whitespace);
        while (is(attributeName, *m_text)) {
            if (!attribute()) {
                return false;
            }
        }
        const bool isEmpty = take('/');
        if (!take('>')) {
            return false;
        }
        opened(begin, nameText, isEmpty);
        return true;
    }

    void opened(std::size_t begin, std::string_view name, bool isEmpty) {
        const bool isRoot = m_depth == 0;
        const bool isTransparent = isOutside() && (isRoot || name == "Group");
        if (isRoot) {
            m_plain = m_plain && m_outline.rootTag.end == 0; // a second one
            m_outline.rootTag = {begin, place()};
        } else if (isOutside() && !isTransparent) {
            m_pieceBegin = begin;
        }
        if (!isEmpty) {
            ++m_depth;
            m_transparent += isTransparent ? 1 : 0;
        } else if (isOutside() && !isTransparent) {
            endPiece();
        }
    }

    void endPiece() {
        if (m_plain) {
            m_outline.children.push_back({m_pieceBegin, place()});
        }
    }

    bool attribute() {
        ++m_markup;
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
        ++m_text;
        if (!skipPast({&quote, 1})) {
            return false;
        }
        skip(whitespace);
        return true;
    }

    bool declaration() {
        if (take("!--")) {
            return skipPast("-->");
        }
        if (take("![CDATA[")) {
            m_plain = m_plain && !isOutside();
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

    const char* const m_start;
    const char* m_text;
    const char* const m_end;
    std::size_t m_depth = 0;
    std::size_t m_markup = 0;
    std::size_t m_transparent = 0; // how many of the open elements are the root and Groups in it
    std::size_t m_pieceBegin = 0;
    bool m_plain = true;
    bool m_atEnd = false;
    XmlOutline m_outline;
};

} // namespace

XmlOutline outlineXml(const char* text, std::size_t limit) {
    return Walk(text).run(limit);
}

} // namespace genicam
