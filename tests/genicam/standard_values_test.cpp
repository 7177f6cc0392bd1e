// What values, formulas and registers do by default, and what they do as the GenICam standard has it.
#include "genicam/device_fixture.h"

namespace test_support {
namespace {

std::string integer(const std::string& name, const std::string& more) {
    return "<Integer Name='" + name + "'>" + more + "</Integer>";
}

std::string real(const std::string& name, const std::string& more) {
    return "<Float Name='" + name + "'>" + more + "</Float>";
}

// A node that computes: `more` is its formulas, variables and what else it has.
std::string
knife(const std::string& name, const std::string& more, const std::string& kind = "IntSwissKnife") {
    return "<" + kind + " Name='" + name + "'>" + more + "</" + kind + ">";
}

std::string variable(const std::string& name, const std::string& node) {
    return "<pVariable Name='" + name + "'>" + node + "</pVariable>";
}

// Formulas that give the limits of a node; a SwissKnife's text has six digits at most.
std::string limitsOf(const std::string& node, const std::string& formula = "X.Min + 0") {
    return knife("Limit", variable("X", node) + "<Formula>" + formula + "</Formula>", "SwissKnife");
}

TEST(StandardValues, LimitsAndIncrements) {
    const std::string below = integer("B", "<Min>1</Min><Max>9</Max><Inc>2</Inc>");
    const std::string over = "<pValue>B</pValue>";
    const std::string loop = "<pValue>L</pValue>";
    runScriptsBothWays({
        {"floats without a minimum", real("F", "") + reg("R", 0, 4, "", "FloatReg") + limitsOf("R"),
         "F=-1 -> -40006 | 0; F=0 -> -40006 | 0; F=1; Limit -> -40009 | -3.40282e+38"},
        {"increments",
         integer("I", "<Min>1</Min><Max>9</Max><Inc>2</Inc>") +
             integer("N", "<Min>-9223372036854775808</Min><Inc>-5</Inc>"),
         "I=3 -> -40006 | 0; I=4 -> 0 | -40006; I=0 -> -40006; I=11 -> -40006; N=5 -> 0 | -40006; "
         "N=-9223372036854775803 -> -40006 | 0; N=9223372036854775802 -> -40006 | 0"},
        {"an integer over another", below + integer("I", over) + integer("J", over + "<Max>5</Max>"),
         "I=11 -> -40006; I=2 -> 0 | -40006; I=3 -> -40006 | 0; J=7 -> -40006"},
    });
}

} // namespace
} // namespace test_support
