#include "Report.h"

#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstring>

namespace platform_check {
namespace {

constexpr unsigned kPatience = 30; // seconds; the longest of the calls waits for a second

const char* volatile current = "";

// In a signal's handler, where printing is not allowed.
void writeText(const char* text) {
    [[maybe_unused]] const ssize_t written = write(STDOUT_FILENO, text, std::strlen(text));
}

extern "C" void endWith(int signal) {
    writeText("FAIL  ");
    writeText(current);
    writeText(signal == SIGALRM ? ": does not return\n" : ": crashes\n");
    _exit(1);
}

void line(const char* grade, const std::string& text) {
    std::printf("%-5s %s: %s\n", grade, current, text.c_str());
    std::fflush(stdout);
}

} // namespace

void Report::calling(const char* call) {
    for (const int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGALRM}) {
        std::signal(signal, endWith);
    }
    current = call;
    alarm(kPatience);
}

void Report::expect(bool met, const std::string& requirement) {
    m_problems += met ? 0 : 1;
    line(met ? "ok" : "FAIL", requirement);
}

void Report::note(const std::string& text) {
    line("--", text);
}

} // namespace platform_check
