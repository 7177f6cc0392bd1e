// Stage of StructReg: it makes no node but hands what it says to its entries, which become registers.
#include "genicam/description/stages.h"

#include <algorithm>
#include <array>

namespace genicam::stages {
namespace {

// What a StructReg adds to an entry's own elements of the name; everything else takes the place of the
// entry's, deliberately also where the entry says otherwise.
constexpr std::array<std::string_view, 3> addedElements = {"pAddress", "pInvalidator", "pSelected"};

bool isAdded(std::string_view name) {
    return std::ranges::find(addedElements, name) != addedElements.end();
}

// Elements of which all count; of others that are written twice the last one does.
bool isRepeatable(std::string_view name) {
    return name == "Address" || isAdded(name);
}

void copyElements(Builder& structReg, Builder& entry) {
    const auto elements = structReg.getAllElements();
    structReg.countCopies(elements.size());
    entry.removeElementsIf([&structReg](const Builder::Element& element) {
        return !isAdded(element.name) && structReg.findElement(element.name) != nullptr;
    });
    for (auto element = elements.begin(); element != elements.end(); ++element) {
        const bool isLast = element + 1 == elements.end() || (element + 1)->name != element->name;
        if (isLast || isRepeatable(element->name)) {
            entry.addElement(*element);
        }
    }
}

void copyIndices(Builder& structReg, Builder& entry) {
    const auto indices = structReg.getAllObjectsByName("pIndex");
    structReg.countCopies(indices.size());
    for (const Builder::Object& index : indices) {
        Builder& copy = entry.addObject("pIndex", Types::Element);
        copy.setContent(index.builder->getContent());
        copy.setAttribute("Offset", index.builder->findAttribute("Offset"));
        copy.setAttribute("pOffset", index.builder->findAttribute("pOffset"));
    }
}

} // namespace

void readStructReg(Builder& builder) {
    embedAddressFormulas(builder);
    for (const Builder::Object& entry : builder.getAllObjectsByName("StructEntry")) {
        entry.builder->setType(Types::MaskedIntReg);
        copyElements(builder, *entry.builder);
        copyIndices(builder, *entry.builder);
    }
}

} // namespace genicam::stages
