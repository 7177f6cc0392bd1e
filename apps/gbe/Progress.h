// A line on a terminal that is written over again and again. On standard error, and nowhere but on a
// terminal.
#pragma once

#include <unistd.h>

#include <cstdio>
#include <string>

namespace gbe {

class Progress {
public:
    ~Progress() { clear(); }

    bool visible() const { return m_terminal; }
    void show(const std::string& text) {
        if (m_terminal) {
            std::fprintf(stderr, "\r%s\x1b[K", text.c_str());
            std::fflush(stderr);
            m_shown = true;
        }
    }
    // Before anything else is printed.
    void clear() {
        if (m_shown) {
            std::fputs("\r\x1b[K", stderr);
            std::fflush(stderr);
            m_shown = false;
        }
    }

private:
    const bool m_terminal = isatty(STDERR_FILENO) != 0;
    bool m_shown = false;
};

} // namespace gbe
