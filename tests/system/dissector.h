// What an independent dissector says of a recorded session.
#pragma once

#include "common/PcapngFile.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <memory>
#include <set>
#include <span>
#include <sstream>
#include <string>
#include <vector>

// What tshark prints about the capture with these arguments.
inline std::string tshark(const std::string& file, const std::string& arguments) {
    const std::string command = "tshark -r " + file +
                                " -o ip.check_checksum:TRUE -o udp.check_checksum:TRUE " + arguments +
                                " 2> tshark.txt";
    const auto close = [](std::FILE* pipe) { ::pclose(pipe); };
    const std::unique_ptr<std::FILE, decltype(close)> pipe(::popen(command.c_str(), "r"), close);
    std::string output;
    std::array<char, 4096> piece{};
    for (std::size_t count = 1; count > 0; output.append(piece.data(), count)) {
        count = std::fread(piece.data(), 1, piece.size(), pipe.get());
    }
    return output;
}

// Ethernet frames as a capture without times.
inline void writeCapture(const std::string& file, const std::vector<std::vector<std::uint8_t>>& frames) {
    std::ofstream out(file, std::ios::binary);
    common::PcapngFile capture(
        [&](std::span<const std::uint8_t> block) {
            out.write(
                reinterpret_cast<const char*>(block.data()), static_cast<std::streamsize>(block.size()));
        },
        "test", "", {});
    capture.addInterface({});
    for (const auto& frame : frames) {
        capture.addFrame(0, 0, frame, common::PcapngFile::Direction::Unknown);
    }
}

// No frame is malformed, every checksum is right, and commands and acknowledgements of all kinds that a
// session has are among them.
inline void expectSoundSession(const std::string& file) {
    ASSERT_FALSE(tshark(file, "--version").empty()) << "tshark is not installed: run scripts/setup test";
    EXPECT_EQ(tshark(file, "-Y '_ws.malformed || ip.checksum.status == 0 || udp.checksum.status == 0'"), "");
    EXPECT_EQ(tshark(file, "-Y 'udp.port == 3956 && !gvcp'"), "") << "not recognised";
    std::istringstream commands(tshark(file, "-Y gvcp -T fields -e gvcp.cmd.command -e gvcp.ack"));
    std::set<std::string> seen;
    for (std::string code; commands >> code;) {
        seen.insert(code);
    }
    for (const char* code :
         {"0x0002", "0x0003", "0x0080", "0x0081", "0x0082", "0x0083", "0x0084", "0x0085", "0x0086",
          "0x0087"}) {
        EXPECT_EQ(seen.count(code), 1U) << code << " is not in the capture";
    }
}
