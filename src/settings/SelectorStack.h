// Moves a camera's selectors from place to place, and puts each back to where it was.
#pragma once

#include "settings/Document.h"

#include "liomol/GenICamCamera.h"
#include "liomol/node_kinds.h"

#include <string>
#include <vector>

namespace settings {

// Used by one thread; the tree must outlive it. Who reads selected features through other threads meanwhile
// sees the selectors move.
class SelectorStack {
public:
    explicit SelectorStack(tavo::GenICamCamera& device) : m_device(device) {}
    // Puts all back, as far as the camera lets it.
    ~SelectorStack();
    SelectorStack(const SelectorStack&) = delete;
    SelectorStack& operator=(const SelectorStack&) = delete;

    // Sets the selectors of a place, the outermost first. Those of the last place that are not in this one
    // are put back before. Throws Refusal, which names the selector.
    void moveTo(const Place& place);
    // To where all were. Throws Refusal.
    void putBack() { unwind(0); }

private:
    struct Level {
        tavo::GenICamNode* node;
        std::string before; // its value when the levels above it stood as they do
        Position position;
    };

    void unwind(std::size_t size);
    void enter(const Position& position);

    tavo::GenICamCamera& m_device;
    std::vector<Level> m_levels;
};

} // namespace settings
