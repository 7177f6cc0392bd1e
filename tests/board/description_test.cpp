// Where descriptions are found, and what hostile ones come to.
#include "board/GenICamPortWrapper.h"
#include "genicam/device/ImplGenICamCamera.h"
#include "liomol/exceptions.h"
#include "support/fake_service.h"
#include "support/introduce.h"
#include "support/rig.h"
#include "support/write_file.h"

#include <gtest/gtest.h>

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <cstdlib>
#include <memory>
#include <string>

namespace {

constexpr int kPort = 0;

std::string descriptionOf(const std::string& model) {
    return R"(<?xml version="1.0"?><RegisterDescription ModelName=")" + model + R"(" VendorName="Test"
        MajorVersion="1" MinorVersion="0" SubMinorVersion="0"
        SchemaMajorVersion="1" SchemaMinorVersion="1" SchemaSubMinorVersion="0">
        <Integer Name=")" +
           model + R"(Value"><Value>7</Value></Integer></RegisterDescription>)";
}

class DescriptionTest : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(GenICamPortWrapper::initBoard(0, 0), 0);
        ASSERT_TRUE(QDir().mkpath("installation/genicam/deeper"));
        ASSERT_TRUE(QDir().mkpath("installation/genicam-secrets"));
        writeFile("installation/genicam/cam.xml", descriptionOf("FromFile"));
        writeFile("installation/genicam/not-zipped.zip", descriptionOf("NotZipped"));
        writeFile("installation/outside.xml", descriptionOf("Outside"));
        writeFile("installation/genicam-secrets/cam.xml", descriptionOf("Outside"));
        QFile::link(
            QFileInfo("installation/outside.xml").absoluteFilePath(), "installation/genicam/link.xml");
        setenv("TAVODIR5", qPrintable(QFileInfo("installation").absoluteFilePath()), 1);
    }

    void TearDown() override {
        GenICamPortWrapper::deleteCamera(0, kPort);
        softboard::detachAll(0, kPort);
        GenICamPortWrapper::freeBoard(0);
        unsetenv("TAVODIR5");
    }

    // Hangs a camera with these URLs on the port, in place of an earlier one. {xml} and {zip} are the places
    // of its own description, of the model InCamera.
    void hang(const std::string& first, const std::string& second) {
        softboard::detachAll(0, kPort);
        station = rig.hang(
            0, kPort,
            {{"registers", "plain"},
             {"description-text", descriptionOf("InCamera")},
             {"first-url", first},
             {"second-url", second}});
        introduce(0, kPort, *station);
    }

    static std::string model() {
        const auto* device = GenICamPortWrapper::getGenICamInterface(0, kPort);
        return device != nullptr ? device->getModelName() : "no device";
    }

    Rig rig;
    FakeService service;
    std::shared_ptr<simcam::Camera> station;
};

TEST_F(DescriptionTest, IsFoundThroughEitherUrl) {
    const struct {
        const char* name;
        const char* first;
        const char* second;
        int scheme;        // of the first
        const char* model; // null: not found
    } rows[] = {
        {"zip in the camera", "{zip}", "Http:x", 1, "InCamera"},
        {"text in the camera", "{xml}", "Http:x", 1, "InCamera"},
        {"file", "File:cam.xml", "Http:x", 3, "FromFile"},
        {"web, then camera", "Http:www.example.com/a.xml", "{zip}", 2, "InCamera"},
        {"no archive, then camera", "File:not-zipped.zip", "{xml}", 3, "InCamera"},
        {"nothing usable", "Http:x", "nonsense", 2, nullptr},
        {"length above the cap", "Local:a.xml;10000;4000001", "nonsense", 1, nullptr},
        {"range beyond the address space", "Local:a.xml;FFFFFFF0;20", "{xml}", 1, "InCamera"},
        {"memory that is no archive", "Local:a.zip;20000;10", "{xml}", 1, "InCamera"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        hang(row.first, row.second);
        EXPECT_EQ(GenICamPortWrapper::ReadXMLUrl(0, kPort, 0), row.scheme);
        EXPECT_EQ(static_cast<int>(GenICamPortWrapper::lastUrl().scheme), row.scheme);
        EXPECT_EQ(GenICamPortWrapper::initializeGenICamInterface(0, kPort), row.model != nullptr ? 0 : -1);
        if (row.model != nullptr) {
            EXPECT_EQ(model(), row.model);
        }
    }
}

TEST_F(DescriptionTest, FilesThatDoNotExistOrLeaveTheFolderAreNotThere) {
    for (const char* name :
         {"missing.xml", "../outside.xml", "deeper/../../outside.xml", "link.xml",
          "../genicam-secrets/cam.xml", "deeper", "", "missing.zip"}) {
        SCOPED_TRACE(name);
        hang(std::string("File:") + name, "{zip}");
        try {
            GenICamPortWrapper::initializeGenICamInterface(0, kPort);
            ADD_FAILURE() << "found";
        } catch (const tavo::GicFileDoesNotExistException& missing) {
            EXPECT_TRUE(QDir::isAbsolutePath(missing.fileName()));
        }
        EXPECT_EQ(model(), "no device");
    }
}

} // namespace
