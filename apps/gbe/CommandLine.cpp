#include "CommandLine.h"

#include "Failure.h"
#include "help.h"
#include "similar.h"
#include "verbs.h"

#include <algorithm>

namespace gbe {
namespace {

constexpr const char* kProgram = "gbe";

// The innermost command that the line has named.
const CLI::App& chosen(const CLI::App& app) {
    const auto commands = app.get_subcommands();
    return commands.empty() ? app : chosen(*commands.front());
}

std::vector<std::string> optionsOf(const CLI::App& command) {
    std::vector<std::string> names;
    for (const CLI::App* each = &command; each != nullptr; each = each->get_parent()) {
        for (const CLI::Option* option : each->get_options()) {
            for (const std::string& name : option->get_lnames()) {
                names.push_back("--" + name);
            }
        }
    }
    return names;
}

std::vector<std::string> verbsOf(const CLI::App& command) {
    std::vector<std::string> names;
    for (const CLI::App* each : command.get_subcommands([](const CLI::App*) { return true; })) {
        if (!each->get_group().empty()) {
            names.push_back(each->get_name());
        }
    }
    return names;
}

// A word that nobody wants is told before everything else: what is missing may be that word, spelt right.
std::string textOf(const CLI::App& app, const CLI::ParseError& error) {
    const CLI::App& command = chosen(app);
    const std::vector<std::string> unknown = app.remaining(true);
    if (unknown.empty()) {
        return error.get_name() == "RequiredError" && command.get_require_subcommand_min() > 0 ? "which verb?"
                                                                                               : error.what();
    }
    const std::string& word = unknown.front();
    if (word.starts_with('-')) {
        return "unknown option " + word + suggestion(word.substr(0, word.find('=')), optionsOf(command));
    }
    if (command.get_require_subcommand_min() > 0) {
        return "no such verb: " + word + suggestion(word, verbsOf(command));
    }
    return "not expected here: " + word;
}

} // namespace

CommandLine::CommandLine(Context& context) : m_app("GigE Vision cameras on frame grabber boards", kProgram) {
    m_app.formatter(std::make_shared<HelpFormatter>());
    m_app.set_help_flag("-h,--help", "Tells how it is used");
    m_app.set_version_flag("--version", std::string(kProgram) + " " + Gbe_getVersion(), "Tells its version");
    m_app.require_subcommand(1);
    context.json = false;
    addSelection(m_app, context.selection);
    for (const Family& family : families()) {
        m_app.add_subcommand(family.name, family.line)->fallthrough()->require_subcommand(1);
    }
    for (const Verb* verb : verbs()) {
        add(*verb, context);
    }
}

void CommandLine::add(const Verb& verb, Context& context) {
    const std::string name = verb.name;
    const std::size_t blank = name.find(' ');
    CLI::App* parent = blank == name.npos ? &m_app : m_app.get_subcommand(name.substr(0, blank));
    CLI::App* command = parent->add_subcommand(name.substr(blank == name.npos ? 0 : blank + 1), verb.line);
    command->fallthrough()->group(verb.group == Group::Hidden ? "" : heading(verb.group));
    m_runs.emplace(command, verb.define(*command, context));
}

ExitStatus CommandLine::runParsed(std::vector<std::string>& words) {
    try {
        m_app.parse(words);
    } catch (const CLI::ParseError& error) {
        return tell(error);
    }
    return m_runs.at(&chosen(m_app))();
}

ExitStatus CommandLine::run(std::vector<std::string> words) {
    std::reverse(words.begin(), words.end()); // as the parser wants them
    try {
        const ExitStatus status = runParsed(words);
        flushOutput();
        return status;
    } catch (const Failure& failure) {
        complain(failure.what());
        return failure.status();
    }
}

ExitStatus CommandLine::tell(const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) {
        m_app.exit(error); // help or version
        return ExitStatus::Success;
    }
    complain(textOf(m_app, error) + " (see " + fullName(chosen(m_app)) + " --help)");
    return ExitStatus::Usage;
}

CLI::App& commandOf(CLI::App& app, const Verb& verb) {
    const std::string name = verb.name;
    const std::size_t blank = name.find(' ');
    return blank == name.npos
               ? *app.get_subcommand(name)
               : *app.get_subcommand(name.substr(0, blank))->get_subcommand(name.substr(blank + 1));
}

const Verb* verbOf(const CLI::App& command) {
    const std::string name = fullName(command);
    const std::size_t blank = name.find(' ');
    return blank == name.npos ? nullptr : findVerb(name.substr(blank + 1));
}

std::string fullName(const CLI::App& command) {
    const CLI::App* parent = command.get_parent();
    return (parent != nullptr ? fullName(*parent) + " " : "") + command.get_name();
}

} // namespace gbe
