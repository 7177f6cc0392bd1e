// What a feature is, and what may be done with it: its properties, texts and limits.
#include "api/features.h"

#include "api/results.h"
#include "liomol/features.h"

#include <algorithm>

namespace {

using tavo::GenICamNode;
using AccessMode = tavo::GenICamTypes::GenICamAccessModeType;
using AddressType = tavo::GenICamTypes::GenICamAddressType;
using Representation = tavo::GenICamTypes::GenICamRepresentationType;
using Visibility = tavo::GenICamTypes::GenICamVisibilityType;

// The C interface shows the description's enumerations with their own numbers.
template<typename Ours, typename Shown> constexpr bool sameNumber(Ours ours, Shown shown) {
    return static_cast<int>(ours) == static_cast<int>(shown);
}
static_assert(
    sameNumber(AccessMode::NotGiven, GBE_ACCESS_NONE) && sameNumber(AccessMode::RO, GBE_ACCESS_READ_ONLY) &&
    sameNumber(AccessMode::WO, GBE_ACCESS_WRITE_ONLY) && sameNumber(AccessMode::RW, GBE_ACCESS_READ_WRITE));
static_assert(
    sameNumber(Visibility::NotGiven, GBE_VISIBILITY_NOT_GIVEN) &&
    sameNumber(Visibility::Invisible, GBE_VISIBILITY_INVISIBLE));
static_assert(
    sameNumber(Representation::NotGiven, GBE_REPRESENTATION_NOT_GIVEN) &&
    sameNumber(Representation::HexNumber, GBE_REPRESENTATION_HEX_NUMBER));

int accessNow(GenICamNode& node) {
    if (!node.isImplemented()) {
        return GBE_ACCESS_NOT_IMPLEMENTED;
    }
    return node.isAvailable() ? static_cast<int>(node.getAccessMode()) : GBE_ACCESS_NOT_AVAILABLE;
}

int representationOf(GenICamNode& node) {
    if (const auto* const integer = node.asInteger()) {
        return integer->getAddressType() == AddressType::IPV4Address  ? GBE_REPRESENTATION_IPV4_ADDRESS
               : integer->getAddressType() == AddressType::MACAddress ? GBE_REPRESENTATION_MAC_ADDRESS
                                                                      : int(integer->getRepresentation());
    }
    const auto* const real = node.asFloat();
    return real != nullptr ? int(real->getRepresentation()) : GBE_REPRESENTATION_NOT_GIVEN;
}

const std::string& unitOf(GenICamNode& node) {
    static const std::string none;
    if (const auto* const real = node.asFloat()) {
        return real->getUnit();
    }
    if (const auto* const integer = dynamic_cast<tavo::GenICamInteger*>(&node)) {
        return integer->getUnit();
    }
    const auto* const converter = dynamic_cast<tavo::GenICamIntConverter*>(&node);
    return converter != nullptr ? converter->getUnit() : none;
}

// Null for what is no GbeFeatureText.
const std::string* textOf(GenICamNode& node, int which) {
    switch (which) {
    case GBE_TEXT_DISPLAY_NAME:
        return &node.getDisplayName();
    case GBE_TEXT_TOOL_TIP:
        return &node.getToolTip();
    case GBE_TEXT_DESCRIPTION:
        return &node.getDescription();
    case GBE_TEXT_UNIT:
        return &unitOf(node);
    case GBE_TEXT_NAMESPACE:
        return &node.getNamespace();
    case GBE_TEXT_EVENT_ID:
        return &node.getEventID();
    default:
        return nullptr;
    }
}

} // namespace

int Gbe_getFeatureInfo(CameraHandle* camera, const char* name, GbeFeatureInfo* out) {
    if (out == nullptr) {
        return api::nullArgument("out");
    }
    return api::withAnyFeature(camera, name, [&](GenICamNode& node) {
        const auto* const selector = node.asSelector();
        GbeFeatureInfo info{};
        info.kind = api::kindOf(node);
        info.access = accessNow(node);
        info.locked = node.isLocked() ? 1 : 0;
        info.visibility = static_cast<int>(node.getVisibility());
        info.representation = static_cast<int>(representationOf(node));
        info.streamable = node.isStreamable() ? 1 : 0;
        info.selector = selector != nullptr && selector->isSelector() ? 1 : 0;
        *out = info;
        return status::Success;
    });
}

int Gbe_getFeatureText(CameraHandle* camera, const char* name, int which, const char** text) {
    if (text == nullptr) {
        return api::nullArgument("text");
    }
    return api::withAnyFeature(camera, name, [&](GenICamNode& node) {
        const std::string* const found = textOf(node, which);
        if (found == nullptr) {
            return api::refused(
                status::IllegalParameter, [&] { return std::to_string(which) + " is no GbeFeatureText"; });
        }
        *text = found->c_str();
        return status::Success;
    });
}

int Gbe_getIntegerLimits(
    CameraHandle* camera, const char* name, long long* min, long long* max, long long* increment) {
    return api::withFeature<&GenICamNode::asInteger>(camera, name, [&](auto& node) {
        const long long lowest = min != nullptr ? node.getMin() : 0;
        const long long highest = max != nullptr ? node.getMax() : 0;
        const long long step = increment != nullptr ? node.getInc() : 0;
        api::put(min, lowest);
        api::put(max, highest);
        api::put(increment, step);
    });
}

int Gbe_getFloatLimits(CameraHandle* camera, const char* name, double* min, double* max) {
    return api::withFeature<&GenICamNode::asFloat>(camera, name, [&](auto& node) {
        const double lowest = min != nullptr ? node.getMin() : 0;
        const double highest = max != nullptr ? node.getMax() : 0;
        api::put(min, lowest);
        api::put(max, highest);
    });
}

int Gbe_getStringLimit(CameraHandle* camera, const char* name, long long* length) {
    if (length == nullptr) {
        return api::nullArgument("length");
    }
    return api::withFeature<&GenICamNode::asString>(
        camera, name, [&](auto& node) { *length = node.getMaxLength(); });
}

int Gbe_getEntryValue(CameraHandle* camera, const char* name, const char* entry, long long* value) {
    if (entry == nullptr || value == nullptr) {
        return api::firstNull({{entry, "entry"}, {value, "value"}});
    }
    return api::withFeature<&GenICamNode::asEnumeration>(camera, name, [&](auto& node) {
        const auto& all = node.getEntries();
        const auto found =
            std::ranges::find_if(all, [&](const auto* one) { return one->getSymbol() == entry; });
        if (found == all.end()) {
            util::fail<tavo::GicIllegalValueException>(
                [&] { return std::string("there is no entry ") + entry; });
        }
        *value = (*found)->getValue();
    });
}
