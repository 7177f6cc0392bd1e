#include "liomol/exceptions.h"
#include "util/logging.h"
#include "util/status.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

namespace {

TEST(Status, KnownCodesHaveTheirTextAndOthersNone) {
    const struct {
        int code;
        const char* text;
    } rows[] = {
        {GBE_SUCCESS, "success"},
        {GBE_ERROR_ILLEGAL_NODE, "illegal node"},
        {GBE_ERROR_BUFFER_TOO_SMALL, "buffer too small"},
        {GBE_WARNING_CAMERA_NOT_UNIQUE, "selected camera is not unique (warning)"},
        {1, "unknown error code"},
        {GBE_ERROR_STREAM_CLOSED - 1, "unknown error code"},
        {GBE_WARNING_CAMERA_NOT_UNIQUE - 1, "unknown error code"},
    };
    for (const auto& row : rows) {
        EXPECT_STREQ(status::description(row.code), row.text) << row.code;
    }
}

TEST(Exceptions, CarryTheirMessageAndCode) {
    const tavo::GicFileDoesNotExistException missing(QStringLiteral("/a/b.xml"));
    EXPECT_STREQ(missing.what(), "File does not exist: /a/b.xml");
    EXPECT_EQ(missing.getErrno(), GBE_ERROR_FILE_DOES_NOT_EXIST);
    EXPECT_EQ(tavo::ScMathException("term expected").getErrno(), GBE_ERROR_MATH);
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
