#include "simcam/Camera.h"

namespace ethernet {

std::unique_ptr<Endpoint> makeCamera(const Settings& settings, std::string& error) {
    return simcam::Camera::make(settings, error);
}

} // namespace ethernet
