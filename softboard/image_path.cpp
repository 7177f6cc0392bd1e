// The image path of the boards of this process, as a table of C functions.
#include "platform/image_path.h"

#include "softboard/Hardware.h"
#include "softboard/ImageStream.h"

#include <memory>
#include <new>

using softboard::Hardware;
using softboard::ImageStream;

// What an application holds of an open stream: the board stays while it does.
struct TavoImageStream {
    std::shared_ptr<softboard::Board> board;
    std::size_t port = 0;
    std::shared_ptr<ImageStream> stream;
};

namespace {

int open(const TavoImageSettings* settings, TavoImageStream** out) {
    if (settings == nullptr || out == nullptr) {
        return IMAGE_PATH_BAD_ARGUMENT;
    }
    *out = nullptr;
    if (const int bad = ImageStream::check(*settings); bad != IMAGE_PATH_OK) {
        return bad;
    }
    try {
        auto handle = std::make_unique<TavoImageStream>();
        handle->board = Hardware::instance().find(settings->board);
        if (!handle->board || settings->port < 0 || settings->port >= softboard::kPorts) {
            return IMAGE_PATH_NO_PORT;
        }
        handle->port = static_cast<std::size_t>(settings->port);
        const int result = handle->board->port(handle->port).openStream(*settings, handle->stream);
        if (result == IMAGE_PATH_OK) {
            *out = handle.release();
        }
        return result;
    } catch (const std::exception&) { // no memory, no thread
        return IMAGE_PATH_NO_MEMORY;
    }
}

int wait(TavoImageStream* stream, int timeoutMs, TavoImage* image) {
    if (stream == nullptr || image == nullptr) {
        return IMAGE_PATH_BAD_ARGUMENT;
    }
    try {
        return stream->stream->wait(timeoutMs, *image);
    } catch (const std::bad_alloc&) {
        return IMAGE_PATH_NO_MEMORY;
    }
}

int giveBack(TavoImageStream* stream, unsigned buffer) {
    return stream != nullptr ? stream->stream->giveBack(buffer) : int{IMAGE_PATH_BAD_ARGUMENT};
}

void wake(TavoImageStream* stream) {
    if (stream != nullptr) {
        stream->stream->wake();
    }
}

int restart(TavoImageStream* stream, const TavoImageSettings* settings) {
    return stream != nullptr && settings != nullptr ? stream->stream->restart(*settings)
                                                    : int{IMAGE_PATH_BAD_ARGUMENT};
}

void statistics(TavoImageStream* stream, TavoImageStatistics* out) {
    if (stream != nullptr && out != nullptr) {
        stream->stream->statistics(*out);
    }
}

void close(TavoImageStream* stream) {
    if (stream != nullptr) {
        const std::unique_ptr<TavoImageStream> handle(stream);
        handle->board->port(handle->port).closeStream(handle->stream);
    }
}

constexpr TavoImagePath kImagePath{
    LIOMOL_IMAGE_PATH_VERSION, open, wait, giveBack, wake, restart, statistics, close};

} // namespace

extern "C" __attribute__((visibility("default"))) const TavoImagePath* tavo_imagePath(unsigned version);

const TavoImagePath* tavo_imagePath(unsigned version) {
    return version == LIOMOL_IMAGE_PATH_VERSION ? &kImagePath : nullptr;
}
