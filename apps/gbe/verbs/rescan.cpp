// gbe rescan: the service looks again.
#include "gbe/Context.h"
#include "gbe/options.h"
#include "gbe/service.h"

#include <CLI/CLI.hpp>

namespace gbe {
namespace {

Run define(CLI::App&, Context& context) {
    return [&context] {
        const Selection& selection = context.selection;
        const bool everything = !selection.boardGiven && !selection.port;
        rescan(everything ? std::nullopt : std::optional(selection.board), selection.port);
        return ExitStatus::Success;
    };
}

constexpr Example kExamples[] = {
    {"gbe rescan", "everything: boards and interfaces that have appeared since are found"},
    {"gbe rescan --port 1", "the link of one port of board 0"},
};

} // namespace

extern const Verb kRescanVerb{
    "rescan", Group::Addresses, "Has the service look again at links, boards and interfaces", &define,
    kExamples};

} // namespace gbe
