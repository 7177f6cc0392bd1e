// What the nodes tell beside the exceptions that they throw (util/error_detail.h). Nothing of it runs where
// nothing fails; what it reads of a camera, the access that failed has read already or was about to read. For
// callers that hold the device's lock.
#pragma once

#include "genicam/nodes/ImplGenICamNode.h"
#include "liomol/exceptions.h"
#include "util/error_detail.h"

#include <string>

namespace tavo {

class MathParser;

// "WidthReg: " for a node that an access has come to through others; empty for the one that it began with,
// which its caller knows.
std::string wayTo(const ImplGenICamNode& node);

// What a node below holds, as people write it: an entry's name, true or false, or a number.
std::string valueText(ImplGenICamNode& node);

// The values that a node takes, in whose name the exception is thrown.
[[noreturn]] void failOutsideLimits(ImplGenICamNode& node, GenICamInteger& limits, std::int64_t value);
[[noreturn]] void failOutsideLimits(ImplGenICamNode& node, GenICamFloatInterface& limits, double value);
[[noreturn]] void
failNoEntry(ImplGenICamNode& node, const GenICamEnumerationInterface& entries, const std::string& wished);

// An exception whose sentence is the node's name and what is wrong with it.
template<typename Exception>
[[noreturn, gnu::cold, gnu::noinline]] void failAt(const ImplGenICamNode& node, const char* what) {
    util::fail<Exception>(
        [&] { return (node.getName().empty() ? "a part of the description" : node.getName()) + what; });
}

// GicIllegalRegisterLengthException: "WidthReg has 9 bytes", and what it should have.
[[noreturn]] void failLength(const ImplGenICamNode& node, std::int64_t length, const char* allowed);

// Adds to a formula's fault whose it is, unless a formula further below has.
void tellFormula(const ImplGenICamNode& node, const MathParser& formula, const ScMathException& fault);

} // namespace tavo
