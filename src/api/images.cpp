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

bool makesSense(const GbeStreamOptions& options) {
    return options.structSize == sizeof options && options.buffers >= 1 &&
           options.buffers <= GBE_MOST_BUFFERS && isMemory(options) && isPacketSize(options.packetSize) &&
           options.packetDelay >= -1;
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
        return status::CameraNotConnected;
    }
    return held.isReadOnly() ? status::NotWritable : status::Success;
}

// A connection that ends meanwhile has ended the stream, or is seen here.
int openConnected(CameraHandle& camera, const std::shared_ptr<ImageStream>& stream) {
    if (!camera.stream->take(stream)) {
        return status::CameraBusy;
    }
    const int refused = camera.allowed(api::Call::Use);
    return refused != status::Success ? refused : api::guarded([&] { return stream->open(); });
}

int openStream(CameraHandle* camera, const GbeStreamOptions& options, GbeStream** out) {
    std::shared_ptr<board::Device> device;
    const int refused = cameraOf(camera, device);
    if (refused != status::Success) {
        return refused;
    }
    const TavoImagePath* const path = streaming::findImagePath();
    if (path == nullptr) {
        return status::NotImplemented;
    }
    const auto stream = std::make_shared<ImageStream>(*path, camera->place(), std::move(device), options);
    int result = openConnected(*camera, stream);
    if (result == status::Success) {
        *out = StreamTable::instance().add(stream);
        result = *out != nullptr ? status::Success : status::NotAvailable;
    }
    if (result != status::Success) {
        stream->fail(result);
        stream->close();
    }
    return result;
}

// Calls `work` with an open or ended stream; exceptions become statuses.
template<typename Work> int withStream(const GbeStream* value, Work&& work) {
    if (util::isForkedChild()) {
        return status::Connection;
    }
    std::shared_ptr<ImageStream> stream;
    const int refused = StreamTable::instance().find(value, stream);
    return refused != status::Success ? refused : api::guarded([&] { return work(*stream); });
}

} // namespace

int Gbe_initStreamOptions(GbeStreamOptions* options) {
    if (options == nullptr) {
        return status::IllegalParameter;
    }
    *options = kDefaults;
    return status::Success;
}

int Gbe_openStream(CameraHandle* camera, const GbeStreamOptions* options, GbeStream** stream) {
    if (stream == nullptr) {
        return status::IllegalParameter;
    }
    *stream = nullptr;
    const GbeStreamOptions& wished = options != nullptr ? *options : kDefaults;
    return camera != nullptr && makesSense(wished) ? openStream(camera, wished, stream)
                                                   : status::IllegalParameter;
}

int Gbe_waitImage(GbeStream* stream, int timeoutMs, GbeImage* image) {
    if (image == nullptr || timeoutMs < -1) {
        return status::IllegalParameter;
    }
    return withStream(stream, [&](ImageStream& open) {
        const int result = open.wait(timeoutMs, *image);
        if (result == status::Success) {
            const std::string_view name = pixels::formatName(image->pixelFormat);
            image->pixelFormatName = name.empty() ? "" : name.data();
        }
        return result;
    });
}

int Gbe_giveBackImage(GbeStream* stream, uint64_t id) {
    return withStream(stream, [&](ImageStream& open) { return open.giveBack(id); });
}

int Gbe_getStreamStatistics(GbeStream* stream, GbeStreamStatistics* statistics) {
    if (statistics == nullptr) {
        return status::IllegalParameter;
    }
    return withStream(stream, [&](ImageStream& open) {
        open.getStatistics(*statistics);
        return status::Success;
    });
}

int Gbe_getStreamTrouble(GbeStream* stream, char* buffer, unsigned* size) {
    if (size == nullptr) {
        return status::IllegalParameter;
    }
    return withStream(stream, [&](ImageStream& open) {
        const std::string trouble = open.findTrouble();
        return api::copyBytes({trouble.c_str(), trouble.size() + 1}, buffer, size);
    });
}

int Gbe_closeStream(GbeStream* stream) {
    if (util::isForkedChild()) {
        return status::Connection;
    }
    std::shared_ptr<ImageStream> open;
    const int refused = StreamTable::instance().take(stream, open);
    if (refused == status::Success) {
        open->close();
    }
    return refused;
}
