// What values, formulas and registers do by default, and what they do as the GenICam standard has it.
#include "genicam/device_fixture.h"
#include "support/german_locale.h"

namespace test_support {
namespace {

using namespace std::string_literals;

// A SwissKnife that gives the minimum or maximum of a node.
std::string minOf(const std::string& node) {
    return computed("SwissKnife", "Min", "X.Min", {"X " + node});
}
std::string maxOf(const std::string& node) {
    return computed("SwissKnife", "Max", "X.Max", {"X " + node});
}
std::string limitsOf(const std::string& node) {
    return minOf(node) + maxOf(node);
}

TEST(StandardValues, LimitsAndIncrements) {
    const std::string odd = integer("B", "<Value>1</Value><Min>1</Min><Max>9</Max><Inc>2</Inc>");
    const std::string low = "<Min>-9223372036854775807</Min><Inc>-5</Inc>";
    runScriptsBothWays({
        {"floats without a minimum", real("F") + reg("R", 0, 4, "", "FloatReg") + minOf("R"),
         "F=-1 -> illegal value | 0; F=0 -> illegal value | 0; F=1; Min -> math error | -3.40282e+38"},
        {"increments from the minimum",
         odd + integer("N", low) + integer("Z", "<Inc>0</Inc>") + integer("Open", "<Inc>10</Inc>"),
         "B=3 -> illegal value | 0; B=4 -> 0 | illegal value; B=0 -> illegal value; B=11 -> illegal value; "
         "N=5 -> 0 | illegal value; "
         "N=-9223372036854775802 -> illegal value | 0; N=9223372036854775803 -> illegal value | 0; Z=7; "
         "Open=20; Open=25 "
         "-> illegal value"},
        {"an integer over another",
         odd + integer("I", below("B")) + integer("J", below("B") + "<Max>5</Max>") +
             integer("P", "<Value>7</Value>") + integer("K", below("B") + "<pMax>P</pMax>"),
         "I=11 -> illegal value; I=2 -> 0 | illegal value; I=3 -> illegal value | 0; J=7 -> illegal value; "
         "J=5 -> illegal value | 0; "
         "K=9 -> illegal value; K=7 -> illegal value | 0"},
        {"a float over an integer, and an integer over a float",
         odd + real("F", below("B") + "<Max>100</Max>") + real("G", "<Min>-1.5</Min><Max>2.5</Max>") +
             integer("I", below("G")) + minOf("I") + computed("SwissKnife", "Max", "X.Max", {"X F"}),
         "F=0.5 -> illegal value; F=1 -> illegal value | 0; I=2; I=3 -> illegal value; Min -> math error | "
         "-1; Max -> math error | 100"},
        {"limits of a register without a sign",
         reg("R", 0, 1) + reg("M", 4, 4, "<LSB>0</LSB><MSB>3</MSB>", "MaskedIntReg") +
             integer("I", below("R")) + integer("J", below("M")) + limitsOf("I"),
         "I=255; I=256 -> 0 | illegal value; I=-1 -> 0 | illegal value; J=15; J=-1 -> 0 | illegal value; Min "
         "-> math error | 0; "
         "Max -> math error | 255"},
        {"limits in a circle are an error for their nodes",
         integer("A", below("B")) + integer("B", below("A")) + integer("Well", ""),
         "A=1 -> illegal node; B=1 -> illegal node; Well=1"},
    });
}

// Each end of the range below is translated: 10 to 250 through X*2 is 20 to 500.
TEST(StandardValues, LimitsOfConverters) {
    const std::string whole = integer("B", "<Min>10</Min><Max>250</Max>");
    const std::string plain = integer("B", "");
    const std::string slope = "<Slope>Varying</Slope>";
    const struct {
        const char* name;
        std::string nodes;
        const char* min;
        const char* max;
    } rows[] = {
        {"rising", whole + converter("Converter", "C", "FROM/0.5", "TO*0.5", "B"), "5", "125"},
        {"falling", whole + converter("IntConverter", "C", "", "1000-TO", "B"), "750", "990"},
        {"varying", whole + converter("Converter", "C", "", "TO", "B", slope), "-1.79769e+308",
         "1.79769e+308"},
        {"unknown at an end", whole + converter("Converter", "C", "", "1/(TO-10)", "B"), "-1.79769e+308",
         "1.79769e+308"},
        {"beyond 64 bits", plain + converter("IntConverter", "C", "", "TO*1000", "B"), "-9.22337e+18",
         "9.22337e+18"},
        {"through two",
         whole + converter("Converter", "D", "", "TO*2", "B") + converter("Converter", "E", "", "TO+1", "D") +
             real("C", below("E")),
         "21", "501"},
        {"itself", converter("Converter", "C", "", "TO", "C"), "illegal node", "illegal node"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Device device(inRoot(row.nodes + limitsOf("C")), true);
        device.expect(std::string("Min -> ") + row.min + "; Max -> " + row.max + "; Min -> " + row.min);
    }
}

TEST(StandardValues, Converters) {
    const std::string w = reg("W", 0, 4, "<Sign>Signed</Sign>");
    runScriptsBothWays({
        {"what goes to an integer is rounded", w + converter("Converter", "C", "FROM*0.5", "TO/0.5", "W"),
         // By default 0.5 is the integer 0.
         "C=5; W -> 0 | 3; C=-5; W -> 0 | -3; C=4.9; W -> 0 | 2"},
        {"also through a float, and into a Boolean",
         w + real("F", below("W") + "<Min>-1e300</Min>") + "<Boolean Name='B'/>" +
             converter("Converter", "C", "FROM/4", "TO*4", "F") +
             converter("Converter", "D", "FROM/4", "TO*4", "B") +
             converter("Converter", "Huge", "FROM*1e30", "TO", "W"),
         "C=7; W -> 1 | 2; C -> 4 | 8; D=1; B -> false; D=3; B -> false | true; Huge=1 -> 0 | illegal value"},
        {"an IntConverter computes with integers only",
         reg("R", 0, 8, "", "FloatReg") + converter("IntConverter", "C", "FROM/2", "TO*2", "R"),
         "C=7; R -> 3.5 | 3; C -> 7 | 6"},
    });
}

TEST(StandardValues, Variables) {
    const std::string mode =
        "<Enumeration Name='Mode'><EnumEntry Name='Off'><Value>2</Value></EnumEntry>"
        "<EnumEntry Name='On'><Value>5</Value></EnumEntry><Value>5</Value></Enumeration>";
    const std::string yes = "<Boolean Name='Yes'><OnValue>7</OnValue><Value>true</Value></Boolean>";
    const std::string width = integer("Width", "<Value>64</Value><Min>16</Min><Max>1024</Max><Inc>8</Inc>");
    const std::string command =
        reg("N", 0, 4) + "<Command Name='Do'><CommandValue>3</CommandValue>" + below("N") + "</Command>";
    runScriptsBothWays({
        {"of other kinds", mode + yes + command + knife("K", "100*M+10*Y+D", {"M Mode", "Y Yes", "D Do"}),
         "N=3; K -> math error | 513; N=4; K -> math error | 514"},
        {"a text is none",
         reg("S", 0, 4, "", "StringReg") + knife("K", "S", {"S S"}) + knife("L", "S.Max", {"S S"}),
         "K -> math error; L -> math error"},
        {"suffixes in the formula",
         width + mode + yes + knife("K", "W.Value + W.Min + W.max + W.Inc", {"w Width"}) +
             knife("L", "M = M.Entry.On ? M.Entry.OFF : 0", {"M Mode"}) +
             knife("V", "Y.Value + M.Value", {"Y Yes", "M Mode"}) + real("F", "<Min>-3</Min><Max>7</Max>") +
             knife("G", "F.Max - F.Min", {"F F"}),
         "K -> math error | 1112; L -> math error | 2; V -> math error | 6; G -> math error | 10"},
        {"suffixes in the variable's name",
         width + mode + knife("K", "W.MIN + M.Entry.On", {"W.Min Width", "M.Entry.On Mode"}) +
             knife("L", "W", {"W.Min Width"}) + knife("Dotted", "A.B + A.B.Max", {"A.B Width"}),
         "K -> math error | 21; L -> math error; Dotted -> math error | 1088"},
        {"limits follow what they depend on",
         integer("Top", "<Value>5</Value>") + integer("I", "<pMax>Top</pMax>") + knife("K", "I.Max", {"I I"}),
         "K -> math error | 5; Top=9; K -> math error | 9"},
    });
}

TEST(StandardValues, NumbersHaveAPointInEveryLocale) {
    const GermanLocale german;
    ASSERT_TRUE(german.isInForce());
    runScriptsBothWays({
        {"numbers",
         real("F", "<Value>17.5</Value>") + real("Huge", "<Value>1e400</Value>") +
             real("Tiny", "<Value>1e-320</Value>") + real("Less", "<Value>-1e-400</Value>") +
             integer("I", "<Value>1234567</Value>") + computed("SwissKnife", "K", "F*.5+.25", {"F F"}) +
             computed("SwissKnife", "T", ".5E-400", {}),
         "F -> 17.5; Huge -> 1.79769e+308; Tiny -> 9.99989e-321; Less -> -0; I -> 1234567; K -> 9; T -> 0"},
    });
}

TEST(StandardValues, StatesAndAccess) {
    const std::string states = integer("No", "") + integer("Yes", "<Value>1</Value>");
    const auto with = [](const char* decider, const char* node) {
        return std::string("<") + decider + ">" + node + "</" + decider + ">";
    };
    const auto imposed = [](const char* mode, const char* node) {
        return "<ImposedAccessMode>" + std::string(mode) + "</ImposedAccessMode>" + below(node);
    };
    const auto limited = [](const char* name, const char* mode) {
        return "<IntReg Name='" + std::string(name) +
               "'><Length>4</Length><pPort>Device</pPort><AccessMode>" + mode + "</AccessMode></IntReg>";
    };
    runScriptsBothWays({
        {"what the nodes below are",
         states + reg("R", 0, 4, with("pIsAvailable", "No")) + integer("I", below("R")) +
             real("F", "<Min>-9</Min>" + below("I")) + reg("M", 4, 4, with("pIsImplemented", "No")) +
             "<Boolean Name='B'>" + below("M") + "</Boolean>" + reg("L", 8, 4, with("pIsLocked", "Yes")) +
             converter("IntConverter", "C", "FROM", "TO", "L"),
         "!check; R -> feature not available; I -> 0 | feature not available; F=1 -> 0 | feature not available; B -> false | feature not implemented; C=1 -> 0 | feature locked; "
         "C -> 1 | 0; Yes=0; C=2; No=1; F=3; I -> 3; B -> false"},
        {"imposed modes",
         limited("RO", "RO") + limited("WO", "WO") + limited("RW", "RW") + integer("A", imposed("RW", "RO")) +
             integer("B", imposed("RW", "WO")) + integer("C", imposed("RO", "WO")) +
             integer("D", imposed("RO", "RW")) + integer("E", imposed("RW", "D")) +
             reg("F", 0, 4, imposed("RW", "")) + integer("Self", imposed("RW", "Self")),
         "!check; A=1 -> 0 | feature not writable; A -> 1 | 0; B -> 1 | feature not readable; B=1; C -> 1 | feature not readable; C=1 -> feature not writable; "
         "D=1 -> feature not writable; E=1 -> 0 | feature not writable; F=5; F -> 5; Self -> illegal node"},
        {"what decides and is not there itself",
         states + integer("Gone", "<Value>1</Value>" + with("pIsImplemented", "No")) +
             integer("Blind", "<Value>1</Value><ImposedAccessMode>WO</ImposedAccessMode>") +
             integer("A", with("pIsAvailable", "Gone")) + integer("I", with("pIsImplemented", "Blind")) +
             integer("L", with("pIsLocked", "Gone")) + integer("Round", with("pIsAvailable", "Round")),
         "A -> 0; !check; A -> feature not available; I -> feature not implemented; L=4; L -> 4; No=1; A -> 0; Round -> illegal node"},
        {"an Enumeration at a number without an entry",
         reg("N", 0, 4) + "<Enumeration Name='E'><EnumEntry Name='A'><Value>1</Value></EnumEntry>" +
             below("N") + "</Enumeration>" + knife("K", "X+1", {"X E"}) + "<Boolean Name='B'><OnValue>7" +
             "</OnValue>" + below("E") + "</Boolean>",
         "N=1; K -> math error | 2; N=7; E -> illegal value; K -> math error | 8; B -> illegal value | true; B=true -> illegal value"},
        {"an entry of a StructReg",
         "<StructReg><Address>0</Address><Length>4</Length><AccessMode>RO</AccessMode><pPort>Device</pPort>"
         "<Sign>Signed</Sign><LSB>0</LSB><MSB>7</MSB><StructEntry Name='E'><AccessMode>RW</AccessMode><MSB>3"
         "</MSB></StructEntry></StructReg>",
         "!check; E=5 -> feature not writable | 0; @0+1 -> 00 | 50"},
    });
    Device device(inRoot(
        states + integer("Gone", with("pIsImplemented", "No")) +
        integer(
            "A", with("pIsImplemented", "Gone") + with("pIsAvailable", "Gone") + with("pIsLocked", "Gone"))));
    device.expect("!check");
    auto& node = device.node("A");
    EXPECT_FALSE(node.isImplemented() || node.isAvailable() || node.isLocked());
}

TEST(StandardValues, ConstantsAndExpressions) {
    const auto constant = [](const std::string& name, const std::string& text) {
        return "<Constant Name='" + name + "'>" + text + "</Constant>";
    };
    const auto expression = [](const std::string& name, const std::string& text) {
        return "<Expression Name='" + name + "'>" + text + "</Expression>";
    };
    const std::string two = integer("Two", "<Value>2</Value>");
    std::string chain = expression("E0", "1");
    for (int i = 1; i <= 40; ++i) {
        const std::string previous = "E" + std::to_string(i - 1);
        chain += expression("E" + std::to_string(i), previous + "+" + previous);
    }
    runScriptsBothWays({
        {"numbers of all kinds",
         computed(
             "SwissKnife", "F", "A+B+C", {},
             constant("A", "0x10") + constant("B", " -2.5\n") + constant("C", "1e1")) +
             knife("I", "A*B", {}, constant("A", "-3") + constant("B", "2.9")) +
             knife("Broken", "1?2:A", {}, constant("A", "many")) + knife("Used", "A", {}, constant("A", "")),
         "F -> math error | 23.5; I -> math error | -6; Broken -> 2; Used -> math error"},
        {"expressions of variables, constants and each other",
         two +
             computed(
                 "SwissKnife", "F", "Half + X", {"X Two"},
                 expression("Half", "Sum/C") + constant("C", "2") + expression("Sum", "X+1.0")) +
             knife("I", "Half + X", {"X Two"}, expression("Half", "(X+1)/2")),
         "F -> math error | 3.5; I -> math error | 3; Two=4; F -> math error | 6.5"},
        {"a variable hides an expression, which hides a constant that came before",
         two + knife("K", "A+B", {"A Two"}, expression("A", "9") + constant("B", "1") + expression("B", "7")),
         "K -> math error | 9"},
        {"in converters",
         two + converter(
                   "IntConverter", "C", "FROM-Shift", "TO+Shift", "Two",
                   constant("Base", "10") + expression("Shift", "Base*3")),
         "C -> math error | 32; C=35 -> math error | 0; Two -> 2 | 5"},
        {"faults fail alone",
         knife("Circle", "A", {}, expression("A", "B+1") + expression("B", "A-1")) +
             knife("Untaken", "0 ? A : 4", {}, expression("A", "A")) +
             knife("Syntax", "A", {}, expression("A", "1+")) + knife("Well", "1", {}) +
             knife("Doubling", "E10", {}, chain) + knife("Endless", "E40", {}, chain),
         "Circle -> math error | illegal node; Untaken -> 4; Syntax -> math error; Well -> 1; Doubling -> "
         "math error | 1024; "
         "Endless -> math error | illegal node; Well -> 1"},
    });
}

TEST(StandardValues, Registers) {
    const std::string big = "<Endianess>BigEndian</Endianess>";
    const std::string untimed = "<Cachable>NoCache</Cachable>";
    runScriptsBothWays({
        {"texts end at their first zero byte", reg("S", 0, 4, "", "StringReg"),
         "@0=61 62 00 63; S -> ab\0c | ab; S=abcd; S -> abcd; S=; S -> \0\0\0\0 | ; @0+4 -> 00 00 00 00"s},
        {"NoCache without a polling time",
         reg("N", 0, 4, untimed) + reg("T", 4, 4, untimed + "<PollingTime>3600000</PollingTime>") +
             reg("W", 8, 4, "<Cachable>WriteThrough</Cachable>"),
         "#N -> 1r 0w; #N -> 0r 0w | 1r 0w; #N -> 0r 0w | 1r 0w; #T -> 1r 0w; #T -> 0r 0w; #W -> 1r 0w; "
         "#W -> 0r 0w"},
        {"words of old descriptions",
         reg("W", 0, 4) + reg("B", 0, 4, big) + reg("H", 0, 2) + reg("L", 0, 8) +
             reg("M", 0, 4, "<LSB>0</LSB><MSB>7</MSB>", "MaskedIntReg") + reg("R", 4, 4, "", "FloatReg") +
             "<Integer Name='Four'><Value>4</Value></Integer>" + reg("P", 0, 0, "<pLength>Four</pLength>"),
         "@0=01 02 03 04 3F 80 00 00; W -> 67305985 | 16909060; B -> 16909060; H -> 513; "
         "L -> 141008138600961; M -> 1 | 4; P -> 67305985 | 16909060; R -> 4.6006e-41 | "
         "1; "
         "M=255; @0+4 -> FF 02 03 04 | 01 02 03 FF; !stale; W=1; @0+4 -> 01 00 00 00 | 00 00 00 01; R=2; "
         "@4+4 -> 00 00 00 40 | 40 00 00 00"},
    });
}

// Only the camera's own registers of descriptions below schema 1.1.
TEST(StandardValues, WordsOfNewDescriptionsAreBytes) {
    const std::string chunk = "<Port Name='Chunk'/><IntReg Name='C'><Address>0</Address><Length>4</Length>"
                              "<pPort>Chunk</pPort><Endianess>LittleEndian</Endianess></IntReg>";
    const std::string port =
        "<Port Name='Device'/>" + chunk + reg("W", 0, 4) +
        "<StructReg><Address>0</Address><Length>4</Length><pPort>Device</pPort>"
        "<Endianess>LittleEndian</Endianess><StructEntry Name='S'><LSB>0</LSB><MSB>15</MSB>"
        "</StructEntry></StructReg></RegisterDescription>";
    const struct {
        const char* major;
        const char* minor;
        const char* word;
        const char* entry;
    } rows[] = {{"1", "0", "16909060", "772"}, {"1", "1", "67305985", "513"}, {"2", "0", "67305985", "513"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.major) + "." + row.minor);
        Device device(
            std::string("<RegisterDescription SchemaMajorVersion='") + row.major + "' SchemaMinorVersion='" +
                row.minor + "'>" + port,
            true);
        device.camera.setPort(&device.port, "Chunk");
        device.expect(
            std::string("@0=01 02 03 04; W -> ") + row.word + "; S -> " + row.entry + "; C -> 67305985");
    }
}

// ---- The same in both ways ----

TEST(Values, DoAsTheirScripts) {
    const std::string whole = reg("W", 0, 4, "<Sign>Signed</Sign>");
    const std::string byte = reg("N", 0, 1);
    const std::string polled = reg("N", 0, 1, caching("NoCache", 0));
    runScripts({
        {"float limits", real("Default") + real("F", "<Min>-1</Min><Max>2.5</Max>"),
         "Default=0 -> illegal value; Default=1; F=nan -> illegal value; F=2.5; F=2.6 -> illegal value; "
         "F=-1.1 -> illegal value; F -> 2.5"},
        {"float over integer", whole + real("F", "<Min>-1e300</Min>" + below("W")),
         "F=-2.75; W -> -2; F -> -2; F=1e30 -> illegal value"},
        {"integer over float", reg("R", 8, 8, "", "FloatReg") + integer("I", below("R")),
         "I=41; R -> 41; R=-7.9; I -> -7; R=1e30; I -> 9223372036854775807; R=nan; I -> 0"},
        {"Boolean",
         byte + "<Boolean Name='B'><OnValue>5</OnValue><OffValue>3</OffValue>" + below("N") + "</Boolean>",
         "B=true; @0+1 -> 05; B=false; @0+1 -> 03; B -> false; N=4; B -> illegal value"},
        {"a command is done once the camera has cleared it",
         polled + integer("Six", "<Value>6</Value>") + "<Command Name='C'>" + below("N") +
             "<pCommandValue>Six</pCommandValue></Command>",
         "C=; @0+1 -> 06; C -> active; @0=00; C -> inactive"},
        {"a command without a node keeps its value",
         "<Command Name='C'><CommandValue>3</CommandValue></Command>", "C -> inactive; C=; C -> active"},
        {"a command is asked at most once in its polling time, but again after its execution",
         polled + "<Command Name='C'>" + below("N") +
             "<CommandValue>1</CommandValue><PollingTime>3600000</PollingTime></Command>",
         "#C -> 1r 0w; #C -> 0r 0w; C=; #C -> 1r 0w; C -> active"},
        {"a later entry takes over an earlier one's value",
         byte +
             "<Enumeration Name='E'><EnumEntry Name='On'><Value>2</Value></EnumEntry>"
             "<EnumEntry Name='AlsoOn'><Value>2</Value></EnumEntry>" +
             below("N") + "</Enumeration>",
         "E=On; @0+1 -> 02; E -> AlsoOn; E=on -> illegal value"},
        {"as text",
         integer("Hex", "<Value>-255</Value><Representation>HexNumber</Representation>") +
             real("F", "<Min>-1</Min>"),
         "Hex -> -255; F=1234567; F -> 1.23457e+06; F=100000; F -> 100000; F=1e-5; F -> 1e-05; F=-0; F -> -0"},
        {"formulas that fail",
         "<Boolean Name='Yes'/>" + integer("Zero") + reg("Far", 1 << 20, 4) +
             knife("Boolean", "B", {"B Yes"}) + knife("Failing", "F", {"F Far"}) +
             knife("Self", "S+1", {"S Self"}) + knife("Empty", "", {}) +
             knife("Lazy", "Z ? F : 3", {"Z Zero", "F Far"}) + knife("NoNode", "X", {"X Missing"}),
         "Boolean -> math error; Failing -> transport layer exception; Self -> illegal node; "
         "Empty -> math error; Lazy -> 3; NoNode -> math error"},
        {"converters", // an integer below takes the result without its fraction
         whole + "<Boolean Name='B'/>" + converter("Converter", "OverWhole", "FROM*2", "TO/2", "W") +
             converter("IntConverter", "OverBoolean", "FROM", "1", "B") +
             converter("Converter", "OverMode", "FROM*2", "TO/2", "Mode") +
             converter("Converter", "Alone", "FROM", "TO", "Missing") +
             "<Enumeration Name='Mode'><EnumEntry Name='A'><Value>8</Value></EnumEntry><EnumEntry "
             "Name='B'><Value>10</Value></EnumEntry></Enumeration>",
         "OverWhole=5; W -> 10; OverWhole=-1.75; W -> -3; OverBoolean=4; B -> true; OverBoolean -> 1; "
         "OverMode=5; Mode -> B; OverMode -> 5; Alone=1 -> illegal node; Alone -> math error"},
    });
}

TEST(Values, WhoseAddressesDoubleTheirWorkEndInTime) {
    std::string nodes = reg("R0", 0, 1);
    for (int i = 1; i <= 40; ++i) {
        const std::string twice = "<pAddress>R" + std::to_string(i - 1) + "</pAddress>";
        nodes += reg("R" + std::to_string(i), i, 1, twice + twice + caching("NoCache"));
    }
    Device(inRoot(nodes)).expect("R10 -> 0; R40 -> illegal node");
}

} // namespace
} // namespace test_support
