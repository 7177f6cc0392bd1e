// From builders to nodes: everything that a description can say, and what absurd ones come to.
#include "genicam/GenICamParser.h"
#include "genicam/GenICamTreeBuilder.h"
#include "genicam/ImplGenICamCamera.h"
#include "genicam/ImplGenICamPort.h"
#include "genicam/ImplGenICamRegister.h"
#include "genicam/ImplGenICamValues.h"
#include "genicam/formula_nodes.h"
#include "support/generated_description.h"
#include "support/memory_port.h"

#include <gmock/gmock.h>

#include <fstream>
#include <limits>
#include <sstream>

using namespace tavo;
using test_support::MemoryPort;
using testing::ElementsAre;

namespace {

// A device with a camera in memory. The stages run on the test's thread.
class Camera {
public:
    explicit Camera(std::string xml) {
        device.setPort(&port, "Device");
        const auto root = GenICamParser().parseMemory(xml.data());
        if (root == nullptr) {
            throw std::runtime_error("no tree");
        }
        for (const auto stage :
             {GenICamTreeBuilder::CreateNodes, GenICamTreeBuilder::ResolveReferences,
              GenICamTreeBuilder::ReleaseTree}) {
            root->propagateInitStage(stage, &device);
        }
        EXPECT_TRUE(root->getAllObjects().empty());
    }

    ImplGenICamNode& node(const std::string& name) const {
        ImplGenICamNode* const found = device.findNode(name);
        if (found == nullptr) {
            throw std::runtime_error("no node " + name);
        }
        return *found;
    }
    template<class Kind> Kind& as(const std::string& name) const { return dynamic_cast<Kind&>(node(name)); }

    // The value as text, or the code of what was thrown.
    std::string value(const std::string& name) const {
        try {
            return node(name).getValueAsString();
        } catch (const GenICamException& error) {
            return std::to_string(error.getErrno());
        } catch (const CoreException& error) {
            return std::to_string(error.getErrno());
        }
    }

    MemoryPort port;
    ImplGenICamCamera device;
};

std::string inRoot(const std::string& inner) {
    return "<RegisterDescription><Port Name='Device'/>" + inner + "</RegisterDescription>";
}

std::string names(const auto& nodes) {
    std::string result;
    for (const auto* node : nodes) {
        result += (result.empty() ? "" : " ") + (node == nullptr ? "null" : node->getName());
    }
    return result;
}

class AllKinds : public testing::Test {
public:
    AllKinds() {
        camera.port.put(0x110, {0x0A, 0xFF, 0x00});
        camera.port.put(0x200, {0x00, 0x00, 0x02, 0x80});
        camera.port.put(0x204, {0xFE, 0xFF});
        camera.port.put(0x208, {0x50, 0x00, 0x00, 0x01});
        camera.port.put(0x20C, {0xF0, 0x0A});
        camera.port.put(0x210, {0x40, 0x20, 0x00, 0x00});
        camera.port.put(0x218, {0, 0, 0, 0, 0, 0, 0xF8, 0x3F});
        camera.port.put(0x220, {'A', 'B', 0, 'C'});
        camera.port.put(0x310, {0xAB, 0x01, 0x00, 0x00});
        camera.port.put(0x339, {1, 2, 3});
    }

    static std::string readXml() {
        testing::internal::CaptureStdout();
        std::ifstream file(LIOMOL_TEST_GENICAM_DIR "/all_kinds.xml", std::ios::binary);
        std::ostringstream text;
        text << file.rdbuf();
        return text.str();
    }

    Camera camera{readXml()};
    const std::string output = testing::internal::GetCapturedStdout();
};

TEST_F(AllKinds, ReadAsWorkedOutByHand) {
    struct Row {
        const char* node;
        std::string value;
    };
    const Row rows[] = {
        {"Raw", "0a ff 00"},
        {"Defaults", "00 00"},
        {"NoPort", "-40010"},
        {"PortOfAnotherKind", "-40010"},
        {"Summed", "01 02 03"}, // 0x100 + 0x20 + 1 + 2 * 4 + 1 * 0x10 + 2 * 0x100, 1 + 2 bytes
        {"Summed_Inner", "512"},
        {"Width", "640"},
        {"Small", "-2"},
        {"HighNibble", "5"},
        {"Bit31", "0"},
        {"Swapped", "-81"}, // 0x0AF0 >> 4 & 0xFF = 0xAF
        {"Single", "2.5"},
        {"Double", "1.5"},
        {"Text", std::string("AB\0C", 4)},
        {"_StructInner", "3"},
        {"Low", "171"}, // 0x300 + 8 + 1 + 2 * 2 + 3
        {"Bit8", "1"},  // the struct's Unsigned wins
        {"Limited", "30"},
        {"Unlimited", "0"},
        {"Referring", "640"},
        {"Gain", "-2.5"},
        {"FloatDefaults", "1"},
        {"FloatReferring", "2.5"},
        {"Stored", "true"},
        {"Switch", "false"},
        {"Inverse", "true"},
        {"Start", "inactive"}, // 640 is not the command's value
        {"Mode", "Automatic"},
        {"Mode_Auto", "Automatic"},
        {"Constant", "Nine"},
        {"Constant_Nine", "Nine"},
        {"Alone", "Lonely"},
        {"Mode_On", "3"}, // the later node of that name
        {"Half", "320"},
        {"DoubleWidth", "1280"},
        {"Broken", "-40009"},
        {"Scaled", "320"},
        {"Shifted", "998"},
        {"Root", "Root"},
        {"Full", "Full"}};
    for (const Row& row : rows) {
        EXPECT_EQ(camera.value(row.node), row.value) << row.node;
    }
    EXPECT_THAT(output, testing::StartsWith("Error parsing formula (node: Broken, formula: (1 + ): "));
    EXPECT_EQ(std::count(output.begin(), output.end(), '\n'), 1);
}

TEST_F(AllKinds, HaveTheirCommonProperties) {
    const auto describe = [](const ImplGenICamNode& node) {
        std::ostringstream out;
        out << node.getNodeType() << '|' << node.getNamespace() << '|' << node.getToolTip() << '|'
            << node.getDescription() << '|' << node.getDisplayName() << '|' << node.getEventID() << '|'
            << int(node.getVisibility()) << '|' << int(node.getImposedAccessMode()) << '|'
            << int(node.getAccessMode()) << '|' << node.isStreamable() << '|'
            << (node.hasAliasNode() ? node.getAliasNode()->getName() : "");
        return out.str();
    };
    struct Row {
        const char* node;
        std::string
            properties; // kind, namespace, texts, visibility, imposed and effective access, streamable
    };
    const Row rows[] = {
        {"Full", "6|Standard|tip|a <long> story|Full Node|0900A|3|2|0|1|Width"},
        {"Bare", "6|Custom|||||0|0|0|0|"},
        {"Raw", "7|Custom|||||4|0|3|0|"},
        {"Defaults", "7|Custom|||||0|0|1|0|"},
        {"Low", "16|Custom|low byte||||0|0|3|0|"}, // the struct's access mode wins
        {"Root", "4|Custom|||||0|0|0|0|"},
        {"Limited", "14|Custom|||||0|0|3|0|"},
        {"Mode", "10|Custom|||||0|0|3|0|"},
        {"Mode_Off", "9|Custom|||Off||0|0|0|0|"},
        {"Half", "20|Custom|||||0|0|1|0|"},
        {"Scaled", "8|Custom|||||0|0|3|0|"},
        {"Summed_Inner", "21|Custom|||||0|0|1|0|"},
        {"Device", "17|Custom|||||0|0|0|0|"}};
    for (const Row& row : rows) {
        EXPECT_EQ(describe(camera.node(row.node)), row.properties) << row.node;
    }
    EXPECT_TRUE(camera.node("Full").isImplemented());
    EXPECT_FALSE(camera.node("Full").isAvailable());
    EXPECT_TRUE(camera.node("Full").isLocked());
}

TEST_F(AllKinds, HaveTheirLimits) {
    constexpr std::int64_t lowest = std::numeric_limits<std::int64_t>::min();
    constexpr std::int64_t highest = std::numeric_limits<std::int64_t>::max();
    struct IntegerRow {
        const char* node;
        std::int64_t min, max, inc;
        int representation;
    };
    const IntegerRow integers[] = {{"Limited", 10, 100, 5, 1},
                                   {"Unlimited", lowest, highest, 1, 0},
                                   {"Referring", 2, -2, 1, 0},
                                   {"Width", 0, 0xFFFFFFFF, 1, 5},
                                   {"Small", -32768, 32767, 1, 0},
                                   {"HighNibble", 0, 15, 1, 0},
                                   {"Bit31", 0, 1, 1, 0},
                                   {"Swapped", -128, 127, 1, 0},
                                   {"Low", 0, 255, 1, 0},
                                   {"Bit8", 0, 1, 1, 0},
                                   {"DoubleWidth", lowest, highest, 1, 5},
                                   {"Shifted", lowest, highest, 1, 0}};
    for (const IntegerRow& row : integers) {
        auto& node = camera.as<GenICamIntegerInterface>(row.node);
        EXPECT_EQ(node.getMin(), row.min) << row.node;
        EXPECT_EQ(node.getMax(), row.max) << row.node;
        EXPECT_EQ(node.getInc(), row.inc) << row.node;
        EXPECT_EQ(int(node.getRepresentation()), row.representation) << row.node;
    }
    struct FloatRow {
        const char* node;
        double min, max;
        int representation;
        const char* unit;
    };
    const FloatRow floats[] = {
        {"Gain", -10, 12.5, 4, "dB"},
        {"FloatDefaults", 2.2250738585072014e-308, 1.7976931348623157e308, 0, ""},
        {"FloatReferring", -2.5, 640, 0, ""},
        {"Single", 1.1754944e-38, 3.4028235e38, 2, "ms"},
        {"Half", 2.2250738585072014e-308, 1.7976931348623157e308, 1, "s"},
        {"Scaled", 2.2250738585072014e-308, 1.7976931348623157e308, 2, "um"}};
    for (const FloatRow& row : floats) {
        auto& node = camera.as<GenICamFloatInterface>(row.node);
        EXPECT_EQ(node.getMin(), row.min) << row.node;
        EXPECT_EQ(node.getMax(), row.max) << row.node;
        EXPECT_EQ(int(node.getRepresentation()), row.representation) << row.node;
        EXPECT_EQ(node.getUnit(), row.unit) << row.node;
    }
    EXPECT_EQ(camera.as<ImplGenICamInteger>("Limited").getUnit(), "px");
    EXPECT_EQ(int(camera.as<ImplGenICamConverter>("Scaled").getSlope()), 1);
    EXPECT_EQ(int(camera.as<ImplGenICamIntConverter>("Shifted").getSlope()), 2);
}

TEST_F(AllKinds, HaveTheirOtherProperties) {
    const DeviceHeader& header = camera.device.header();
    EXPECT_EQ(header.modelName, "Model & More");
    EXPECT_EQ(header.vendorName + header.toolTip + header.standardNamespace, "VendorTipGEV");
    EXPECT_EQ(header.productGuid + header.versionGuid, "P-1V-2");
    EXPECT_THAT(
        (std::vector{
            header.majorVersion, header.minorVersion, header.subMinorVersion, header.schemaMajorVersion,
            header.schemaMinorVersion, header.schemaSubMinorVersion}),
        ElementsAre(16, 7, 8, 1, 1, 2));

    using Register = ImplGenICamRegister;
    EXPECT_EQ(camera.as<Register>("Raw").getAddress(), 0x110);
    EXPECT_EQ(camera.as<Register>("Raw").getPollingTime(), 250);
    EXPECT_EQ(int(camera.as<Register>("Raw").getCacheMode()), 3);
    EXPECT_EQ(camera.as<Register>("Defaults").getPollingTime(), 1000);
    EXPECT_EQ(int(camera.as<Register>("Defaults").getCacheMode()), 1);
    EXPECT_EQ(int(camera.as<Register>("Width").getCacheMode()), 2);
    EXPECT_EQ(camera.as<Register>("Summed").getAddress(), 0x339);
    EXPECT_EQ(camera.as<Register>("Summed").getLength(), 3);
    EXPECT_EQ(camera.as<Register>("Low").getAddress(), 0x310);
    EXPECT_EQ(camera.as<Register>("Bit8").getAddress(), 0x310);

    EXPECT_EQ(camera.as<ImplGenICamPort>("Device").getChunkId(), 5);
    EXPECT_EQ(int(camera.as<ImplGenICamPort>("Device").getSwapEndianess()), 1);
    EXPECT_EQ(camera.as<ImplGenICamPort>("ChunkPort").getChunkId(), 0x1234);
    EXPECT_EQ(names(camera.as<ImplGenICamCategory>("Root").getFeatures()), "Mode Gain Mode");
    EXPECT_EQ(camera.as<ImplGenICamCommand>("Start").getPollingTime(), 20);
    EXPECT_EQ(camera.as<ImplGenICamBoolean>("Inverse").getOnValue(), 0);
    EXPECT_EQ(camera.as<ImplGenICamBoolean>("Switch").getOnValue(), 1);

    auto& mode = camera.as<ImplGenICamEnumeration>("Mode");
    EXPECT_EQ(names(mode.getEntries()), "Mode_Off Mode_On Mode_Auto");
    ASSERT_NE(mode.getEntryBySymbol("On"), nullptr); // although a Float bears the entry's name
    EXPECT_EQ(mode.getEntryBySymbol("On")->getDisplayName(), "Switched on");

    struct SelectedRow {
        const char* selector;
        const char* selected;
    };
    for (const auto& [selector, selected] : std::initializer_list<SelectedRow>{
             {"Small", "Gain"}, {"Low", "Gain"}, {"Unlimited", "Width"}, {"Mode", "Raw"}, {"Width", ""}}) {
        EXPECT_EQ(names(camera.as<GenICamSelectorInterface>(selector).getSelectedFeatures()), selected);
    }
}

TEST_F(AllKinds, WriteAsWorkedOutByHand) {
    struct Row {
        const char* name;
        std::function<void()> write;
        long long address;
        std::vector<unsigned char> bytes;
    };
    const Row rows[] = {
        {"IntReg",
         [&] { camera.as<GenICamIntegerInterface>("Width").setValue(0x01020304); },
         0x200,
         {1, 2, 3, 4}},
        {"little-endian",
         [&] { camera.as<GenICamIntegerInterface>("Small").setValue(-3); },
         0x204,
         {0xFD, 0xFF}},
        {"Boolean", [&] { camera.as<ImplGenICamBoolean>("Switch").setValue(true); }, 0x208, {0xD0, 0, 0, 1}},
        {"inverse", [&] { camera.as<ImplGenICamBoolean>("Inverse").setValue(true); }, 0x208, {0x50, 0, 0, 1}},
        {"Enumeration",
         [&] { camera.as<ImplGenICamEnumeration>("Mode").setStringValue("On"); },
         0x208,
         {0x20, 0, 0, 1}},
        {"swapped field",
         [&] { camera.as<GenICamIntegerInterface>("Swapped").setValue(1); },
         0x20C,
         {0x10, 0x00}},
        {"FloatReg",
         [&] { camera.as<ImplGenICamFloatReg>("Single").setValue(1.5); },
         0x210,
         {0x3F, 0xC0, 0, 0}},
        {"struct entry", [&] { camera.as<GenICamIntegerInterface>("Low").setValue(0x12); }, 0x310, {0x12, 1}},
        {"Integer", [&] { camera.as<ImplGenICamInteger>("Unlimited").setValue(9); }, 0x200, {1, 2, 3, 4}},
        {"Command", [&] { camera.as<ImplGenICamCommand>("Start").execute(); }, 0x200, {0, 0, 0, 7}},
        {"pCommandValue", [&] { camera.as<ImplGenICamCommand>("Relayed").execute(); }, 0x200, {0, 0, 0, 2}},
        {"Converter",
         [&] { camera.as<ImplGenICamConverter>("Scaled").setValue(100); },
         0x200,
         {0, 0, 0, 200}},
        {"IntConverter",
         [&] { camera.as<ImplGenICamIntConverter>("Shifted").setValue(1005); },
         0x204,
         {5, 0}},
        {"negative through a Converter",
         [&] { camera.as<ImplGenICamConverter>("Scaled").setValue(-1); },
         0x200,
         {0xFF, 0xFF, 0xFF, 0xFE}}};
    for (const Row& row : rows) {
        row.write();
        EXPECT_EQ(camera.port.bytes(row.address, static_cast<long long>(row.bytes.size())), row.bytes)
            << row.name;
    }
}

// "V" is volatile, and every node that depends on it is so, too.
TEST(Dependencies, FollowFromReferences) {
    struct Row {
        const char* kind;
        const char* inner;
        bool dependsOnV = true;
    };
    const Row rows[] = {
        {"Node", "<pIsImplemented>V</pIsImplemented>"},
        {"Node", "<pIsAvailable> V\n</pIsAvailable>"},
        {"Node", "<pIsLocked>V</pIsLocked>"},
        {"Node", "<pAlias>V</pAlias>", false},
        {"Node", "<pValue>V</pValue>", false},
        {"Integer", "<pValue>V</pValue>"},
        {"Integer", "<pMin>V</pMin>"},
        {"Integer", "<pMax>V</pMax>"},
        {"Integer", "<pInc>V</pInc>"},
        {"Integer", "<pSelected>V</pSelected>", false},
        {"Integer", "<pIsLocked>V</pIsLocked>"},
        {"Float", "<pValue>V</pValue>"},
        {"Float", "<pMin>V</pMin>"},
        {"Float", "<pMax>V</pMax>"},
        {"Float", "<pInc>V</pInc>", false},
        {"Boolean", "<pValue>V</pValue>"},
        {"Command", "<pValue>V</pValue>"},
        {"Command", "<pCommandValue>V</pCommandValue>"},
        {"Enumeration", "<pValue>V</pValue>"},
        {"Enumeration", "<pEnumEntry>V</pEnumEntry>", false}, // no entry
        {"Enumeration", "<EnumEntry Name='E'><pIsAvailable>V</pIsAvailable></EnumEntry>"},
        {"Enumeration", "<pSelected>V</pSelected>", false},
        {"Category", "<pFeature>V</pFeature>", false},
        {"Port", "<pChunkID>V</pChunkID>"},
        {"SwissKnife", "<Formula>X</Formula><pVariable Name='X'>V</pVariable>"},
        {"IntSwissKnife", "<Formula>X</Formula><pVariable Name='X'>\nV </pVariable>"},
        {"Converter", "<FormulaTo>1</FormulaTo><FormulaFrom>1</FormulaFrom><pValue>V</pValue>"},
        {"Converter",
         "<FormulaTo>1</FormulaTo><FormulaFrom>1</FormulaFrom><pVariable Name='X'>V</pVariable>"},
        {"IntConverter", "<FormulaTo>1</FormulaTo><FormulaFrom>1</FormulaFrom><pValue>V</pValue>"}};
    for (const Row& row : rows) {
        const std::string kind = row.kind;
        const Camera camera(inRoot(
            "<" + kind + " Name='A'>" + row.inner + "</" + kind +
            "><IntReg Name='V'><Cachable>NoCache</Cachable></IntReg>"));
        EXPECT_EQ(camera.node("A").isVolatile(), row.dependsOnV) << kind << ' ' << row.inner;
    }
}

// Register "A" is read once and then cached; setting "D" makes it stale when it depends on it.
TEST(Dependencies, OfRegistersMakeThemStale) {
    struct Row {
        const char* inner;
        bool stale = true;
    };
    const Row rows[] = {
        {"", false},
        {"<pAddress>D</pAddress>"},
        {"<pIndex Offset='8'>D</pIndex>"},
        {"<pIndex>D</pIndex>", false},
        {"<pLength>D</pLength>"},
        {"<pIsAvailable>D</pIsAvailable>"},
        {"<IntSwissKnife Name='K'><pVariable Name='D'>D</pVariable><Formula>D</Formula></IntSwissKnife>"},
        {"<pInvalidator>R</pInvalidator>"},
        {"<pInvalidator>D</pInvalidator>", false}, // D is no register
        {"<pSelected>D</pSelected>", false},
        {"<pPort>Device</pPort>", false}};
    for (const Row& row : rows) {
        for (const bool inStruct : {false, true}) {
            const std::string common = std::string(row.inner) +
                                       "<Address>16</Address><Length>4</Length><AccessMode>RW</AccessMode>"
                                       "<pPort>Device</pPort>";
            const Camera camera(inRoot(
                (inStruct
                     ? "<StructReg>" + common + "<StructEntry Name='A'><Bit>0</Bit></StructEntry></StructReg>"
                     : "<IntReg Name='A'>" + common + "</IntReg>") +
                "<Integer Name='D'><Value>0</Value></Integer><IntReg "
                "Name='R'><Address>64</Address><Length>4</Length>"
                "<AccessMode>RW</AccessMode><pPort>Device</pPort></IntReg>"));
            EXPECT_EQ(camera.value("A"), "0") << row.inner;
            EXPECT_EQ(camera.value("A"), "0") << row.inner;
            EXPECT_EQ(camera.port.reads, 1) << row.inner;
            camera.as<ImplGenICamInteger>("D").setValue(0);
            camera.as<ImplGenICamIntReg>("R").setValue(0);
            EXPECT_EQ(camera.value("A"), "0") << row.inner;
            EXPECT_EQ(camera.port.reads, row.stale ? 2 : 1)
                << row.inner << (inStruct ? " in a StructReg" : "");
        }
    }
}

TEST(Stages, LaterNodesOfANameWin) {
    const Camera camera(inRoot(
        "<Float Name='A'><Value>2</Value></Float><Integer Name='A'><Value>3</Value></Integer>"
        "<Integer Name='A'><Value>4</Value></Integer><Boolean Name='A'/><Integer Name='B'><pValue>A</pValue>"
        "</Integer><Integer/><Enumeration Name='E'><EnumEntry "
        "Name='X'><Value>1</Value></EnumEntry><EnumEntry "
        "Name='X'><Value>2</Value></EnumEntry></Enumeration>"));
    EXPECT_EQ(camera.value("B"), "4"); // Integers come after Booleans and Floats
    const auto& entries = camera.as<ImplGenICamEnumeration>("E").getEntries();
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_EQ(entries[0]->getValue(), 1);
    EXPECT_EQ(entries[1]->getValue(), 2);
}

TEST(Stages, BindTheLatestVariableOfAName) {
    const Camera camera(inRoot(
        "<SwissKnife Name='S'><pVariable Name='b'>One</pVariable><pVariable "
        "Name='A'>One</pVariable><pVariable "
        "Name='B'>Two</pVariable><pVariable Name='C'>Two</pVariable><pVariable "
        "Name='c'>Missing</pVariable><Formula>"
        "10 * A + B</Formula></SwissKnife><SwissKnife Name='T'><pVariable Name='C'>Two</pVariable><pVariable "
        "Name='c'>Missing</pVariable><pVariable Name='D'>Yes</pVariable><Formula>C</Formula></SwissKnife>"
        "<SwissKnife Name='U'><pVariable Name='D'>Yes</pVariable><Formula>D</Formula></SwissKnife>"
        "<Integer Name='One'><Value>1</Value></Integer><Integer Name='Two'><Value>2</Value></Integer>"
        "<Boolean Name='Yes'/>"));
    EXPECT_EQ(camera.value("S"), "12");
    EXPECT_EQ(camera.value("T"), "-40009");
    EXPECT_EQ(camera.value("U"), "-40009"); // neither an integer nor a float
}

TEST(Stages, BearReferencesInCircles) {
    const Camera camera(inRoot(
        "<Integer Name='A'><pValue>B</pValue><pMin>A</pMin></Integer><Integer Name='B'><pValue>A</pValue>"
        "</Integer><Category Name='C'><pFeature>C</pFeature></Category><IntSwissKnife Name='K'><pVariable "
        "Name='K'>K"
        "</pVariable><Formula>K+1</Formula></IntSwissKnife><IntReg "
        "Name='R'><Length>4</Length><pAddress>R</pAddress>"
        "<pPort>Device</pPort><pInvalidator>R</pInvalidator></IntReg><Integer Name='L'><Value>1</Value>"
        "<pIsLocked>L</pIsLocked><pSelected>L</pSelected></Integer>"));
    for (const char* name : {"A", "B", "K", "R"}) {
        EXPECT_EQ(camera.value(name), "-40007") << name;
    }
    EXPECT_EQ(camera.value("L"), "1");
}

TEST(Stages, RefuseDescriptionsThatMultiplyThemselves) {
    std::string elements;
    std::string entries;
    for (int i = 0; i < 2000; ++i) {
        elements += "<pInvalidator>R</pInvalidator>";
        entries += "<StructEntry Name='E" + std::to_string(i) + "'/>";
    }
    EXPECT_THROW(Camera(inRoot("<StructReg>" + elements + entries + "</StructReg>")), std::length_error);
}

// All values of a tree, whatever they are: nothing may crash or hang.
void readEverything(const Camera& camera) {
    for (const GenICamNode* const node : camera.device.getNodes()) {
        camera.value(node->getName());
    }
}

TEST(Stages, BearDamagedDescriptions) {
    const std::string xml = inRoot(
        "<StructReg><Address>0</Address><Length>2</Length><IntSwissKnife Name='K'><pVariable "
        "Name='X'>I</pVariable>"
        "<Formula>X*2</Formula></IntSwissKnife><pIndex Offset='2'>I</pIndex><StructEntry "
        "Name='S'><LSB>3</LSB>"
        "<MSB>1</MSB></StructEntry></StructReg><Integer Name='I'><Value>1</Value><pMax>E</pMax></Integer>"
        "<Enumeration Name='E'><EnumEntry "
        "Name='On'><Value>1</Value></EnumEntry><pValue>I</pValue></Enumeration>"
        "<Converter Name='C'><FormulaTo>FROM/2</FormulaTo><FormulaFrom>TO*2</FormulaFrom><pValue>S</pValue>"
        "</Converter>");
    readEverything(Camera(xml));
    testing::internal::CaptureStdout();
    for (std::size_t i = 0; i < xml.size(); ++i) {
        for (const char* const replacement : {"", "<", "9"}) {
            std::string damaged = xml;
            damaged.replace(i, 1, replacement);
            try {
                readEverything(Camera(damaged));
            } catch (const std::runtime_error&) { // no tree
            }
        }
    }
    testing::internal::GetCapturedStdout();
}

TEST(Stages, ReadAGeneratedDescription) {
    Camera camera(generated::description(50));
    camera.port.memory.resize(generated::firstAddress + 4 * 50);
    for (int feature = 0; feature < 50; ++feature) {
        constexpr const char* values[] = {"0", "0", "Off", "false", "inactive"};
        EXPECT_EQ(camera.value(generated::featureName(feature)), values[feature % generated::featureKinds]);
    }
    camera.as<ImplGenICamFloat>(generated::featureName(1)).setValue(5);
    EXPECT_EQ(camera.port.bytes(generated::firstAddress + 4, 4), (std::vector<unsigned char>{0, 0, 0, 20}));
    EXPECT_EQ(camera.as<ImplGenICamInteger>(generated::featureName(5)).getMax(), 0x7FFFFFFF);
}

} // namespace
