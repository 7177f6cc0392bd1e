// Makes a camera the current one of a port without a scan.
#pragma once

#include "board/GenICamPortWrapper.h"
#include "board/camera.h"
#include "protocol/bootstrap.h"
#include "simcam/Camera.h"
#include "util/qt_locks.h"

#include <algorithm>

// The camera's own registers tell what a discovery would have told. Takes control of it, too.
inline void introduce(int board, int port, simcam::Camera& found) {
    DiscoveryAckData ack{};
    const auto copy = [&](std::uint32_t address, std::size_t size, std::size_t offset) {
        const auto bytes = found.peek(address, size).value();
        std::copy(bytes.begin(), bytes.end(), ack.bytes.begin() + static_cast<std::ptrdiff_t>(offset));
    };
    copy(bootstrap::kMacHigh + 2, 2, gvcp::discovery::kMac);
    copy(bootstrap::kMacLow, 4, gvcp::discovery::kMac + 2);
    copy(bootstrap::kCurrentIp, 4, gvcp::discovery::kIp);
    const util::ScopedMutex lock(GenICamPortWrapper::mutex(board, port));
    GigeCamera* open = GenICamPortWrapper::getBoard(board);
    open->storeDiscoveredCamera(port, &ack);
    open->selectCamera(port, open->discoveredCount(port) - 1);
    camera(open, port).init();
}
