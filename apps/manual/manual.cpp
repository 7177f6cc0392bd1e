#include "manual/manual.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace manual {
namespace {

constexpr const char* kHelp = "Tells how it is used";

std::vector<Row> optionsOf(const CLI::App& app) {
    std::vector<Row> all;
    for (const CLI::Option* option : app.get_options()) {
        const bool isHidden = option->get_group().empty();
        const std::string standard = option->get_default_str();
        if (!isHidden) {
            all.push_back(
                {option->nonpositional() ? optionName(*option) : option->get_name(true),
                 option->get_description() + (standard.empty() ? "" : " (default: " + standard + ")")});
        }
    }
    return all;
}

std::string commands(const CLI::App& app) {
    std::string text;
    for (const CLI::App* command : app.get_subcommands(nullptr)) {
        text += ".SS " + plain(command->get_name()) + "\n" + plain(command->get_description()) + "\n" +
                rows(optionsOf(*command));
    }
    return text.empty() ? "" : heading("COMMANDS") + text;
}

// What stands at the end of the help, line by line as it is there.
std::string footer(const CLI::App& app) {
    const std::string text = app.get_footer();
    const std::size_t end = text.find(":\n");
    if (end == text.npos) {
        return "";
    }
    std::string name = text.substr(0, end);
    std::transform(name.begin(), name.end(), name.begin(), [](unsigned char c) { return std::toupper(c); });
    return heading(name) + ".nf\n" + plain(text.substr(end + 2)) + ".fi\n";
}

std::string pageOf(const CLI::App& app, const Page& page) {
    std::string description = app.get_description();
    return title(page.name, page.section) + heading("NAME") + page.name + " \\- " + plain(description) +
           "\n" + heading("SYNOPSIS") + ".B " + plain(page.name) + "\n" + plain(page.synopsis) + "\n" +
           heading("DESCRIPTION") + paragraphs(page.text) + section("OPTIONS", optionsOf(app)) +
           commands(app) + footer(app) + section("FILES", page.files) +
           section("EXIT STATUS", page.exitStatus) + heading("SEE ALSO") + ".BR " + page.seeAlso + "\n";
}

void save(const std::string& file, const std::string& text) {
    std::FILE* const out = std::fopen(file.c_str(), "wb");
    const bool isWritten = out != nullptr && std::fwrite(text.data(), 1, text.size(), out) == text.size();
    if (out == nullptr || std::fclose(out) != 0 || !isWritten) {
        throw CLI::ValidationError(file, std::strerror(errno));
    }
}

} // namespace

std::string plain(const std::string& text) {
    std::string out;
    bool atStart = true;
    for (const char c : text) {
        out += atStart && (c == '.' || c == '\'') ? "\\&" : "";
        out += c == '\\' ? "\\e" : c == '-' ? "\\-" : std::string(1, c);
        atStart = c == '\n';
    }
    return out;
}

std::string heading(const std::string& title) {
    return ".SH \"" + title + "\"\n";
}

std::string rows(std::span<const Row> rows) {
    std::string out;
    for (const auto& [name, text] : rows) {
        out += ".TP\n.B " + plain(name) + "\n" + plain(text) + "\n";
    }
    return out;
}

std::string section(const std::string& title, std::span<const Row> all) {
    return all.empty() ? "" : heading(title) + rows(all);
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

std::string title(const std::string& name, int section) {
    std::string upper = name;
    std::transform(
        upper.begin(), upper.end(), upper.begin(), [](unsigned char c) { return std::toupper(c); });
    return ".TH " + upper + " " + std::to_string(section) + " \"\" \"liomol " LIOMOL_VERSION "\"\n";
}

std::string optionName(const CLI::Option& option) {
    std::string name;
    for (const std::string& each : option.get_snames()) {
        name += (name.empty() ? "-" : ", -") + each;
    }
    for (const std::string& each : option.get_lnames()) {
        name += (name.empty() ? "--" : ", --") + each;
    }
    const std::string value = option.get_type_size() > 0 ? option.get_type_name() : "";
    return value.empty() ? name : name + " " + value.substr(0, value.find(':')); // behind it: validators
}

void addTo(CLI::App& app, Page page) {
    app.add_option_function<std::string>(
           "--man",
           [&app, page](const std::string& file) {
               save(file, pageOf(app, page));
               throw CLI::Success();
           })
        ->group("");
}

std::optional<int> parse(CLI::App& app, const char* program, int argc, char** argv) {
    app.name(program);
    app.get_version_ptr()->description("Tells its version");
    app.get_help_ptr()->description(kHelp);
    for (CLI::App* command : app.get_subcommands(nullptr)) {
        command->get_help_ptr()->description(kHelp);
    }
    app.failure_message([program](const CLI::App*, const CLI::Error& error) {
        return std::string(program) + ": " + error.what() + " (see --help)\n";
    });
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& end) {
        return app.exit(end) == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
    }
    return std::nullopt;
}

} // namespace manual
