// Starting and stopping the camera's stream.
#include "api/features.h"
#include "liomol/gige.h"
#include "transport/stream_setup.h"

#include <string>

using tavo::GenICamNode;

namespace {

// The 32 low bits of the width count; the board keeps 16 of what it computes from them.
int setLineLength(const CameraHandle& camera, long long width, const std::string& pixelFormat) {
    const board::HeldPort held(camera.place());
    if (held.port() != nullptr) {
        transport::setEolWidth(*held.port(), static_cast<int>(width), pixelFormat);
    }
    return status::Success;
}

// A feature that the call picks, not its caller.
template<auto As, typename Work>
int withOwn(const tavo::ImplGenICamCamera& device, const char* name, Work&& work) {
    return api::about(name, api::withNode<As>(device, name, std::forward<Work>(work)));
}

} // namespace

// The line length is set before the start, and stays set when the camera refuses to start.
int Gbe_startAcquisition(CameraHandle* camera) {
    tavo::ImplGenICamCamera* device = nullptr;
    int result = api::deviceOf(camera, device);
    if (result != status::Success) {
        return result;
    }
    long long width = 0;
    std::string pixelFormat;
    result = withOwn<&GenICamNode::asInteger>(*device, "Width", [&](auto& node) { width = node.getValue(); });
    if (result == status::Success) {
        result = withOwn<&GenICamNode::asEnumeration>(
            *device, "PixelFormat", [&](auto& node) { pixelFormat = node.getStringValue(); });
    }
    if (result == status::Success) {
        result = setLineLength(*camera, width, pixelFormat);
    }
    if (result == status::Success) {
        camera->stream->restart();
        result =
            withOwn<&GenICamNode::asCommand>(*device, "AcquisitionStart", [](auto& node) { node.execute(); });
    }
    return result;
}

int Gbe_stopAcquisition(CameraHandle* camera) {
    return api::about("AcquisitionStop", Gbe_executeCommand(camera, "AcquisitionStop"));
}
