// Cameras: picking one of a port's last scan, and what it told of itself.
#include "api/handles.h"
#include "board/camera.h"
#include "liomol/gige.h"
#include "util/qt_locks.h"
#include "util/status.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <optional>

static_assert(sizeof(CameraInfo) == 182, "an exported record without padding");

namespace {

using Mac = std::array<unsigned char, 6>;

struct Picked {
    Mac mac{};
    int status = status::Success; // a warning
};

// A text that fills its field gets no NUL. The target is zero-filled.
template<std::size_t Size> void copyText(char (&target)[Size], const char (&source)[Size]) {
    std::memcpy(target, source, strnlen(source, Size));
}

// The port's current discovery record as the C interface shows it; null without one.
std::unique_ptr<CameraInfo, api::FreeInfo> makeInfo(const camera& selection) {
    const DiscoveredCamera* record = selection.record();
    if (record == nullptr) {
        return nullptr;
    }
    std::unique_ptr<CameraInfo, api::FreeInfo> info(
        static_cast<CameraInfo*>(std::calloc(1, sizeof(CameraInfo))));
    if (info == nullptr) {
        throw std::bad_alloc();
    }
    copyText(info->manufacturerName, record->manufacturerName);
    copyText(info->modelName, record->modelName);
    copyText(info->deviceVersion, record->deviceVersion);
    copyText(info->manufacturerInfo, record->manufacturerInfo);
    copyText(info->serialNumber, record->serialNumber);
    copyText(info->userDefinedName, record->userDefinedName);
    std::memcpy(info->mac, record->mac, sizeof(info->mac));
    return info;
}

// What the four look-up calls share; `Pick` makes a camera of the port current and takes it for the caller,
// or gives the status that the call fails with.
//
// While a connected handle uses the port, its camera stays the port's current one: what that handle sends
// must not go to a camera that somebody merely looked up.
template<typename Pick> int lookUp(BoardHandle* handle, unsigned port, CameraHandle** out, Pick&& pick) {
    const int board = handle->index();
    const int place = static_cast<int>(port);
    const util::ScopedMutex lock(GenICamPortWrapper::mutex(board, place));
    GigeCamera* open = GenICamPortWrapper::getBoard(board);
    if (open == nullptr || open->discoveredCount(place) == 0) {
        return status::NoCamerasFound;
    }
    std::optional<DiscoveredCamera> inUse;
    if (GenICamPortWrapper::portUser(board, place) != nullptr && open->currentCamera(place) != nullptr) {
        inUse = *open->currentCamera(place);
    }
    camera selection(open, place);
    Picked picked;
    const int result = pick(selection, picked);
    if (result == status::Success) {
        auto made = std::make_unique<CameraHandle>();
        made->slots = handle->slots;
        made->port = place;
        made->mac = picked.mac;
        made->macIsTaken = true;
        made->info = makeInfo(selection);
        *out = handle->slots->cameras.at(port) = made.release();
    }
    if (inUse && !selection.selectCameraViaMac(inUse->mac)) {
        open->selectCamera(place, *inUse);
    }
    return result == status::Success ? picked.status : result;
}

// Takes a camera that a selection has found.
int take(bool found, const Mac& mac) {
    if (!found) {
        return status::CameraDoesNotExist;
    }
    return GenICamPortWrapper::takeCamera(mac.data()) ? status::Success : status::CameraBusy;
}

bool isPort(unsigned port) {
    return port < static_cast<unsigned>(GenICamPortWrapper::kPorts);
}

// The checks of the look-up calls; `out` becomes null once they have passed.
bool areGood(const BoardHandle* board, unsigned port, CameraHandle** out) {
    if (board == nullptr || out == nullptr || !isPort(port)) {
        return false;
    }
    *out = nullptr;
    return true;
}

} // namespace

int Gbe_getFirstCamera(BoardHandle* board, unsigned port, CameraHandle** out) {
    if (out == nullptr || !isPort(port)) {
        return status::IllegalParameter;
    }
    *out = nullptr;
    if (board == nullptr) {
        return status::IllegalParameter;
    }
    return lookUp(board, port, out, [](camera& selection, Picked& picked) {
        for (int number = 0; selection.selectCameraViaNumber(number, picked.mac.data()); ++number) {
            if (GenICamPortWrapper::takeCamera(picked.mac.data())) {
                return status::Success;
            }
        }
        return status::CameraDoesNotExist;
    });
}

int Gbe_getCameraByIp(BoardHandle* board, unsigned port, unsigned ip, CameraHandle** out) {
    if (!areGood(board, port, out)) {
        return status::IllegalParameter;
    }
    return lookUp(board, port, out, [&](camera& selection, Picked& picked) {
        return take(selection.selectCameraViaIp(ip, picked.mac.data()), picked.mac);
    });
}

int Gbe_getCameraByMac(BoardHandle* board, unsigned port, const unsigned char* mac, CameraHandle** out) {
    if (!areGood(board, port, out) || mac == nullptr) {
        return status::IllegalParameter;
    }
    return lookUp(board, port, out, [&](camera& selection, Picked& picked) {
        std::memcpy(picked.mac.data(), mac, picked.mac.size());
        return take(selection.selectCameraViaMac(mac), picked.mac);
    });
}

int Gbe_getCameraByUserName(BoardHandle* board, unsigned port, const char* name, CameraHandle** out) {
    if (!areGood(board, port, out) || name == nullptr) {
        return status::IllegalParameter;
    }
    return lookUp(board, port, out, [&](camera& selection, Picked& picked) {
        bool unique = true;
        const bool found = selection.selectCameraViaUserName(name, picked.mac.data(), &unique);
        picked.status = unique ? status::Success : status::CameraNotUnique;
        return take(found, picked.mac);
    });
}

int copyCameraInfo(CameraHandle* handle, CameraInfo** out) {
    if (handle == nullptr || out == nullptr) {
        return status::IllegalParameter;
    }
    const util::ScopedMutex lock(GenICamPortWrapper::mutex(handle->board(), handle->port));
    auto info = makeInfo(camera(handle->openBoard(), handle->port));
    if (info == nullptr) {
        return status::IllegalParameter;
    }
    *out = info.release();
    return status::Success;
}

CameraInfo* Gbe_getCameraInfo(CameraHandle* camera) {
    return camera != nullptr ? camera->info.get() : nullptr;
}
