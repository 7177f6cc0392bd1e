// What an image in a buffer consists of, for the application that borrows it. One thread at a time.
#pragma once

#include "liomol/images.h"
#include "streaming/image_path.h"

#include <cstddef>
#include <vector>

namespace streaming {

class Payload {
public:
    // Tells of the bytes, holes and chunks of an image that lies at `bytes`. What `image` then points to
    // stays until the next call.
    void describe(const TavoImage& arrived, const std::byte* bytes, GbeImage& image);

private:
    void describeChunks(const TavoImage& arrived, const std::byte* bytes, GbeImage& image);

    std::vector<GbeMissingBytes> m_missing;
    std::vector<GbeChunk> m_chunks;
};

} // namespace streaming
