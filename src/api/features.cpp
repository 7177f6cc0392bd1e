// Features by name, one call a kind and direction.
#include "api/features.h"

#include "liomol/gige.h"

using api::withFeature;
using tavo::GenICamNode;

int Gbe_setIntegerValue(CameraHandle* camera, const char* name, long long value) {
    return withFeature<&GenICamNode::asInteger>(camera, name, [&](auto& node) { node.setValue(value); });
}

int Gbe_getIntegerValue(CameraHandle* camera, const char* name, long long* value) {
    if (value == nullptr) {
        return api::nullArgument("value");
    }
    return withFeature<&GenICamNode::asInteger>(camera, name, [&](auto& node) { *value = node.getValue(); });
}

int Gbe_setFloatValue(CameraHandle* camera, const char* name, double value) {
    return withFeature<&GenICamNode::asFloat>(camera, name, [&](auto& node) { node.setValue(value); });
}

int Gbe_getFloatValue(CameraHandle* camera, const char* name, double* value) {
    if (value == nullptr) {
        return api::nullArgument("value");
    }
    return withFeature<&GenICamNode::asFloat>(camera, name, [&](auto& node) { *value = node.getValue(); });
}

int Gbe_setBooleanValue(CameraHandle* camera, const char* name, int value) {
    return withFeature<&GenICamNode::asBoolean>(camera, name, [&](auto& node) { node.setValue(value != 0); });
}

int Gbe_getBooleanValue(CameraHandle* camera, const char* name, int* value) {
    if (value == nullptr) {
        return api::nullArgument("value");
    }
    return withFeature<&GenICamNode::asBoolean>(
        camera, name, [&](auto& node) { *value = node.getValue() ? 1 : 0; });
}

int Gbe_setStringValue(CameraHandle* camera, const char* name, const char* value) {
    if (value == nullptr) {
        return api::nullArgument("value");
    }
    return withFeature<&GenICamNode::asString>(camera, name, [&](auto& node) { node.setValue(value); });
}

int Gbe_getStringValue(CameraHandle* camera, const char* name, const char** value) {
    if (value == nullptr) {
        return api::nullArgument("value");
    }
    return withFeature<&GenICamNode::asString>(
        camera, name, [&](auto& node) { *value = camera->texts.keepFor(name, node.getValue()); });
}

int Gbe_setEnumerationValue(CameraHandle* camera, const char* name, const char* entry) {
    if (entry == nullptr) {
        return api::nullArgument("entry");
    }
    return withFeature<&GenICamNode::asEnumeration>(
        camera, name, [&](auto& node) { node.setStringValue(entry); });
}

int Gbe_getEnumerationValue(CameraHandle* camera, const char* name, const char** entry) {
    if (entry == nullptr) {
        return api::nullArgument("entry");
    }
    return withFeature<&GenICamNode::asEnumeration>(
        camera, name, [&](auto& node) { *entry = camera->texts.intern(node.getStringValue()); });
}

int Gbe_executeCommand(CameraHandle* camera, const char* name) {
    return withFeature<&GenICamNode::asCommand>(camera, name, [](auto& node) { node.execute(); });
}

// The answer comes in place of the status.
int Gbe_isCommandDone(CameraHandle* camera, const char* name) {
    bool done = false;
    const int result =
        withFeature<&GenICamNode::asCommand>(camera, name, [&](auto& node) { done = node.isDone(); });
    return result == status::Success ? static_cast<int>(done) : result;
}
