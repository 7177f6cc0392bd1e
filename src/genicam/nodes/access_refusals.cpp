// Why a node must not be read or written now: what decides it, and the value that decides.
#include "genicam/nodes/ImplGenICamMathVariables.h"
#include "genicam/nodes/failures.h"
#include "genicam/nodes/limits.h"
#include "util/Quirks.h"

#include <algorithm>

namespace tavo {

namespace {

constexpr std::size_t kMostVariables = 3; // of a formula that decides

} // namespace

// The feature that shows a register's number, where there is one: people know that. Of several the first by
// name: the order of the edges is that of addresses, which differs from run to run.
ImplGenICamNode& ImplGenICamNode::shownBy() {
    const auto shows = [this](ImplGenICamNode* above) {
        const bool isValue = above->hasNumber() && !above->getName().empty();
        return isValue && above->asRegister() == nullptr && above->accessRule().below == this;
    };
    ImplGenICamNode* first = this;
    for (ImplGenICamNode* const above : m_reverseDependencies) {
        const bool isFirst = first == this || above->getName() < first->getName();
        first = asRegister() != nullptr && isFirst && shows(above) ? above : first;
    }
    return *first;
}

// "TriggerSource is Line1", of the register behind it.
std::string ImplGenICamNode::factText(ImplGenICamNode& node) {
    const auto textOf = [](ImplGenICamNode& shown) { return shown.getName() + " is " + valueText(shown); };
    const std::string text = util::sentenceOf([&] { return textOf(node.shownBy()); });
    return text.empty() ? textOf(node) : text; // an enumeration may have no entry for the number
}

// "TriggerIsSoftware is 0 (TriggerSource is Line1)": a formula says little without what it is made of.
std::string ImplGenICamNode::verdictText(ImplGenICamNode& decider) {
    if (decider.refusalToRead() != Refusal::None) {
        return decider.getName() + " cannot be read";
    }
    const std::string text = factText(decider);
    const auto* const formula = dynamic_cast<const ImplGenICamMathVariables*>(&decider);
    const std::vector<ImplGenICamNode*> variables =
        formula != nullptr ? formula->variableNodes() : std::vector<ImplGenICamNode*>();
    if (variables.empty() || variables.size() > kMostVariables) {
        return text;
    }
    std::string values;
    for (ImplGenICamNode* const variable : variables) {
        values += (values.empty() ? "" : ", ") + factText(*variable);
    }
    return text + " (" + values + ")";
}

std::string ImplGenICamNode::stateSentence(
    const char* state, NumberReference ImplGenICamNode::*decider, bool verdict) const {
    const NumberReference* const found = findDecider(decider, verdict);
    return found == nullptr ? std::string() : std::string(state) + " while " + verdictText(*found->node());
}

// The node on the way down that lets itself not be read, or not be written; null where none is found.
const ImplGenICamNode* ImplGenICamNode::findBarrier(AccessMode barrier) const {
    if (m_imposedAccessMode == barrier) {
        return this;
    }
    const bool firstModeWins = quirks().imposedModeWins;
    const ImplGenICamNode* node = this;
    for (unsigned hops = 0; node != nullptr && hops < kMaxReferenceDepth; ++hops) {
        const AccessRule rule = node->currentAccessRule();
        if (rule.mode == barrier || (!firstModeWins && node->m_imposedAccessMode == barrier)) {
            return node;
        }
        node = firstModeWins && rule.mode != AccessMode::NotGiven ? nullptr : rule.below;
    }
    return nullptr;
}

std::string ImplGenICamNode::barrierSentence(AccessMode barrier) const {
    const std::string mode = barrier == AccessMode::RO ? "read-only" : "write-only";
    const ImplGenICamNode* const found = findBarrier(barrier);
    if (found == nullptr) {
        return mode;
    }
    const bool isFormula = dynamic_cast<const GenICamSwissKnife*>(found) != nullptr ||
                           dynamic_cast<const GenICamIntSwissKnife*>(found) != nullptr;
    const std::string why = isFormula ? "a formula gives its value" : "the description says so";
    return found == this || found->getName().empty() ? mode + ": " + why
                                                     : mode + " because " + found->getName() + " is";
}

void ImplGenICamNode::throwRefusal(Refusal refusal) {
    switch (refusal) {
    case Refusal::None:
        break;
    case Refusal::NotImplemented:
        util::fail<GicNotImplementedException>(
            [this] { return stateSentence("not implemented", &ImplGenICamNode::m_pIsImplemented, false); });
    case Refusal::NotAvailable:
        util::fail<GicNotAvailableException>(
            [this] { return stateSentence("not available", &ImplGenICamNode::m_pIsAvailable, false); });
    case Refusal::Locked:
        util::fail<GicLockedException>(
            [this] { return stateSentence("locked", &ImplGenICamNode::m_pIsLocked, true); });
    case Refusal::NotReadable:
        util::fail<GicNotReadableException>([this] { return barrierSentence(AccessMode::WO); });
    case Refusal::NotWritable:
        util::fail<GicNotWritableException>([this] { return barrierSentence(AccessMode::RO); });
    }
}

} // namespace tavo
