// The streams that an application has opened, by the values that it holds for them. A value is a number that
// is never used twice, not an address: so a stream that was closed is told from one that never was, and
// nothing is looked at that a stale value might lead to. Any thread.
#pragma once

#include "liomol/images.h"
#include "streaming/ImageStream.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <unordered_map>

namespace streaming {

class StreamTable {
public:
    static StreamTable& instance();

    // Null when all values are used up.
    GbeStream* add(std::shared_ptr<ImageStream> stream);
    // A status: status::StreamClosed for a value whose stream was taken, status::IllegalParameter for one
    // that was never given out.
    int find(const GbeStream* value, std::shared_ptr<ImageStream>& stream) const;
    // The same; the value then leads nowhere any more.
    int take(const GbeStream* value, std::shared_ptr<ImageStream>& stream);
    // Ends the streams of a board.
    void endAll(int board, int reason);

private:
    // Odd, so that no address of an object is taken for one.
    static std::uintptr_t valueOf(std::uintptr_t number) { return 2 * number + 1; }
    int missing(std::uintptr_t value) const;

    mutable std::mutex m_mutex;
    std::uintptr_t m_next = 1;                                                  // under m_mutex
    std::unordered_map<std::uintptr_t, std::shared_ptr<ImageStream>> m_streams; // likewise, by value
};

} // namespace streaming
