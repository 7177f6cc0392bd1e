// StructReg: it makes no node but hands what it says to its entries, which become registers.
#include "genicam/description/read_nodes.h"

#include "util/Quirks.h"

#include <algorithm>
#include <array>
#include <span>
#include <vector>

namespace genicam::stages {
namespace {

// What a StructReg adds to an entry's own elements of the name; everything else takes the place of the
// entry's, deliberately also where the entry says otherwise, which has the last word in the standard.
constexpr std::array<std::string_view, 3> kAddedElements = {"pAddress", "pInvalidator", "pSelected"};

// Where the memory lies is the StructReg's word alone.
constexpr std::array<std::string_view, 4> kPlaceElements = {"Address", "Length", "pLength", "pPort"};

bool isAdded(std::string_view name) {
    return std::ranges::find(kAddedElements, name) != kAddedElements.end();
}

// Elements of which all count; of others that are written twice the last one does.
bool isRepeatable(std::string_view name) {
    return name == "Address" || isAdded(name);
}

// The names of an entry's elements that what the StructReg says does not take the place of; ascending.
std::vector<std::string_view> lastWords(Builder& entry, const tavo::Quirks& quirks) {
    std::vector<std::string_view> names;
    for (const Builder::Element& element : entry.getAllElements()) {
        const bool isPlace = std::ranges::find(kPlaceElements, element.name) != kPlaceElements.end();
        if (!quirks.structRegWins && !isPlace && !isAdded(element.name)) {
            names.push_back(element.name);
        }
    }
    return names;
}

// What the texts take in a node.
std::size_t bytesOf(std::span<const Builder::Element> elements) {
    std::size_t bytes = 0;
    for (const Builder::Element& element : elements) {
        bytes += element.text.size();
    }
    return bytes;
}

void copyElements(Builder& structReg, Builder& entry, const tavo::Quirks& quirks) {
    const auto elements = structReg.getAllElements();
    structReg.countCopies(elements.size(), bytesOf(elements));
    const std::vector<std::string_view> kept = lastWords(entry, quirks);
    const auto isKept = [&kept](std::string_view name) { return std::ranges::binary_search(kept, name); };
    entry.removeElementsIf([&](const Builder::Element& element) {
        return !isAdded(element.name) && !isKept(element.name) &&
               structReg.findElement(element.name) != nullptr;
    });
    for (auto element = elements.begin(); element != elements.end(); ++element) {
        const bool isLast = element + 1 == elements.end() || (element + 1)->name != element->name;
        if (!isKept(element->name) && (isLast || isRepeatable(element->name))) {
            entry.addElement(*element);
        }
    }
}

void copyIndices(Builder& structReg, Builder& entry) {
    const auto indices = structReg.getAllObjectsByName("pIndex");
    for (const Builder::Object& index : indices) {
        structReg.countCopies(1, index.builder->getContent().size());
        Builder& copy = entry.addObject("pIndex", Types::Element);
        copy.setContent(index.builder->getContent());
        copy.setAttribute("Offset", index.builder->findAttribute("Offset"));
        copy.setAttribute("pOffset", index.builder->findAttribute("pOffset"));
    }
}

} // namespace

void readStructReg(Builder& builder, const tavo::Quirks& quirks) {
    embedAddressFormulas(builder);
    for (const Builder::Object& entry : builder.getAllObjectsByName("StructEntry")) {
        entry.builder->setType(Types::MaskedIntReg);
        copyElements(builder, *entry.builder, quirks);
        copyIndices(builder, *entry.builder);
    }
}

} // namespace genicam::stages
