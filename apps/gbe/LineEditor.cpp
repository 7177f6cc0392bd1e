#include "gbe/LineEditor.h"

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <utility>

#ifdef LIOMOL_HAVE_LIBEDIT
#include "gbe/words.h"

#include <editline/readline.h>

#include <csignal>
#include <cstdio>
#include <exception>

namespace gbe {
namespace {

constexpr int kHistory = 1000; // lines

// The library takes functions without a place for what belongs to them.
LineEditor::Complete g_complete;
std::vector<std::string> g_found;
volatile std::sig_atomic_t g_interrupted = 0;

void interrupt(int) {
    g_interrupted = 1;
}

char* nextFound(const char*, int state) {
    static std::size_t next = 0;
    next = state == 0 ? 0 : next;
    return next < g_found.size() ? strdup(g_found[next++].c_str()) : nullptr;
}

// The word from `start` to the cursor at `end`.
char** complete(const char* text, int start, int) {
    try {
        std::vector<std::string> words =
            splitWords(std::string(rl_line_buffer, static_cast<std::size_t>(start)));
        words.emplace_back(text);
        g_found = g_complete(words);
    } catch (const std::exception&) { // a quotation mark that is not closed; C is in between
        g_found.clear();
    }
    rl_attempted_completion_over = 1; // never names of files
    // What takes a value behind it is not complete yet.
    const bool isOpen = g_found.size() == 1 && g_found.front().ends_with('=');
    rl_completion_append_character = isOpen ? '\0' : ' ';
    return g_found.empty() ? nullptr : rl_completion_matches(text, &nextFound);
}

// Empty where there is no place for it.
std::string historyFile() {
    const char* const state = std::getenv("XDG_STATE_HOME");
    const char* const home = std::getenv("HOME");
    std::filesystem::path folder = state != nullptr && *state == '/' ? state : "";
    if (folder.empty() && home != nullptr && *home == '/') {
        folder = std::filesystem::path(home) / ".local" / "state";
    }
    std::error_code error;
    std::filesystem::create_directories(folder / "liomol", error);
    return folder.empty() || error ? "" : (folder / "liomol" / "gbe_history").string();
}

} // namespace

LineEditor::LineEditor(Complete complete) {
    static char name[] = "gbe";
    static char breaks[] = " \t";
    rl_readline_name = name;
    rl_initialize();
    rl_basic_word_break_characters = breaks;
    rl_completer_word_break_characters = breaks;
    g_complete = std::move(complete);
    rl_attempted_completion_function = &gbe::complete;
    using_history();
    stifle_history(kHistory);
    if (const std::string file = historyFile(); !file.empty()) {
        read_history(file.c_str());
    }
}

LineEditor::~LineEditor() {
    if (const std::string file = historyFile(); !file.empty()) {
        write_history(file.c_str());
    }
    g_complete = nullptr;
}

std::optional<std::string> LineEditor::read(const char* prompt) {
    struct sigaction action {};
    struct sigaction before {};
    action.sa_handler = &interrupt;
    g_interrupted = 0;
    sigaction(SIGINT, &action, &before);
    const std::unique_ptr<char, decltype(&std::free)> line(readline(prompt), &std::free);
    sigaction(SIGINT, &before, nullptr);
    if (line == nullptr) {
        std::printf("\n"); // the prompt stands there still
        return g_interrupted != 0 ? std::optional<std::string>("") : std::nullopt;
    }
    if (*line != '\0') {
        add_history(line.get());
    }
    return line.get();
}

} // namespace gbe

#else

#include <cstdio>
#include <iostream>

namespace gbe {

LineEditor::LineEditor(Complete) {}
LineEditor::~LineEditor() = default;

std::optional<std::string> LineEditor::read(const char* prompt) {
    std::printf("%s", prompt);
    std::fflush(stdout);
    std::string line;
    return std::getline(std::cin, line) ? std::optional(line) : std::nullopt;
}

} // namespace gbe

#endif
