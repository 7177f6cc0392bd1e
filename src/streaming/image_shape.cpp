#include "streaming/image_shape.h"

#include "genicam/device/ImplGenICamCamera.h"
#include "liomol/exceptions.h"
#include "liomol/interfaces.h"
#include "liomol/node_kinds.h"
#include "util/error_detail.h"

#include <limits>
#include <optional>
#include <string>

namespace streaming {
namespace {

// Of an Integer or Enumeration feature; nothing without such a feature.
std::optional<std::int64_t> readNumber(const tavo::NodeTree& tree, const char* name) {
    tavo::GenICamNode* const node = tree.findNode(name);
    if (node == nullptr) {
        return std::nullopt;
    }
    if (auto* const integer = node->asInteger()) {
        return integer->getValue();
    }
    auto* const enumeration = node->asEnumeration();
    return enumeration != nullptr ? std::optional(enumeration->getIntValue()) : std::nullopt;
}

} // namespace

ImageShape readShape(const board::Device& device) {
    const auto tree = device.holdTree(); // somebody may connect the camera again meanwhile
    const std::optional<std::int64_t> payload = readNumber(*tree, "PayloadSize");
    if (!payload) {
        util::fail<tavo::GicIllegalNodeException>(
            [] { return std::string("the camera has no number PayloadSize"); });
    }
    if (*payload <= 0 || static_cast<std::uint64_t>(*payload) > std::numeric_limits<std::ptrdiff_t>::max()) {
        util::fail<tavo::GicIllegalValueException>(
            [&] { return "PayloadSize is " + std::to_string(*payload); });
    }
    const auto number = [&](const char* name) {
        return static_cast<std::uint32_t>(readNumber(*tree, name).value_or(0));
    };
    ImageShape shape;
    shape.payloadSize = static_cast<std::size_t>(*payload);
    shape.pixelFormat = number("PixelFormat");
    shape.width = number("Width");
    shape.height = number("Height");
    shape.offsetX = number("OffsetX");
    shape.offsetY = number("OffsetY");
    return shape;
}

} // namespace streaming
