// Options that several verbs have, and the parser's header for the files that define verbs.
#pragma once

#include "Context.h"
#include "Verb.h"

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace gbe {

inline void addJson(CLI::App& command, Context& context) {
    command.add_flag("--json", context.json, "As JSON");
}

// What gbe grab and gbe stream both want of a stream.
struct StreamRequest {
    std::vector<std::string> settings; // NAME=VALUE, written before
    std::string packetSize = "auto";
};

inline void addStreamOptions(CLI::App& command, StreamRequest& request) {
    command.add_option("--set", request.settings, "A feature to be written before (repeatable)")
        ->allow_extra_args(false)
        ->type_name("NAME=VALUE");
    command
        .add_option(
            "--packet-size", request.packetSize,
            "Bytes; \"auto\": the largest that passes (default); \"keep\": the camera's own")
        ->type_name("SIZE");
}

} // namespace gbe
