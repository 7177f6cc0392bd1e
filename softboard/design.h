// The applet as the runtime library hands it to the hardware library.
#pragma once

#include <array>

// An applet fits the boards whose firmware has its version.
struct KemDesign {
    int major;
    int minor;
};

namespace softboard {

// The firmware majors that an applet exists for, with any minor below 256.
inline constexpr std::array<int, 2> kAppletMajors{1, 2};
inline constexpr int kVersionLimit = 256;

} // namespace softboard
