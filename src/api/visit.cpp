#include "api/visit.h"

#include "board/GenICamPortWrapper.h"
#include "board/camera.h"

#include <cstring>

namespace api {

bool hasMac(const DiscoveredCamera* record, const unsigned char* mac) {
    return record != nullptr && std::memcmp(record->mac, mac, sizeof record->mac) == 0;
}

const DiscoveredCamera* recordOf(const GigeCamera& board, int port, const unsigned char* mac) {
    for (int index = 0; index < board.discoveredCount(port); ++index) {
        if (hasMac(board.discoveredCamera(port, index), mac)) {
            return board.discoveredCamera(port, index);
        }
    }
    const DiscoveredCamera* current = board.currentCamera(port);
    return hasMac(current, mac) ? current : nullptr;
}

Visit::Visit(GigeCamera& board, int boardIndex, int port, const DiscoveredCamera& host)
    : m_board(board), m_port(port) {
    const DiscoveredCamera* current = board.currentCamera(port);
    if (current != nullptr && GenICamPortWrapper::portUser(boardIndex, port) != nullptr) {
        m_before = *current;
    }
    select(host);
}

Visit::~Visit() {
    if (m_before) {
        select(*m_before);
    }
}

void Visit::select(const DiscoveredCamera& wanted) {
    if (!camera(&m_board, m_port).selectCameraViaMac(wanted.mac)) {
        m_board.selectCamera(m_port, DiscoveredCamera(wanted));
    }
}

} // namespace api
