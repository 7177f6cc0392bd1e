// A look at XML text before RapidXML has it.
#pragma once

#include "genicam/description/limits.h"

#include <cstddef>
#include <vector>

namespace genicam {

// What is learnt in one pass, without recursion and without changing the text.
struct XmlOutline {
    // Offsets from the start of the text; the end is one past the closing bracket.
    struct Range {
        std::size_t begin;
        std::size_t end;
    };

    // Whether RapidXML, parsing with parse flags 0, would never go deeper than the limit, and would find no
    // more than kMaxXmlMarkup.
    bool isShallow = false;
    bool isSmall = false;
    // Whether the text is one root element, up to the end without an error in its markup, that holds nothing
    // but elements, blanks, and what makes no node (comments and the like). Elements "Group" inside it, which
    // stand for what they hold, are looked through. Then the pieces below are set and can be parsed one by
    // one.
    bool isPlain = false;
    std::size_t end = 0;         // of the text
    Range rootTag = {};          // the root's opening tag, brackets included
    std::vector<Range> children; // the elements directly inside the root and its Groups, whole
};

XmlOutline outlineXml(const char* text, std::size_t limit = kMaxXmlNesting);

} // namespace genicam
