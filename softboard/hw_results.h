// Results of the hardware library's calls beyond success.
#pragma once

namespace softboard {

inline constexpr int kSuccess = 0;

// Register and board calls: positive.
enum RegisterError : int {
    kBadHandle = 1,        // null, or released
    kNotConfigured = 2,    // no applet is loaded
    kNoSuchRegister = 3,   // an id that stands for nothing
    kNotReadable = 4,      // a register that can only be written
    kNotWritable = 5,      // a register that can only be read
    kBadArgument = 6,      // a null pointer for a value
    kWrongApplet = 7,      // an applet for another firmware
    kTransmitOverflow = 8, // more halfwords than the transmit buffer holds; the frame is lost
};

// Data queue calls: negative, and none that a reader of frames uses for its own findings (-2, -3, -42).
enum QueueError : int {
    kQueueTimeout = -110, // nothing came in time (ETIMEDOUT)
    kQueueClosed = -108,  // the board is not configured, or was released meanwhile (ESHUTDOWN)
    kQueueUnknown = -22,  // no such channel, null handle or buffer (EINVAL)
};

} // namespace softboard
