// What ends a command: one line for standard error, and the exit status.
#pragma once

#include "ExitStatus.h"
#include "common/terminal_text.h"
#include "liomol/gige.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <string>
#include <utility>

namespace gbe {

class Failure : public std::runtime_error {
public:
    // "<what>: <text of the code> (<code>)", and behind a colon why, if that is known. Made right behind the
    // call that failed, it takes along what the library says of it.
    Failure(const std::string& what, int code, const std::string& why = Gbe_getLastErrorDetail())
        : std::runtime_error(
              what + ": " + Gbe_getErrorDescription(code) + " (" + std::to_string(code) + ")" +
              (why.empty() ? "" : ": ") + why),
          m_reason(Gbe_getErrorDescription(code)), m_status(exitStatusOf(code)) {}
    // For what no call of the library has said.
    explicit Failure(const std::string& text, ExitStatus status = ExitStatus::Other)
        : std::runtime_error(text), m_reason(text), m_status(status) {}

    // The same failure, where its place tells more than its code.
    Failure as(ExitStatus status) const {
        Failure other = *this;
        other.m_status = status;
        return other;
    }

    // Without what failed: the text of the code.
    const std::string& reason() const { return m_reason; }
    ExitStatus status() const { return m_status; }

private:
    std::string m_reason;
    ExitStatus m_status;
};

// Where in a script the program is, for all that is complained of while it lives.
class ComplaintPlace {
public:
    explicit ComplaintPlace(std::string text) {
        s_text = std::move(text);
        s_isHeard = false;
    }
    ~ComplaintPlace() { s_text.clear(); }
    ComplaintPlace(const ComplaintPlace&) = delete;
    ComplaintPlace& operator=(const ComplaintPlace&) = delete;

    // For a complaint, of which isHeard() tells from then on.
    static const std::string& take() {
        s_isHeard = true;
        return s_text;
    }
    static bool isHeard() { return s_isHeard; }

private:
    static inline std::string s_text; // of the main thread
    static inline bool s_isHeard = false;
};

// One line on standard error, behind all that was printed before.
inline void complain(const std::string& text) {
    std::fflush(stdout);
    std::fprintf(stderr, "gbe: %s%s\n", ComplaintPlace::take().c_str(), common::terminalText(text).c_str());
}

// What was printed is with its reader. Throws where that cannot be: on a full disk, say.
inline void flushOutput() {
    const int error = std::fflush(stdout) != 0 ? errno : 0;
    if (error != 0 || std::ferror(stdout) != 0) { // an earlier cause is not kept
        throw Failure(
            std::string("standard output: ") +
            (error != 0 ? std::strerror(error) : "not all could be written"));
    }
}

inline void check(const std::string& what, int code) {
    if (code < 0) {
        throw Failure(what, code);
    }
}

} // namespace gbe
