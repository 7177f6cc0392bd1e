// What gbe wait waits for: "Name=Value", or with another comparison.
#pragma once

#include <string>
#include <vector>

namespace gbe {

struct Condition {
    std::string name;
    std::string comparison; // "=", "!=", "<", ">", "<=" or ">="
    std::string value;

    // Two numbers are compared as numbers; anything else is only the same or not.
    bool holdsFor(const std::string& present) const;
};

// Throws Failure for a text that is no condition, and for an order of what is no number.
std::vector<Condition> parseConditions(const std::vector<std::string>& texts);

} // namespace gbe
