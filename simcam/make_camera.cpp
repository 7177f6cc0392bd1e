#include "protocol/ethernet_endpoint.h"

namespace ethernet {

std::unique_ptr<Endpoint> makeCamera(const Settings&, std::string& error) {
    error = "no camera yet";
    return nullptr;
}

} // namespace ethernet
