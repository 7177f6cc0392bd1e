// The callbacks that a camera handle has been given.
#pragma once

#include "liomol/features.h"

#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace tavo {
class GenICamNode;
class ImplGenICamCamera;
} // namespace tavo

namespace api {

// Any thread. A callback that was replaced or cleared does not run any more when the call has returned,
// unless it is the caller.
class Watches {
public:
    Watches();
    ~Watches();

    // A null callback ends the watch.
    void watchFeature(
        CameraHandle* camera, tavo::ImplGenICamCamera& device, tavo::GenICamNode& node,
        GbeFeatureCallback callback, void* user);
    void watchControl(
        CameraHandle* camera, tavo::ImplGenICamCamera& device, GbeControlCallback callback, void* user);
    // Ends all watches.
    void clear();

private:
    class Watch;
    void put(const std::string& key, std::shared_ptr<Watch> watch);

    std::mutex m_mutex;
    std::map<std::string, std::shared_ptr<Watch>> m_watches; // under m_mutex; by name, that of control: empty
};

} // namespace api
