#include "Findings.h"

#include "Json.h"
#include "Terminal.h"
#include "common/terminal_text.h"

#include <cstdio>

namespace gbe {
namespace {

constexpr const char* kBad = "FAIL";

void printLine(const std::string& grade, const std::string& check, const std::string& finding) {
    const Colour colour = grade == kBad ? Colour::Red : grade == "ok" ? Colour::Green : Colour::Bold;
    const std::string blanks(grade.size() < 5 ? 5 - grade.size() : 0, ' ');
    const std::string shown = grade.empty() ? "" : coloured(grade, colour, stdout);
    std::printf(
        "%s%s %-9s %s\n", shown.c_str(), blanks.c_str(), check.c_str(),
        common::terminalText(finding).c_str());
    std::fflush(stdout); // some checks take seconds
}

} // namespace

void Findings::bad(const std::string& check, const std::string& finding, const std::string& mend) {
    ++m_problems;
    tell(kBad, check, finding, mend);
}

void Findings::tell(
    const std::string& grade, const std::string& check, const std::string& finding, const std::string& mend) {
    if (m_json) {
        QJsonObject object{
            {"grade", grade == kBad   ? "bad"
                      : grade == "ok" ? "good"
                                      : "note"},
            {"check", QString::fromStdString(check)},
            {"finding", QString::fromStdString(finding)}};
        if (!mend.empty()) {
            object.insert("mend", QString::fromStdString(mend));
        }
        m_array.append(object);
        return;
    }
    printLine(grade, check, finding);
    if (!mend.empty()) {
        printLine("", "  mend", mend);
    }
}

void Findings::conclude() const {
    if (m_json) {
        print(QJsonDocument(QJsonObject{{"problems", m_problems}, {"findings", m_array}}));
        return;
    }
    std::printf(
        "%s\n", m_problems == 0   ? "All is well."
                : m_problems == 1 ? "1 problem."
                                  : (std::to_string(m_problems) + " problems.").c_str());
}

} // namespace gbe
