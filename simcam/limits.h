// Every limit of the camera in software: its value and why it is what it is.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>

namespace simcam {

using Clock = std::chrono::steady_clock;
using Time = Clock::time_point;
using std::chrono::milliseconds;

// Frames that wait for the camera's thread; a host that sends more than this ahead floods, and loses frames.
inline constexpr std::size_t kInboxFrames = 256;

// Frames that wait for their time in one direction; a delay as a fault must not make memory grow without
// bound.
inline constexpr std::size_t kOutboxFrames = 1024;

// Of the link-local range, 169.254.0.0 (RFC 3927).
inline constexpr std::uint32_t kLinkLocalMask = 0xFFFF0000;

// An Ethernet frame without its frame check sequence, VLAN tag included: longer ones are no frames.
inline constexpr std::size_t kMaxFrame = 9018;

// Neighbours whose MAC addresses are remembered; a camera talks to a handful.
inline constexpr std::size_t kArpEntries = 64;

// Applications whose last acknowledgement is remembered for their retransmissions.
inline constexpr std::size_t kRememberedSources = 16;

// How long a repeated request id counts as a retransmission. Hosts give up on a command within seconds; an
// application that restarts counts its ids from the same number again and must get fresh answers.
inline constexpr milliseconds kRetransmissionWindow{5000};

// Bounds of the heartbeat time-out register. The lower one is the standard's.
inline constexpr milliseconds kMinHeartbeat{500};
inline constexpr milliseconds kDefaultHeartbeat{3000};

// How long a frame that a fault holds back waits for the one that is to overtake it.
inline constexpr milliseconds kReorderHold{20};

// Faults that wait for commands to strike.
inline constexpr std::size_t kMostFaults = 256;

// Copies of one answer that a duplicating fault may ask for.
inline constexpr std::size_t kMaxDuplicates = 100;

// Commands that the event log keeps; the oldest go first.
inline constexpr std::size_t kEventLogEntries = 4096;

// Silence that a person may ask for, and what a reboot takes when no time is given.
inline constexpr milliseconds kMaxSilence{3600000};
inline constexpr milliseconds kDefaultReboot{2000};

// A file of what a camera keeps without power: its registers' bytes as text.
inline constexpr std::size_t kMaxStateFile = 1u << 20;

// Frames that wait to be sent: when the camera falls behind for longer it skips frames. What one software
// trigger exposes at once is more.
inline constexpr std::size_t kWaitingFrames = 32;
inline constexpr std::size_t kWaitingTriggeredFrames = 1023;

// Packets that leave in one go, between two looks at what arrives: about a tenth of a millisecond of work.
inline constexpr std::size_t kBatchPackets = 64;

// Packets of one block are sent in groups this far apart, rather than one by one with a sleep before each.
inline constexpr std::chrono::microseconds kPacingStep{200};

// Blocks of which packets can be sent again: a fifth of a second at a thousand frames a second. They share
// their pictures, so that each costs some hundred bytes.
inline constexpr std::size_t kPastBlocks = 256;

// Requests for packets that wait to be answered, and packets of a block that is gone for which one request
// gets an answer each.
inline constexpr std::size_t kResendRequests = 256;
inline constexpr std::uint32_t kMostRefusals = 64;

// Pictures of a folder: how many, how large, and the bytes of rendered ones that are kept.
inline constexpr std::size_t kMostPictures = 1000;
inline constexpr std::uint32_t kMaxPictureSide = 8192;
inline constexpr std::size_t kMaxRendered = 256u << 20;

// How often the receiver's MAC address is asked for.
inline constexpr milliseconds kArpRepeat{500};

// Settings that a person may get wrong by a slip.
inline constexpr milliseconds kMaxLatency{60000};
inline constexpr std::size_t kMaxDescription = 64u << 20;

// Plain memory behind a description of one's own, in pages that exist once written.
inline constexpr std::size_t kPlainPage = 4096;
inline constexpr std::size_t kMaxPlainPages = 4096;

} // namespace simcam
