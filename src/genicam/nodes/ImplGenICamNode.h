// What all nodes share: properties, references that decide their states, access checks, and their place in
// the graph along which changes spread.
#pragma once

#include "genicam/nodes/Lazy.h"
#include "genicam/nodes/NumberReference.h"
#include "genicam/nodes/RegisterPlace.h"
#include "liomol/node_kinds.h"

#include <atomic>
#include <memory>
#include <optional>
#include <vector>

namespace tavo {

class NodeHost;
struct Quirks;
struct NodeWatch;

class ImplGenICamNodeInterface : public virtual GenICamNodeInterface {
public:
    // Reads what the node's interfaces show, as far as anybody has asked for their signals, and emits a
    // signal for each item that differs from what was reported last, or for each one that can be read with
    // `force`. The node's states come first, then a register's items, then the value's. Called by the
    // signalling thread, without the device's lock; by one thread at a time.
    virtual void performSignalUpdate(bool force) = 0;
};

// Built by the description's stages: constructed empty, handed to a tree (NodeTree::adoptNode),
// given its literal properties, and, when all nodes exist, its references. After that nothing of it changes
// but values, caches and marks, all of them under the device's lock.
class ImplGenICamNode : public ImplGenICamNodeInterface, public virtual GenICamNode {
public:
    using AccessMode = GenICamTypes::GenICamAccessModeType;

    ImplGenICamNode();
    ~ImplGenICamNode() override;
    ImplGenICamNode(const ImplGenICamNode&) = delete;
    ImplGenICamNode& operator=(const ImplGenICamNode&) = delete;

    // Properties
    GenICamTypes::GenICamNodeType getNodeType() const override { return m_nodeType; }
    const std::string& getName() const override { return m_name; }
    const std::string& getNamespace() const override { return texts().nameSpace; }
    const std::string& getToolTip() const override { return texts().toolTip; }
    const std::string& getDescription() const override { return texts().description; }
    const std::string& getDisplayName() const override { return texts().displayName; }
    const std::string& getEventID() const override { return texts().eventId; }
    std::string getValueAsString() override { return m_name; }
    GenICamTypes::GenICamVisibilityType getVisibility() const override { return m_visibility; }
    // GicIllegalNodeException when pValue leads in a circle. A node whose value is picked by an index reads
    // the index. NotGiven also where nothing may be done, which the standard's meaning can lead to.
    AccessMode getAccessMode() const final;
    // False also for a node whose access mode cannot be told.
    bool isWriteOnly() const;
    AccessMode getImposedAccessMode() const { return m_imposedAccessMode; }
    bool isStreamable() const override { return m_streamable == GenICamTypes::GenICamYesNoType::Yes; }
    bool hasAliasNode() const override { return m_alias != nullptr; }
    GenICamNode* getAliasNode() const override { return m_alias; }
    // The tree's, which owns the node; null until it has been adopted.
    NodeHost* getHost() const { return m_host; }
    // The tree's; all on without one.
    const Quirks& quirks() const;

    void setNodeType(GenICamTypes::GenICamNodeType type) { m_nodeType = type; }
    // Before the node is registered by name.
    void setName(std::string name) { m_name = std::move(name); }
    void setNamespace(std::string name) { setText(&Texts::nameSpace, std::move(name)); }
    void setToolTip(std::string text) { setText(&Texts::toolTip, std::move(text)); }
    void setDescription(std::string text) { setText(&Texts::description, std::move(text)); }
    void setDisplayName(std::string text) { setText(&Texts::displayName, std::move(text)); }
    void setEventID(std::string text) { setText(&Texts::eventId, std::move(text)); }
    void setVisibility(GenICamTypes::GenICamVisibilityType visibility) { m_visibility = visibility; }
    void setImposedAccessMode(AccessMode mode) { m_imposedAccessMode = mode; }
    void setStreamable(GenICamTypes::GenICamYesNoType streamable) { m_streamable = streamable; }
    // Called by the tree that adopts the node.
    void setHost(NodeHost* host) { m_host = host; }

    // References. Setters take null. Those of numbers leave the reference empty for a node without a number.
    void setAlias(GenICamNode* node) { m_alias = node; }
    void setPIsImplemented(GenICamNode* node) { m_pIsImplemented.set(node); }
    void setPIsAvailable(GenICamNode* node) { m_pIsAvailable.set(node); }
    void setPIsLocked(GenICamNode* node) { m_pIsLocked.set(node); }
    // A change of `dependency` makes this node's value stale. A node never depends on itself.
    void addDependency(ImplGenICamNode& dependency);
    // `node` is invalidated whenever this one is, although it does not read from it. Null is ignored.
    void addInvalidated(ImplGenICamNode* node);
    // When all nodes have been wired: changes spread in the order of addresses, to each node once, whatever
    // was added how often.
    void orderEdges();

    // States. What decides counts for nothing (false) while it is not implemented, not available or not
    // readable itself and the device's checking is on. With the standard's meaning a node takes all three
    // from the nodes that it stands on as well. GicIllegalNodeException where they lead in a circle.
    bool isImplemented() override;
    bool isAvailable() override;
    bool isLocked() override;
    // The last results, true before the first query; nothing is read.
    bool isImplementedCache() const { return m_implementedCache.load(std::memory_order_relaxed); }
    bool isAvailableCache() const { return m_availableCache.load(std::memory_order_relaxed); }

    // Throw when the device's checking is on and the node must not be read or written now.
    void checkReadability();
    void checkWritability();
    // The same whether the device checks or not: the first where the node is not implemented or not
    // available.
    void requirePresence();
    void requireWritability();

    // The device's lock, which reading takes exclusively too: a read changes caches. 0 milliseconds wait
    // without limit; the result tells whether the lock was taken. A node without a device needs none.
    static bool acquireReadLock(ImplGenICamNode* node, unsigned timeoutMs);
    static bool acquireWriteLock(ImplGenICamNode* node, unsigned timeoutMs);
    static void releaseReadLock(ImplGenICamNode* node);
    static void releaseWriteLock(ImplGenICamNode* node);

    // Changes
    // Whether the value may change by itself. Computed once; takes the device's lock.
    bool isVolatile();
    // The node has another value now: drops what it has cached, and what nodes have that this reaches, and
    // queues all of them for their signals.
    void invalidateRegistersAndTriggerSignals();
    // To be called under the device's lock when the node was given a value, by its user or through a
    // reference: the same, unless the write of a node below has reached this one already.
    void settleWrite();
    void performSignalUpdate(bool force) override;
    // Made when first asked for; they live as long as the node.
    ImplGenICamNodeInterfaceSignals* getNodeSignals() override;

    ImplGenICamNode* asImplementation() override { return this; }

    // The node's value as a number, for callers that hold the device's lock. GicIllegalNodeException for a
    // kind without one.
    virtual bool hasNumber() const { return false; }
    virtual std::int64_t readInteger();
    virtual double readFloat();
    virtual void writeInteger(std::int64_t value);
    virtual void writeFloat(double value);
    // What a node of integers takes for a float. GicIllegalValueException when no integer can hold it.
    std::int64_t integerToWrite(double value) const;

protected:
    // How a kind decides its access mode: by itself, or, where that is not given, as the node below says. The
    // standard asks both.
    struct AccessRule {
        AccessMode mode = AccessMode::NotGiven;
        ImplGenICamNode* below = nullptr; // what the node stands on
    };
    // Nothing is read for this one, which says nothing where that would be needed.
    virtual AccessRule accessRule() const { return {}; }
    // The same at the time of an access. May read, and throw what reading throws.
    virtual AccessRule currentAccessRule() const { return accessRule(); }
    // The rule of value nodes: the imposed mode, else that of pValue, else RW.
    AccessRule valueAccessRule(ImplGenICamNode* below) const;
    AccessRule valueAccessRule(const NumberReference& pValue) const { return valueAccessRule(pValue.node()); }

    enum class Volatility : unsigned char { Unknown, Volatile, Steady };
    // For kinds that know it by themselves; the others are volatile exactly when one of their dependencies
    // is.
    virtual Volatility ownVolatility() const { return Volatility::Unknown; }

    // Forgets what the node holds of the device's content.
    virtual void dropContent() {}
    // Where the node's content lies; nowhere for nodes that are no registers.
    virtual RegisterPlace place() const { return {}; }
    // Whether the bytes of a place are what the node knows of it already.
    virtual bool knows(const RegisterPlace&, const unsigned char*) const { return false; }

private:
    friend class ChangeQueue;
    friend class InvalidationWalk;
    friend class RegisterMap;
    enum class PendingNotice : unsigned char { None, Plain, Forced };
    enum class WriteOnly : unsigned char { Unknown, Yes, No };

    // What the description says for people; most nodes say nothing of it.
    struct Texts {
        std::string nameSpace = "Custom";
        std::string toolTip;
        std::string description;
        std::string displayName;
        std::string eventId;
    };
    const Texts& texts() const;
    void setText(std::string Texts::*text, std::string value);
    // What may be done with a node, whatever its states.
    struct Access {
        bool isGiven = false; // some node says so; else nobody asks
        bool isReadable = true;
        bool isWritable = true;

        void narrow(AccessMode by);
    };
    // Nothing when pValue leads in a circle.
    std::optional<Access> findAccess(AccessRule (ImplGenICamNode::*ruleOf)() const) const;
    Access currentAccess() const;
    // What decides `verdict` for this node or one whose states count for it; null where nothing does.
    const NumberReference* findDecider(NumberReference ImplGenICamNode::*decider, bool verdict) const;
    bool anyDecides(NumberReference ImplGenICamNode::*decider, bool verdict) const {
        return findDecider(decider, verdict) != nullptr;
    }
    static bool isNonZero(const NumberReference& decider);

    // What an access is refused for, in the order in which that is looked at; None where nothing is checked.
    enum class Refusal : unsigned char {
        None,
        NotImplemented,
        NotAvailable,
        Locked,
        NotReadable,
        NotWritable
    };
    Refusal absence();
    Refusal refusalToRead();
    Refusal refusalToWrite();
    Refusal presentRefusalToWrite();
    // With what there is to tell of it. Nothing for None.
    void throwRefusal(Refusal refusal);
    std::string
    stateSentence(const char* state, NumberReference ImplGenICamNode::*decider, bool verdict) const;
    static std::string verdictText(ImplGenICamNode& decider);
    static std::string factText(ImplGenICamNode& node);
    ImplGenICamNode& shownBy();
    const ImplGenICamNode* findBarrier(AccessMode barrier) const;
    std::string barrierSentence(AccessMode barrier) const;
    Volatility volatility() const {
        const Volatility own = ownVolatility();
        return own != Volatility::Unknown ? own : m_volatility;
    }
    const std::vector<ImplGenICamNode*>& invalidatedNodes() const;
    void addEdge(std::vector<ImplGenICamNode*>& edges, ImplGenICamNode& node);
    bool isVolatileNow();
    bool walkVolatility();

    NodeHost* m_host = nullptr;
    NumberReference m_pIsImplemented;
    NumberReference m_pIsAvailable;
    NumberReference m_pIsLocked;
    GenICamNode* m_alias = nullptr;
    std::vector<ImplGenICamNode*> m_dependencies;
    std::vector<ImplGenICamNode*> m_reverseDependencies;
    std::unique_ptr<std::vector<ImplGenICamNode*>> m_invalidated; // null for most nodes
    std::string m_name;
    std::unique_ptr<Texts> m_texts; // null while all are the default
    GenICamTypes::GenICamNodeType m_nodeType = GenICamTypes::Undefined;
    GenICamTypes::GenICamVisibilityType m_visibility = GenICamTypes::GenICamVisibilityType::NotGiven;
    AccessMode m_imposedAccessMode = AccessMode::NotGiven;
    GenICamTypes::GenICamYesNoType m_streamable = GenICamTypes::GenICamYesNoType::NotGiven;
    Volatility m_volatility = Volatility::Unknown;
    bool m_edgesInOrder = true;
    bool m_expanded = false;   // by the walk of m_visit, to the registers that share its bytes
    std::uint64_t m_visit = 0; // the latest walk that came here
    mutable std::atomic<WriteOnly> m_writeOnly{WriteOnly::Unknown};
    std::atomic<PendingNotice> m_notice{PendingNotice::None}; // changes under the lock of the device's queue
    Lazy<NodeWatch> m_nodeWatch;
    std::atomic<bool> m_implementedCache{true};
    std::atomic<bool> m_availableCache{true};
};

} // namespace tavo
