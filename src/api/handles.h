// What stands behind the two opaque handles of the C interface.
#pragma once

#include "board/GbeHeartbeatThread.h"
#include "board/GenICamPortWrapper.h"
#include "liomol/gige.h"
#include "service/GbeTransmission.h"

#include <array>
#include <cstdlib>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <string_view>

namespace api {

struct FreeInfo {
    void operator()(CameraInfo* info) const { std::free(info); }
};

// The camera handles that a board handle reaches, one a port. Shared with those camera handles: a
// disconnected camera may be freed after its board handle.
struct BoardSlots {
    explicit BoardSlots(int board) : boardIndex(board) {}

    const int boardIndex;
    std::array<CameraHandle*, GenICamPortWrapper::kPorts> cameras{};
};

// Texts that a handle has given out: C callers hold pointers, the nodes give copies.
class HandedTexts {
public:
    // Replaces what was given for this feature before.
    const char* keepFor(std::string_view feature, std::string text);
    // The one copy of this text, valid until clear().
    const char* intern(std::string_view text);
    void clear();

private:
    std::mutex m_mutex;
    std::map<std::string, std::string, std::less<>> m_byFeature; // under m_mutex
    std::set<std::string, std::less<>> m_interned;               // under m_mutex
};

// Ends a heartbeat: asks it to stop and waits for it.
struct StopHeartbeat {
    void operator()(GbeHeartbeatThread* heartbeat) const;
};

} // namespace api

struct BoardHandle {
    explicit BoardHandle(int board) : slots(std::make_shared<api::BoardSlots>(board)) {}

    int index() const { return slots->boardIndex; }

    std::shared_ptr<api::BoardSlots> slots;
};

struct CameraHandle {
    int board() const { return slots->boardIndex; }
    GigeCamera* openBoard() const { return GenICamPortWrapper::getBoard(board()); }
    tavo::ImplGenICamCamera* device() const { return GenICamPortWrapper::getDevice(board(), port); }

    std::shared_ptr<api::BoardSlots> slots; // of the board handle that the camera was found through
    int port = 0;
    std::array<unsigned char, 6> mac{}; // names the camera, whatever becomes the port's current one
    std::unique_ptr<GbeTransmission> transmission; // nothing makes one yet
    std::unique_ptr<GbeHeartbeatThread, api::StopHeartbeat> heartbeat;
    bool macIsTaken = false; // this handle is why the registry has the MAC in use
    bool connected = false;
    int loss = GBE_LOSS_NEVER_HELD; // a GbeControlLoss, while not connected
    bool descriptionReady = false;  // connecting leaves the description alone; nothing sets it yet
    bool checksEnabled = false;     // the wish, for the device that connecting makes
    bool standardBehaviour = false; // likewise
    std::unique_ptr<CameraInfo, api::FreeInfo> info;
    api::HandedTexts texts;
};

namespace api {

// A GbeControlLoss. The caller holds the mutex of the handle's port.
inline int lossOf(const CameraHandle& camera) {
    return camera.connected ? static_cast<int>(GenICamPortWrapper::controlLoss(camera.board(), camera.port))
                            : camera.loss;
}

} // namespace api
