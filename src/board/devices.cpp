#include "board/devices.h"

#include "board/PortBridge.h"
#include "genicam/device/ImplGenICamCamera.h"
#include "util/late_release.h"

#include <utility>

namespace board {
namespace {

// Threads of the device may be using the door: they stop before it goes. Where listeners have queued signals,
// or are calling from inside the device now, the device stays until they are through, without a door.
void destroy(Device* device) {
    device->stopAsyncMethods();
    const std::shared_ptr<tavo::GenICamPortInterface> door(device->getPort(tavo::kDevicePort));
    const bool isHeard = device->hasListeners();
    if (isHeard) {
        device->setPort(nullptr, tavo::kDevicePort);
    }
    std::shared_ptr<Device> last(device, [door](Device* ending) { delete ending; });
    if (isHeard) {
        util::releaseAfterQueuedSignals(std::move(last));
    }
}

} // namespace

std::shared_ptr<Device> makeDevice(CameraPort& place) {
    std::shared_ptr<Device> device(new Device, destroy);
    device->setPort(new PortBridge(&place, device.get()), tavo::kDevicePort);
    leadTo(*device, place);
    return device;
}

// The earlier device may end with this: when the lock is not held any more.
void makeOwn(CameraPort& place, std::shared_ptr<Device> device) {
    const std::shared_ptr<Device> earlier = HeldPort(place).setDevice(std::move(device));
}

void disown(CameraPort& place, const Device* device) {
    std::shared_ptr<Device> earlier;
    const HeldPort held(place);
    if (place.device() == device) {
        earlier = held.setDevice(nullptr);
    }
}

// Commands go to the port's current camera, so that no address is needed.
void leadTo(Device& device, CameraPort& place) {
    constexpr unsigned kNoAddress = 0;
    device.addCameraConnection(place.boardIndex, place.number);
    device.setConnection({place.boardIndex, place.number}, kNoAddress);
}

} // namespace board
