// What the feature calls share: from a handle and a name to a node's interface.
#pragma once

#include "api/guard.h"
#include "api/handles.h"
#include "genicam/device/ImplGenICamCamera.h"
#include "liomol/interfaces.h"
#include "liomol/node_kinds.h"
#include "util/status.h"

#include <utility>

namespace api {

// The device of a handle that may be null or not connected: 0 with the device, or the status to return. A
// handle that was switched to a port without ever loading a description has no device and counts as not
// connected.
inline int deviceOf(const CameraHandle* camera, tavo::ImplGenICamCamera*& device, Call call = Call::Look) {
    if (camera == nullptr) {
        return status::IllegalParameter;
    }
    const int refused = camera->allowed(call);
    device = refused == status::Success ? camera->device() : nullptr;
    return refused == status::Success && device == nullptr ? status::CameraNotConnected : refused;
}

// Calls `work` with the handle's device; its exceptions become statuses.
template<typename Work> int withDevice(const CameraHandle* camera, Work&& work) {
    tavo::ImplGenICamCamera* device = nullptr;
    const int refused = deviceOf(camera, device);
    return refused != status::Success ? refused : guarded([&] { return work(*device); });
}

// Calls `work` with the named node's Interface; its exceptions become statuses. A node that is missing or of
// another kind is an illegal node.
template<typename Interface, typename Work>
int withNode(const tavo::ImplGenICamCamera& device, const char* name, Work&& work) {
    return guarded([&] {
        auto* node = dynamic_cast<Interface*>(device.getNodeByName(name));
        if (node == nullptr) {
            return status::IllegalNode;
        }
        work(*node);
        return status::Success;
    });
}

// The family of calls by name: the checks of the handle and the name, the look-up, and `work`.
template<typename Interface, typename Work>
int withFeature(const CameraHandle* camera, const char* name, Work&& work) {
    if (name == nullptr) {
        return status::IllegalParameter;
    }
    tavo::ImplGenICamCamera* device = nullptr;
    if (const int refused = deviceOf(camera, device, Call::Use); refused != status::Success) {
        return refused;
    }
    return withNode<Interface>(*device, name, std::forward<Work>(work));
}

} // namespace api
