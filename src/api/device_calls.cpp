// Calls on a camera's description as a whole: listing, text of any feature, cache, checks, the document.
#include "api/features.h"
#include "api/results.h"
#include "liomol/gige.h"

#include <cstring>
#include <string>

namespace {

using tavo::GenICamNode;

// Sets a Boolean; where the feature is none, an Integer.
int setFlag(CameraHandle* camera, const char* name, int value) {
    const int result = Gbe_setBooleanValue(camera, name, value);
    return api::about(
        name, result == status::IllegalNode ? Gbe_setIntegerValue(camera, name, value) : result);
}

constexpr const char* kTransportLayerLock = "TLParamsLocked";

// Up to the first NUL.
int copyText(const std::string& text, char* buffer, unsigned* size) {
    return api::copyBytes({text.c_str(), std::strlen(text.c_str()) + 1}, buffer, size);
}

} // namespace

int Gbe_lockTLParams(CameraHandle* camera) {
    return setFlag(camera, kTransportLayerLock, 1);
}

int Gbe_unlockTLParams(CameraHandle* camera) {
    return setFlag(camera, kTransportLayerLock, 0);
}

int Gbe_getValueAsString(CameraHandle* camera, const char* name, char* buffer, unsigned* size) {
    if (size == nullptr) {
        return api::nullArgument("size");
    }
    return api::withAnyFeature(
        camera, name, [&](GenICamNode& node) { return copyText(node.getValueAsString(), buffer, size); });
}

int Gbe_getFeatureCount(CameraHandle* camera) {
    tavo::ImplGenICamCamera* device = nullptr;
    if (const int refused = api::deviceOf(camera, device); refused != status::Success) {
        return refused;
    }
    return static_cast<int>(device->holdTree()->nodes().byName().size());
}

int Gbe_getFeatureName(CameraHandle* camera, unsigned index, const char** name) {
    tavo::ImplGenICamCamera* device = nullptr;
    if (name == nullptr) {
        return api::nullArgument("name");
    }
    if (const int refused = api::deviceOf(camera, device); refused != status::Success) {
        return refused;
    }
    const auto tree = device->holdTree();
    const auto& nodes = tree->nodes().byName();
    if (index >= nodes.size()) {
        return api::refused(status::IllegalParameter, [&] {
            return "index " + std::to_string(index) + " is not below " + std::to_string(nodes.size());
        });
    }
    *name = nodes[index]->getName().c_str();
    return status::Success;
}

int Gbe_getFeatureKind(CameraHandle* camera, const char* name, int* kind) {
    if (kind == nullptr) {
        return api::nullArgument("kind");
    }
    return api::withAnyFeature(camera, name, [&](GenICamNode& node) {
        *kind = api::kindOf(node);
        return status::Success;
    });
}

// A device that is not connected has nothing cached that will ever be read.
int Gbe_invalidateCache(CameraHandle* camera) {
    if (camera == nullptr) {
        return api::nullArgument("camera");
    }
    return api::guarded([&] {
        tavo::ImplGenICamCamera* device = nullptr;
        if (api::deviceOf(camera, device) == status::Success) {
            device->invalidateAllNodes();
        }
        return status::Success;
    });
}

int Gbe_enableChecks(CameraHandle* camera, int enable) {
    if (camera == nullptr) {
        return api::nullArgument("camera");
    }
    camera->checksEnabled = enable != 0;
    if (tavo::ImplGenICamCamera* device = camera->device()) {
        device->enableChecking(enable != 0);
    }
    return status::Success;
}

int Gbe_enableStandardBehaviour(CameraHandle* camera, int enable) {
    if (camera == nullptr) {
        return api::nullArgument("camera");
    }
    camera->standardBehaviour = enable != 0;
    return api::guarded([&] {
        tavo::ImplGenICamCamera* device = nullptr;
        if (api::deviceOf(camera, device) != status::Success) {
            return status::Success;
        }
        camera->watches.clear();
        camera->texts.clear();
        return device->enableStandardBehaviour(enable != 0) ? status::Success : status::XmlRead;
    });
}

int Gbe_getStandardDifferences(CameraHandle* camera, char* buffer, unsigned* size) {
    if (size == nullptr) {
        return api::nullArgument("size");
    }
    return api::withDevice(camera, [&](tavo::ImplGenICamCamera& device) {
        std::string text;
        for (const tavo::QuirkUse& use : device.quirksTouched()) {
            text += std::to_string(use.count) + ' ' + std::string(use.what) + '\n';
        }
        return copyText(text, buffer, size);
    });
}

int Gbe_getGenICamXML(CameraHandle* camera, char* buffer, unsigned* size) {
    if (size == nullptr) {
        return api::nullArgument("size");
    }
    return api::withDevice(camera, [&](tavo::ImplGenICamCamera& device) {
        const std::size_t needed = device.getXmlDataSize();
        if (buffer != nullptr && needed > *size) {
            return api::tooSmall(needed, *size);
        }
        if (buffer != nullptr) {
            device.copyXmlData(buffer);
        }
        *size = static_cast<unsigned>(needed);
        return status::Success;
    });
}
