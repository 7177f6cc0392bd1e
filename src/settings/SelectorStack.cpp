#include "settings/SelectorStack.h"

#include "settings/value_text.h"
#include "util/status.h"

namespace settings {
namespace {

void setPosition(tavo::GenICamNode& node, const std::string& position) {
    if (!sameValue(node, readText(node), position)) {
        writeText(node, position);
    }
}

// The reason of a refusal, with whose it is.
[[noreturn]] void refuse(const std::string& selector, const std::string& entry, const Refusal& refusal) {
    const std::string& why = refusal.sentence();
    throw Refusal(refusal.code(), selector + " does not go to " + entry + (why.empty() ? "" : ": " + why));
}

} // namespace

SelectorStack::~SelectorStack() {
    while (!m_levels.empty()) {
        try {
            unwind(m_levels.size() - 1);
        } catch (const Refusal&) {
            m_levels.pop_back(); // the others perhaps do
        }
    }
}

void SelectorStack::moveTo(const Place& place) {
    std::size_t common = 0;
    while (common < m_levels.size() && common < place.size() && m_levels[common].position == place[common]) {
        ++common;
    }
    // A selector that only takes another position is not put back between.
    const bool onlyMoves = common < m_levels.size() && common < place.size() &&
                           m_levels[common].position.selector == place[common].selector;
    unwind(onlyMoves ? common + 1 : common);
    if (onlyMoves) {
        try {
            setPosition(*m_levels[common].node, place[common].entry);
        } catch (const Refusal& refusal) {
            refuse(place[common].selector, place[common].entry, refusal);
        }
        m_levels[common].position = place[common];
        ++common;
    }
    for (; common < place.size(); ++common) {
        enter(place[common]);
    }
}

void SelectorStack::enter(const Position& position) {
    tavo::GenICamNode* const node = m_device.getNodeByName(position.selector);
    if (node == nullptr) {
        throw Refusal(status::IllegalNode, "there is no selector " + position.selector);
    }
    try {
        std::string before = readText(*node);
        setPosition(*node, position.entry);
        m_levels.push_back({node, std::move(before), position});
    } catch (const Refusal& refusal) {
        refuse(position.selector, position.entry, refusal);
    }
}

void SelectorStack::unwind(std::size_t size) {
    while (m_levels.size() > size) {
        const Level& last = m_levels.back();
        setPosition(*last.node, last.before);
        m_levels.pop_back();
    }
}

} // namespace settings
