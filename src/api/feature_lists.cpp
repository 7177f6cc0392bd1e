// The neighbours of a feature, as lists of names.
#include "api/features.h"
#include "api/results.h"
#include "liomol/features.h"

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

namespace {

using tavo::GenICamNode;

using Names = std::vector<std::string>;

std::optional<Names> entries(GenICamNode& node, bool onlyAvailable) {
    const auto* const enumeration = node.asEnumeration();
    if (enumeration == nullptr) {
        return std::nullopt;
    }
    Names names;
    for (tavo::GenICamEnumEntry* const entry : enumeration->getEntries()) {
        if (!onlyAvailable || (entry->isImplemented() && entry->isAvailable())) {
            names.push_back(entry->getSymbol());
        }
    }
    return names;
}

Names namesOf(const std::vector<GenICamNode*>& nodes) {
    Names names;
    for (const GenICamNode* const node : nodes) {
        names.push_back(node->getName());
    }
    return names;
}

Names selecting(const tavo::ImplGenICamCamera& device, const GenICamNode& selected) {
    std::vector<GenICamNode*> nodes = device.getNodes();
    std::erase_if(nodes, [&](GenICamNode* node) {
        const auto* const selector = node->asSelector();
        return selector == nullptr || !selector->isSelector() ||
               std::ranges::count(selector->getSelectedFeatures(), &selected) == 0;
    });
    return namesOf(nodes);
}

// Nothing for a list that the node does not have.
std::optional<Names> listOf(const tavo::ImplGenICamCamera& device, GenICamNode& node, GbeFeatureList list) {
    switch (list) {
    case GBE_LIST_ENTRIES:
    case GBE_LIST_AVAILABLE_ENTRIES:
        return entries(node, list == GBE_LIST_AVAILABLE_ENTRIES);
    case GBE_LIST_SELECTED:
        if (const auto* const selector = node.asSelector()) {
            return namesOf(selector->getSelectedFeatures());
        }
        break;
    case GBE_LIST_SELECTING:
        return selecting(device, node);
    case GBE_LIST_MEMBERS:
        if (const auto* const category = node.asCategory()) {
            return namesOf(category->getFeatures());
        }
        break;
    }
    return std::nullopt;
}

std::string joined(const Names& names) {
    std::string all;
    for (const std::string& name : names) {
        all.append(name.c_str()).push_back('\0');
    }
    all.push_back('\0');
    return all;
}

} // namespace

int Gbe_getFeatureList(CameraHandle* camera, const char* name, int list, char* buffer, unsigned* size) {
    if (size == nullptr || list < GBE_LIST_ENTRIES || list > GBE_LIST_MEMBERS) {
        return size == nullptr ? api::nullArgument("size") : api::refused(status::IllegalParameter, [&] {
            return std::to_string(list) + " is no GbeFeatureList";
        });
    }
    return api::withAnyFeature(camera, name, [&](GenICamNode& node) {
        const auto names = listOf(*camera->device(), node, static_cast<GbeFeatureList>(list));
        return names ? api::copyBytes(joined(*names), buffer, size)
                     : api::refused(status::IllegalNode, "a feature of its kind has no such list");
    });
}
