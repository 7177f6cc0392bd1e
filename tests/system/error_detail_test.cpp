// What Gbe_getLastErrorDetail says: a sentence of facts for each failure of the C interface.
#include "liomol/GenICamDevice.h"
#include "liomol/exceptions.h"
#include "liomol/features.h"
#include "liomol/interfaces.h"
#include "liomol/node_kinds.h"
#include "protocol/bootstrap.h"
#include "system/session.h"

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <thread>

namespace {

struct Row {
    const char* name;
    std::function<int()> call;
    int code;
    std::string detail;
};

void expectDetails(const std::vector<Row>& rows) {
    for (const Row& row : rows) {
        EXPECT_EQ(row.call(), row.code) << row.name;
        EXPECT_EQ(Gbe_getLastErrorDetail(), row.detail) << row.name;
    }
}

// A node of each way to fail, beside those of the plain camera.
ethernet::Settings oddCamera() {
    constexpr const char* kNodes = R"(
  <Integer Name="Stepped"><Value>16</Value><Min>16</Min><Max>1920</Max><Inc>16</Inc><Unit>px</Unit></Integer>
  <Integer Name="Byte"><Value>0</Value><Min>0</Min><Max>255</Max></Integer>
  <IntConverter Name="Scaled"><FormulaTo>FROM*10</FormulaTo><FormulaFrom>TO/10</FormulaFrom>
    <pValue>Byte</pValue></IntConverter>
  <Float Name="Time"><Value>20</Value><Min>10</Min><Max>15000000.5</Max><Unit>us</Unit></Float>
  <IntSwissKnife Name="IsByte"><pVariable Name="X">LevelReg</pVariable><Formula>X&lt;256</Formula></IntSwissKnife>
  <Integer Name="Level"><pValue>LevelReg</pValue></Integer>
  <IntReg Name="LevelReg"><Address>0x10014</Address><Length>4</Length><AccessMode>RW</AccessMode>
    <pPort>Device</pPort></IntReg>
  <Integer Name="OnlyBytes"><pIsAvailable>IsByte</pIsAvailable><Value>1</Value></Integer>
  <Boolean Name="Busy"><pValue>LockedReg</pValue></Boolean>
  <Integer Name="Held"><pIsLocked>Busy</pIsLocked><Value>1</Value></Integer>
  <Integer Name="Missing"><pIsImplemented>Byte</pIsImplemented><Value>1</Value></Integer>
  <Integer Name="Fixed"><ImposedAccessMode>RO</ImposedAccessMode><Value>1</Value></Integer>
  <Integer Name="Constant"><pValue>ConstantReg</pValue></Integer>
  <IntReg Name="ConstantReg"><Address>0x10000</Address><Length>4</Length><AccessMode>RO</AccessMode>
    <pPort>Device</pPort></IntReg>
  <IntReg Name="Secret"><Address>0x10000</Address><Length>4</Length><AccessMode>WO</AccessMode>
    <pPort>Device</pPort></IntReg>
  <IntReg Name="Long"><Address>0x10000</Address><Length>9</Length><AccessMode>RW</AccessMode>
    <pPort>Device</pPort></IntReg>
  <IntReg Name="Loose"><Address>0x10000</Address><Length>4</Length><AccessMode>RW</AccessMode></IntReg>
  <IntReg Name="Elsewhere"><Address>0x10000</Address><Length>4</Length><AccessMode>RW</AccessMode>
    <pPort>Event</pPort></IntReg>
  <Port Name="Event"/>
  <IntReg Name="OfAnImage"><Address>0</Address><Length>4</Length><AccessMode>RO</AccessMode>
    <pPort>Chunk</pPort></IntReg>
  <Port Name="Chunk"><ChunkID>1001</ChunkID></Port>
  <IntSwissKnife Name="Broken"><pVariable Name="X">Byte</pVariable><Formula>1/X</Formula></IntSwissKnife>
  <IntSwissKnife Name="Astray"><pVariable Name="X">Byte</pVariable><Formula>X+Y*X</Formula></IntSwissKnife>
  <Integer Name="Circle"><pValue>Circle</pValue></Integer>
  <Enumeration Name="Mode">
    <EnumEntry Name="Off"><Value>0</Value></EnumEntry>
    <EnumEntry Name="Hidden"><pIsAvailable>Byte</pIsAvailable><Value>1</Value></EnumEntry>
    <EnumEntry Name="Auto"><Value>2</Value></EnumEntry>
    <pValue>NumberReg</pValue>
  </Enumeration>
</RegisterDescription>)";
    ethernet::Settings settings = plainCamera();
    std::string& text = settings.at("description-text");
    text.replace(text.find("</RegisterDescription>"), std::string::npos, kNodes);
    return settings;
}

class ErrorDetailTest : public testing::Test {
protected:
    ~ErrorDetailTest() override { Gbe_freeCamera(camera); }

    int set(const char* name, long long value) { return Gbe_setIntegerValue(camera, name, value); }
    int get(const char* name) {
        long long value = 0;
        return Gbe_getIntegerValue(camera, name, &value);
    }

    Session session;
    std::shared_ptr<simcam::Camera> station;
    CameraHandle* camera = nullptr;
};

TEST_F(ErrorDetailTest, SaysWhatAFeatureRefuses) {
    station = session.rig.hang(0, 0, oddCamera());
    camera = session.connectFirst();
    ASSERT_EQ(Gbe_enableChecks(camera, 1), 0);
    ASSERT_EQ(set("Number", 4711), 0);
    ASSERT_EQ(set("Level", 4711), 0);
    ASSERT_EQ(Gbe_setBooleanValue(camera, "Busy", 1), 0);
    char bytes[16] = {};
    unsigned size = 4;
    const std::vector<Row> rows{
        {"no such", [&] { return get("Numbre"); }, GBE_ERROR_ILLEGAL_NODE, "no such feature; Number?"},
        {"other kind", [&] { return get("Time"); }, GBE_ERROR_ILLEGAL_NODE,
         "it is a float, for Gbe_getFloatValue and Gbe_setFloatValue"},
        {"range", [&] { return set("Stepped", 1000000); }, GBE_ERROR_ILLEGAL_VALUE,
         "1000000 is not within 16..1920 px in steps of 16"},
        {"step", [&] { return set("Stepped", 17); }, GBE_ERROR_ILLEGAL_VALUE,
         "17 is not within 16..1920 px in steps of 16; 16 and 32 are"},
        {"below", [&] { return set("Scaled", 30); }, GBE_ERROR_ILLEGAL_VALUE,
         "Byte: 300 is not within 0..255"},
        {"float", [&] { return Gbe_setFloatValue(camera, "Time", 0.1); }, GBE_ERROR_ILLEGAL_VALUE,
         "0.1 is not within 10..15000000.5 us"},
        {"entry", [&] { return Gbe_setEnumerationValue(camera, "Mode", "On"); }, GBE_ERROR_ILLEGAL_VALUE,
         "On is none of Off, Auto"},
        {"no entry",
         [&] {
             const char* entry = nullptr;
             return Gbe_getEnumerationValue(camera, "Mode", &entry);
         },
         GBE_ERROR_ILLEGAL_VALUE, "the camera's value 4711 is that of no entry"},
        {"not available", [&] { return get("OnlyBytes"); }, GBE_ERROR_NOT_AVAILABLE,
         "not available while IsByte is 0 (Level is 4711)"},
        {"not implemented", [&] { return get("Missing"); }, GBE_ERROR_NOT_IMPLEMENTED,
         "not implemented while Byte is 0"},
        {"locked", [&] { return set("Held", 1); }, GBE_ERROR_LOCKED, "locked while Busy is true"},
        {"imposed", [&] { return set("Fixed", 1); }, GBE_ERROR_NOT_WRITABLE,
         "read-only: the description says so"},
        {"below is", [&] { return set("Constant", 1); }, GBE_ERROR_NOT_WRITABLE,
         "read-only because ConstantReg is"},
        {"formula", [&] { return set("IsByte", 1); }, GBE_ERROR_NOT_WRITABLE,
         "IsByte is read-only: a formula gives its value"},
        {"write only", [&] { return get("Secret"); }, GBE_ERROR_NOT_READABLE,
         "write-only: the description says so"},
        {"length",
         [&] {
             long long min = 0;
             return Gbe_getIntegerLimits(camera, "Long", &min, nullptr, nullptr);
         },
         GBE_ERROR_ILLEGAL_REGISTER_LENGTH, "Long has 9 bytes; an integer has 1 to 8"},
        {"bytes", [&] { return Gbe_setRegisterBytes(camera, "NumberReg", bytes, 3); },
         GBE_ERROR_ILLEGAL_REGISTER_LENGTH, "it has 4 bytes, and 3 were given"},
        {"division", [&] { return get("Broken"); }, GBE_ERROR_MATH,
         "division by zero in the formula of Broken"},
        {"identifier", [&] { return get("Astray"); }, GBE_ERROR_MATH,
         "illegal identifier Y in the formula of Astray"},
        {"circle", [&] { return get("Circle"); }, GBE_ERROR_ILLEGAL_NODE, "Circle: pValue leads in a circle"},
        {"no port", [&] { return get("Loose"); }, GBE_ERROR_PORT_NOT_AVAILABLE,
         "Loose names no port of the description"},
        {"other port", [&] { return get("Elsewhere"); }, GBE_ERROR_PORT_NOT_AVAILABLE,
         "nothing leads to the camera for the port Event"},
        {"chunk", [&] { return get("OfAnImage"); }, GBE_ERROR_PORT_NOT_AVAILABLE,
         "it comes with images, as the chunk of the port Chunk"},
        {"too small", [&] { return Gbe_getRegisterBytes(camera, "NumberReg", bytes, &(size = 3)); },
         GBE_ERROR_BUFFER_TOO_SMALL, "4 bytes are needed, and 3 are there"},
        {"null", [&] { return Gbe_getIntegerValue(camera, "Number", nullptr); }, GBE_ERROR_ILLEGAL_PARAMETER,
         "value is null"},
        {"start", [&] { return Gbe_startAcquisition(camera); }, GBE_ERROR_LOCKED,
         "AcquisitionStart: locked while Busy is true"},
    };
    expectDetails(rows);
}

// With the demonstration camera: the wire, control, arguments and handles.
TEST_F(ErrorDetailTest, SaysWhatACameraAndAHandleRefuse) {
    CameraHandle* other = nullptr;
    unsigned char nobody[6] = {2, 0, 0, 0, 0, 1};
    char bytes[8] = {};
    int up = 0;
    expectDetails({
        {"not scanned", [&] { return Gbe_getFirstCamera(session.board(), 0, &camera); },
         GBE_ERROR_NO_CAMERAS_FOUND, "no camera has answered a scan of board 0 port 0 so far"},
        {"no board", [&] { return Gbe_getLinkState(1, 0, &up); }, GBE_ERROR_BOARD_DOES_NOT_EXIST,
         "board 1 is not open"},
        {"port", [&] { return Gbe_scanNetwork(session.board(), 7, 0); }, GBE_ERROR_ILLEGAL_PARAMETER,
         "port 7 is not within 0..3"},
        {"null", [&] { return Gbe_connectCamera(nullptr); }, GBE_ERROR_ILLEGAL_PARAMETER, "camera is null"},
    });
    station = session.rig.hang(0, 0, {{"mac", "02:00:00:00:00:07"}});
    camera = session.findFirst();
    const auto memory = [&](unsigned address, unsigned count) {
        return Gbe_readMemory(camera, address, bytes, count);
    };
    expectDetails({
        {"in use",
         [&] { return Gbe_getCameraByMac(session.board(), 0, Gbe_getCameraInfo(camera)->mac, &other); },
         GBE_ERROR_CAMERA_BUSY, "another handle of this program has the camera 02:00:00:00:00:07"},
        {"all in use", [&] { return Gbe_getFirstCamera(session.board(), 0, &other); },
         GBE_ERROR_CAMERA_DOES_NOT_EXIST, "all cameras that the last scan of the port has found are in use"},
        {"no such mac", [&] { return Gbe_getCameraByMac(session.board(), 0, nobody, &other); },
         GBE_ERROR_CAMERA_DOES_NOT_EXIST,
         "no camera that the last scan of the port has found has the address 02:00:00:00:00:01"},
        {"no such ip", [&] { return Gbe_getCameraByIp(session.board(), 0, 0x0100007F, &other); },
         GBE_ERROR_CAMERA_DOES_NOT_EXIST,
         "no camera that the last scan of the port has found has the address 127.0.0.1"},
        {"no such name", [&] { return Gbe_getCameraByUserName(session.board(), 0, "left", &other); },
         GBE_ERROR_CAMERA_DOES_NOT_EXIST,
         "no camera that the last scan of the port has found has the name \"left\""},
        {"not connected", [&] { return get("Width"); }, GBE_ERROR_CAMERA_NOT_CONNECTED,
         "the camera has not been connected yet"},
    });
    ASSERT_EQ(Gbe_connectCameraForReading(camera), 0);
    expectDetails({
        {"twice", [&] { return Gbe_connectCameraWithoutService(camera); }, GBE_ERROR_CAMERA_ALREADY_CONNECTED,
         "the camera is connected already"},
        {"reading", [&] { return set("Width", 64); }, GBE_ERROR_NOT_WRITABLE,
         "the camera is connected for reading alone"},
        {"register", [&] { return memory(0xFFFF0000, 4); }, GBE_ERROR_TRANSPORT_LAYER,
         "the camera was to give 4 bytes at 0xffff0000: it answers GEV_STATUS_INVALID_ADDRESS (0x8003)"},
        {"memory", [&] { return memory(0xFFFF0000, 8); }, GBE_ERROR_TRANSPORT_LAYER,
         "the camera was to give 8 bytes at 0xffff0000: it answers GEV_STATUS_INVALID_ADDRESS (0x8003)"},
        {"range", [&] { return memory(0xFFFFFFFF, 8); }, GBE_ERROR_ILLEGAL_PARAMETER,
         "8 bytes from 4294967295 on leave the 32 bits of an address"},
        {"near", [&] { return get("Widht"); }, GBE_ERROR_ILLEGAL_NODE, "no such feature; Width, WidthMax?"},
    });
    ASSERT_EQ(Gbe_disconnectCamera(camera), 0);
    expectDetails({
        {"disconnected", [&] { return get("Width"); }, GBE_ERROR_CAMERA_NOT_CONNECTED,
         "the camera has been disconnected"},
    });
}

// Why there is no description, and no board.
TEST_F(ErrorDetailTest, SaysWhyNothingCanBeConnected) {
    const std::string broken = "<?xml version=\"1.0\"?>\n<RegisterDescription>\n<Integer Name=Width/>\n";
    ASSERT_EQ(broken.size(), 0x42U);
    station = session.rig.hang(0, 0, {{"registers", "plain"}, {"description-text", broken}});
    camera = session.findFirst();
    const auto connectTo = [&](const char* url) {
        return [this, url] {
            std::vector<std::uint8_t> text(bootstrap::kUrlSize);
            std::copy_n(url, std::strlen(url), text.begin());
            EXPECT_TRUE(station->poke(bootstrap::kFirstUrl, text));
            EXPECT_TRUE(station->poke(bootstrap::kSecondUrl, std::vector<std::uint8_t>(bootstrap::kUrlSize)));
            return Gbe_connectCamera(camera);
        };
    };
    const std::string folder = std::filesystem::current_path();
    std::filesystem::create_directory("genicam");
    std::ofstream("genicam/other.xml") << "<Other/>";
    expectDetails({
        {"broken", connectTo("Local:simcam.xml;48000000;42"), GBE_ERROR_XML_READ,
         "first URL \"Local:simcam.xml;48000000;42\": its XML is broken at byte 58: expected ' or \"; second URL empty"},
        {"no folder", connectTo("File:cam.xml"), GBE_ERROR_ENVIRONMENT_NOT_SET,
         "the description is the file genicam/cam.xml below the folder that TAVODIR5 names, and that is not set"},
    });
    setenv("TAVODIR5", folder.c_str(), 1);
    expectDetails({
        {"no file", connectTo("File:cam.xml"), GBE_ERROR_FILE_DOES_NOT_EXIST,
         folder + "/genicam/cam.xml does not exist"},
        {"other", connectTo("File:other.xml"), GBE_ERROR_XML_READ,
         "first URL \"File:other.xml\": it has no complete element RegisterDescription; second URL empty"},
        {"web", connectTo("http://x"), GBE_ERROR_XML_READ,
         "first URL \"http://x\": nothing is fetched from the web; second URL empty"},
        {"nonsense", connectTo("nonsense"), GBE_ERROR_XML_READ,
         "first URL \"nonsense\": it names no description; second URL empty"},
    });
    unsetenv("TAVODIR5");
    BoardHandle* board = nullptr;
    char reply[64];
    unsigned size = sizeof reply;
    expectDetails({
        {"no board", [&] { return Gbe_initBoard(5, 0, &board); }, GBE_ERROR_BOARD_INITIALIZATION,
         "there is no board 5, or the hardware library cannot open it"},
        {"bad board", [&] { return Gbe_initBoard(9, 0, &board); }, GBE_ERROR_BOARD_INITIALIZATION,
         "board 9 is not within 0..7"},
        {"refused", [&] { return Gbe_askService("NONSENSE", reply, &size); }, GBE_ERROR_TRANSPORT_LAYER,
         "the service says: 500 unknown"},
        {"null", [&] { return Gbe_askService(nullptr, reply, &size); }, GBE_ERROR_ILLEGAL_PARAMETER,
         "request is null"},
    });
}

TEST_F(ErrorDetailTest, IsEachThreadsOwnAndGoesWithTheNextFailure) {
    EXPECT_EQ(Gbe_connectCamera(nullptr), GBE_ERROR_ILLEGAL_PARAMETER);
    const char* const mine = Gbe_getLastErrorDetail();
    std::thread([mine] {
        EXPECT_STREQ(Gbe_getLastErrorDetail(), "");
        EXPECT_EQ(Gbe_scanNetwork(nullptr, 0, 0), GBE_ERROR_ILLEGAL_PARAMETER);
        EXPECT_STREQ(Gbe_getLastErrorDetail(), "board is null");
        EXPECT_NE(Gbe_getLastErrorDetail(), mine);
    }).join();
    EXPECT_STREQ(mine, "camera is null");
    station = session.rig.hang(0, 0, oddCamera());
    camera = session.connectFirst();
    try { // what() stays the class's own; the sentence is there for C++ callers, too
        tavo::getGenICamInterface(camera)->getNodeByName("Stepped")->asInteger()->setValue(0);
        ADD_FAILURE() << "it was set";
    } catch (const tavo::GicIllegalValueException& failure) {
        EXPECT_STREQ(failure.what(), "illegal value");
        EXPECT_STREQ(mine, "0 is not within 16..1920 px in steps of 16");
    }
    const std::string name(3000, 'x'); // cut to the buffer
    EXPECT_EQ(Gbe_setEnumerationValue(camera, "Mode", name.c_str()), GBE_ERROR_ILLEGAL_VALUE);
    EXPECT_EQ(mine, std::string(64, 'x') + "... is none of Off, Auto");
}

} // namespace
