// Images: streams of connected cameras, by the values that an application holds for them.
#include "liomol/images.h"
#include "api/features.h"
#include "api/results.h"
#include "pixels/pixels.h"
#include "streaming/StreamTable.h"
#include "util/process.h"

#include <algorithm>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace {

using streaming::ImageStream;
using streaming::StreamTable;

constexpr GbeStreamOptions kDefaults{sizeof(GbeStreamOptions), 8,  nullptr, 0, 1, 1, 1,
                                     GBE_PACKET_SIZE_AUTO,     -1, 0};

bool isPacketSize(int size) {
    constexpr int kLeast = 64; // holds every leader
    constexpr int kMost = 65535;
    return size == GBE_PACKET_SIZE_AUTO || size == GBE_PACKET_SIZE_KEEP || (size >= kLeast && size <= kMost);
}

bool isMemory(const GbeStreamOptions& options) {
    if (options.memory == nullptr) {
        return true;
    }
    return options.bufferSize != 0 &&
           std::none_of(options.memory, options.memory + options.buffers, [](const void* piece) {
               return piece == nullptr;
           });
}

// What of the options makes no sense; null where all does.
const char* faultOf(const GbeStreamOptions& options) {
    return options.structSize != sizeof options
               ? "structSize is not that of GbeStreamOptions: Gbe_initStreamOptions sets it"
           : options.buffers < 1 || options.buffers > GBE_MOST_BUFFERS
               ? "buffers is not within 1..GBE_MOST_BUFFERS"
           : !isMemory(options)                ? "memory needs a bufferSize, and a piece for each buffer"
           : !isPacketSize(options.packetSize) ? "packetSize is neither auto, keep nor within 64..65535"
           : options.packetDelay < -1          ? "packetDelay is below -1"
                                               : nullptr;
}

// The connection's device, and that its camera may be told something; a status.
int cameraOf(const CameraHandle* camera, std::shared_ptr<board::Device>& device) {
    tavo::ImplGenICamCamera* own = nullptr;
    const int refused = api::deviceOf(camera, own, api::Call::Use);
    if (refused != status::Success) {
        return refused;
    }
    const board::HeldPort held(camera->place());
    device = held.device();
    if (device.get() != own) {
        return api::refused(status::CameraNotConnected, "another handle has taken the port meanwhile");
    }
    return held.terms().readOnly
               ? api::refused(status::NotWritable, "the camera is connected for reading alone")
               : status::Success;
}

// A connection that ends meanwhile has ended the stream, or is seen here.
int openConnected(CameraHandle& camera, const std::shared_ptr<ImageStream>& stream) {
    if (!camera.stream->take(stream)) {
        return api::refused(status::CameraBusy, "the camera has a stream already");
    }
    const api::State state = camera.state();
    const int refused = api::allowed(state, api::Call::Use);
    return refused != status::Success ? api::refusedInState(camera, state, refused)
                                      : api::guarded([&] { return stream->open(); });
}

int openStream(CameraHandle* camera, const GbeStreamOptions& options, GbeStream** out) {
    std::shared_ptr<board::Device> device;
    const int refused = cameraOf(camera, device);
    if (refused != status::Success) {
        return refused;
    }
    const TavoImagePath* const path = streaming::findImagePath();
    if (path == nullptr) {
        return api::refused(status::NotImplemented, "the hardware library has no path for images");
    }
    const auto stream = std::make_shared<ImageStream>(*path, camera->place(), std::move(device), options);
    int result = openConnected(*camera, stream);
    if (result == status::Success) {
        *out = StreamTable::instance().add(stream);
        result = *out != nullptr ? status::Success
                                 : api::refused(status::NotAvailable, "too many streams were opened");
    }
    if (result != status::Success) {
        const util::KeepErrorDetail kept;
        stream->fail(result);
        stream->close();
    }
    return result;
}

int noStream(int code) {
    return api::refused(
        code, code == status::StreamClosed ? "the stream was closed by Gbe_closeStream" : "stream is none");
}

int noImage(const ImageStream& stream, int code, int timeoutMs) {
    if (code != status::Timeout) {
        return api::refused(code, [&] { return stream.reasonText(); });
    }
    return timeoutMs == 0 ? api::refused(code, "no image waits") : api::refused(code, [timeoutMs] {
        return "no image has come within " + std::to_string(timeoutMs) +
               " ms; Gbe_getStreamTrouble may know why";
    });
}

// Calls `work` with an open or ended stream; exceptions become statuses.
template<typename Work> int withStream(const GbeStream* value, Work&& work) {
    if (util::isForkedChild()) {
        return api::refusedAsFork();
    }
    std::shared_ptr<ImageStream> stream;
    const int missing = StreamTable::instance().find(value, stream);
    return missing != status::Success ? noStream(missing) : api::guarded([&] { return work(*stream); });
}

} // namespace

int Gbe_initStreamOptions(GbeStreamOptions* options) {
    if (options == nullptr) {
        return api::nullArgument("options");
    }
    *options = kDefaults;
    return status::Success;
}

int Gbe_openStream(CameraHandle* camera, const GbeStreamOptions* options, GbeStream** stream) {
    if (stream == nullptr) {
        return api::nullArgument("stream");
    }
    *stream = nullptr;
    const GbeStreamOptions& wished = options != nullptr ? *options : kDefaults;
    const char* const fault = faultOf(wished);
    return camera == nullptr  ? api::nullArgument("camera")
           : fault != nullptr ? api::refused(status::IllegalParameter, fault)
                              : openStream(camera, wished, stream);
}

int Gbe_waitImage(GbeStream* stream, int timeoutMs, GbeImage* image) {
    if (image == nullptr || timeoutMs < -1) {
        return image == nullptr ? api::nullArgument("image")
                                : api::refused(status::IllegalParameter, "a time below -1 is none");
    }
    return withStream(stream, [&](ImageStream& open) {
        const int result = open.wait(timeoutMs, *image);
        if (result == status::Success) {
            const std::string_view name = pixels::formatName(image->pixelFormat);
            image->pixelFormatName = name.empty() ? "" : name.data();
            return result;
        }
        return noImage(open, result, timeoutMs);
    });
}

int Gbe_giveBackImage(GbeStream* stream, uint64_t id) {
    return withStream(stream, [&](ImageStream& open) { return open.giveBack(id); });
}

int Gbe_getStreamStatistics(GbeStream* stream, GbeStreamStatistics* statistics) {
    if (statistics == nullptr) {
        return api::nullArgument("statistics");
    }
    return withStream(stream, [&](ImageStream& open) {
        open.getStatistics(*statistics);
        return status::Success;
    });
}

int Gbe_getStreamTrouble(GbeStream* stream, char* buffer, unsigned* size) {
    if (size == nullptr) {
        return api::nullArgument("size");
    }
    return withStream(stream, [&](ImageStream& open) {
        const std::string trouble = open.findTrouble();
        return api::copyBytes({trouble.c_str(), trouble.size() + 1}, buffer, size);
    });
}

int Gbe_closeStream(GbeStream* stream) {
    if (util::isForkedChild()) {
        return api::refusedAsFork();
    }
    std::shared_ptr<ImageStream> open;
    const int missing = StreamTable::instance().take(stream, open);
    if (missing != status::Success) {
        return noStream(missing);
    }
    open->close();
    return status::Success;
}
