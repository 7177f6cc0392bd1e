// Addresses of ports and cameras, and what a camera tells without being connected.
#include "api/handles.h"
#include "api/visit.h"
#include "liomol/gige.h"
#include "util/qt_locks.h"
#include "util/status.h"

#include <algorithm>
#include <cstring>

using api::hasMac;
using api::recordOf;
using api::Visit;
using net::Ipv4;

namespace {

bool isPort(unsigned port) {
    return port < static_cast<unsigned>(GenICamPortWrapper::kPorts);
}

bool isGoodTarget(const Ipv4& ip, const Ipv4& mask, const Ipv4& gateway) {
    return ip.isNone() || (ip.isStation() && mask.isMask() && net::isInsideSubnet(ip, mask) &&
                           (gateway.isNone() || gateway.isStation()));
}

int codeOf(int result) {
    return result == 0 ? status::Success : result < 0 ? status::Connection : status::TransportLayer;
}

} // namespace

int Gbe_getPortAddress(BoardHandle* board, unsigned port, unsigned char* mac, unsigned* ip, unsigned* mask) {
    if (board == nullptr || !isPort(port)) {
        return status::IllegalParameter;
    }
    const int place = static_cast<int>(port);
    const util::ScopedMutex lock(GenICamPortWrapper::mutex(board->index(), place));
    const GigeCamera* open = GenICamPortWrapper::getBoard(board->index());
    if (open == nullptr) {
        return status::BoardDoesNotExist;
    }
    if (mac != nullptr) {
        const MacBytes bytes = open->portMac(place);
        std::copy(bytes.begin(), bytes.end(), mac);
    }
    if (ip != nullptr) {
        *ip = Ipv4::fromNumber(open->getPortIP(place)).lowFirst();
    }
    if (mask != nullptr) {
        *mask = Ipv4::fromNumber(open->getPortMask(place)).lowFirst();
    }
    return status::Success;
}

int Gbe_forceCameraIp(
    BoardHandle* board, unsigned port, const unsigned char* mac, unsigned ip, unsigned mask,
    unsigned gateway) {
    frame::ForcedAddress to{
        {}, Ipv4::fromLowFirst(ip), Ipv4::fromLowFirst(mask), Ipv4::fromLowFirst(gateway)};
    if (board == nullptr || !isPort(port) || mac == nullptr || !isGoodTarget(to.ip, to.mask, to.gateway)) {
        return status::IllegalParameter;
    }
    const int place = static_cast<int>(port);
    const util::ScopedMutex lock(GenICamPortWrapper::mutex(board->index(), place));
    GigeCamera* open = GenICamPortWrapper::getBoard(board->index());
    if (open == nullptr) {
        return status::BoardDoesNotExist;
    }
    if (GenICamPortWrapper::portUser(board->index(), place) != nullptr &&
        hasMac(open->currentCamera(place), mac)) {
        return status::CameraBusy;
    }
    to.mac = net::Mac::at(mac);
    const int result = open->ForceIp(place, to);
    return result == static_cast<int>(gvcp::Status::AccessDenied) ? status::CameraBusy : codeOf(result);
}

int Gbe_getCameraIp(CameraHandle* camera, unsigned* ip) {
    if (camera == nullptr || ip == nullptr) {
        return status::IllegalParameter;
    }
    const util::ScopedMutex lock(GenICamPortWrapper::mutex(camera->board(), camera->port));
    const GigeCamera* open = camera->openBoard();
    const DiscoveredCamera* record =
        open != nullptr ? recordOf(*open, camera->port, camera->mac.data()) : nullptr;
    if (record == nullptr) {
        return status::CameraDoesNotExist;
    }
    *ip = Ipv4::at(record->ip).lowFirst();
    return status::Success;
}

int Gbe_readRegister(CameraHandle* camera, unsigned address, unsigned* value) {
    if (camera == nullptr || value == nullptr) {
        return status::IllegalParameter;
    }
    const util::ScopedMutex lock(GenICamPortWrapper::mutex(camera->board(), camera->port));
    GigeCamera* open = camera->openBoard();
    const DiscoveredCamera* record =
        open != nullptr ? recordOf(*open, camera->port, camera->mac.data()) : nullptr;
    if (record == nullptr) {
        return status::CameraDoesNotExist;
    }
    const Visit visit(*open, camera->board(), camera->port, DiscoveredCamera(*record));
    int content = 0;
    const int result = open->ReadRegister(camera->port, address, &content);
    if (result == 0) {
        *value = static_cast<unsigned>(content);
    }
    return codeOf(result);
}
