// Cameras: picking one of a port's last scan, and what it told of itself.
#include "api/handles.h"
#include "api/refusals.h"
#include "board/CamerasInUse.h"
#include "board/camera.h"
#include "liomol/gige.h"
#include "util/process.h"
#include "util/status.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

static_assert(sizeof(CameraInfo) == 182, "an exported record without padding");

namespace {

using Mac = CameraHandle::Mac;

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
template<typename Pick>
int lookUp(const BoardHandle& handle, board::CameraPort& place, CameraHandle** out, Pick&& pick) {
    if (util::isForkedChild()) {
        return api::refusedAsFork();
    }
    const board::HeldPort held(place);
    if (held.port() == nullptr || held.port()->cameras().count() == 0) {
        return api::noCameras(held);
    }
    const board::KeepCurrent kept(held);
    camera selection(held.port());
    Picked picked;
    const int result = pick(selection, picked);
    if (result != status::Success) {
        return result;
    }
    auto made = std::make_unique<CameraHandle>(handle.slots, place, picked.mac);
    made->info = makeInfo(selection);
    handle.slots->put(place.number, made.get());
    *out = made.release();
    return picked.status == status::CameraNotUnique
               ? api::refused(picked.status, "several cameras of the port have that name")
               : picked.status;
}

// Takes a camera that a selection has found; `sought` makes what it was to have.
template<typename Sought> int take(bool found, const Mac& mac, Sought&& sought) {
    if (!found) {
        return api::refused(status::CameraDoesNotExist, [&] {
            return "no camera that the last scan of the port has found has " + sought();
        });
    }
    return board::CamerasInUse::instance().take(mac.data())
               ? status::Success
               : api::refused(status::CameraBusy, [&] {
                     return "another handle of this program has the camera " +
                            net::Mac::at(mac.data()).text();
                 });
}

// The checks of the look-up calls: the port, or null; `out` becomes null once they have passed.
board::CameraPort* checked(const BoardHandle* board, unsigned port, CameraHandle** out) {
    board::CameraPort* place = out != nullptr ? api::portOf(board, port) : nullptr;
    if (place != nullptr) {
        *out = nullptr;
    }
    return place;
}

} // namespace

int Gbe_getFirstCamera(BoardHandle* board, unsigned port, CameraHandle** out) {
    board::CameraPort* place = checked(board, port, out);
    if (place == nullptr) {
        if (board == nullptr && out != nullptr && port < unsigned{board::kPorts}) {
            *out = nullptr; // this call alone, as documented
        }
        return api::badLookUp(board, port, {{out, "out"}});
    }
    return lookUp(*board, *place, out, [](camera& selection, Picked& picked) {
        for (int number = 0; selection.selectCameraViaNumber(number, picked.mac.data()); ++number) {
            if (board::CamerasInUse::instance().take(picked.mac.data())) {
                return status::Success;
            }
        }
        return api::refused(
            status::CameraDoesNotExist, "all cameras that the last scan of the port has found are in use");
    });
}

int Gbe_getCameraByIp(BoardHandle* board, unsigned port, unsigned ip, CameraHandle** out) {
    board::CameraPort* place = checked(board, port, out);
    if (place == nullptr) {
        return api::badLookUp(board, port, {{out, "out"}});
    }
    return lookUp(*board, *place, out, [&](camera& selection, Picked& picked) {
        return take(selection.selectCameraViaIp(ip, picked.mac.data()), picked.mac, [&] {
            return "the address " + net::Ipv4::fromLowFirst(ip).text();
        });
    });
}

int Gbe_getCameraByMac(BoardHandle* board, unsigned port, const unsigned char* mac, CameraHandle** out) {
    board::CameraPort* place = checked(board, port, out);
    if (place == nullptr || mac == nullptr) {
        return api::badLookUp(board, port, {{out, "out"}, {mac, "mac"}});
    }
    return lookUp(*board, *place, out, [&](camera& selection, Picked& picked) {
        std::memcpy(picked.mac.data(), mac, picked.mac.size());
        return take(selection.selectCameraViaMac(mac), picked.mac, [&] {
            return "the address " + net::Mac::at(mac).text();
        });
    });
}

int Gbe_getCameraByUserName(BoardHandle* board, unsigned port, const char* name, CameraHandle** out) {
    board::CameraPort* place = checked(board, port, out);
    if (place == nullptr || name == nullptr) {
        return api::badLookUp(board, port, {{out, "out"}, {name, "name"}});
    }
    return lookUp(*board, *place, out, [&](camera& selection, Picked& picked) {
        bool unique = true;
        const bool found = selection.selectCameraViaUserName(name, picked.mac.data(), &unique);
        picked.status = unique ? status::Success : status::CameraNotUnique;
        return take(found, picked.mac, [&] { return std::string("the name \"") + name + '"'; });
    });
}

int copyCameraInfo(CameraHandle* handle, CameraInfo** out) {
    if (handle == nullptr || out == nullptr) {
        return api::firstNull({{handle, "camera"}, {out, "out"}});
    }
    const board::HeldPort held(handle->place());
    auto info = makeInfo(camera(held.port()));
    if (info == nullptr) {
        return api::refused(status::IllegalParameter, "no camera of the port is selected");
    }
    *out = info.release();
    return status::Success;
}

CameraInfo* Gbe_getCameraInfo(CameraHandle* camera) {
    return camera != nullptr ? camera->info.get() : nullptr;
}
