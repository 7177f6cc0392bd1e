// What of one formula this system reads otherwise than the GenICam standard has it.
#pragma once

#include "util/Quirks.h"

#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace genicam {

// The quirks that change what the standard makes of the formula. `isFloat` tells whether the node computes
// with doubles; `floatVariables`, in upper case, which of its variables are doubles.
std::vector<bool tavo::Quirks::*> differencesIn(
    const std::string& formula, bool isFloat, const std::unordered_set<std::string>& floatVariables);

// Whether the formula leaves no fraction to round.
bool roundsItself(std::string_view formula);

} // namespace genicam
