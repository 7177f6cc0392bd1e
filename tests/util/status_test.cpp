#include "util/exceptions.h"
#include "util/logging.h"
#include "util/status.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <memory>

namespace {

TEST(Status, KnownCodesHaveTheirTextAndOthersNone) {
    const struct {
        int code;
        const char* text;
    } rows[] = {
        {0, "success"},
        {-40007, "illegal node"},
        {-40012, "camera/service connection exception"},
        {-40025, "buffer too small"},
        {-41000, "selected camera is not unique (warning)"},
        {1, "unknown error code"},
        {-40000, "unknown error code"},
        {-40026, "unknown error code"},
        {-41001, "unknown error code"},
    };
    for (const auto& row : rows) {
        EXPECT_STREQ(status::description(row.code), row.text) << row.code;
    }
}

TEST(Exceptions, CarryTheirMessageAndCode) {
    const struct {
        std::shared_ptr<tavo::GenICamException> exception;
        const char* message;
        int code;
    } rows[] = {
        {std::make_shared<tavo::GicNotImplementedException>(), "not implemented", -40001},
        {std::make_shared<tavo::GicNotAvailableException>(), "not available", -40002},
        {std::make_shared<tavo::GicLockedException>(), "locked", -40003},
        {std::make_shared<tavo::GicNotReadableException>(), "not readable", -40004},
        {std::make_shared<tavo::GicNotWritableException>(), "not writable", -40005},
        {std::make_shared<tavo::GicIllegalValueException>(), "illegal value", -40006},
        {std::make_shared<tavo::GicIllegalNodeException>(), "illegal node", -40007},
        {std::make_shared<tavo::GicIllegalRegisterLengthException>(), "illegal register length", -40008},
        {std::make_shared<tavo::GicPortNotAvailableException>(), "Selected Port is already in use!", -40010},
        {std::make_shared<tavo::GicTransportLayerException>(), "transport layer exception", -40011},
        {std::make_shared<tavo::GicConnectionException>(), "Error while connecting to camera!", -40012},
        {std::make_shared<tavo::GicTavoPathNotSetException>(), "Environment Variable 'TAVODIR5' not set",
         -40013},
        {std::make_shared<tavo::GicFileDoesNotExistException>(QStringLiteral("/a/b.xml")),
         "File does not exist: /a/b.xml", -40014},
    };
    for (const auto& row : rows) {
        EXPECT_STREQ(row.exception->what(), row.message);
        EXPECT_EQ(row.exception->getErrno(), row.code) << row.message;
    }
    EXPECT_EQ(tavo::ScMathException("term expected").getErrno(), -40009);
}

TEST(Exceptions, TheTwoRootsAreStrangers) {
    EXPECT_THROW(
        try { throw tavo::GicLockedException(); } catch (const tavo::CoreException&){},
        tavo::GicLockedException);
}

TEST(Logging, CallsOfAProcessAppendToOneFile) {
    std::ofstream("log.txt") << "from an earlier process";
    lprintf("%s %d\n", "first", 1);
    lprintf("%s %d\n", "second", 2);
    std::ifstream file("log.txt");
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), "first 1\nsecond 2\n");
}

} // namespace
