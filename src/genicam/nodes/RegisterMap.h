// Which registers of a device lie over which bytes of camera memory.
#pragma once

#include "genicam/nodes/RegisterPlace.h"

#include <cstddef>
#include <unordered_map>
#include <vector>

namespace tavo {

class ImplGenICamNode;

// Made when it is asked for the first time; until then it only keeps who takes part. Guarded by the device's
// lock.
class RegisterMap {
public:
    // The register takes part with the place that it has when the map is made.
    void enrol(ImplGenICamNode& node) { m_enrolled.push_back(&node); }
    // A register that takes part has moved.
    void move(ImplGenICamNode& node, const RegisterPlace& from, const RegisterPlace& to);
    // Appends the registers that share bytes with the place, some of them more than once. Returns how many
    // were looked at.
    std::size_t collect(const RegisterPlace& place, std::vector<ImplGenICamNode*>& found);
    // All that take part.
    const std::vector<ImplGenICamNode*>& all() const { return m_enrolled; }
    void clear();

private:
    struct Entry {
        RegisterPlace place;
        ImplGenICamNode* node;
    };

    void make();
    void add(ImplGenICamNode& node, const RegisterPlace& place);
    void remove(const ImplGenICamNode& node, const RegisterPlace& place);

    std::vector<ImplGenICamNode*> m_enrolled;
    std::unordered_multimap<std::uint64_t, Entry> m_cells; // by a hash of the port and 16 bytes of its memory
    std::vector<Entry> m_long;                             // those that would fill too many cells
    bool m_made = false;
};

} // namespace tavo
