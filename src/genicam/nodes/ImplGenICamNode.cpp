#include "genicam/nodes/ImplGenICamNode.h"

#include "genicam/nodes/GenICamScopedReadWriteLock.h"
#include "genicam/nodes/NodeHost.h"
#include "genicam/nodes/failures.h"
#include "genicam/nodes/limits.h"
#include "genicam/nodes/numbers.h"
#include "genicam/nodes/reference_hop.h"
#include "genicam/nodes/sorted_nodes.h"
#include "liomol/exceptions.h"
#include "util/Quirks.h"

namespace tavo {

// ---- Properties ------------------------------------------------------------------------------------------

const ImplGenICamNode::Texts& ImplGenICamNode::texts() const {
    static const Texts defaults;
    return m_texts ? *m_texts : defaults;
}

void ImplGenICamNode::setText(std::string Texts::*text, std::string value) {
    if (value == texts().*text) {
        return;
    }
    if (!m_texts) {
        m_texts = std::make_unique<Texts>();
    }
    (*m_texts).*text = std::move(value);
}

const Quirks& ImplGenICamNode::quirks() const {
    static constexpr Quirks own;
    return m_host != nullptr ? m_host->quirks() : own;
}

// ---- Access ----------------------------------------------------------------------------------------------

ImplGenICamNode::AccessRule ImplGenICamNode::valueAccessRule(ImplGenICamNode* below) const {
    const bool isFree = m_imposedAccessMode == AccessMode::NotGiven && below == nullptr;
    return {isFree ? AccessMode::RW : m_imposedAccessMode, below};
}

void ImplGenICamNode::Access::narrow(AccessMode by) {
    isReadable = isReadable && by != AccessMode::WO;
    isWritable = isWritable && by != AccessMode::RO;
}

// Follows pValue in a loop, so that neither a long chain nor a cycle costs the stack.
std::optional<ImplGenICamNode::Access> ImplGenICamNode::findAccess(AccessRule (ImplGenICamNode::*ruleOf)()
                                                                       const) const {
    const bool firstModeWins = quirks().imposedModeWins;
    Access access;
    const ImplGenICamNode* node = this;
    for (unsigned hops = 0; hops < kMaxReferenceDepth; ++hops) {
        const AccessRule rule = (node->*ruleOf)();
        access.narrow(rule.mode);
        if (!firstModeWins) {
            access.narrow(node->m_imposedAccessMode);
        }
        access.isGiven = access.isGiven || rule.mode != AccessMode::NotGiven;
        if (rule.below == nullptr || (firstModeWins && access.isGiven)) {
            return access;
        }
        node = rule.below;
    }
    return std::nullopt;
}

ImplGenICamNode::Access ImplGenICamNode::currentAccess() const {
    const std::optional<Access> access = findAccess(&ImplGenICamNode::currentAccessRule);
    if (!access) {
        failAt<GicIllegalNodeException>(*this, ": pValue leads in a circle");
    }
    return *access;
}

ImplGenICamNode::AccessMode ImplGenICamNode::getAccessMode() const {
    const Access access = currentAccess();
    if (!access.isGiven || (!access.isReadable && !access.isWritable)) {
        return AccessMode::NotGiven;
    }
    return !access.isWritable ? AccessMode::RO : !access.isReadable ? AccessMode::WO : AccessMode::RW;
}

// Nothing of it is read, so that the answer stays what it is once the tree stands.
bool ImplGenICamNode::isWriteOnly() const {
    const WriteOnly known = m_writeOnly.load(std::memory_order_relaxed);
    if (known != WriteOnly::Unknown) {
        return known == WriteOnly::Yes;
    }
    const std::optional<Access> access = findAccess(&ImplGenICamNode::accessRule);
    const bool is = access && !access->isReadable;
    m_writeOnly.store(is ? WriteOnly::Yes : WriteOnly::No, std::memory_order_relaxed);
    return is;
}

// ---- States ----------------------------------------------------------------------------------------------

// What cannot be asked now says nothing.
bool ImplGenICamNode::isNonZero(const NumberReference& decider) {
    ImplGenICamNode& node = *decider.node();
    const DeviceLockScope scope(node.getHost());
    const ReferenceHop hop(node);
    try {
        if (node.refusalToRead() != Refusal::None) {
            return false;
        }
    } catch (const GicNotImplementedException&) {
        return false;
    } catch (const GicNotAvailableException&) {
        return false;
    } catch (const GicNotReadableException&) {
        return false;
    }
    return decider.readFloat() != 0;
}

const NumberReference*
ImplGenICamNode::findDecider(NumberReference ImplGenICamNode::*decider, bool verdict) const {
    const bool isAlone = quirks().ownStatesOnly;
    const ImplGenICamNode* node = this;
    for (unsigned hops = 0; hops < kMaxReferenceDepth; ++hops) {
        if (node->*decider && isNonZero(node->*decider) == verdict) {
            return &(node->*decider);
        }
        node = isAlone ? nullptr : node->currentAccessRule().below;
        if (node == nullptr) {
            return nullptr;
        }
    }
    failAt<GicIllegalNodeException>(*this, ": what decides its state leads in a circle");
}

bool ImplGenICamNode::isImplemented() {
    const bool state = !anyDecides(&ImplGenICamNode::m_pIsImplemented, false);
    m_implementedCache.store(state, std::memory_order_relaxed);
    return state;
}

bool ImplGenICamNode::isAvailable() {
    const bool state = !anyDecides(&ImplGenICamNode::m_pIsAvailable, false);
    m_availableCache.store(state, std::memory_order_relaxed);
    return state;
}

bool ImplGenICamNode::isLocked() {
    return anyDecides(&ImplGenICamNode::m_pIsLocked, true);
}

// What reading and writing ask alike.
ImplGenICamNode::Refusal ImplGenICamNode::absence() {
    return !isImplemented() ? Refusal::NotImplemented
           : !isAvailable() ? Refusal::NotAvailable
                            : Refusal::None;
}

// A locked node can be read.
ImplGenICamNode::Refusal ImplGenICamNode::refusalToRead() {
    if (m_host == nullptr || !m_host->isCheckingEnabled()) {
        return Refusal::None;
    }
    const Refusal absent = absence();
    const bool isClosed =
        absent == Refusal::None && (!currentAccess().isReadable || m_imposedAccessMode == AccessMode::WO);
    return isClosed ? Refusal::NotReadable : absent;
}

ImplGenICamNode::Refusal ImplGenICamNode::refusalToWrite() {
    const bool isChecked = m_host != nullptr && m_host->isCheckingEnabled();
    return isChecked ? presentRefusalToWrite() : Refusal::None;
}

ImplGenICamNode::Refusal ImplGenICamNode::presentRefusalToWrite() {
    if (const Refusal absent = absence(); absent != Refusal::None) {
        return absent;
    }
    if (isLocked()) {
        return Refusal::Locked;
    }
    const bool isClosed = !currentAccess().isWritable || m_imposedAccessMode == AccessMode::RO;
    return isClosed ? Refusal::NotWritable : Refusal::None;
}

void ImplGenICamNode::checkReadability() {
    if (const Refusal refusal = refusalToRead(); refusal != Refusal::None) {
        [[unlikely]] throwRefusal(refusal);
    }
}

void ImplGenICamNode::checkWritability() {
    if (const Refusal refusal = refusalToWrite(); refusal != Refusal::None) {
        [[unlikely]] throwRefusal(refusal);
    }
}

void ImplGenICamNode::requirePresence() {
    const DeviceLockScope lock(m_host);
    throwRefusal(absence());
}

void ImplGenICamNode::requireWritability() {
    const DeviceLockScope lock(m_host);
    throwRefusal(presentRefusalToWrite());
}

bool ImplGenICamNode::acquireReadLock(ImplGenICamNode* node, unsigned timeoutMs) {
    return acquireWriteLock(node, timeoutMs);
}

bool ImplGenICamNode::acquireWriteLock(ImplGenICamNode* node, unsigned timeoutMs) {
    return node->m_host == nullptr || node->m_host->lock(timeoutMs);
}

void ImplGenICamNode::releaseReadLock(ImplGenICamNode* node) {
    releaseWriteLock(node);
}

void ImplGenICamNode::releaseWriteLock(ImplGenICamNode* node) {
    if (node->m_host != nullptr) {
        node->m_host->unlock();
    }
}

// ---- Numbers ---------------------------------------------------------------------------------------------

std::int64_t ImplGenICamNode::readInteger() {
    failAt<GicIllegalNodeException>(*this, " has no number");
}

double ImplGenICamNode::readFloat() {
    failAt<GicIllegalNodeException>(*this, " has no number");
}

void ImplGenICamNode::writeInteger(std::int64_t) {
    failAt<GicIllegalNodeException>(*this, " has no number");
}

void ImplGenICamNode::writeFloat(double) {
    failAt<GicIllegalNodeException>(*this, " has no number");
}

std::int64_t ImplGenICamNode::integerToWrite(double value) const {
    return quirks().truncatingConverters ? numbers::checkedInteger(value) : numbers::roundedInteger(value);
}

// ---- Changes ---------------------------------------------------------------------------------------------

void ImplGenICamNode::addDependency(ImplGenICamNode& dependency) {
    if (&dependency != this) {
        addEdge(m_dependencies, dependency);
        dependency.addEdge(dependency.m_reverseDependencies, *this);
    }
}

// Most come in order: nodes are wired one after another.
void ImplGenICamNode::addEdge(std::vector<ImplGenICamNode*>& edges, ImplGenICamNode& node) {
    m_edgesInOrder = m_edgesInOrder && (edges.empty() || std::less<>{}(edges.back(), &node));
    edges.push_back(&node);
}

void ImplGenICamNode::orderEdges() {
    if (m_edgesInOrder) {
        return;
    }
    m_edgesInOrder = true;
    orderNodes(m_dependencies);
    orderNodes(m_reverseDependencies);
    if (m_invalidated) {
        orderNodes(*m_invalidated);
    }
}

bool ImplGenICamNode::isVolatile() {
    const DeviceLockScope scope(m_host);
    return isVolatileNow();
}

bool ImplGenICamNode::isVolatileNow() {
    const Volatility known = volatility();
    return known == Volatility::Unknown ? walkVolatility() : known == Volatility::Volatile;
}

// Depth first through the dependencies, without recursion. A node that is met again on the way counts as
// steady, which ends cycles; one volatile node makes all on the way to it volatile.
bool ImplGenICamNode::walkVolatility() {
    struct Step {
        ImplGenICamNode* node;
        std::size_t next;
    };
    std::vector<Step> path{{this, 0}};
    m_volatility = Volatility::Steady;
    while (!path.empty()) {
        Step& step = path.back();
        if (step.next == step.node->m_dependencies.size()) {
            path.pop_back();
            continue;
        }
        ImplGenICamNode* const dependency = step.node->m_dependencies[step.next++];
        const Volatility known = dependency->volatility();
        if (known == Volatility::Volatile) {
            for (const Step& above : path) {
                above.node->m_volatility = Volatility::Volatile;
            }
            return true;
        }
        if (known == Volatility::Unknown) {
            dependency->m_volatility = Volatility::Steady;
            path.push_back({dependency, 0});
        }
    }
    return false;
}

void ImplGenICamNode::addInvalidated(ImplGenICamNode* node) {
    if (node == nullptr) {
        return;
    }
    if (!m_invalidated) {
        m_invalidated = std::make_unique<std::vector<ImplGenICamNode*>>();
    }
    addEdge(*m_invalidated, *node);
}

const std::vector<ImplGenICamNode*>& ImplGenICamNode::invalidatedNodes() const {
    static const std::vector<ImplGenICamNode*> none;
    return m_invalidated ? *m_invalidated : none;
}

// A node without a device is in no graph yet.
void ImplGenICamNode::invalidateRegistersAndTriggerSignals() {
    if (m_host == nullptr) {
        dropContent();
        return;
    }
    const DeviceLockScope scope(m_host);
    m_host->access().invalidation.written(*this);
}

void ImplGenICamNode::settleWrite() {
    if (m_host != nullptr) {
        m_host->access().invalidation.settle(*this);
    }
}

} // namespace tavo
