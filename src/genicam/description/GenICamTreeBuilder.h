// The form that a description's element has between the XML text and the live node: what the element said, as
// strings, with the parsers that turn the strings into node properties.
#pragma once

#include "genicam/description/named_list.h"
#include "liomol/GenICamTypes.h"

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace tavo {

class GenICamCamera;
struct Quirks;
class ImplGenICamNode;
class NodeTree;
class MathParser;
class MathVariablesInterface;

// One builder stands for one element that makes a node, or that carries attributes of its own ("pIndex",
// "pVariable", "StructEntry"). The node that it leads to is the device's.
//
// The root owns the whole tree: all builders below it and all strings lie in one store, which is freed with
// the root. Every view and every child is valid until then, every span until something is added under the
// same builder. Builders are used by one thread at a time, also for reading.
class GenICamTreeBuilder {
public:
    // The passes that make live nodes of a tree, in this order.
    enum InitStage : int {
        CreateNodes = 0,       // make every node, read what it says of itself, register it by name
        ResolveReferences = 1, // find the nodes that elements like "pValue" name and wire the dependencies
        ReleaseTree = 2,       // free the builders; the root stays with its owner
    };

    // A child element that has a name and a text only ("pValue", "Address", "Min").
    struct Element {
        std::string_view name;
        std::string_view text;
        // For a reference that was made from an element inside this one: the builder of the node that it
        // means, in the same tree. Null for what the description wrote itself.
        GenICamTreeBuilder* target = nullptr;
    };

    struct Attribute {
        std::string_view name;
        std::string_view value;
    };

    struct Object {
        std::string_view name;
        GenICamTreeBuilder* builder;
    };

    // The root of a tree of its own.
    explicit GenICamTreeBuilder(GenICamTypes::GenICamNodeType type);
    ~GenICamTreeBuilder();
    GenICamTreeBuilder(const GenICamTreeBuilder&) = delete;
    GenICamTreeBuilder& operator=(const GenICamTreeBuilder&) = delete;

    void setType(GenICamTypes::GenICamNodeType type) { m_type = type; }
    GenICamTypes::GenICamNodeType getNodeType() const { return m_type; }

    // The element's own text.
    void setContent(std::string_view content);
    std::string_view getContent() const { return m_content; }

    // The node made for this builder; null before CreateNodes and for builders without one. Not owned.
    void setNode(ImplGenICamNode* node) { m_node = node; }
    ImplGenICamNode* getNode() const { return m_node; }

    // Sets an attribute, in place of an earlier value of the same name. Gives the stored value.
    std::string_view setAttribute(std::string_view name, std::string_view value);
    // The value, or the default, which is then stored as if the description had said so.
    std::string_view getAttribute(std::string_view name, std::string_view defaultValue);
    // The value, or the default without a trace.
    std::string_view findAttribute(std::string_view name, std::string_view defaultValue = {});

    // Appends a simple element; any number may have one name.
    Element& addElement(std::string_view name, std::string_view text);
    // Appends an element of another builder of the same tree.
    void addElement(const Element& element);
    template<class Predicate> void removeElementsIf(Predicate predicate) { m_elements.removeIf(predicate); }
    // The text of the earliest element of a name, or the default, which is then stored like an element.
    std::string_view getFirstElement(std::string_view name, std::string_view defaultText);
    // The earliest element of a name, or null.
    const Element* findElement(std::string_view name);
    // All elements of a name in the order in which they were added.
    std::span<Element> getAllElementsByName(std::string_view name);

    // All elements, by ascending name, within a name in the order in which they were added.
    std::span<Element> getAllElements() { return m_elements.all(); }

    // Appends a new child builder under its element's name.
    GenICamTreeBuilder& addObject(std::string_view name, GenICamTypes::GenICamNodeType type);
    // All child builders of a name in the order in which they were added.
    std::span<Object> getAllObjectsByName(std::string_view name);
    // All child builders, by ascending element name, within a name in the order in which they were added.
    std::span<Object> getAllObjects() { return m_objects.all(); }

    // Makes room for the given numbers of attributes, elements and child builders.
    void reserve(std::size_t attributes, std::size_t elements, std::size_t objects);
    // Gives the tree a buffer whose texts are then taken as they lie there, without a copy.
    void adoptBuffer(std::unique_ptr<char[]> buffer, std::size_t size);

    // Count what a stage copies within the tree, elements and bytes, and the formulas that it hands on.
    // std::length_error beyond the limits for the whole tree: a small text must not fill the memory.
    void countCopies(std::size_t count, std::size_t bytes);
    void countFormula(std::size_t characters);

    // Runs one stage over this builder and then over its children. Stages 0 and 1 may throw std::bad_alloc,
    // std::length_error (a description that multiplies itself beyond reason) and std::runtime_error (nobody
    // wants the tree any more).
    void propagateInitStage(InitStage stage, NodeTree* tree);
    // Runs one stage for this builder alone.
    void executeInitStage(InitStage stage, NodeTree* tree);

    // "dependent" reads from "dependency": a change of the latter makes the former stale. Nothing happens
    // when either is null or both are the same node.
    static void addDependency(ImplGenICamNode* dependent, ImplGenICamNode* dependency);

    // Keyword parsers: exact, no blanks trimmed; an empty or unknown text gives 0.
    static GenICamTypes::GenICamYesNoType parseYesNo(std::string_view text);
    static GenICamTypes::GenICamSignType parseSign(std::string_view text);
    static GenICamTypes::GenICamEndianessType parseEndianess(std::string_view text);
    static GenICamTypes::GenICamCacheModeType parseCacheMode(std::string_view text);
    static GenICamTypes::GenICamAccessModeType parseAccessMode(std::string_view text);
    static GenICamTypes::GenICamVisibilityType parseVisibility(std::string_view text);
    static GenICamTypes::GenICamRepresentationType parseRepresentation(std::string_view text);
    // The representations that the former does not know.
    static GenICamTypes::GenICamAddressType parseAddressType(std::string_view text);
    static GenICamTypes::GenICamSlopeType parseSlope(std::string_view text);
    // "true" is true, an empty text the default, everything else false.
    static bool parseBoolean(std::string_view text, bool defaultValue);

    // One integer as a stream without a fixed base reads it: blanks before it are skipped, "0x" makes it
    // hexadecimal and a leading "0" octal ("010" is 8: deliberately kept), the rest behind it is ignored.
    // Hexadecimal numbers of up to 64 bits wrap into the signed range, every other overflow gives the limit
    // passed. No number gives the default.
    static std::int64_t parseNumber(std::string_view text, std::int64_t defaultValue);
    // The same without octal numbers, as the standard has it.
    static std::int64_t parseDecimalOrHex(std::string_view text, std::int64_t defaultValue);
    // One decimal number with an optional exponent, read likewise; overflow gives the largest double.
    static double parseFloat(std::string_view text, double defaultValue);

    // Prepares a node's formula. One that the engine refuses is reported in one line on standard output, and
    // the parser is left without a formula.
    static void parseFormula(
        const std::string& nodeName, const std::string& formula, MathParser& parser,
        MathVariablesInterface* variables, const Quirks& quirks);

private:
    struct Store;

    GenICamTreeBuilder(GenICamTypes::GenICamNodeType type, Store& store);

    std::unique_ptr<Store> m_owned; // the root's
    Store& m_store;
    genicam::NamedList<Attribute> m_attributes; // the latest of a name counts
    genicam::NamedList<Element> m_elements;
    genicam::NamedList<Object> m_objects;
    std::string_view m_content;
    ImplGenICamNode* m_node = nullptr;
    GenICamTypes::GenICamNodeType m_type;
};

} // namespace tavo
