// Callbacks for changes of features and for lost control.
#include "api/features.h"
#include "liomol/features.h"

int Gbe_watchFeature(CameraHandle* camera, const char* name, GbeFeatureCallback callback, void* user) {
    return api::withAnyFeature(camera, name, [&](tavo::GenICamNode& node) {
        camera->watches.watchFeature(camera, *camera->device(), node, callback, user);
        return status::Success;
    });
}

int Gbe_watchControl(CameraHandle* camera, GbeControlCallback callback, void* user) {
    return api::withDevice(camera, [&](tavo::ImplGenICamCamera& device) {
        camera->watches.watchControl(camera, device, callback, user);
        return status::Success;
    });
}
