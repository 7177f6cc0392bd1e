// The command line of gbe, made from the table of verbs.
#pragma once

#include "Context.h"
#include "Verb.h"

#include <CLI/CLI.hpp>

#include <map>
#include <string>
#include <vector>

namespace gbe {

// For one line. What the context's selection says stays where the line says nothing of a camera.
class CommandLine {
public:
    explicit CommandLine(Context& context);
    CommandLine(const CommandLine&) = delete;
    CommandLine& operator=(const CommandLine&) = delete;

    // Does what the words behind the program's name say. Mistakes and failures are told on standard error,
    // and never thrown.
    ExitStatus run(std::vector<std::string> words);

    CLI::App& app() { return m_app; }

private:
    void add(const Verb& verb, Context& context);
    ExitStatus runParsed(std::vector<std::string>& words);
    // Also for what only prints help.
    ExitStatus tell(const CLI::ParseError& error);

    CLI::App m_app;
    std::map<const CLI::App*, Run> m_runs;
};

// The command of a verb in a whole command line.
CLI::App& commandOf(CLI::App& app, const Verb& verb);
// The verb of a command; null for the program, and for a family.
const Verb* verbOf(const CLI::App& command);
// "gbe ip set".
std::string fullName(const CLI::App& command);

} // namespace gbe
