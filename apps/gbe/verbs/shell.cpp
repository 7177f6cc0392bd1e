// gbe shell: verbs one after the other over one connection.
#include "gbe/CommandLine.h"
#include "gbe/Failure.h"
#include "gbe/LineEditor.h"
#include "gbe/Memory.h"
#include "gbe/completion.h"
#include "gbe/options.h"
#include "gbe/verbs.h"
#include "gbe/words.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <optional>

namespace gbe {
namespace {

constexpr std::size_t kMaxLine = std::size_t{64} << 10;

// These open the board for themselves, and cameras that are in use hide from them.
bool opensBoardItself(const std::vector<std::string>& words) {
    for (const Verb* verb : verbs()) {
        const std::string name = verb->name;
        const bool isIt = std::ranges::count(words, name.substr(0, name.find(' '))) != 0;
        if (isIt && (verb->group == Group::Cameras || verb->group == Group::Addresses ||
                     verb->group == Group::Trouble)) {
            return true;
        }
    }
    return false;
}

class Shell {
public:
    explicit Shell(Context& context) : m_context(context), m_usual(context.selection) {}

    // Nothing for a line that ends the shell.
    std::optional<ExitStatus> run(const std::string& line) {
        try {
            if (line.size() > kMaxLine) {
                throw Failure("is longer than " + std::to_string(kMaxLine) + " bytes", ExitStatus::Usage);
            }
            std::vector<std::string> words = splitWords(line);
            if (!words.empty() && words.front() == "gbe") { // as it stands in the help
                words.erase(words.begin());
            }
            if (words.empty()) {
                return ExitStatus::Success;
            }
            return isEnd(words) ? std::nullopt : std::optional(runWords(words));
        } catch (const Failure& failure) {
            complain(failure.what());
            return failure.status();
        }
    }

    std::vector<std::string> complete(const std::vector<std::string>& words) {
        Context context;
        context.selection = m_usual;
        CommandLine line(context);
        std::vector<std::string> names;
        for (const HelpRow& row : completions(line.app(), context, words)) {
            names.push_back(row.name);
        }
        return names;
    }

private:
    static bool isEnd(const std::vector<std::string>& words) {
        const bool isIt = words.front() == "exit" || words.front() == "quit";
        if (isIt && words.size() > 1) {
            throw Failure("not expected here: " + words[1], ExitStatus::Usage);
        }
        return isIt;
    }

    ExitStatus runWords(const std::vector<std::string>& words) {
        if (words.front() == "shell") {
            throw Failure("this is one already", ExitStatus::Usage);
        }
        const bool givesUp = opensBoardItself(words) && m_context.disconnect();
        const ExitStatus status = CommandLine(m_context).run(words);
        m_context.selection = m_usual; // what a line says of cameras is for that line
        if (givesUp) {
            takeBack();
        }
        if (status == ExitStatus::Lost) {
            m_context.disconnect(); // the next line takes the camera again
        }
        return status;
    }

    // Somebody else may have taken the camera meanwhile, or such a verb has changed its address.
    void takeBack() {
        try {
            m_context.session(Purpose::Work);
        } catch (const Failure& failure) {
            complain("the camera was given up for that and is not back: " + std::string(failure.what()));
        }
    }

    Context& m_context;
    const Selection m_usual;
};

ExitStatus runAtTerminal(Shell& shell) {
    LineEditor editor([&](const std::vector<std::string>& words) { return shell.complete(words); });
    while (const std::optional<std::string> line = editor.read("gbe> ")) {
        if (!shell.run(*line)) {
            break;
        }
    }
    return ExitStatus::Success;
}

// A line of standard input, kMaxLine bytes of it and one more at most; nothing at the end.
std::optional<std::string> nextLine() {
    std::string line;
    int c = std::getchar();
    if (c == EOF) {
        return std::nullopt;
    }
    for (; c != EOF && c != '\n'; c = std::getchar()) {
        line.append(line.size() <= kMaxLine ? 1 : 0, static_cast<char>(c));
    }
    return line;
}

// Up to the first line that fails. The result is the status of that one.
ExitStatus runScript(Shell& shell, bool keepsGoing) {
    ExitStatus first = ExitStatus::Success;
    for (unsigned number = 1; first == ExitStatus::Success || keepsGoing; ++number) {
        const ComplaintPlace place("line " + std::to_string(number) + ": ");
        const std::optional<std::string> line = nextLine();
        const std::optional<ExitStatus> status = line ? shell.run(*line) : std::nullopt;
        if (!status) {
            break;
        }
        if (*status != ExitStatus::Success && !keepsGoing && !ComplaintPlace::isHeard()) { // differences, say
            complain("ends the script, with status " + std::to_string(static_cast<int>(*status)));
        }
        first = first == ExitStatus::Success ? *status : first;
    }
    return first;
}

// Beside somebody who works with the camera, a shell can still look at it; and a camera whose description is
// of no use has registers.
void begin(Context& context) {
    try {
        context.session(Purpose::Work);
    } catch (const Failure& failure) {
        if (isOfDescription(failure)) {
            complain(std::string(failure.what()) + "; registers and memory can be read and written");
            return;
        }
        if (failure.status() != ExitStatus::CameraBusy) {
            throw;
        }
        context.session(Purpose::Look);
        complain(std::string(failure.what()) + "; it can only be looked at");
    }
}

Run define(CLI::App& command, Context& context) {
    const auto keepsGoing = std::make_shared<bool>(false);
    command.add_flag("-k,--keep-going", *keepsGoing, "Goes on behind a line of a script that fails");
    addKeepControl(command, context);
    return [=, &context] {
        Shell shell(context);
        begin(context);
        return isatty(STDIN_FILENO) != 0 ? runAtTerminal(shell) : runScript(shell, *keepsGoing);
    };
}

constexpr Example kExamples[] = {
    {"gbe shell <<< 'get Width'", "a script of one line"},
    {"gbe shell <<< $'set Width=640\\nget Width'", "two lines, one connection"},
};

} // namespace

extern const Verb kShellVerb{
    "shell",
    Group::Features,
    "Runs verbs one after the other over one connection",
    &define,
    kExamples,
    "At a terminal with a prompt, completion of verbs and features (Tab) and a history; otherwise the lines "
    "of standard input as a script. A line is what would stand behind \"gbe\"; what it says of cameras holds "
    "for that line. \"#\" begins a comment, and \"exit\" ends it. A script ends at the first line that "
    "fails, with its number on standard error and its status."};

} // namespace gbe
