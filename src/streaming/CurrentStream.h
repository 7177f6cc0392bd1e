// The stream of a connection: one at a time. Any thread.
#pragma once

#include "streaming/ImageStream.h"

#include <memory>
#include <mutex>

namespace streaming {

class CurrentStream {
public:
    // False while another one has not ended.
    bool take(std::shared_ptr<ImageStream> stream);

    // Of the stream, if there is one; see ImageStream.
    void restart() const;
    void count() const;
    void fail(int reason) const;
    void end(int reason) const;

private:
    std::shared_ptr<ImageStream> get() const;

    mutable std::mutex m_mutex;
    std::shared_ptr<ImageStream> m_stream; // under m_mutex
};

} // namespace streaming
