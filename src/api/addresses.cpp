// Addresses of ports and cameras, and what a camera tells without being connected.
#include "api/handles.h"
#include "api/refusals.h"
#include "api/visit.h"
#include "board/failures.h"
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

int badTarget(const frame::ForcedAddress& to) {
    return api::refused(status::IllegalParameter, [&] {
        return to.ip.text() + ", mask " + to.mask.text() + ", gateway " + to.gateway.text() +
               ": no single camera can have these";
    });
}

// `what` is what the camera was to do.
int codeOf(int result, const char* what) {
    return result == 0 ? status::Success
                       : api::refused(result < 0 ? status::Connection : status::TransportLayer, [&] {
                             return std::string(what) + ": " + board::resultText(result);
                         });
}

} // namespace

int Gbe_getPortAddress(BoardHandle* board, unsigned port, unsigned char* mac, unsigned* ip, unsigned* mask) {
    board::CameraPort* place = api::portOf(board, port);
    if (place == nullptr) {
        return api::badPort(board, port);
    }
    if (util::isForkedChild()) {
        return api::refusedAsFork();
    }
    const board::HeldPort held(*place);
    const transport::Port* open = held.port();
    if (open == nullptr) {
        return api::boardClosed(place->boardIndex);
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
        return place == nullptr ? api::badPort(board, port) : api::nullArgument("udpPort");
    }
    const board::HeldPort held(*place);
    if (held.port() == nullptr) {
        return api::boardClosed(place->boardIndex);
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
    if (place == nullptr || mac == nullptr) {
        return place == nullptr ? api::badPort(board, port) : api::nullArgument("mac");
    }
    if (!isGoodTarget(to.ip, to.mask, to.gateway)) {
        return badTarget(to);
    }
    if (util::isForkedChild()) {
        return api::refusedAsFork();
    }
    const board::HeldPort held(*place);
    if (held.port() == nullptr) {
        return api::boardClosed(place->boardIndex);
    }
    if (!to.ip.isNone() && to.ip == held.port()->ip()) {
        return api::refused(
            status::IllegalParameter, [&] { return to.ip.text() + " is the address of the port itself"; });
    }
    const board::PortClaim claim(place->boardIndex, place->number);
    if (!claim) {
        return api::portTaken(*place);
    }
    if (place->user() != nullptr && hasMac(held.port()->currentCamera(), mac)) {
        return api::refused(status::CameraBusy, "a connected handle of this program uses the camera");
    }
    to.mac = net::Mac::at(mac);
    const int result = transport::forceIp(*held.port(), to);
    return result == static_cast<int>(gvcp::Status::AccessDenied)
               ? api::refused(status::CameraBusy, "an application controls the camera")
               : codeOf(result, "the camera was to take the address");
}

int Gbe_getCameraIp(CameraHandle* camera, unsigned* ip) {
    if (camera == nullptr || ip == nullptr) {
        return api::firstNull({{camera, "camera"}, {ip, "ip"}});
    }
    if (util::isForkedChild()) {
        return api::refusedAsFork();
    }
    const board::HeldPort held(camera->place());
    const DiscoveredCamera* record = recordOf(held, camera->mac.data());
    if (record == nullptr) {
        return api::notFound(camera->place(), camera->mac.data());
    }
    *ip = Ipv4::at(record->ip).lowFirst();
    return status::Success;
}

int Gbe_readRegister(CameraHandle* camera, unsigned address, unsigned* value) {
    if (camera == nullptr || value == nullptr) {
        return api::firstNull({{camera, "camera"}, {value, "value"}});
    }
    if (util::isForkedChild()) {
        return api::refusedAsFork();
    }
    const board::HeldPort held(camera->place());
    const DiscoveredCamera* record = recordOf(held, camera->mac.data());
    if (record == nullptr) {
        return api::notFound(camera->place(), camera->mac.data());
    }
    const board::PortClaim claim(camera->place().boardIndex, camera->place().number);
    if (!claim) {
        return api::portTaken(camera->place());
    }
    const Visit visit(held, *record);
    int content = 0;
    const int result = transport::readRegister(*held.port(), address, &content);
    if (result == 0) {
        *value = static_cast<unsigned>(content);
        return status::Success;
    }
    return api::refused(result < 0 ? status::Connection : status::TransportLayer, [&] {
        return board::accessSentence(true, address, sizeof *value, result);
    });
}
