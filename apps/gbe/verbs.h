// The table of verbs. A new one is a file in verbs/ and a row in verbs.cpp.
#pragma once

#include "Verb.h"

#include <span>
#include <string>

namespace gbe {

// All of them, in the order in which the help lists them.
std::span<const Verb* const> verbs();

// Null where none has the name.
const Verb* findVerb(const std::string& name);

// Verbs of more than one word share the first: a family.
struct Family {
    const char* name;
    const char* line;
};
std::span<const Family> families();

const char* heading(Group group);

} // namespace gbe
