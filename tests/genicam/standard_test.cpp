// Descriptions read as the GenICam standard has it, beside what this system reads by default.
#include "genicam/device_fixture.h"

namespace test_support {
namespace {

// The same description twice; no steps for the default where another test has them.
struct Both {
    std::string name;
    std::string nodes;
    std::string standard;
    std::string byDefault = "";
};

void runBoth(const std::vector<Both>& rows) {
    for (const Both& row : rows) {
        SCOPED_TRACE(row.name);
        Device(inRoot(row.nodes), true).expect(row.standard);
        if (!row.byDefault.empty()) {
            Device(inRoot(row.nodes)).expect(row.byDefault);
        }
    }
}

const std::string kIndexed =
    "<pIndex>Pick</pIndex><ValueIndexed Index='0'>7</ValueIndexed><pValueIndexed Index='0x1'> Byte "
    "</pValueIndexed><pValueIndexed Index='2'>Real</pValueIndexed><pValueIndexed Index='-1'>Fixed"
    "</pValueIndexed><ValueDefault>99</ValueDefault>";
const std::string kBelow = reg("Byte", 0, 1, "<Sign>Unsigned</Sign>") + reg("Real", 8, 8, "", "FloatReg") +
                           "<Integer Name='Fixed'><ImposedAccessMode>RO</ImposedAccessMode></Integer>";

TEST(Standard, KnowsMoreThanTheDefault) {
    runBoth({
        {"texts",
         reg("Reg", 0, 2, "", "StringReg") +
             "<String Name='Own'><Value>abc</Value></String><String Name='Over'><pValue>Reg</pValue></String>"
             "<String Name='Twice'><pValue>Over</pValue></String><String Name='Loop'><pValue>Loop</pValue>"
             "</String><String "
             "Name='Fixed'><Value>f</Value><ImposedAccessMode>RO</ImposedAccessMode></String>"
             "<String Name='NoText'><pValue>One</pValue><Value>v</Value></String>" +
             integer("One", ""),
         "Own -> abc; Own=; Own -> ; Twice=xy; @0+2 -> 78 79; Over -> xy; @0=41 42; Over -> xy; !stale; "
         "Twice -> AB; Loop -> illegal node; Loop=1 -> illegal node; NoText -> v; Fixed -> f"},
        {"indexed integer", kBelow + integer("Pick", "") + integer("I", kIndexed),
         "I -> 7; I=8; I -> 8; Pick=1; I=200; Byte -> 200; I -> 200; I=256 -> illegal value; I=-1 -> illegal "
         "value; "
         "Pick=2; I=-3; Real -> -3; Real=2.75; "
         "I -> 2; Pick=5; I -> 99; I=98; Pick=-9; I -> 98; Pick=0; I -> 8",
         "I -> 0; I=3; Pick=1; I -> 3; Byte -> 0"},
        {"indexed float",
         kBelow + integer("Pick", "") + "<Float Name='F'><Min>-1000</Min>" + kIndexed + "</Float>",
         "F -> 7; F=-8.5; F -> -8.5; Pick=1; F=200; Byte -> 200; Pick=2; F=0.25; Real -> 0.25; F -> 0.25",
         "F -> 0; F=3; Pick=2; F -> 3; Real -> 0"},
        {"an index that picks nothing",
         integer("Pick", "<Value>4</Value>") +
             integer("I", "<pIndex>Pick</pIndex><ValueIndexed Index='0'>7</ValueIndexed>") +
             integer("NoIndex", "<pIndex>Missing</pIndex><ValueDefault>7</ValueDefault>") +
             integer("Self", "<pIndex>Self</pIndex><pValueDefault>Pick</pValueDefault>") +
             integer("Default", "<pIndex>Pick</pIndex><pValueDefault>Pick</pValueDefault>"),
         "I -> illegal value; I=1 -> illegal value; Pick=0; I -> 7; NoIndex -> illegal node; Self -> illegal "
         "node; Self=1 -> illegal node; "
         "Default -> 0; Default=3; Pick -> 3"},
        {"circles",
         integer("Zero", "") + reg("Byte", 0, 1) +
             integer("Picked", "<pIndex>Zero</pIndex><pValueIndexed Index='0'>Picked</pValueIndexed>") +
             integer("Copied", "<pValue>Byte</pValue><pValueCopy>Copied</pValueCopy>") +
             reg("Long", 0, 1, "<pIndex>Zero</pIndex><pLength>Long</pLength>") +
             reg("Placed", 0, 1, "<pIndex pOffset='Placed'>Zero</pIndex>") +
             integer("A", "<pValue>Byte</pValue><pInvalidator>B</pInvalidator>") +
             integer("B", "<pValue>Byte</pValue><pInvalidator>A</pInvalidator>"),
         "Picked -> illegal node; Picked=1 -> illegal node; Copied=1 -> illegal node; Copied -> 1; Long -> "
         "illegal node; "
         "Placed -> illegal node; A=3; B -> 3; B=4; A -> 4; Zero -> 0"},
        {"copies",
         reg("A", 0, 2) + reg("B", 4, 2) + reg("R", 8, 4, "", "FloatReg") + integer("Low", "<Max>10</Max>") +
             integer("I", "<pValueCopy>B</pValueCopy><pValue>A</pValue><pValueCopy>R</pValueCopy>") +
             integer("Picky", "<pValue>Low</pValue><pValueCopy>A</pValueCopy><pValueCopy>No</pValueCopy>") +
             "<Float Name='F'><pValue>R</pValue><pValueCopy>A</pValueCopy></Float>"
             "<Boolean Name='Bool'><OnValue>4</OnValue><pValue>A</pValue><pValueCopy>B</pValueCopy></Boolean>"
             "<Enumeration Name='E'><EnumEntry Name='X'><Value>9</Value></EnumEntry><pValue>A</pValue>"
             "<pValueCopy>B</pValueCopy></Enumeration>",
         "I=5; A -> 5; B -> 5; R -> 5; B=6; I -> 5; F=2.5; R -> 2.5; Bool=true; A -> 4; B -> 4; "
         "Bool=false; E=X; A -> 9; B -> 9; Picky=11 -> illegal value; A -> 9; Picky=10; A -> 10; Low -> 10",
         "I=5; A -> 5; B -> 0; R -> 0; E=X; A -> 9; B -> 0"},
        {"blanks around texts",
         integer("I", "<Value>\n 5\n</Value><Min>\n\t3 </Min>") +
             reg("R", 0, 2, "<Endianess>\n  BigEndian\n</Endianess>") +
             "<Boolean Name='B'><Value>\ttrue </Value></Boolean><Enumeration Name='E'><Value>1</Value>"
             "<EnumEntry Name='X'><Value> 1\n</Value><Symbolic>\nOne </Symbolic></EnumEntry></Enumeration>"
             "<SwissKnife Name='K'><pVariable Name='V'>\nI </pVariable><Formula>\n V\n*2 </Formula>"
             "</SwissKnife>",
         "I -> 5; I=2 -> illegal value; R=1; @0+2 -> 00 01; B -> true; E -> One; E=One; K -> 10",
         "I -> 5; I=2 -> illegal value; R=1; @0+2 -> 01 00; B -> false; E=One -> illegal value; K -> 10"},
        {"a Boolean that is 1",
         "<Boolean Name='B'><Value>1</Value></Boolean><Boolean Name='C'><Value>2</Value></Boolean>",
         "B -> true; C -> false", "B -> false; C -> false"},
        {"octal numbers", integer("I", "<Value>010</Value><Max>-0X1</Max>") + reg("R", 010, 2),
         "I -> 10; R=1; @8+2 -> 01 00", "I -> 8"},
        // Nothing below tells of the change: what is not kept spreads no news.
        {"any node invalidates",
         reg("OfI", 0, 4, caching("NoCache")) + reg("OfC", 4, 4, caching("NoCache")) +
             reg("OfE", 8, 4, caching("NoCache")) + reg("OfB", 12, 4, caching("NoCache")) +
             reg("OfF", 16, 4, caching("NoCache")) + integer("I", "<pValue>OfI</pValue>") +
             integer("Outer", "<pValue>I</pValue>") +
             "<Command Name='C'><pValue>OfC</pValue><CommandValue>1</CommandValue></Command>" +
             "<Enumeration Name='E'><EnumEntry Name='X'/><pValue>OfE</pValue></Enumeration>" +
             "<Boolean Name='B'><pValue>OfB</pValue></Boolean>" +
             "<Float Name='F'><Min>-1</Min><pValue>OfF</pValue></Float>" +
             reg("ByI", 32, 1, "<pInvalidator>I</pInvalidator>") +
             reg("ByC", 33, 1, "<pInvalidator> C</pInvalidator>") +
             reg("ByE", 34, 1, "<pInvalidator>E</pInvalidator>") +
             reg("ByB", 35, 1, "<pInvalidator>B</pInvalidator>") +
             reg("ByF", 36, 1, "<pInvalidator>F</pInvalidator>") +
             integer("Through", "<pInvalidator>C</pInvalidator>") +
             reg("ByThrough", 37, 1, "<pInvalidator>Through</pInvalidator>"),
         "ByI -> 0; ByC -> 0; ByE -> 0; ByB -> 0; ByF -> 0; ByThrough -> 0; #ByI -> 0r 0w; I=1; #ByI -> 1r "
         "0w; "
         "Outer=1; #ByI -> 1r 0w; #ByC -> 0r 0w; C=; #ByC -> 1r 0w; #ByThrough -> 1r 0w; #ByE -> 0r 0w; E=X; "
         "#ByE -> 1r 0w; B=true; #ByB -> 1r 0w; F=1; #ByF -> 1r 0w; #ByI -> 0r 0w",
         "ByI -> 0; ByC -> 0; I=1; #ByI -> 0r 0w; C=; #ByC -> 0r 0w"},
        {"an index counts in lengths",
         integer("K", "<Value>3</Value>") + integer("Five", "<Value>5</Value>") +
             reg("Plain", 16, 2, "<pIndex> K\n</pIndex>") +
             reg("Grown", 16, 1, "<pIndex>K</pIndex><pLength>Five</pLength>", "Register") +
             reg("Placed", 16, 1, "<pIndex pOffset='Five'>K</pIndex>") +
             reg("Given", 16, 1, "<pIndex Offset='2'>K</pIndex>") +
             reg("Struct", 16, 2, "<pIndex>K</pIndex><StructEntry Name='Entry'><Bit>0</Bit></StructEntry>",
                 "StructReg"),
         "@22=01 02; @31=07; @34=01 02 03 04 05 06; Plain -> 513; Placed -> 7; Grown -> 01 02 03 04 05 06; "
         "Given -> 1; Entry -> 1; K=0; @16=08; Plain -> 8; Placed -> 8; #Plain -> 0r 0w; Five=1; "
         "#Plain -> 0r 0w; K=1; @17=09; Placed -> 9",
         "@16=08; @22=01 02; Plain -> 8; Placed -> 8; Given -> 1; Entry -> 0"},
    });
}

TEST(Standard, AccessIsThatOfWhatTheIndexPicks) {
    Device device(
        inRoot(
            kBelow + integer("Pick", "") + integer("I", kIndexed) + integer("Over", "<pValue>I</pValue>") +
            "<String Name='S'><ImposedAccessMode>RO</ImposedAccessMode></String>"
            "<String Name='T'><pValue>S</pValue></String>"),
        true);
    device.camera.enableChecking(true);
    device.expect("Over=1; Pick=-1; Over=1 -> feature not writable; I=1 -> feature not writable; Over -> 0; "
                  "Pick=1; Over=2; Byte -> 2; "
                  "T=x -> feature not writable");
    device.port.failing = true; // asking for the mode reads the index, but spreading a change never does
    device.camera.invalidateAllNodes();
    device.port.failing = false;
    device.expect("Over -> 2");
}

TEST(Standard, DifferencesAreCountedByQuirk) {
    const auto knife = [](const std::string& formula) {
        return computed("IntSwissKnife", "K", formula, {"V I", "F Real"});
    };
    const auto feature = [](const std::string& node) {
        return "<Category Name='Root'><pFeature> A </pFeature></Category>" + node;
    };
    const std::string others = "<Integer Name='I'/><Boolean Name='B'/><Float Name='Real'/>";
    const std::string writable = reg("W", 0, 4, "<Sign>Signed</Sign><Endianess>BigEndian</Endianess>");
    const struct {
        std::string nodes;
        std::string touched;
    } rows[] = {
        {"", ""},
        {knife("(V = 3) || V > 4 ? V*2 : (V ? 1 : 0)"), ""},
        {knife("V + 4.0 + PI"), "1 ownKinds, "},
        {knife("V &amp; 1 = 1") + knife("V || V &amp;&amp; V") + knife("1 ? 2 : 3 ? 4 : 5"),
         "2 ownPrecedence, 1 leftConditionals, "},
        {knife("V ** 2 ** 1") + knife("1 0") + knife("V - 1"), "1 leftPowers, 1 blanksJoin, "},
        {knife("V == 1 || V.Min != 2"), "1 fewerSymbols, 1 plainNames, "},
        {"<Converter><Constant Name='C'>1</Constant><Expression Name='E'>2</Expression></Converter>",
         "2 plainFormulas, "},
        {"<Converter><FormulaTo>FROM</FormulaTo><pValue>W</pValue></"
         "Converter><Converter><FormulaTo>ROUND(FROM)"
         "</FormulaTo><pValue>W</pValue></Converter><Float><ImposedAccessMode>RO</ImposedAccessMode><pValue>W"
         "</pValue></Float>",
         "1 truncatingConverters, "},
        {"<String/><Integer><pIndex>I</pIndex></Integer><Float><pValueCopy>I</pValueCopy></Float>",
         "1 noStringNodes, 1 noIndexedValues, 1 noValueCopies, "},
        {reg("R", 0, 4,
             "<pInvalidator>I</pInvalidator><pInvalidator>W</pInvalidator><pInvalidator>No"
             "</pInvalidator><pIndex>I</pIndex><pIndex Offset='4'>I</pIndex>") +
             "<Command><pInvalidator>W</pInvalidator></Command>",
         "2 registersInvalidateOnly, 1 plainIndexIgnored, 1 littleEndianWords, "},
        {feature("<Float Name='A'><pValue>W</pValue></Float>"),
         "1 truncatingConverters, 1 positiveFloatMinimum, 1 ownLimitsOnly, "},
        {feature("<Integer Name='A'><pValue>W</pValue><Min>1</Min><pMax>I</pMax><Inc>2</Inc></Integer>"),
         "1 incrementsFromZero, "},
        {feature(
             "<Integer Name='A'><pValue>N</pValue><Min>0</Min><Max>9</Max><pSelected>I</pSelected></Integer>") +
             reg("N", 0, 4,
                 "<Sign>Signed</Sign><Endianess>BigEndian</Endianess><Cachable>NoCache</Cachable><PollingTime>5</PollingTime>"),
         "1 volatileStopsWrites, "},
        {"<StructReg><AccessMode>RO</AccessMode><Sign>Signed</Sign><pSelected>I</pSelected><StructEntry>"
         "<AccessMode>RW</AccessMode><Sign>Signed</Sign><pSelected>I</pSelected></StructEntry></StructReg>",
         "1 structRegWins, "},
        {"<Boolean><Value>1</Value></Boolean><Boolean><Value>true</Value><OnValue>1</OnValue></Boolean>",
         "1 wordBooleansOnly, "},
        {"<Integer Name='X'><pIsLocked>I</pIsLocked></Integer><Integer Name='Y'><pValue>X</pValue></Integer>"
         "<Boolean><pValue>Y</pValue></Boolean>",
         "2 ownStatesOnly, "},
        {"<IntReg Name='O'><Sign>Signed</Sign></IntReg>"
         "<Integer><pValue>W</pValue><ImposedAccessMode>RO</ImposedAccessMode></Integer><Boolean><pValue>"
         "I</pValue><ImposedAccessMode>RW</ImposedAccessMode></Boolean><Boolean><pValue>O</pValue>"
         "<ImposedAccessMode>RW</ImposedAccessMode></Boolean>",
         "1 imposedModeWins, "},
        {"<Enumeration Name='M'/><Boolean><pValue>M</pValue><pAlias>M</pAlias></Boolean>", "1 entriesOnly, "},
    };
    for (const auto& row : rows) {
        std::string xml = inRoot(others + writable + row.nodes);
        std::string touched;
        for (const auto& use : genicam::findDifferences(xml.data())) {
            touched += std::to_string(use.count) + ' ' + std::string(use.quirk) + ", ";
        }
        EXPECT_EQ(touched, row.touched) << row.nodes;
    }
    char noTree[] = "<Integer/>";
    EXPECT_TRUE(genicam::findDifferences(noTree).empty());
}

} // namespace
} // namespace test_support
