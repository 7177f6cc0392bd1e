// Which camera a verb is for: the same options for all of them, or one variable of the environment.
#pragma once

#include "protocol/addresses.h"

#include <optional>
#include <string>

namespace CLI {
class App;
}

namespace gbe {

// Which board, and which camera behind it; what is not given does not count.
struct Selection {
    int board = 0;
    bool boardGiven = false;
    std::optional<unsigned> port;
    std::optional<net::Mac> mac;
    std::optional<net::Ipv4> ip;
    std::string name;
    bool standard = true; // the description is read as the GenICam standard has it

    bool operator==(const Selection&) const = default;
};

inline constexpr const char* kSelectionVariable = "GBE_CAMERA";
// The heading of the options in help.
inline constexpr const char* kSelectionGroup = "Which camera";

// "board:1,port:2", "mac:...", "ip:..." and "name:...", which comes last. Throws Failure, which begins with
// what the text is to be.
Selection parseSelection(const std::string& text, const std::string& what = kSelectionVariable);

// Options --board to --standard. The first of them that says which camera takes the place of all that
// `selection` says before.
void addSelection(CLI::App& app, Selection& selection);

} // namespace gbe
