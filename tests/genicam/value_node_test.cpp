// Integers, floats, Booleans, commands, enumerations and formulas on top of registers and constants.
#include "genicam/device_fixture.h"
#include "genicam/nodes/formula_nodes.h"

namespace test_support {
namespace {

TEST(Values, DoAsTheirScripts) {
    const std::string whole = reg("W", 0, 4, "<Sign>Signed</Sign>");
    const std::string real = reg("R", 8, 8, "", "FloatReg");
    runScripts({
        {"float limits", "<Float Name='Default'/><Float Name='F'><Min>-1</Min><Max>2.5</Max></Float>",
         "Default=0 -> illegal value; Default=1; F=nan -> illegal value; F=2.5; F=2.6 -> illegal value; "
         "F=-1.1 -> illegal value; "
         "F -> 2.5"},
        {"float over integer", whole + "<Float Name='F'><Min>-1e300</Min><pValue>W</pValue></Float>",
         "F=-2.75; W -> -2; F -> -2; F=1e30 -> illegal value"},
        {"integer over float", real + "<Integer Name='I'><pValue>R</pValue></Integer>",
         "I=41; R -> 41; R=-7.9; I -> -7; R=1e30; I -> 9223372036854775807; R=-1e30; "
         "I -> -9223372036854775808; R=nan; I -> 0"},
        {"Boolean",
         reg("N", 0, 1) +
             "<Boolean Name='B'><OnValue>5</OnValue><OffValue>3</OffValue><pValue>N</pValue></Boolean>"
             "<Boolean Name='Alone'/>",
         "B=true; @0+1 -> 05; B -> true; B=false; @0+1 -> 03; B -> false; N=4; B -> illegal value; "
         "Alone=true; "
         "Alone -> true"},
        {"a command is done once the camera has cleared it",
         reg("N", 0, 1, caching("NoCache", 0)) +
             "<Integer Name='Six'><Value>6</Value></Integer><Command Name='C'><pValue>N</pValue>"
             "<pCommandValue>Six</pCommandValue></Command>",
         "C=; @0+1 -> 06; C -> active; @0=00; C -> inactive"},
        {"a command without a node keeps its value",
         "<Command Name='C'><CommandValue>3</CommandValue></Command>", "C -> inactive; C=; C -> active"},
        {"a command is asked at most once in its polling time, but again after its execution",
         reg("N", 0, 1, caching("NoCache", 0)) +
             "<Command Name='C'><pValue>N</pValue><CommandValue>1</CommandValue>"
             "<PollingTime>3600000</PollingTime></Command>",
         "#C -> 1r 0w; #C -> 0r 0w; C=; #C -> 1r 0w; C -> active"},
        {"enumeration", // a later entry takes over an earlier one's value
         reg("N", 0, 1) +
             "<Enumeration Name='E'><EnumEntry Name='Off'><Value>0</Value></EnumEntry>"
             "<EnumEntry Name='On'><Value>2</Value></EnumEntry>"
             "<EnumEntry Name='AlsoOn'><Value>2</Value></EnumEntry><pValue>N</pValue></Enumeration>",
         "E=On; @0+1 -> 02; E -> AlsoOn; E=Off; E -> Off; E=off -> illegal value; @0+1 -> 00; N=9; E -> "
         "illegal value"},
        {"as text",
         "<Integer Name='Hex'><Value>-255</Value><Representation>HexNumber</Representation></Integer>"
         "<Float Name='F'><Min>-1</Min></Float>",
         "Hex -> -255; F=1234567; F -> 1.23457e+06; F=100000; F -> 100000; F=1e-5; F -> 1e-05; F=-0; "
         "F -> -0"},
    });
}

// A SwissKnife with its formula and variables, which are pairs "NAME node".
std::string
knife(const std::string& name, const std::string& formula, const std::vector<std::string>& variables) {
    std::string text = "<IntSwissKnife Name='" + name + "'><Formula>" + formula + "</Formula>";
    for (const std::string& variable : variables) {
        const std::size_t blank = variable.find(' ');
        text += "<pVariable Name='" + variable.substr(0, blank) + "'>" + variable.substr(blank + 1) +
                "</pVariable>";
    }
    return text + "</IntSwissKnife>";
}

std::string converter(
    const std::string& name, const std::string& to, const std::string& from, const std::string& below,
    const std::string& kind = "Converter") {
    return "<" + kind + " Name='" + name + "'><FormulaTo>" + to + "</FormulaTo><FormulaFrom>" + from +
           "</FormulaFrom><pValue>" + below + "</pValue><pVariable Name='Shift'>Shift</pVariable></" + kind +
           ">";
}

TEST(Formulas, DoAsTheirScripts) {
    const std::string whole = reg("W", 0, 4, "<Sign>Signed</Sign>");
    const std::string real = reg("R", 8, 8, "", "FloatReg");
    const std::string one = "<Integer Name='One'><Value>1</Value></Integer>";
    const std::string two = "<Integer Name='Two'><Value>2</Value></Integer>";
    runScripts({
        // A variable may bear a function's name, in any letter case.
        {"faults",
         "<Boolean Name='Yes'/><Integer Name='Zero'/>" + reg("Far", 1 << 20, 4) + knife("Unknown", "U", {}) +
             knife("Boolean", "B", {"B Yes"}) + knife("Division", "1/Z", {"Z Zero"}) +
             knife("Failing", "F", {"F Far"}) + knife("Self", "S+1", {"S Self"}) + knife("Empty", "", {}) +
             knife("Lazy", "Z ? F : 3", {"Z Zero", "F Far"}) + knife("NoNode", "X", {"X Missing"}),
         "Unknown -> math error; Boolean -> math error; Division -> math error; Failing -> transport layer "
         "exception; Self -> illegal node; "
         "Empty -> math error; Lazy -> 3; NoNode -> math error"},
        {"converters", // an integer below takes the result without its fraction
         whole + real + "<Float Name='Shift'><Value>0.25</Value></Float><Boolean Name='B'/>" +
             converter("OverWhole", "FROM*2", "TO/2", "W") +
             converter("OverReal", "FROM+SHIFT", "TO-SHIFT", "R") +
             converter("Whole", "FROM-7", "TO+7", "W", "IntConverter") +
             converter("OverBoolean", "FROM", "1", "B", "IntConverter") +
             converter("OverMode", "FROM*2", "TO/2", "Mode") + converter("Alone", "FROM", "TO", "Missing") +
             "<Enumeration Name='Mode'><EnumEntry Name='A'><Value>8</Value></EnumEntry><EnumEntry "
             "Name='B'><Value>10</Value></EnumEntry></Enumeration>",
         "OverWhole=5; W -> 10; OverWhole -> 5; OverWhole=-1.75; W -> -3; OverReal=1; R -> 1.25; "
         "OverReal -> 1; Whole=-3; W -> -10; Whole -> -3; OverBoolean=4; B -> true; "
         "OverBoolean -> 1; OverMode=5; Mode -> B; OverMode -> 5; Alone=1 -> illegal node; "
         "Alone -> math error"},
    });
}

TEST(Registers, WhoseAddressesDoubleTheirWorkEndInTime) {
    std::string nodes = reg("R0", 0, 1);
    for (int i = 1; i <= 40; ++i) {
        const std::string below = "<pAddress>R" + std::to_string(i - 1) + "</pAddress>";
        nodes += reg("R" + std::to_string(i), i, 1, below + below + caching("NoCache"));
    }
    Device device(inRoot(nodes));
    device.expect("R10 -> 0; R40 -> illegal node");
}

} // namespace
} // namespace test_support
