// gbe help: what the verbs do; and gbe complete, which completes a command line for a shell.
#include "gbe/help.h"
#include "gbe/CommandLine.h"
#include "gbe/Failure.h"
#include "gbe/completion.h"
#include "gbe/options.h"
#include "gbe/similar.h"
#include "gbe/verbs.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

namespace gbe {
namespace {

struct Request {
    std::vector<std::string> words;
    bool manual = false;
    std::string folder;
};

const CLI::App& commandNamed(const CLI::App& root, const std::vector<std::string>& words) {
    const CLI::App* command = &root;
    for (const std::string& word : words) {
        const auto found =
            command->get_subcommands([&](const CLI::App* each) { return each->get_name() == word; });
        if (found.empty()) {
            std::vector<std::string> names;
            for (const Verb* verb : verbs()) {
                names.emplace_back(verb->name);
            }
            throw Failure(
                "no such verb: " + word + suggestion(word, names) + " (see gbe --help)", ExitStatus::Usage);
        }
        command = found.front();
    }
    return *command;
}

void save(const std::string& folder, const CLI::App& command) {
    const std::string file = folder + "/" + manualFile(command);
    const std::string page = manualPage(command);
    std::FILE* out = std::fopen(file.c_str(), "wb");
    const bool written = out != nullptr && std::fwrite(page.data(), 1, page.size(), out) == page.size();
    if (out == nullptr || std::fclose(out) != 0 || !written) {
        throw Failure(file + ": " + std::strerror(errno));
    }
}

void saveAll(const std::string& folder, CLI::App& root) {
    save(folder, root);
    for (const Verb* verb : verbs()) {
        if (verb->group != Group::Hidden) {
            save(folder, commandOf(root, *verb));
        }
    }
}

Run defineHelp(CLI::App& command, Context&) {
    const auto request = std::make_shared<Request>();
    command.add_option("VERB", request->words, "The verb; without it, all of them");
    command.add_flag("--man", request->manual, "Its manual page, as man reads it");
    command.add_option("--man-pages", request->folder, "Saves the manual pages of everything in this folder")
        ->type_name("FOLDER");
    CLI::App* root = command.get_parent();
    return [=] {
        if (!request->folder.empty()) {
            saveAll(request->folder, *root);
            return ExitStatus::Success;
        }
        const CLI::App& wanted = commandNamed(*root, request->words);
        const std::string text =
            request->manual ? manualPage(wanted) : HelpFormatter().make_help(&wanted, "", {});
        std::fputs(text.c_str(), stdout);
        return ExitStatus::Success;
    };
}

Run defineComplete(CLI::App& command, Context& context) {
    const auto words = std::make_shared<std::vector<std::string>>();
    command.add_option("WORD", *words, "Those behind the program's name; the last one is to be completed");
    CLI::App* root = command.get_parent();
    return [=, &context] {
        for (const auto& [word, text] : completions(*root, context, *words)) {
            std::printf("%s\t%s\n", word.c_str(), text.c_str());
        }
        return ExitStatus::Success;
    };
}

constexpr Example kHelpExamples[] = {
    {"gbe help get", "the same as gbe get --help"},
    {"gbe help --man get > gbe-get.1", "its manual page; \"man ./gbe-get.1\" shows it"},
};

constexpr Example kCompleteExamples[] = {
    {"gbe complete -- get Wid", "what the last word may become, and what that is"},
};

} // namespace

extern const Verb kHelpVerb{"help", Group::Help, "Tells what a verb does", &defineHelp, kHelpExamples};

extern const Verb kCompleteVerb{
    "complete", Group::Hidden, "Completes a command line, for a shell", &defineComplete, kCompleteExamples};

} // namespace gbe
