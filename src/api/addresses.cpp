// Addresses of ports and cameras, and what a camera tells without being connected.
#include "api/handles.h"
#include "api/visit.h"
#include "liomol/gige.h"
#include "transport/command_channel.h"
#include "transport/force_ip.h"
#include "util/process.h"
#include "util/status.h"

#include <algorithm>
#include <cstring>

using api::hasMac;
using api::recordOf;
using api::Visit;
using net::Ipv4;

namespace {

bool isGoodTarget(const Ipv4& ip, const Ipv4& mask, const Ipv4& gateway) {
    return ip.isNone() || (ip.isStation() && mask.isMask() && net::isInsideSubnet(ip, mask) &&
                           (gateway.isNone() || gateway.isStation()));
}

int codeOf(int result) {
    return result == 0 ? status::Success : result < 0 ? status::Connection : status::TransportLayer;
}

} // namespace

int Gbe_getPortAddress(BoardHandle* board, unsigned port, unsigned char* mac, unsigned* ip, unsigned* mask) {
    board::CameraPort* place = api::portOf(board, port);
    if (place == nullptr) {
        return status::IllegalParameter;
    }
    if (util::isForkedChild()) {
        return status::Connection;
    }
    const board::HeldPort held(*place);
    const transport::Port* open = held.port();
    if (open == nullptr) {
        return status::BoardDoesNotExist;
    }
    if (mac != nullptr) {
        std::copy(open->mac().begin(), open->mac().end(), mac);
    }
    if (ip != nullptr) {
        *ip = open->ip().lowFirst();
    }
    if (mask != nullptr) {
        *mask = open->mask().lowFirst();
    }
    return status::Success;
}

int Gbe_getCommandPort(BoardHandle* board, unsigned port, unsigned* udpPort) {
    board::CameraPort* place = api::portOf(board, port);
    if (place == nullptr || udpPort == nullptr) {
        return status::IllegalParameter;
    }
    const board::HeldPort held(*place);
    if (held.port() == nullptr) {
        return status::BoardDoesNotExist;
    }
    *udpPort = held.port()->controlPort();
    return status::Success;
}

int Gbe_forceCameraIp(
    BoardHandle* board, unsigned port, const unsigned char* mac, unsigned ip, unsigned mask,
    unsigned gateway) {
    board::CameraPort* place = api::portOf(board, port);
    frame::ForcedAddress to{
        {}, Ipv4::fromLowFirst(ip), Ipv4::fromLowFirst(mask), Ipv4::fromLowFirst(gateway)};
    if (place == nullptr || mac == nullptr || !isGoodTarget(to.ip, to.mask, to.gateway)) {
        return status::IllegalParameter;
    }
    if (util::isForkedChild()) {
        return status::Connection;
    }
    const board::HeldPort held(*place);
    if (held.port() == nullptr) {
        return status::BoardDoesNotExist;
    }
    if (!to.ip.isNone() && to.ip == held.port()->ip()) {
        return status::IllegalParameter;
    }
    const board::PortClaim claim(place->boardIndex, place->number);
    if (!claim) {
        return status::PortNotAvailable;
    }
    if (place->user() != nullptr && hasMac(held.port()->currentCamera(), mac)) {
        return status::CameraBusy;
    }
    to.mac = net::Mac::at(mac);
    const int result = transport::forceIp(*held.port(), to);
    return result == static_cast<int>(gvcp::Status::AccessDenied) ? status::CameraBusy : codeOf(result);
}

int Gbe_getCameraIp(CameraHandle* camera, unsigned* ip) {
    if (camera == nullptr || ip == nullptr) {
        return status::IllegalParameter;
    }
    if (util::isForkedChild()) {
        return status::Connection;
    }
    const board::HeldPort held(camera->place());
    const DiscoveredCamera* record = recordOf(held, camera->mac.data());
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
    if (util::isForkedChild()) {
        return status::Connection;
    }
    const board::HeldPort held(camera->place());
    const DiscoveredCamera* record = recordOf(held, camera->mac.data());
    if (record == nullptr) {
        return status::CameraDoesNotExist;
    }
    const board::PortClaim claim(camera->place().boardIndex, camera->place().number);
    if (!claim) {
        return status::PortNotAvailable;
    }
    const Visit visit(held, *record);
    int content = 0;
    const int result = transport::readRegister(*held.port(), address, &content);
    if (result == 0) {
        *value = static_cast<unsigned>(content);
    }
    return codeOf(result);
}
