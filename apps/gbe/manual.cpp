// Manual pages, from what --help is made of.
#include "CommandLine.h"
#include "help.h"
#include "verbs.h"

#include <algorithm>

namespace gbe {
namespace {

// A text that says nothing to roff but itself.
std::string plain(const std::string& text) {
    std::string out;
    for (const char c : text) {
        out += c == '\\' ? "\\e" : c == '-' ? "\\-" : std::string(1, c);
    }
    return out.starts_with('.') || out.starts_with('\'') ? "\\&" + out : out;
}

std::string heading(const std::string& title) {
    return ".SH \"" + title + "\"\n";
}

std::string rowsOf(std::span<const HelpRow> rows) {
    std::string out;
    for (const auto& [name, text] : rows) {
        out += ".TP\n.B " + plain(name) + "\n" + plain(text) + "\n";
    }
    return out;
}

std::string section(const std::string& title, std::span<const HelpRow> rows) {
    return rows.empty() ? "" : heading(title) + rowsOf(rows);
}

std::string upper(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::toupper(c); });
    return text;
}

std::string paragraphs(const std::string& text) {
    std::string out;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find("\n\n", at), text.size());
        out += ".PP\n" + plain(text.substr(at, end - at)) + "\n";
        at = end + 2;
    }
    return out;
}

std::string dashed(const CLI::App& command) {
    std::string name = fullName(command);
    std::replace(name.begin(), name.end(), ' ', '-');
    return name;
}

std::string verbsByGroup() {
    std::string out = heading("VERBS");
    for (int group = 0; group < static_cast<int>(Group::Hidden); ++group) {
        out += ".SS " + plain(gbe::heading(static_cast<Group>(group))) + "\n";
        for (const Verb* verb : verbs()) {
            if (verb->group == static_cast<Group>(group)) {
                out += rowsOf(std::vector<HelpRow>{{verb->name, verb->line}});
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
    std::string out = heading("EXAMPLES");
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
    std::string out = ".TH " + upper(dashed(command)) + " 1 \"\" \"liomol " + Gbe_getVersion() + "\"\n";
    out += heading("NAME") + dashed(command) + " \\- " + plain(command.get_description()) + "\n";
    out += heading("SYNOPSIS") + ".B " + plain(usageOf(command)) + "\n";
    if (verb != nullptr) {
        out += (*verb->text != '\0' ? heading("DESCRIPTION") : "") + paragraphs(verb->text);
        out += section("ARGUMENTS", argumentsOf(command));
    } else {
        out += verbsByGroup();
    }
    out += section("OPTIONS", optionsOf(command));
    out += section("WHICH CAMERA", optionsOf(*root, kSelectionGroup));
    out +=
        (verb != nullptr ? examplesOf(*verb) : "") + section("ENVIRONMENT", environment()) + exitStatuses();
    return out + heading("SEE ALSO") +
           (verb != nullptr ? ".BR gbe (1)\n" : "\"gbe help VERB\" and gbe\\-VERB(1)\n");
}

} // namespace gbe
