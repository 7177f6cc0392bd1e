// What gbe doctor prints: a line for each check, and below a bad one what mends it.
#pragma once

#include <string>

namespace gbe {

class Findings {
public:
    void good(const std::string& check, const std::string& finding) { line("ok", check, finding); }
    // Neither good nor bad, or not looked at.
    void note(const std::string& check, const std::string& finding) { line("--", check, finding); }
    void bad(const std::string& check, const std::string& finding, const std::string& mend);

    int problems() const { return m_problems; }

private:
    static void line(const char* grade, const std::string& check, const std::string& finding);

    int m_problems = 0;
};

} // namespace gbe
