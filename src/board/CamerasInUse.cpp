#include "board/CamerasInUse.h"

namespace board {
namespace {

std::uint64_t keyOf(const unsigned char* mac) {
    std::uint64_t key = 0;
    for (int byte = 0; byte < 6; ++byte) {
        key |= std::uint64_t{mac[byte]} << (8 * byte);
    }
    return key;
}

} // namespace

// Never destroyed: threads of the application may still run while the process ends.
CamerasInUse& CamerasInUse::instance() {
    static CamerasInUse& all = *new CamerasInUse;
    return all;
}

bool CamerasInUse::contains(const unsigned char* mac) const {
    const std::lock_guard lock(m_mutex);
    return m_keys.count(keyOf(mac)) != 0;
}

bool CamerasInUse::take(const unsigned char* mac) {
    const std::lock_guard lock(m_mutex);
    return m_keys.insert(keyOf(mac)).second;
}

void CamerasInUse::giveBack(const unsigned char* mac) {
    const std::lock_guard lock(m_mutex);
    m_keys.erase(keyOf(mac));
}

} // namespace board
