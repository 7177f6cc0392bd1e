// One port of a board as the place where a camera is picked and prepared. Made on the stack for each use.
//
// Threads: the caller holds the port (board/CameraPort.h) during every call.
#pragma once

#include "protocol/bootstrap.h"
#include "transport/DiscoveredCamera.h"

#include <cstdint>

class GigeCamera;

namespace transport {
class Port;
}

class camera {
public:
    static constexpr int kHeartbeatTimeout = 15000; // milliseconds; what init() asks the camera to wait

    // `board` is not owned. Null, and a port other than 0 to 3, make a camera that finds nothing.
    camera(GigeCamera* board, int port);
    explicit camera(transport::Port* port) : m_port(port) {}
    camera(const camera&) = default;
    camera& operator=(const camera&) = default;
    virtual ~camera() = default;

    // Takes control of the current camera, of the kind `privilege`, and sends its stream to this port. Always
    // 0: failed writes are not looked at, and a camera that does not answer costs 8 s.
    int
    init(std::uint32_t privilege = bootstrap::kPrivilegeControl, int heartbeatTimeout = kHeartbeatTimeout);
    // Gives control back. Always 0.
    int deinit();

    // Registers of the current camera. Always 0; a failed read leaves *value as it was.
    int readRegister(unsigned address, int* value);
    int writeRegister(unsigned address, int value);

    // Sets the port's line length for lines of `width` pixels of one byte. Always 0.
    int setEolWidth(int width);

    // Fields of the current camera's discovery record; a text that fills its field has no NUL. Null without a
    // current camera.
    const DiscoveredCamera* record() const;
    const char* getManufactorName() const;
    const char* getModellName() const;
    const char* getDeviceVersion() const;
    const char* getManufacturerInfo() const;
    const char* getSerialNumber() const;
    const char* getUserName() const;

    // Nothing to do on this hardware. Always 0.
    int setIntWidth(int) { return 0; }
    int setIntHeight(int) { return 0; }
    int setIntFramerate(int) { return 0; }
    int startAcquisition() { return 0; }
    int discover() { return 0; }

    // Selection in the port's discovery table: makes the camera the port's current one and copies its 6-byte
    // MAC to `mac`, or returns false and changes nothing.
    bool selectCameraViaNumber(int number, unsigned char* mac);
    bool selectCameraViaMac(
        unsigned char a0, unsigned char a1, unsigned char a2, unsigned char a3, unsigned char a4,
        unsigned char a5);
    bool selectCameraViaMac(const unsigned char* mac);
    // The first octet of the address is the lowest byte of `ip`.
    bool selectCameraViaIp(unsigned ip, unsigned char* mac);
    // *unique tells whether at most one camera bears the name. Whichever camera bears it, the last one of the
    // table is selected: kept as it is, since callers go by the MAC.
    bool selectCameraViaUserName(const char* name, unsigned char* mac, bool* unique);

private:
    template<typename Predicate> int firstRecord(Predicate&& matches) const;
    bool told(bool selected, unsigned char* mac) const;

    transport::Port* m_port; // not owned; may be null
};
