// From builders to nodes: everything that a description can say, and what absurd ones come to.
#include "genicam/device_fixture.h"
#include "genicam/nodes/ImplGenICamPort.h"
#include "genicam/nodes/formula_nodes.h"

#include <gmock/gmock.h>

#include <QtCore/QRegularExpression>

#include <fstream>
#include <iomanip>
#include <sstream>

using namespace tavo;
using testing::ElementsAre;

namespace test_support {
namespace {

std::string names(const auto& nodes) {
    std::string result;
    for (const auto* node : nodes) {
        result += (result.empty() ? "" : " ") + (node == nullptr ? "null" : node->getName());
    }
    return result;
}

// How the description is read: as this system has it, as the standard has it, and as the standard has it with
// line breaks around each text.
enum Reading { Default, Standard, Wrapped };

class AllKinds : public testing::TestWithParam<Reading> {
public:
    AllKinds() {
        device.expect(
            "@272=0A FF 00; @512=00 00 02 80; @516=FE FF; @520=50 00 00 01; @524=F0 0A; @528=40 20 00 00; "
            "@536=00 00 00 00 00 00 F8 3F; @544=41 42 00 43; @784=AB 01 00 00; @825=01 02 03; @921=04 05 06");
    }

    static std::string readXml() {
        testing::internal::CaptureStdout();
        std::ifstream file(LIOMOL_TEST_GENICAM_DIR "/all_kinds.xml", std::ios::binary);
        std::ostringstream text;
        text << file.rdbuf();
        if (GetParam() != Wrapped) {
            return text.str();
        }
        QString xml = QString::fromStdString(text.str());
        return xml.replace(QRegularExpression(">([^<>]+)</"), ">\r\n\t\\1\n </").toStdString();
    }

    Device device{readXml(), GetParam() != Default};
    const std::string output = testing::internal::GetCapturedStdout();
};

// Summed lies at 0x100 + 0x20 + 1 + 2 * 4 + 1 * 0x10 + 2 * 0x100 with 1 + 2 bytes, Low at 0x300 + 8 + 1 +
// 2 * 2 + 3; the standard adds 0x20 lengths of 3 to the former. Swapped is 0x0AF0 >> 4 & 0xFF = 0xAF; of Bit8
// the struct's Unsigned wins; 640 is not the value of the command Start; and the later node is Mode_On.
TEST_P(AllKinds, ReadAndWriteAsWorkedOutByHand) {
    device.expect(
        "Raw -> 0a ff 00; Defaults -> 00 00; NoPort -> port not available; PortOfAnotherKind -> port not "
        "available; "
        "Summed -> 01 02 03 | 04 05 06; Summed_Inner -> 512; Width -> 640; Small -> -2; HighNibble -> 5; "
        "Bit31 -> 0; "
        "Swapped -> -81; Single -> 2.5; Double -> 1.5; _StructInner -> 3; Low -> 171; Bit8 -> 1 | -1; "
        "Limited -> 30; Unlimited -> 0; Referring -> 640; Gain -> -2.5; FloatDefaults -> 1; "
        "FloatReferring -> 2.5; Stored -> true; Switch -> false; Inverse -> true; Start -> inactive; Held -> "
        "active; Known -> 77; "
        "Mode -> Automatic; Mode_Auto -> Automatic; Constant -> Nine; Constant_Nine -> Nine; "
        "Alone -> Lonely; Mode_On -> 3; Half -> 320; DoubleWidth -> 1280; Broken -> math error; Scaled -> "
        "320; "
        "Shifted -> 998; Root -> Root; Full -> Full");
    EXPECT_EQ(device.get("Text"), GetParam() == Default ? std::string("AB\0C", 4) : "AB");
    EXPECT_THAT(output, testing::StartsWith("Error parsing formula (node: Broken, formula: (1 +"));
    EXPECT_EQ(std::count(output.begin(), output.end(), '\n'), 1);

    device.expect(
        "Width=0x01020304; @512+4 -> 01 02 03 04; Small=-3; @516+2 -> FD FF; Switch=true; "
        "@520+4 -> D0 00 00 01; Inverse=true; @520+4 -> 50 00 00 01; Mode=On; @520+4 -> 20 00 00 01; "
        "Swapped=1; @524+2 -> 10 00; Single=1.5; @528+4 -> 3F C0 00 00; Low=0x12; @784+2 -> 12 01; "
        "Unlimited=9; @512+4 -> 01 02 03 04; Start=; @512+4 -> 00 00 00 07; Relayed=; @512+4 -> 00 00 00 02; "
        "Scaled=100; @512+4 -> 00 00 00 C8; Shifted=1005; @516+2 -> 05 00; Scaled=-1; "
        "@512+4 -> FF FF FF FE");
}

// Kind, namespace, texts, visibility, imposed and effective access, streamable, alias; then what its
// interfaces show: limits with increment, representation and unit; address, length, cache mode and polling
// time of a register; selected features.
std::string describe(ImplGenICamNode& node) {
    std::ostringstream out;
    out << std::setprecision(16) << node.getNodeType() << '|' << node.getNamespace() << '|'
        << node.getToolTip() << '|' << node.getDescription() << '|' << node.getDisplayName() << '|'
        << node.getEventID() << '|' << int(node.getVisibility()) << '|' << int(node.getImposedAccessMode())
        << '|' << int(node.getAccessMode()) << '|' << node.isStreamable() << '|'
        << (node.hasAliasNode() ? node.getAliasNode()->getName() : "");
    if (auto* const integer = dynamic_cast<GenICamIntegerInterface*>(&node)) {
        out << " [" << integer->getMin() << ' ' << integer->getMax() << ' ' << integer->getInc() << "] "
            << int(integer->getRepresentation());
    }
    if (auto* const real = dynamic_cast<GenICamFloatInterface*>(&node)) {
        out << " [" << real->getMin() << ' ' << real->getMax() << "] " << int(real->getRepresentation())
            << real->getUnit();
    }
    if (auto* const place = dynamic_cast<ImplGenICamRegister*>(&node)) {
        out << " @" << place->getAddress() << '+' << place->getLength() << " cache "
            << int(place->getCacheMode()) << '/' << place->getPollingTime();
    }
    if (auto* const selector = dynamic_cast<GenICamSelectorInterface*>(&node)) {
        out << " >" << names(selector->getSelectedFeatures());
    }
    return out.str();
}

// What the standard has where the only difference is the minimum of doubles.
std::string lowestMinimum(std::string properties) {
    const std::string positive = "[2.225073858507201e-308 ";
    const std::size_t place = properties.find(positive);
    return place == std::string::npos
               ? properties
               : properties.replace(place, positive.size(), "[-1.797693134862316e+308 ");
}

TEST_P(AllKinds, HaveTheirProperties) {
    const struct {
        const char* node;
        std::string properties;
        std::string standard = lowestMinimum(properties);
    } rows[] = {
        {"Full", "6|Standard|tip|a <long> story|Full Node|0900A|3|2|0|1|Width",
         "6|Own|tip|a <long> story|Full Node|0900A|3|2|0|1|Width"},
        {"Bare", "6|Custom|||||0|0|0|0|"},
        {"Raw", "7|Custom|||||4|0|3|0| @272+3 cache 3/250"},
        {"Defaults", "7|Custom|||||0|0|1|0| @0+2 cache 1/1000"},
        {"Summed", "7|Custom|||||0|0|1|0| @825+3 cache 1/1000", "7|Custom|||||0|0|1|0| @921+3 cache 1/1000"},
        {"Width", "15|Custom|||||0|0|3|0| [0 4294967295 1] 5 @512+4 cache 2/1000 >"},
        {"Small", "15|Custom|||||0|0|3|0| [-32768 32767 1] 0 @516+2 cache 1/1000 >Gain"},
        {"Swapped", "16|Custom|||||0|0|3|0| [-128 127 1] 0 @524+2 cache 1/1000 >"},
        {"Single",
         "11|Custom|||||0|0|3|0| [1.175494350822288e-38 3.402823466385289e+38] 2ms @528+4 cache 1/1000",
         "11|Custom|||||0|0|3|0| [-3.402823466385289e+38 3.402823466385289e+38] 2ms @528+4 cache 1/1000"},
        {"Double",
         "11|Custom|||||0|0|3|0| [2.225073858507201e-308 1.797693134862316e+308] 0 @536+8 cache 1/1000"},
        {"Text", "18|Custom|||||0|0|3|0| @544+4 cache 1/1000"},
        {"Low", "16|Custom|low byte||||0|0|3|0| [0 255 1] 0 @784+4 cache 1/1000 >Gain Width",
         "16|Custom|low byte||||0|0|1|0| [0 255 1] 0 @784+4 cache 1/1000 >Gain Width"},
        {"Bit8", "16|Custom|||||0|0|3|0| [0 1 1] 0 @784+4 cache 1/1000 >Width",
         "16|Custom|||||0|0|3|0| [-1 0 1] 0 @784+4 cache 1/1000 >Width"},
        {"Limited", "14|Custom|||||0|0|3|0| [10 100 5] 1 >"},
        {"Unlimited", "14|Custom|||||0|0|3|0| [-9223372036854775808 9223372036854775807 1] 0 >Width"},
        {"Gain", "12|Custom|||||0|0|3|0| [-10 12.5] 4dB"},
        {"FloatDefaults", "12|Custom|||||0|0|3|0| [2.225073858507201e-308 1.797693134862316e+308] 0"},
        {"Mode", "10|Custom|||||0|0|3|0| >Raw"},
        {"Half", "20|Custom|||||0|0|1|0| [2.225073858507201e-308 1.797693134862316e+308] 1s"},
        {"DoubleWidth", "21|Custom|||||0|0|1|0| [-9223372036854775808 9223372036854775807 1] 5"},
        {"Scaled", "8|Custom|||||0|0|3|0| [2.225073858507201e-308 1.797693134862316e+308] 2um",
         "8|Custom|||||0|0|3|0| [0 2147483647.5] 2um"},
        {"Shifted", "13|Custom|||||0|0|3|0| [-9223372036854775808 9223372036854775807 1] 5",
         "13|Custom|||||0|0|3|0| [33767 -31768 1] 5"},
    };
    for (const auto& [node, properties, standard] : rows) {
        EXPECT_EQ(describe(device.node(node)), GetParam() == Default ? properties : standard) << node;
    }
    for (int i = 1; i <= 7; ++i) {
        EXPECT_EQ(device.camera.getNodeByName("Unknown" + std::to_string(i)), nullptr) << i;
    }
    EXPECT_TRUE(device.node("Full").isImplemented());
    EXPECT_FALSE(device.node("Full").isAvailable());
    EXPECT_TRUE(device.node("Full").isLocked());
    EXPECT_EQ(device.as<ImplGenICamInteger>("Limited").getUnit(), "px");
    EXPECT_EQ(int(device.as<ImplGenICamConverter>("Scaled").getSlope()), 1);
    EXPECT_EQ(int(device.as<ImplGenICamIntConverter>("Shifted").getSlope()), 2);
    EXPECT_EQ(device.as<ImplGenICamIntConverter>("Shifted").getUnit(), "kg");

    const DeviceHeader& header = device.camera.header();
    EXPECT_EQ(header.modelName, "Model & More");
    EXPECT_EQ(header.vendorName + header.toolTip + header.standardNamespace, "VendorTipGEV");
    EXPECT_EQ(header.productGuid + header.versionGuid, "P-1V-2");
    EXPECT_THAT(
        (std::vector{
            header.majorVersion, header.minorVersion, header.subMinorVersion, header.schemaMajorVersion,
            header.schemaMinorVersion, header.schemaSubMinorVersion}),
        ElementsAre(16, 7, GetParam() == Default ? 8 : 10, 1, 1, 2));
    EXPECT_EQ(device.as<ImplGenICamPort>("Device").getChunkId(), GetParam() == Default ? 12 : 0x12);
    EXPECT_EQ(int(device.as<ImplGenICamPort>("Device").getSwapEndianess()), 1);
    EXPECT_EQ(device.as<ImplGenICamPort>("ChunkPort").getChunkId(), 0x1234);
    EXPECT_EQ(names(device.as<ImplGenICamCategory>("Root").getFeatures()), "Mode Gain Mode");
    EXPECT_EQ(device.as<ImplGenICamCommand>("Start").getPollingTime(), 20);
    EXPECT_EQ(device.as<ImplGenICamBoolean>("Inverse").getOnValue(), 0);
    EXPECT_EQ(device.as<ImplGenICamBoolean>("Switch").getOnValue(), 1);

    auto& mode = device.as<ImplGenICamEnumeration>("Mode");
    EXPECT_EQ(names(mode.getEntries()), "Mode_Off Mode_On Mode_Auto");
    ASSERT_NE(mode.getEntryBySymbol("On"), nullptr); // although a Float bears the entry's name
    EXPECT_EQ(mode.getEntryBySymbol("On")->getDisplayName(), "Switched on");
}

INSTANTIATE_TEST_SUITE_P(
    Read, AllKinds, testing::Values(Default, Standard, Wrapped), [](const auto& reading) {
        return std::string(std::array{"Default", "Standard", "Wrapped"}[reading.param]);
    });

// "V" is volatile, and every node that depends on it is so, too.
TEST(Dependencies, FollowFromReferences) {
    struct Row {
        const char* kind;
        std::vector<std::string> dependent, independent; // what an element "pName" of a kind makes of it
    };
    const Row rows[] = {
        {"Node", {"pIsImplemented", "pIsAvailable", "pIsLocked"}, {"pAlias", "pValue"}},
        {"Integer", {"pValue", "pMin", "pMax", "pInc", "pIsLocked"}, {"pSelected"}},
        {"Float", {"pValue", "pMin", "pMax"}, {"pInc"}},
        {"Boolean", {"pValue"}, {}},
        {"Command", {"pValue", "pCommandValue"}, {}},
        {"Enumeration", {"pValue"}, {"pSelected", "pEnumEntry"}}, // V is no entry
        {"Category", {}, {"pFeature"}},
        {"Port", {"pChunkID"}, {}},
        {"SwissKnife", {"pVariable Name='X'"}, {}},
        {"IntSwissKnife", {"pVariable Name='X'"}, {}},
        {"Converter", {"pValue", "pVariable Name='X'"}, {}},
        {"IntConverter", {"pValue", "pVariable Name='X'"}, {}}};
    const std::string formulas = "<Formula>1</Formula><FormulaTo>1</FormulaTo><FormulaFrom>1</FormulaFrom>";
    const auto isVolatile = [&](const std::string& kind, const std::string& inner) {
        return Device(inRoot(
                          "<" + kind + " Name='A'>" + inner + formulas + "</" + kind + ">" +
                          reg("V", 0, 4, caching("NoCache"))))
            .node("A")
            .isVolatile();
    };
    const auto referring = [](const std::string& element) {
        return "<" + element + "> V\n</" + element.substr(0, element.find(' ')) + ">";
    };
    for (const Row& row : rows) {
        for (const std::string& element : row.dependent) {
            EXPECT_TRUE(isVolatile(row.kind, referring(element))) << row.kind << ' ' << element;
        }
        for (const std::string& element : row.independent) {
            EXPECT_FALSE(isVolatile(row.kind, referring(element))) << row.kind << ' ' << element;
        }
    }
    EXPECT_TRUE(isVolatile("Enumeration", "<EnumEntry Name='E'><pIsAvailable>V</pIsAvailable></EnumEntry>"));
}

std::string times(int count, const std::string& text) {
    std::string all;
    for (int i = 0; i < count; ++i) {
        all += text;
    }
    return all;
}

TEST(Stages, RefuseDescriptionsThatGrowBeyondReason) {
    const std::string longText(20000, 'x');
    const struct {
        const char* name;
        std::string nodes;
    } rows[] = {
        {"elements of a StructReg", "<StructReg>" + times(2000, "<pInvalidator>R</pInvalidator>") +
                                        times(2000, "<StructEntry/>") + "</StructReg>"},
        {"texts of a StructReg",
         "<StructReg><ToolTip>" + longText + "</ToolTip>" + times(4000, "<StructEntry/>") + "</StructReg>"},
        {"an Enumeration's name",
         "<Enumeration Name='" + longText + "'>" + times(2000, "<EnumEntry/>") + "</Enumeration>"},
        {"a register's name",
         "<IntReg Name='" + longText + "'>" + times(2000, "<IntSwissKnife/>") + "</IntReg>"},
        {"indexes of a StructReg",
         "<StructReg>" + times(500, "<pIndex>I</pIndex>") + times(1000, "<StructEntry/>") + "</StructReg>"},
        {"nodes", times(100000, "<Node/>")},
        {"formulas", times(60, "<SwissKnife><Formula>" + times(10000, "1+1+") + "1</Formula></SwissKnife>")},
    };
    for (const auto& row : rows) {
        EXPECT_THROW(Device(inRoot(row.nodes)), std::length_error) << row.name;
    }
    testing::internal::CaptureStdout();
    for (const char* const markup : {"<a/>", "<![CDATA[]]>", "<!---->x"}) {
        EXPECT_THROW(Device(inRoot("<Node>" + times(1000000, markup) + "</Node>")), std::runtime_error);
    }
    EXPECT_THROW(Device(inRoot("<Node" + times(1000000, " a=''") + "/>")), std::runtime_error);
    testing::internal::GetCapturedStdout();
}

TEST(Stages, SpreadChangesToEachNodeOnceWhateverNamesItHowOften) {
    Device device(inRoot(
        reg("R", 0, 4) + "<Integer Name='S'>" + times(1000, "<pSelected>T</pSelected>") + "</Integer>" +
        reg("T", 4, 4, times(1000, "<pInvalidator>R</pInvalidator>"))));
    device.expect("T -> 0; #T -> 0r 0w; R=1; #T -> 1r 0w; S=1; #T -> 1r 0w");
}

} // namespace
} // namespace test_support
