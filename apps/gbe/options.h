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

// Seconds, with any fraction; the verb's own time stays without it.
inline void addTimeout(CLI::App& command, double& seconds, const char* text) {
    const auto isNumber = [](const std::string& word) { // "nan" is in every range
        return word.find_first_not_of("0123456789.eE+-") == word.npos ? "" : "\"" + word + "\" is no time";
    };
    command.add_option("--timeout", seconds, text)
        ->check(CLI::Validator(isNumber, ""))
        ->check(CLI::Range(0.0, 1e6))
        ->type_name("SECONDS");
}

inline void addExclusive(CLI::App& command, Purpose& purpose) {
    command.add_flag_callback(
        "--exclusive", [&purpose] { purpose = Purpose::WorkAlone; }, "Meanwhile nobody else can even read");
}

// What gbe grab and gbe stream both want of a stream.
struct StreamRequest {
    std::vector<std::string> settings; // NAME=VALUE, written before
    std::string packetSize = "auto";
    Purpose purpose = Purpose::Work;
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
    addExclusive(command, request.purpose);
}

} // namespace gbe
