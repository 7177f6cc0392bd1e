#include "help.h"

#include "CommandLine.h"
#include "Terminal.h"
#include "verbs.h"

#include <algorithm>
#include <sstream>

namespace gbe {
namespace {

constexpr std::size_t kWidth = 80;
constexpr std::size_t kColumn = 20; // where texts begin beside names

const std::vector<HelpRow>& environmentRows() {
    static const std::vector<HelpRow> kRows{
        {kSelectionVariable,
         "The camera that is meant where the command line says nothing of one: board:N, port:N, mac:MAC, ip:IP "
         "and name:NAME with commas between them, name: last (port:1; board:1,name:left)"},
        {"NO_COLOR", "Without colours, also on a terminal"},
        {"XDG_CACHE_HOME",
         "Folder of what completion knows of cameras, in liomol/ below it (default: ~/.cache)"},
        {"TAVODIR5", "Folder of the descriptions that cameras name as files of the host"},
        {"LIOMOL_SOFTBOARD", "Configuration file of the board in software"},
    };
    return kRows;
}

// Words in lines of the width, each with an indent but the first, which is begun already.
std::string wrapped(const std::string& text, std::size_t indent) {
    std::string out;
    std::size_t column = indent;
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        if (column > indent && column + 1 + word.size() > kWidth) {
            out += "\n" + std::string(indent, ' ');
            column = indent;
        }
        out += column > indent ? " " + word : word;
        column += word.size() + (column > indent ? 1 : 0);
    }
    return out;
}

std::string paragraphs(const std::string& text) {
    std::string out;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find("\n\n", at), text.size());
        out += "\n" + wrapped(text.substr(at, end - at), 0) + "\n";
        at = end + 2;
    }
    return out;
}

std::string part(const std::string& title, std::span<const HelpRow> rows) {
    if (rows.empty()) {
        return "";
    }
    std::string out = "\n" + heading(title) + "\n";
    for (const auto& [name, text] : rows) {
        out += "  " + name;
        out += name.size() + 4 > kColumn ? "\n" + std::string(kColumn, ' ')
                                         : std::string(kColumn - 2 - name.size(), ' ');
        out += wrapped(text, kColumn) + "\n";
    }
    return out;
}

std::string argumentName(const CLI::Option& option) {
    const std::string name = option.get_name(true) + (option.get_expected_max() > 1 ? "..." : "");
    return option.get_required() ? name : "[" + name + "]";
}

std::vector<HelpRow> verbsOf(Group group) {
    std::vector<HelpRow> rows;
    for (const Verb* verb : verbs()) {
        if (verb->group == group) {
            rows.push_back({verb->name, verb->line});
        }
    }
    return rows;
}

std::vector<HelpRow> exitRows() {
    std::vector<HelpRow> rows;
    for (const auto& [status, meaning] : exitMeanings()) {
        rows.push_back({std::to_string(static_cast<int>(status)), meaning});
    }
    return rows;
}

std::string helpOfProgram(const CLI::App& app) {
    std::string out = app.get_description() + "\n\nUsage: " + usageOf(app) + "\n";
    for (int group = 0; group < static_cast<int>(Group::Hidden); ++group) {
        out += part(heading(static_cast<Group>(group)), verbsOf(static_cast<Group>(group)));
    }
    out += part(kSelectionGroup, optionsOf(app, kSelectionGroup));
    out += part("Options", optionsOf(app)) + part("Environment", environment());
    out += part("Exit status", exitRows());
    return out + "\n\"gbe help VERB\" tells more about a verb, with examples.\n";
}

std::string helpOfFamily(const CLI::App& app) {
    std::string out = app.get_description() + "\n\nUsage: " + usageOf(app) + "\n";
    std::vector<HelpRow> rows;
    for (const Verb* verb : verbs()) {
        if (std::string(verb->name).starts_with(app.get_name() + " ")) {
            rows.push_back({verb->name, verb->line});
        }
    }
    return out + part("Verbs", rows) + part("Options", optionsOf(app));
}

std::string helpOfVerb(const CLI::App& app, const Verb& verb) {
    std::string out = std::string(verb.line) + "\n\nUsage: " + usageOf(app) + "\n" + paragraphs(verb.text);
    out += part("Arguments", argumentsOf(app)) + part("Options", optionsOf(app));
    out += "\n" + heading("Examples") + "\n";
    for (const Example& example : verb.examples) {
        out += std::string("  ") + example.command + "\n      " + wrapped(example.text, 6) + "\n";
    }
    return out + "\n\"gbe --help\" lists the options and the variable that say which camera is meant.\n";
}

} // namespace

std::string usageOf(const CLI::App& command) {
    if (command.get_require_subcommand_min() > 0) {
        return fullName(command) + (command.get_parent() == nullptr ? " [CAMERA]" : "") + " VERB [OPTIONS]";
    }
    std::string usage = fullName(command) + " [OPTIONS]";
    for (const HelpRow& row : argumentsOf(command)) {
        usage += " " + row.name;
    }
    return usage;
}

std::vector<HelpRow> argumentsOf(const CLI::App& command) {
    std::vector<HelpRow> rows;
    for (const CLI::Option* option : command.get_options()) {
        if (option->get_positional()) {
            rows.push_back({argumentName(*option), option->get_description()});
        }
    }
    return rows;
}

std::vector<HelpRow> optionsOf(const CLI::App& command, const std::string& group) {
    std::vector<HelpRow> rows;
    for (const CLI::Option* option : command.get_options()) {
        if (option->nonpositional() && option->get_group() == group) {
            rows.push_back({manual::optionName(*option), option->get_description()});
        }
    }
    return rows;
}

std::span<const HelpRow> environment() {
    return environmentRows();
}

std::string HelpFormatter::make_help(const CLI::App* app, std::string, CLI::AppFormatMode) const {
    const Verb* verb = verbOf(*app);
    return verb != nullptr                ? helpOfVerb(*app, *verb)
           : app->get_parent() == nullptr ? helpOfProgram(*app)
                                          : helpOfFamily(*app);
}

} // namespace gbe
