#include "print.h"

#include "common/terminal_text.h"

#include <climits>
#include <cstdio>
#include <poll.h>
#include <unistd.h>

namespace gbe_simcam {

namespace {

constexpr std::size_t kLongestReport = PIPE_BUF - 1;

void put(std::FILE* file, const std::string& line) {
    std::fputs(
        (common::terminalText(line) + "\n").c_str(),
        file); // one call, which the C library makes in one piece
    std::fflush(file);
}

} // namespace

void print(const std::string& line) {
    put(stdout, line);
}

void complain(const std::string& line) {
    put(stderr, "gbe-simcam: " + line);
}

void report(const std::string& line) {
    pollfd output{STDOUT_FILENO, POLLOUT, 0};
    // A pipe that can be written to has room for a whole line.
    if (poll(&output, 1, 0) == 1 && (output.revents & POLLOUT) != 0) {
        print(line.substr(0, kLongestReport));
    }
}

} // namespace gbe_simcam
