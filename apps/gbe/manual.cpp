// Manual pages, from what --help is made of.
#include "CommandLine.h"
#include "help.h"
#include "verbs.h"

#include <algorithm>

namespace gbe {
namespace {

using manual::paragraphs;
using manual::plain;
using manual::section;

std::string dashed(const CLI::App& command) {
    std::string name = fullName(command);
    std::replace(name.begin(), name.end(), ' ', '-');
    return name;
}

std::string verbsByGroup() {
    std::string out = manual::heading("VERBS");
    for (int group = 0; group < static_cast<int>(Group::Hidden); ++group) {
        out += ".SS " + plain(heading(static_cast<Group>(group))) + "\n";
        for (const Verb* verb : verbs()) {
            if (verb->group == static_cast<Group>(group)) {
                out += manual::rows(std::vector<HelpRow>{{verb->name, verb->line}});
            }
        }
    }
    return out;
}

std::string exitStatuses() {
    std::vector<HelpRow> rows;
    for (const auto& [status, meaning] : exitMeanings()) {
        rows.push_back({std::to_string(static_cast<int>(status)), meaning});
    }
    return section("EXIT STATUS", rows);
}

std::string examplesOf(const Verb& verb) {
    std::string out = manual::heading("EXAMPLES");
    for (const Example& example : verb.examples) {
        out += ".PP\n.nf\n" + plain(example.command) + "\n.fi\n.RS 4\n" + plain(example.text) + "\n.RE\n";
    }
    return out;
}

} // namespace

std::string manualFile(const CLI::App& command) {
    return dashed(command) + ".1";
}

std::string manualPage(const CLI::App& command) {
    const CLI::App* root = &command;
    while (root->get_parent() != nullptr) {
        root = root->get_parent();
    }
    const Verb* verb = verbOf(command);
    std::string out = manual::title(dashed(command), 1);
    out += manual::heading("NAME") + dashed(command) + " \\- " + plain(command.get_description()) + "\n";
    out += manual::heading("SYNOPSIS") + ".B " + plain(usageOf(command)) + "\n";
    if (verb != nullptr) {
        out += (*verb->text != '\0' ? manual::heading("DESCRIPTION") : "") + paragraphs(verb->text);
        out += section("ARGUMENTS", argumentsOf(command));
    } else {
        out += verbsByGroup();
    }
    out += section("OPTIONS", optionsOf(command));
    out += section("WHICH CAMERA", optionsOf(*root, kSelectionGroup));
    out +=
        (verb != nullptr ? examplesOf(*verb) : "") + section("ENVIRONMENT", environment()) + exitStatuses();
    return out + manual::heading("SEE ALSO") +
           (verb != nullptr ? ".BR gbe (1)\n" : "\"gbe help VERB\" and gbe\\-VERB(1)\n");
}

} // namespace gbe
