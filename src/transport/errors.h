// The negative results of the transport, beside the data queue's own codes.
#pragma once

namespace transport_error {
inline constexpr int kTruncated = -2;     // a frame that is short, or lacks its end
inline constexpr int kOversized = -3;     // a frame or payload larger than a frame buffer
inline constexpr int kForeignReply = -42; // the acknowledgement of another command, twice
inline constexpr int kNoAnswer = -62;     // frames came until the time was over, and none was the answer
} // namespace transport_error
