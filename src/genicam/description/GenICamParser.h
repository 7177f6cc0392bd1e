// XML text of a camera description into a tree of builders. Nothing is interpreted here.
#pragma once

#include "genicam/description/Singleton.h"
#include "liomol/GenICamTypes.h"
#include "util/Quirks.h"

#include <atomic>
#include <memory>
#include <string>

namespace genicam {
struct XmlOutline;
}

namespace rapidxml {
template<class Ch> class xml_node;
}

namespace tavo {

class GenICamTreeBuilder;

// Keeps nothing but what it was made with: any number of threads may parse at a time. The one that knows what
// this system knows by itself is obtained as Singleton<GenICamParser>::getInstance().
class GenICamParser {
public:
    GenICamParser() : GenICamParser(Quirks()) {}
    // One that leaves out what the quirks leave out; without them, it also takes the blanks from around the
    // texts of elements.
    // Once `stop`, which may be null, is set, parsing ends soon and gives null.
    explicit GenICamParser(const Quirks& quirks, const std::atomic<bool>* stop = nullptr)
        : m_quirks(quirks), m_stop(stop) {}

    // Parses a zero-terminated text in place; the buffer is needed during the call only. A parse error prints
    // one line on standard output, and what was complete before it is used. Null when there is no complete
    // "RegisterDescription" element in front, or when elements are nested or numbered beyond reason (reported
    // as a parse error); the thread's sentence (util/error_detail.h) then says which. std::length_error for
    // more builders than kMaxBuilders.
    std::unique_ptr<GenICamTreeBuilder> parseMemory(char* text);
    // The same without copying the strings: the tree keeps the buffer.
    std::unique_ptr<GenICamTreeBuilder> parseMemory(std::unique_ptr<char[]> text);

    // The same for a file; null when it cannot be read.
    std::unique_ptr<GenICamTreeBuilder> parseFile(const std::string& path);

    // Converts one XML node and what is below it. The builder made for it becomes a child of `parent`;
    // without a parent the caller owns it. Null when the node makes none.
    GenICamTreeBuilder* parseNode(rapidxml::xml_node<char>* node, GenICamTreeBuilder* parent);

private:
    std::unique_ptr<GenICamTreeBuilder> parse(char* text, std::unique_ptr<char[]> owner);
    std::unique_ptr<GenICamTreeBuilder> parseWhole(char* text);
    std::unique_ptr<GenICamTreeBuilder>
    parsePieces(char* text, const genicam::XmlOutline& outline, std::unique_ptr<char[]> owner);
    GenICamTreeBuilder* parseBuilder(
        rapidxml::xml_node<char>& node, GenICamTypes::GenICamNodeType type, GenICamTreeBuilder* parent);
    void parseChildren(rapidxml::xml_node<char>& node, GenICamTreeBuilder& parent);

    const Quirks m_quirks;
    const std::atomic<bool>* const m_stop;
};

} // namespace tavo
