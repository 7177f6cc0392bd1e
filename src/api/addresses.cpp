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
using api::swapped;
using api::Visit;

namespace {

// The C interface has the first octet of an address in the lowest byte.
IpBytes bytesOf(unsigned ip) {
    IpBytes bytes{};
    for (std::size_t octet = 0; octet < bytes.size(); ++octet) {
        bytes[octet] = static_cast<std::uint8_t>(ip >> (8 * octet));
    }
    return bytes;
}

// And this is the same number with the first octet on top, for arithmetic.
std::uint32_t numberOf(unsigned ip) {
    const IpBytes bytes = bytesOf(ip);
    return std::uint32_t{bytes[0]} << 24 | std::uint32_t{bytes[1]} << 16 | std::uint32_t{bytes[2]} << 8 |
           bytes[3];
}

bool isPort(unsigned port) {
    return port < static_cast<unsigned>(GenICamPortWrapper::kPorts);
}

// An address that one station can have: no network of its own, no group, not the computer itself.
bool isStation(std::uint32_t ip) {
    constexpr unsigned kLoopback = 127;
    constexpr unsigned kFirstGroup = 224;
    const unsigned first = ip >> 24;
    return first != 0 && first != kLoopback && first < kFirstGroup;
}

// Ones, then zeros; both, so that a subnet has room.
bool isMask(std::uint32_t mask) {
    const std::uint32_t rest = ~mask;
    return mask != 0 && rest != 0 && (rest & (rest + 1)) == 0;
}

bool isGoodTarget(unsigned ip, unsigned mask, unsigned gateway) {
    if (ip == 0) {
        return true;
    }
    const std::uint32_t host = numberOf(ip) & ~numberOf(mask);
    return isStation(numberOf(ip)) && isMask(numberOf(mask)) && host != 0 && host != ~numberOf(mask) &&
           (gateway == 0 || isStation(numberOf(gateway)));
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
        *ip = swapped(open->getPortIP(place));
    }
    if (mask != nullptr) {
        *mask = swapped(open->getPortMask(place));
    }
    return status::Success;
}

int Gbe_forceCameraIp(
    BoardHandle* board, unsigned port, const unsigned char* mac, unsigned ip, unsigned mask,
    unsigned gateway) {
    if (board == nullptr || !isPort(port) || mac == nullptr || !isGoodTarget(ip, mask, gateway)) {
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
    frame::ForcedAddress to{{}, bytesOf(ip), bytesOf(mask), bytesOf(gateway)};
    std::copy_n(mac, to.mac.size(), to.mac.begin());
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
    *ip = record->ip[0] | unsigned{record->ip[1]} << 8 | unsigned{record->ip[2]} << 16 |
          unsigned{record->ip[3]} << 24;
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
