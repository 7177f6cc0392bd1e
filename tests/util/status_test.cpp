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
    const tavo::GicFileDoesNotExistException missing(QStringLiteral("/a/b.xml"));
    EXPECT_STREQ(missing.what(), "File does not exist: /a/b.xml");
    EXPECT_EQ(missing.getErrno(), -40014);
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
