#include "api/results.h"

#include "api/refusals.h"
#include "util/status.h"

#include <array>
#include <cstring>
#include <utility>

namespace api {
namespace {

using tavo::GenICamNode;

// The first row whose interface a node has names its kind.
struct KindRow {
    GbeFeatureKind kind;
    bool (*matches)(GenICamNode&);
};

template<auto As> bool has(GenICamNode& node) {
    return (node.*As)() != nullptr;
}

constexpr std::array kKinds{
    KindRow{GBE_KIND_INTEGER, has<&GenICamNode::asInteger>},
    KindRow{GBE_KIND_FLOAT, has<&GenICamNode::asFloat>},
    KindRow{GBE_KIND_BOOLEAN, has<&GenICamNode::asBoolean>},
    KindRow{GBE_KIND_STRING, has<&GenICamNode::asString>},
    KindRow{GBE_KIND_ENUMERATION, has<&GenICamNode::asEnumeration>},
    KindRow{GBE_KIND_COMMAND, has<&GenICamNode::asCommand>},
    KindRow{GBE_KIND_CATEGORY, has<&GenICamNode::asCategory>},
    KindRow{GBE_KIND_REGISTER, has<&GenICamNode::asRegister>},
};

} // namespace

int kindOf(GenICamNode& node) {
    for (const KindRow& row : kKinds) {
        if (row.matches(node)) {
            return row.kind;
        }
    }
    return GBE_KIND_OTHER;
}

int copyBytes(std::string_view bytes, void* buffer, unsigned* size) {
    const bool fits = buffer == nullptr || bytes.size() <= *size;
    if (buffer != nullptr && fits) {
        std::memcpy(buffer, bytes.data(), bytes.size());
    }
    const unsigned room = std::exchange(*size, static_cast<unsigned>(bytes.size()));
    return fits ? status::Success : tooSmall(bytes.size(), room);
}

} // namespace api
