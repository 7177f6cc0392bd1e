// What the interface implementations report to their listeners, and when.
#include "genicam/nodes/GenICamScopedReadWriteLock.h"
#include "genicam/nodes/ImplGenICamRegister.h"
#include "genicam/nodes/InvalidationWalk.h"
#include "genicam/nodes/NodeHost.h"
#include "liomol/signals.h"

#include <cmath>
#include <optional>

namespace tavo {
namespace {

template<class T> bool same(const T& a, const T& b) {
    return a == b;
}

bool same(double a, double b) {
    return a == b || (std::isnan(a) && std::isnan(b));
}

// Something that an interface shows, as it was reported last. Before the first report any value is news: a
// listener had rather hear of a value that it knows than miss a change.
template<class T> class Watched {
public:
    // Reads the value and hands it to `emit` when it is news or `force` says so. A value that cannot be read
    // is passed over; it is reported when it can be read again and differs.
    template<class Read, class Emit> void update(bool force, Read read, Emit emit) {
        T value;
        try {
            const QuietInvalidation quiet;
            value = read();
        } catch (...) {
            return;
        }
        if (force || !m_last || !same(*m_last, value)) {
            emit(value);
        }
        m_last = std::move(value);
    }

private:
    std::optional<T> m_last;
};

} // namespace

// What an interface keeps once somebody has asked for its signals. Nothing is read for the others.
struct NodeWatch {
    ImplGenICamNodeInterfaceSignals signals;
    Watched<bool> implemented, available, locked;
};
struct IntegerWatch {
    ImplGenICamIntegerInterfaceSignals signals;
    Watched<std::int64_t> value, min, max, inc;
};
struct FloatWatch {
    ImplGenICamFloatInterfaceSignals signals;
    Watched<double> value, min, max;
};
struct BooleanWatch {
    ImplGenICamBooleanInterfaceSignals signals;
    Watched<bool> value;
};
struct CommandWatch {
    ImplGenICamCommandInterfaceSignals signals;
    Watched<bool> done;
};
struct EnumerationWatch {
    ImplGenICamEnumerationInterfaceSignals signals;
    Watched<std::int64_t> value;
    Watched<std::string> symbol;
};
struct StringWatch {
    ImplGenICamStringInterfaceSignals signals;
    Watched<std::string> value;
    Watched<std::int64_t> length;
};
struct RegisterWatch {
    ImplGenICamRegisterInterfaceSignals signals;
    Watched<std::int64_t> address, length;
};

namespace {

template<class Watch> auto* signalsOf(Lazy<Watch>& watch, NodeHost* host) {
    if (host != nullptr) {
        host->noteListener();
    }
    return &watch.get().signals;
}

// A listener may have replaced the tree, or freed the camera, since the update began.
bool isOver(const ImplGenICamNode& node) {
    return node.getHost() != nullptr && node.getHost()->isClosed();
}

} // namespace

// Reports one item of the table below: `item` of the watch, read with `getter`, emitted as `Signal`.
#define LIOMOL_UPDATE(item, getter, Signal)                                                                  \
    if (!isOver(*this))                                                                                      \
    watch->item.update(                                                                                      \
        force, [this] { return getter(); },                                                                  \
        [&](const auto& news) { watch->signals.emitSignal_##Signal(this, news); })

// ---- Node ------------------------------------------------------------------------------------------------

ImplGenICamNodeInterfaceSignals* ImplGenICamNode::getNodeSignals() {
    return signalsOf(m_nodeWatch, getHost());
}

void ImplGenICamNode::performSignalUpdate(bool force) {
    if (NodeWatch* const watch = m_nodeWatch.existing()) {
        LIOMOL_UPDATE(implemented, isImplemented, ImplementationStateChanged);
        LIOMOL_UPDATE(available, isAvailable, AvailabilityStateChanged);
        LIOMOL_UPDATE(locked, isLocked, LockStateChanged);
    }
}

// ---- Integer ---------------------------------------------------------------------------------------------

ImplGenICamIntegerInterface::ImplGenICamIntegerInterface() = default;
ImplGenICamIntegerInterface::~ImplGenICamIntegerInterface() = default;

ImplGenICamIntegerInterfaceSignals* ImplGenICamIntegerInterface::getIntegerSignals() {
    return signalsOf(m_integerWatch, getHost());
}

void ImplGenICamIntegerInterface::performSignalUpdate(bool force) {
    ImplGenICamNode::performSignalUpdate(force);
    updateInteger(force);
}

void ImplGenICamIntegerInterface::updateInteger(bool force) {
    if (IntegerWatch* const watch = m_integerWatch.existing()) {
        LIOMOL_UPDATE(value, getValue, ValueChanged);
        LIOMOL_UPDATE(min, getMin, MinChanged);
        LIOMOL_UPDATE(max, getMax, MaxChanged);
        LIOMOL_UPDATE(inc, getInc, IncChanged);
    }
}

// ---- Float -----------------------------------------------------------------------------------------------

ImplGenICamFloatInterface::ImplGenICamFloatInterface() = default;
ImplGenICamFloatInterface::~ImplGenICamFloatInterface() = default;

ImplGenICamFloatInterfaceSignals* ImplGenICamFloatInterface::getFloatSignals() {
    return signalsOf(m_floatWatch, getHost());
}

void ImplGenICamFloatInterface::performSignalUpdate(bool force) {
    ImplGenICamNode::performSignalUpdate(force);
    updateFloat(force);
}

void ImplGenICamFloatInterface::updateFloat(bool force) {
    if (FloatWatch* const watch = m_floatWatch.existing()) {
        LIOMOL_UPDATE(value, getValue, ValueChanged);
        LIOMOL_UPDATE(min, getMin, MinChanged);
        LIOMOL_UPDATE(max, getMax, MaxChanged);
    }
}

// ---- Boolean, Command, Enumeration -----------------------------------------------------------------------

ImplGenICamBooleanInterface::ImplGenICamBooleanInterface() = default;
ImplGenICamBooleanInterface::~ImplGenICamBooleanInterface() = default;

ImplGenICamBooleanInterfaceSignals* ImplGenICamBooleanInterface::getBooleanSignals() {
    return signalsOf(m_booleanWatch, getHost());
}

void ImplGenICamBooleanInterface::performSignalUpdate(bool force) {
    ImplGenICamNode::performSignalUpdate(force);
    if (BooleanWatch* const watch = m_booleanWatch.existing()) {
        LIOMOL_UPDATE(value, getValue, ValueChanged);
    }
}

ImplGenICamCommandInterface::ImplGenICamCommandInterface() = default;
ImplGenICamCommandInterface::~ImplGenICamCommandInterface() = default;

ImplGenICamCommandInterfaceSignals* ImplGenICamCommandInterface::getCommandSignals() {
    return signalsOf(m_commandWatch, getHost());
}

void ImplGenICamCommandInterface::performSignalUpdate(bool force) {
    ImplGenICamNode::performSignalUpdate(force);
    if (CommandWatch* const watch = m_commandWatch.existing()) {
        LIOMOL_UPDATE(done, isDone, IsDoneValueChanged);
    }
}

ImplGenICamEnumerationInterface::ImplGenICamEnumerationInterface() = default;
ImplGenICamEnumerationInterface::~ImplGenICamEnumerationInterface() = default;

ImplGenICamEnumerationInterfaceSignals* ImplGenICamEnumerationInterface::getEnumerationSignals() {
    return signalsOf(m_enumerationWatch, getHost());
}

void ImplGenICamEnumerationInterface::performSignalUpdate(bool force) {
    ImplGenICamNode::performSignalUpdate(force);
    if (EnumerationWatch* const watch = m_enumerationWatch.existing()) {
        LIOMOL_UPDATE(value, getIntValue, IntValueChanged);
        LIOMOL_UPDATE(symbol, getStringValue, StringValueChanged);
    }
}

// ---- String, Register ------------------------------------------------------------------------------------

ImplGenICamStringInterface::ImplGenICamStringInterface() = default;
ImplGenICamStringInterface::~ImplGenICamStringInterface() = default;

ImplGenICamStringInterfaceSignals* ImplGenICamStringInterface::getStringSignals() {
    return signalsOf(m_stringWatch, getHost());
}

void ImplGenICamStringInterface::performSignalUpdate(bool force) {
    ImplGenICamNode::performSignalUpdate(force);
    updateString(force);
}

void ImplGenICamStringInterface::updateString(bool force) {
    if (StringWatch* const watch = m_stringWatch.existing()) {
        LIOMOL_UPDATE(value, getValue, ValueChanged);
        LIOMOL_UPDATE(length, getMaxLength, LengthChanged);
    }
}

ImplGenICamRegisterInterface::ImplGenICamRegisterInterface() = default;
ImplGenICamRegisterInterface::~ImplGenICamRegisterInterface() = default;

ImplGenICamRegisterInterfaceSignals* ImplGenICamRegisterInterface::getRegisterSignals() {
    return signalsOf(m_registerWatch, getHost());
}

void ImplGenICamRegisterInterface::performSignalUpdate(bool force) {
    ImplGenICamNode::performSignalUpdate(force);
    updateRegister(force);
}

void ImplGenICamRegisterInterface::updateRegister(bool force) {
    if (RegisterWatch* const watch = m_registerWatch.existing()) {
        LIOMOL_UPDATE(address, getAddress, RegisterAddressChanged);
        LIOMOL_UPDATE(length, getLength, RegisterLengthChanged);
        if (!isOver(*this) && takeContentChange(force)) {
            watch->signals.emitSignal_RegisterContentChanged(this);
        }
    }
}

#undef LIOMOL_UPDATE

// The content of a volatile register changes all the time; it is not reported unless somebody forces it.
bool ImplGenICamRegister::takeContentChange(bool force) {
    const DeviceLockScope scope(getHost());
    const bool report = force || (m_contentChanged && !isVolatile());
    if (report) {
        m_contentChanged = false;
    }
    return report;
}

// Nodes that are a register and a value report the node, then the register, then the value.

void ImplGenICamIntReg::performSignalUpdate(bool force) {
    ImplGenICamRegister::performSignalUpdate(force);
    updateInteger(force);
}

void ImplGenICamFloatReg::performSignalUpdate(bool force) {
    ImplGenICamRegister::performSignalUpdate(force);
    updateFloat(force);
}

void ImplGenICamStringReg::performSignalUpdate(bool force) {
    ImplGenICamRegister::performSignalUpdate(force);
    updateString(force);
}

ImplGenICamNode::ImplGenICamNode() = default;
ImplGenICamNode::~ImplGenICamNode() = default;

} // namespace tavo
