#include "common/terminal_text.h"

#include <gtest/gtest.h>

namespace {

TEST(TerminalText, CannotSteerATerminal) {
    const struct {
        const char* text;
        const char* shown;
    } rows[] = {
        {"left eye 2", "left eye 2"},
        {"\xc3\xb6\xc3\x9f \xe2\x82\xac \xf0\x9f\x93\xb7", "\xc3\xb6\xc3\x9f \xe2\x82\xac \xf0\x9f\x93\xb7"},
        {"\x1b]0;title\x07", "\\x1b]0;title\\x07"},
        {"two\nlines\r\tof it\x7f", "two\\nlines\\r\\tof it\\x7f"},
        {"\xf6\xdf in Latin-1", "\\xf6\\xdf in Latin-1"},
        {"cut \xe2\x82", "cut \\xe2\\x82"},
        {"two for one \xc0\xaf\xe0\x80\xaf", "two for one \\xc0\\xaf\\xe0\\x80\\xaf"},
        {"half of a pair \xed\xa0\x80", "half of a pair \\xed\\xa0\\x80"},
        {"beyond \xf4\x90\x80\x80\xff", "beyond \\xf4\\x90\\x80\\x80\\xff"},
        {"C1 \xc2\x9b+2J", "C1 \\u009b+2J"},
        {"turned \xe2\x80\xae gpj", "turned \\u202e gpj"},
        {"next line \xe2\x80\xa8", "next line \\u2028"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(common::terminalText(row.text), row.shown);
    }
    EXPECT_EQ(common::terminalText(std::string("a\0b", 3)), "a\\x00b");
    EXPECT_EQ(common::terminalLines("a\n\tb\x1b"), "a\n\tb\\x1b");
    EXPECT_EQ(common::characterCount("Gr\xc3\xb6\xc3\x9f"), 4u);
}

} // namespace
