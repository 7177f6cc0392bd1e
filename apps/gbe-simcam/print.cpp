#include "print.h"

#include <cstdio>

namespace gbe_simcam {

namespace {

void put(std::FILE* file, const std::string& line) {
    std::fputs((line + "\n").c_str(), file); // one call, which the C library makes in one piece
    std::fflush(file);
}

} // namespace

void print(const std::string& line) {
    put(stdout, line);
}

void complain(const std::string& line) {
    put(stderr, "gbe-simcam: " + line);
}

} // namespace gbe_simcam
