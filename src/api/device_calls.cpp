// Calls on a camera's description as a whole: listing, text of any feature, cache, checks, the document.
#include "api/features.h"
#include "liomol/gige.h"

#include <array>
#include <cstring>
#include <limits>
#include <string>

namespace {

using tavo::GenICamNode;

// The first row whose interface a node has names its kind.
struct KindRow {
    GbeFeatureKind kind;
    bool (*matches)(GenICamNode*);
};

template<typename Interface> bool has(GenICamNode* node) {
    return dynamic_cast<Interface*>(node) != nullptr;
}

constexpr std::array kKinds{
    KindRow{GBE_KIND_INTEGER, has<tavo::GenICamIntegerInterface>},
    KindRow{GBE_KIND_FLOAT, has<tavo::GenICamFloatInterface>},
    KindRow{GBE_KIND_BOOLEAN, has<tavo::GenICamBooleanInterface>},
    KindRow{GBE_KIND_STRING, has<tavo::GenICamStringInterface>},
    KindRow{GBE_KIND_ENUMERATION, has<tavo::GenICamEnumerationInterface>},
    KindRow{GBE_KIND_COMMAND, has<tavo::GenICamCommandInterface>},
    KindRow{GBE_KIND_CATEGORY, has<tavo::GenICamCategoryInterface>},
    KindRow{GBE_KIND_REGISTER, has<tavo::GenICamRegisterInterface>},
};

GbeFeatureKind kindOf(GenICamNode* node) {
    for (const KindRow& row : kKinds) {
        if (row.matches(node)) {
            return row.kind;
        }
    }
    return GBE_KIND_OTHER;
}

// Sets a Boolean; where the feature is none, an Integer.
int setFlag(CameraHandle* camera, const char* name, int value) {
    const int result = Gbe_setBooleanValue(camera, name, value);
    return result == status::IllegalNode ? Gbe_setIntegerValue(camera, name, value) : result;
}

constexpr const char* kTransportLayerLock = "TLParamsLocked";

// Up to the first NUL. Without a buffer, or when it is too small, only the size is told.
int copyText(const std::string& text, char* buffer, unsigned* size) {
    const std::size_t needed = std::strlen(text.c_str()) + 1;
    const bool fits = buffer == nullptr || needed <= *size;
    if (buffer != nullptr && fits) {
        std::memcpy(buffer, text.c_str(), needed);
    }
    *size = static_cast<unsigned>(needed);
    return fits ? status::Success : status::BufferTooSmall;
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
        return status::IllegalParameter;
    }
    std::string text;
    const int result = api::withFeature<tavo::GenICamNodeInterface>(
        camera, name, [&](auto& node) { text = node.getValueAsString(); });
    if (result != status::Success) {
        return result;
    }
    return copyText(text, buffer, size);
}

int Gbe_getFeatureCount(CameraHandle* camera) {
    tavo::ImplGenICamCamera* device = nullptr;
    if (const int refused = api::deviceOf(camera, device); refused != status::Success) {
        return refused;
    }
    return static_cast<int>(device->getNodes().size());
}

int Gbe_getFeatureName(CameraHandle* camera, unsigned index, const char** name) {
    tavo::ImplGenICamCamera* device = nullptr;
    if (name == nullptr) {
        return status::IllegalParameter;
    }
    if (const int refused = api::deviceOf(camera, device); refused != status::Success) {
        return refused;
    }
    const auto nodes = device->getNodes();
    if (index >= nodes.size()) {
        return status::IllegalParameter;
    }
    *name = nodes[index]->getName().c_str();
    return status::Success;
}

int Gbe_getFeatureKind(CameraHandle* camera, const char* name, int* kind) {
    if (kind == nullptr) {
        return status::IllegalParameter;
    }
    return api::withFeature<GenICamNode>(camera, name, [&](auto& node) { *kind = kindOf(&node); });
}

// A device that is not connected has nothing cached that will ever be read.
int Gbe_invalidateCache(CameraHandle* camera) {
    if (camera == nullptr) {
        return status::IllegalParameter;
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
        return status::IllegalParameter;
    }
    camera->checksEnabled = enable != 0;
    if (tavo::ImplGenICamCamera* device = camera->device()) {
        device->enableChecking(enable != 0);
    }
    return status::Success;
}

int Gbe_enableStandardBehaviour(CameraHandle* camera, int enable) {
    if (camera == nullptr) {
        return status::IllegalParameter;
    }
    camera->standardBehaviour = enable != 0;
    return api::guarded([&] {
        tavo::ImplGenICamCamera* device = nullptr;
        if (api::deviceOf(camera, device) != status::Success) {
            return status::Success;
        }
        camera->texts.clear();
        return device->enableStandardBehaviour(enable != 0) ? status::Success : status::XmlRead;
    });
}

int Gbe_getStandardDifferences(CameraHandle* camera, char* buffer, unsigned* size) {
    if (size == nullptr) {
        return status::IllegalParameter;
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
        return status::IllegalParameter;
    }
    return api::withDevice(camera, [&](tavo::ImplGenICamCamera& device) {
        const std::size_t needed = device.getXmlDataSize();
        if (buffer != nullptr && needed > *size) {
            return status::BufferTooSmall;
        }
        if (buffer != nullptr) {
            device.copyXmlData(buffer);
        }
        *size = static_cast<unsigned>(needed);
        return status::Success;
    });
}
