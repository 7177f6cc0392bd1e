// A verb of gbe: what it does, and all that its help, its man page, completion and the tests of its examples
// are made from.
#pragma once

#include "ExitStatus.h"

#include <functional>
#include <span>

namespace CLI {
class App;
}

namespace gbe {

class Context;

// The headings under which the help lists the verbs, in their order. What is hidden is for programs.
enum class Group { Cameras, Features, Images, Addresses, Trouble, Help, Hidden };

// A command line as it is typed, which runs as it stands with a board in software, and what it does.
struct Example {
    const char* command;
    const char* text;
};

// Does what the command line has asked for. Throws Failure.
using Run = std::function<ExitStatus()>;

struct Verb {
    const char* name; // "get"; "ip set" is a verb of the family "ip"
    Group group;
    const char* line; // what it does, in one line without a stop
    // Adds the options and arguments, and tells what is to be run once they are read. It keeps what they are
    // read into. An argument called NAME, NAME=VALUE, COMMAND or VERB is completed as such, one called
    // ADDRESS as the name of a register, one called FILE
    // as a file.
    Run (*define)(CLI::App& command, Context& context);
    std::span<const Example> examples;
    const char* text = ""; // more, in paragraphs with an empty line between them
};

} // namespace gbe
