// What gbe doctor tells: a line for each check, and below a bad one what mends it; or all of them as JSON in
// the end.
#pragma once

#include <QtCore/QJsonArray>

#include <string>

namespace gbe {

class Findings {
public:
    explicit Findings(bool json = false) : m_json(json) {}

    void good(const std::string& check, const std::string& finding) { tell("ok", check, finding, ""); }
    // Neither good nor bad, or not looked at.
    void note(const std::string& check, const std::string& finding) { tell("--", check, finding, ""); }
    void bad(const std::string& check, const std::string& finding, const std::string& mend);

    int problems() const { return m_problems; }
    // After the last of them.
    void conclude() const;

private:
    void tell(
        const std::string& grade, const std::string& check, const std::string& finding,
        const std::string& mend);

    const bool m_json;
    QJsonArray m_array;
    int m_problems = 0;
};

} // namespace gbe
