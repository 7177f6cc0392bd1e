// Manual pages, from what --help is made of.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace manual {

// A name, and what it is.
struct Row {
    std::string name;
    std::string text;
};

// Parts of a page in the language of man. A text says nothing there but itself.
std::string plain(const std::string& text);
std::string heading(const std::string& title);
std::string rows(std::span<const Row> rows);
std::string section(const std::string& title, std::span<const Row> rows); // nothing without rows
std::string paragraphs(const std::string& text);                          // with empty lines between them
// The first line: upper-case name, section of the manual.
std::string title(const std::string& name, int section);

// "-n, --count N"
std::string optionName(const CLI::Option& option);

// A page of a program of options and subcommands: what they do not say themselves.
struct Page {
    const char* name;
    int section;
    const char* synopsis; // behind the name
    const char* text;     // in paragraphs
    std::vector<Row> files;
    std::vector<Row> exitStatus;
    const char* seeAlso; // "gbe (1)"
};

// Adds "--man FILE", which no help lists: it saves the page and ends the program. `app` and what the page
// names must outlive the parsing.
void addTo(CLI::App& app, Page page);

// Reads the command line of a program of such a page. Nothing where the program is to go on; otherwise the
// status that it ends with: 0 behind help and version, 1 behind a mistake, which is told in one line.
std::optional<int> parse(CLI::App& app, const char* program, int argc, char** argv);

} // namespace manual
