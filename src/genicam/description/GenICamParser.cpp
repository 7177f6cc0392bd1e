#include "genicam/description/GenICamParser.h"

#include "genicam/description/Arena.h"
#include "genicam/description/GenICamTreeBuilder.h"
#include "genicam/description/blanks.h"
#include "genicam/description/limits.h"
#include "genicam/description/xml_outline.h"
#include "util/error_detail.h"

#include <rapidxml.hpp>

#include <algorithm>
#include <array>
#include <cstring>
#include <fstream>
#include <functional>
#include <iostream>
#include <string_view>
#include <utility>

namespace tavo {
namespace {

using XmlNode = rapidxml::xml_node<char>;
using NodeType = GenICamTypes::GenICamNodeType;

// Entities translated, texts kept as nodes, no blanks trimmed; declarations, comments, processing
// instructions and document types make no node.
constexpr int kParseFlags = 0;

using Document = rapidxml::xml_document<char>; // too large for a thread's stack

void reportParseError(const std::string& why) {
    std::cout << "RapidXML: Parse error!" << std::endl;
    util::setErrorDetail(why);
}

// A description while it is parsed, in place: where it begins and ends.
struct Extent {
    const char* begin;
    const char* end;
};

// What was parsed may lie elsewhere: the root's opening tag does.
std::string sentenceOf(const Extent& text, const rapidxml::parse_error& error) {
    const char* const where = error.where<char>();
    const bool isInside = !std::less<>()(where, text.begin) && !std::less<>()(text.end, where);
    const auto offset = isInside ? where - text.begin : 0;
    return "its XML is broken at byte " + std::to_string(offset) + ": " + error.what();
}

struct ElementKind {
    std::string_view name;
    NodeType type;
    bool Quirks::*hiddenBy = nullptr; // while this is on, the element is a simple one
};

// The elements that make a builder. All others are simple elements of their parents, but for "Group" and
// "Extension".
constexpr std::array kElementKinds = std::to_array<ElementKind>({
    {"Boolean", GenICamTypes::Boolean},
    {"Category", GenICamTypes::Category},
    {"Command", GenICamTypes::Command},
    {"Constant", GenICamTypes::Element, &Quirks::plainFormulas},
    {"Converter", GenICamTypes::Converter},
    {"EnumEntry", GenICamTypes::EnumEntry},
    {"Enumeration", GenICamTypes::Enumeration},
    {"Expression", GenICamTypes::Element, &Quirks::plainFormulas},
    {"Float", GenICamTypes::Float},
    {"FloatReg", GenICamTypes::FloatReg},
    {"IntConverter", GenICamTypes::IntConverter},
    {"IntReg", GenICamTypes::IntReg},
    {"IntSwissKnife", GenICamTypes::IntSwissKnife},
    {"Integer", GenICamTypes::Integer},
    {"MaskedIntReg", GenICamTypes::MaskedIntReg},
    {"Node", GenICamTypes::Node},
    {"Port", GenICamTypes::Port},
    {"Register", GenICamTypes::Register},
    {"RegisterDescription", GenICamTypes::RegisterDescription},
    {"String", GenICamTypes::String, &Quirks::noStringNodes},
    {"StringReg", GenICamTypes::StringReg},
    {"StructEntry", GenICamTypes::Element},
    {"StructReg", GenICamTypes::StructReg},
    {"SwissKnife", GenICamTypes::SwissKnife},
    {"ValueIndexed", GenICamTypes::Element, &Quirks::noIndexedValues},
    {"pIndex", GenICamTypes::Element},
    {"pValueIndexed", GenICamTypes::Element, &Quirks::noIndexedValues},
    {"pVariable", GenICamTypes::Element},
});

// Where a name that is not empty stands in the index below: every element of a description is looked up.
constexpr std::size_t kIndexPlaces = 128;
constexpr std::size_t placeOf(std::string_view name) {
    return genicam::hashOfName(name) % kIndexPlaces;
}

// No two kinds share a place, which the compiler checks.
constexpr auto kKindIndex = [] {
    std::array<ElementKind, kIndexPlaces> index{};
    for (const ElementKind& kind : kElementKinds) {
        ElementKind& place = index[placeOf(kind.name)];
        place = place.name.empty() ? kind : throw "two kinds in one place: choose another hash";
    }
    return index;
}();

// Undefined for the name of a simple element.
NodeType typeOf(std::string_view name, const Quirks& quirks) {
    const ElementKind& kind = kKindIndex[placeOf(name)];
    const bool isHidden = kind.hiddenBy != nullptr && quirks.*kind.hiddenBy;
    return kind.name == name && !isHidden ? kind.type : GenICamTypes::Undefined;
}

std::string_view nameOf(const rapidxml::xml_base<char>& item) {
    return {item.name(), item.name_size()};
}
std::string_view valueOf(const rapidxml::xml_base<char>& item) {
    return {item.value(), item.value_size()};
}

bool isText(const XmlNode& node) {
    return node.type() == rapidxml::node_data || node.type() == rapidxml::node_cdata;
}

const XmlNode* nextText(const XmlNode* node) {
    while (node != nullptr && !isText(*node)) {
        node = node->next_sibling();
    }
    return node;
}

// Hands the text pieces from `first` (a text node, or null) on, joined, to `use`: a comment, for one, splits
// a text into pieces. Nearly always there is one piece, which needs no copy.
template<class Use> void withJoinedText(const XmlNode* first, Use use) {
    const XmlNode* next = first == nullptr ? nullptr : nextText(first->next_sibling());
    if (next == nullptr) {
        use(first == nullptr ? std::string_view{} : valueOf(*first));
        return;
    }
    std::string joined(valueOf(*first));
    for (; next != nullptr; next = nextText(next->next_sibling())) {
        joined += valueOf(*next);
    }
    use(joined);
}

// Each text child would set its parent's content to the pieces from itself on, so only the last one counts.
const XmlNode* lastText(const XmlNode& node) {
    if (node.first_node() == nullptr) { // RapidXML's last_node() is garbage then
        return nullptr;
    }
    const XmlNode* child = node.last_node();
    while (child != nullptr && !isText(*child)) {
        child = child->previous_sibling();
    }
    return child;
}

// Some of the children are no simple elements; room for a few too many does not matter.
void reserveFor(const XmlNode& node, GenICamTreeBuilder& builder) {
    std::size_t attributes = 0;
    for (const auto* a = node.first_attribute(); a != nullptr; a = a->next_attribute()) {
        ++attributes;
    }
    std::size_t elements = 0;
    for (const XmlNode* child = node.first_node(); child != nullptr; child = child->next_sibling()) {
        elements += child->type() == rapidxml::node_element ? 1 : 0;
    }
    builder.reserve(attributes, elements, 0);
}

} // namespace

std::unique_ptr<GenICamTreeBuilder> GenICamParser::parseMemory(char* text) {
    return parse(text, nullptr);
}

std::unique_ptr<GenICamTreeBuilder> GenICamParser::parseMemory(std::unique_ptr<char[]> text) {
    char* const start = text.get();
    return parse(start, std::move(text));
}

std::unique_ptr<GenICamTreeBuilder> GenICamParser::parse(char* text, std::unique_ptr<char[]> owner) {
    if (std::string_view(text).starts_with("\xEF\xBB\xBF")) { // UTF-8's byte-order mark
        text += 3;
    }
    const genicam::XmlOutline outline = genicam::outlineXml(text);
    if (!outline.isShallow || !outline.isSmall) {
        reportParseError(
            outline.isShallow
                ? "it has more elements than a description can have"
                : "its elements are nested deeper than " + std::to_string(genicam::kMaxXmlNesting));
        return nullptr;
    }
    util::setErrorDetail("it has no complete element RegisterDescription");
    auto root = outline.isPlain ? parsePieces(text, outline, std::move(owner)) : parseWhole(text);
    if (root != nullptr && root->getNodeType() != GenICamTypes::RegisterDescription) {
        util::setErrorDetail("its outermost element is not RegisterDescription");
        return nullptr;
    }
    return root;
}

std::unique_ptr<GenICamTreeBuilder> GenICamParser::parseWhole(char* text) {
    const Extent extent{text, text + std::strlen(text)};
    const auto document = std::make_unique<Document>();
    try {
        document->parse<kParseFlags>(text);
    } catch (const rapidxml::parse_error& error) {
        reportParseError(sentenceOf(extent, error)); // what was complete before the error is used
    }
    XmlNode* const first = document->first_node();
    return std::unique_ptr<GenICamTreeBuilder>(first == nullptr ? nullptr : parseNode(first, nullptr));
}

// What parseWhole gives, in a fraction of its memory: RapidXML's nodes take several times the room of the
// text, and here they are needed for one piece at a time only. The tree keeps the text, if it may: RapidXML
// leaves names and values in it.
std::unique_ptr<GenICamTreeBuilder>
GenICamParser::parsePieces(char* text, const genicam::XmlOutline& outline, std::unique_ptr<char[]> owner) {
    const Extent extent{text, text + outline.end};
    const auto document = std::make_unique<Document>();
    try {
        std::string tag(text + outline.rootTag.begin, text + outline.rootTag.end);
        if (!tag.ends_with("/>")) {
            tag.insert(tag.size() - 1, 1, '/');
        }
        document->parse<kParseFlags>(tag.data());
        std::unique_ptr<GenICamTreeBuilder> root(parseNode(document->first_node(), nullptr));
        if (root != nullptr) {
            if (owner != nullptr) {
                const char* const begin = owner.get();
                root->adoptBuffer(std::move(owner), static_cast<std::size_t>(text - begin) + outline.end);
            }
            root->reserve(0, 0, outline.children.size());
            for (const auto& [begin, end] : outline.children) {
                if (m_stop != nullptr && m_stop->load(std::memory_order_relaxed)) {
                    return nullptr;
                }
                const char next = std::exchange(text[end], '\0');
                document->clear();
                document->parse<kParseFlags>(text + begin);
                parseNode(document->first_node(), root.get());
                text[end] = next;
            }
        }
        return root;
    } catch (const rapidxml::parse_error& error) { // in a text or an attribute; then the root is not complete
        reportParseError(sentenceOf(extent, error));
        return nullptr;
    }
}

std::unique_ptr<GenICamTreeBuilder> GenICamParser::parseFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    const std::streamoff size = file.tellg();
    if (!file || size < 0 || size > static_cast<std::streamoff>(genicam::kMaxDescriptionSize)) {
        return nullptr;
    }
    std::string text(static_cast<std::size_t>(size), '\0'); // and a terminating zero
    file.seekg(0);
    if (!file.read(text.data(), size)) {
        return nullptr;
    }
    return parseMemory(text.data());
}

GenICamTreeBuilder* GenICamParser::parseNode(XmlNode* node, GenICamTreeBuilder* parent) {
    if (isText(*node)) {
        if (parent != nullptr) {
            withJoinedText(node, [parent](std::string_view text) { parent->setContent(text); });
        }
        return nullptr;
    }
    const std::string_view name = nameOf(*node);
    if (node->type() != rapidxml::node_element || name == "Extension") {
        return nullptr;
    }
    const NodeType type = typeOf(name, m_quirks);
    if (type != GenICamTypes::Undefined) {
        return parseBuilder(*node, type, parent);
    }
    if (parent == nullptr) {
        return nullptr;
    }
    if (name == "Group") {
        parseChildren(*node, *parent);
    } else {
        withJoinedText(nextText(node->first_node()), [&](std::string_view text) {
            parent->addElement(name, m_quirks.exactTexts ? text : genicam::withoutBlanks(text));
        });
    }
    return nullptr;
}

GenICamTreeBuilder* GenICamParser::parseBuilder(XmlNode& node, NodeType type, GenICamTreeBuilder* parent) {
    std::unique_ptr<GenICamTreeBuilder> root;
    if (parent == nullptr) {
        root = std::make_unique<GenICamTreeBuilder>(type);
    }
    GenICamTreeBuilder& builder = root ? *root : parent->addObject(nameOf(node), type);
    reserveFor(node, builder);
    for (const auto* a = node.first_attribute(); a != nullptr; a = a->next_attribute()) {
        builder.setAttribute(nameOf(*a), valueOf(*a));
    }
    parseChildren(node, builder);
    static_cast<void>(root.release()); // the caller's now, as the result
    return &builder;
}

void GenICamParser::parseChildren(XmlNode& node, GenICamTreeBuilder& parent) {
    const XmlNode* const last = lastText(node);
    for (XmlNode* child = node.first_node(); child != nullptr; child = child->next_sibling()) {
        if (!isText(*child) || child == last) {
            parseNode(child, &parent);
        }
    }
}

} // namespace tavo
