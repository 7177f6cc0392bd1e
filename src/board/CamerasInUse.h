// Which cameras of the process are taken by a handle, by their 6-byte MAC addresses. Any thread.
#pragma once

#include <cstdint>
#include <mutex>
#include <set>

namespace board {

class CamerasInUse {
public:
    static CamerasInUse& instance();

    bool contains(const unsigned char* mac) const;
    // False when somebody has it.
    bool take(const unsigned char* mac);
    void giveBack(const unsigned char* mac);

private:
    mutable std::mutex m_mutex;
    std::set<std::uint64_t> m_keys; // under m_mutex
};

} // namespace board
