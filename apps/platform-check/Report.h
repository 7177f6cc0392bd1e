// What platform-check prints: a line for each thing that a call must do.
#pragma once

#include <string>

namespace platform_check {

class Report {
public:
    // From now on it is this call that is looked at: one that crashes, or does not return within half a
    // minute, is named, and the program ends with status 1.
    void calling(const char* call);

    // A requirement of the call, and whether it is met.
    void expect(bool met, const std::string& requirement);
    // What was not looked at, or is neither good nor bad.
    void note(const std::string& text);

    int problems() const { return m_problems; }

private:
    int m_problems = 0;
};

} // namespace platform_check
