// What the feature calls share: from a handle and a name to a node's interface.
#pragma once

#include "api/guard.h"
#include "api/handles.h"
#include "api/refusals.h"
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
        return nullArgument("camera");
    }
    const State state = camera->state();
    const int refused = allowed(state, call);
    device = refused == status::Success ? camera->device() : nullptr;
    if (device != nullptr) {
        [[likely]] return status::Success;
    }
    return refused != status::Success ? refusedInState(*camera, state, refused) : noDescription();
}

// Calls `work` with the handle's device; its exceptions become statuses.
template<typename Work> int withDevice(const CameraHandle* camera, Work&& work) {
    tavo::ImplGenICamCamera* device = nullptr;
    const int refused = deviceOf(camera, device);
    return refused != status::Success ? refused : guarded([&] { return work(*device); });
}

// Calls `work` with the interface of the named node that `As` gives (as in &tavo::GenICamNode::asInteger);
// its exceptions become statuses. A node that is missing or of another kind is an illegal node.
template<auto As, typename Work>
int withNode(const tavo::ImplGenICamCamera& device, const char* name, Work&& work) {
    return guarded([&] {
        const auto tree = device.holdTree();
        tavo::GenICamNode* const node = tree->findNode(name);
        auto* const interface = node != nullptr ? (node->*As)() : nullptr;
        if (interface == nullptr) {
            return noSuchFeature(*tree, name, node);
        }
        work(*interface);
        return status::Success;
    });
}

// The device of a handle whose camera is under control, for the calls by name: 0, or the status to return.
inline int
controlledDeviceOf(const CameraHandle* camera, const char* name, tavo::ImplGenICamCamera*& device) {
    if (name == nullptr) {
        return nullArgument("name");
    }
    return deviceOf(camera, device, Call::Use);
}

// The family of calls by name: the checks of the handle and the name, the look-up, and `work`.
template<auto As, typename Work> int withFeature(const CameraHandle* camera, const char* name, Work&& work) {
    tavo::ImplGenICamCamera* device = nullptr;
    const int refused = controlledDeviceOf(camera, name, device);
    return refused != status::Success ? refused : withNode<As>(*device, name, std::forward<Work>(work));
}

// The same for a node of any kind. `work` gives the status.
template<typename Work> int withAnyFeature(const CameraHandle* camera, const char* name, Work&& work) {
    tavo::ImplGenICamCamera* device = nullptr;
    const int refused = controlledDeviceOf(camera, name, device);
    return refused != status::Success ? refused : guarded([&] {
        const auto tree = device->holdTree();
        tavo::GenICamNode* const node = tree->findNode(name);
        return node != nullptr ? work(*node) : noSuchFeature(*tree, name, nullptr);
    });
}

} // namespace api
