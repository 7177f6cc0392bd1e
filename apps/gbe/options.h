// Options that several verbs have, and the parser's header for the files that define verbs.
#pragma once

#include "Context.h"
#include "Verb.h"
#include "numbers.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <string>
#include <vector>

namespace gbe {

inline void addJson(CLI::App& command, Context& context) {
    command.add_flag("--json", context.json, "As JSON");
}

// The bounds are within; "nan" is not.
template<typename Number> CLI::Validator within(Number least, Number most) {
    const auto refusal = [=](const std::string& word) {
        Number number{};
        const bool isNumber = CLI::detail::lexical_cast(word, number);
        return isNumber && number >= least && number <= most
                   ? ""
                   : "\"" + word + "\" is not a number from " + numberText(least) + " to " + numberText(most);
    };
    return CLI::Validator(refusal, "");
}

inline CLI::Validator oneOf(const std::vector<std::string>& words) {
    const auto refusal = [=](const std::string& word) {
        std::string all;
        for (const std::string& each : words) {
            all += (all.empty() ? "" : ", ") + each;
        }
        return std::ranges::count(words, word) != 0 ? "" : "\"" + word + "\" is none of " + all;
    };
    return CLI::Validator(refusal, "");
}

// With any fraction; the verb's own time, or none, stays without it.
template<typename Seconds>
void addSeconds(CLI::App& command, const char* name, Seconds& seconds, const char* text, double least = 0) {
    command.add_option(name, seconds, text)->check(within(least, 1e6))->type_name("SECONDS");
}

inline void addExclusive(CLI::App& command, Purpose& purpose) {
    command.add_flag_callback(
        "--exclusive", [&purpose] { purpose = Purpose::WorkAlone; }, "Meanwhile nobody else can even read");
}

inline void addKeepControl(CLI::App& command, Context& context) {
    command
        .add_option(
            "--keep-control", context.keepSeconds,
            "While this program stands still, by Ctrl-Z or in a debugger, the service keeps control of the "
            "camera for it, for so many seconds of each stop (1 to 3600)")
        ->check(within(1U, 3600U))
        ->type_name("SECONDS");
}

// What gbe grab and gbe stream both want of a stream.
struct StreamRequest {
    std::vector<std::string> settings; // NAME=VALUE, written before
    std::string packetSize = "auto";
    Purpose purpose = Purpose::Work;
};

inline void addStreamOptions(CLI::App& command, Context& context, StreamRequest& request) {
    command.add_option("--set", request.settings, "A feature to be written before (repeatable)")
        ->allow_extra_args(false)
        ->type_name("NAME=VALUE");
    command
        .add_option(
            "--packet-size", request.packetSize,
            "Bytes; \"auto\": the largest that passes (default); \"keep\": the camera's own")
        ->type_name("SIZE");
    addExclusive(command, request.purpose);
    addKeepControl(command, context);
}

} // namespace gbe
