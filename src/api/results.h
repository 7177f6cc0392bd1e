// How answers of any size and kind reach a C caller.
#pragma once

#include "liomol/gige.h"
#include "liomol/node_kinds.h"

#include <string_view>

namespace api {

// The GbeFeatureKind of a node.
int kindOf(tavo::GenICamNode& node);

// Into a buffer of *size bytes, which becomes what it took. Without a buffer, or when it is too small, only
// the size needed is told. The result is a status.
int copyBytes(std::string_view bytes, void* buffer, unsigned* size);

// An output that was not asked for is null.
template<typename Value> void put(Value* output, Value value) {
    if (output != nullptr) {
        *output = value;
    }
}

} // namespace api
