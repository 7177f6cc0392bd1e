// The bootstrap registers of the camera that a device is for. Any thread; the port is held for one access at
// a time, so that none may be held already.
#pragma once

#include "board/CameraPort.h"
#include "protocol/bootstrap.h"

#include <cstdint>
#include <optional>

namespace streaming {

// Both accesses throw tavo::GicTransportLayerException when the camera is silent, twice, or the port serves
// another device by now, and tavo::GicConnectionException once control of the camera is lost.
class CameraRegisters {
public:
    // Neither is owned.
    CameraRegisters(board::CameraPort& place, board::Device& device) : m_place(place), m_device(device) {}

    // Nothing when the camera refuses: it need not have every register.
    std::optional<std::uint32_t> read(bootstrap::Address address) const;
    // False when the camera refuses.
    bool write(bootstrap::Address address, std::uint32_t value) const;
    // The same for what a camera cannot do without: refusing counts as silence.
    void mustWrite(bootstrap::Address address, std::uint32_t value) const;

private:
    template<typename Attempt> int access(bootstrap::Address address, bool isRead, Attempt&& attempt) const;
    int tryWrite(bootstrap::Address address, std::uint32_t value) const;

    board::CameraPort& m_place;
    board::Device& m_device;
};

} // namespace streaming
