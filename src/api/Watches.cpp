#include "api/Watches.h"

#include "genicam/device/ImplGenICamCamera.h"
#include "liomol/node_kinds.h"
#include "liomol/signals.h"
#include "util/qt_locks.h"

#include <array>
#include <exception>
#include <functional>
#include <utility>
#include <vector>

namespace api {

// One callback and the signals that lead to it. The signals hold it too, so that one that is under way finds
// it.
class Watches::Watch : public std::enable_shared_from_this<Watch> {
public:
    using Tell = std::function<void(int)>;
    explicit Watch(Tell tell) : m_tell(std::move(tell)) {}

    // Tells `what` at each of these signals, on the thread that emits it.
    template<class Sender, class Signal> void follow(Sender* sender, Signal signal, int what) {
        const util::InsideQt quiet; // what Qt keeps of a connection is ordered by a lock inside Qt
        m_connections.push_back(
            QObject::connect(sender, signal, [self = shared_from_this(), what] { self->tell(what); }));
    }
    void followControl(tavo::ImplGenICamCamera& device) {
        const auto lost = [self = shared_from_this(), &device](auto*, tavo::ControlLoss loss) {
            if (loss != tavo::ControlLoss::None) {
                device.callOnSignallingThread([self, loss] { self->tell(static_cast<int>(loss)); });
            }
        };
        const util::InsideQt quiet;
        m_connections.push_back(
            QObject::connect(&device, &tavo::GenICamCameraSignals::signal_ControlChanged, lost));
    }

    void end() {
        for (const QMetaObject::Connection& connection : m_connections) {
            const util::InsideQt quiet;
            QObject::disconnect(connection);
        }
        const std::lock_guard lock(m_telling);
        m_ended = true;
    }

private:
    void tell(int what) {
        const std::lock_guard lock(m_telling);
        if (!m_ended) {
            m_tell(what);
        }
    }

    const Tell m_tell;
    std::vector<QMetaObject::Connection> m_connections; // of the thread that makes and ends the watch
    std::recursive_mutex m_telling;                     // a callback may end its own watch
    bool m_ended = false;                               // under m_telling
};

namespace {

using tavo::GenICamNode;

std::string valueOf(GenICamNode& node) {
    if (auto* const command = node.asCommand()) {
        return command->isDone() ? "done" : "executing";
    }
    const bool isBytesOnly = node.asRegister() != nullptr && node.asInteger() == nullptr &&
                             node.asFloat() == nullptr && node.asString() == nullptr;
    return isBytesOnly ? std::string() : node.getValueAsString();
}

std::string limitsOf(GenICamNode& node) {
    if (auto* const integer = node.asInteger()) {
        return std::to_string(integer->getMin()) + ' ' + std::to_string(integer->getMax()) + ' ' +
               std::to_string(integer->getInc());
    }
    if (auto* const real = node.asFloat()) {
        return std::to_string(real->getMin()) + ' ' + std::to_string(real->getMax());
    }
    auto* const text = node.asString();
    return text != nullptr ? std::to_string(text->getMaxLength()) : std::string();
}

std::string stateOf(GenICamNode& node) {
    return {node.isImplemented() ? 'i' : '-', node.isAvailable() ? 'a' : '-', node.isLocked() ? 'l' : '-'};
}

// What of a node was told last: the first signals of a node come whether anything has changed or not, and one
// change of the limits has several.
class Told {
public:
    explicit Told(GenICamNode& node) : m_node(node) {
        for (const int change : {GBE_CHANGE_VALUE, GBE_CHANGE_LIMITS, GBE_CHANGE_STATE}) {
            isNews(change);
        }
    }
    // What cannot be read now, and the bytes of a register, always are.
    bool isNews(int change) {
        constexpr std::array kRead{valueOf, limitsOf, stateOf};
        const auto item = static_cast<std::size_t>(change);
        std::string now;
        try {
            now = kRead.at(item)(m_node);
        } catch (const std::exception&) {
            return true;
        }
        return now.empty() || std::exchange(m_last.at(item), now) != now;
    }

private:
    GenICamNode& m_node;
    std::array<std::string, 3> m_last;
};

// What of a node's value and limits is told, by the first kind that it is of.
template<class Watch> void followValue(Watch& watch, tavo::GenICamNode& node) {
    const auto follow = [&]<class Signals>(Signals* signals, auto change, auto... limits) {
        watch.follow(signals, change, GBE_CHANGE_VALUE);
        (watch.follow(signals, limits, GBE_CHANGE_LIMITS), ...);
    };
    if (auto* const integer = node.asInteger()) {
        using Signals = tavo::ImplGenICamIntegerInterfaceSignals;
        follow(
            integer->getIntegerSignals(), &Signals::signal_ValueChanged, &Signals::signal_MinChanged,
            &Signals::signal_MaxChanged, &Signals::signal_IncChanged);
    } else if (auto* const real = node.asFloat()) {
        using Signals = tavo::ImplGenICamFloatInterfaceSignals;
        follow(
            real->getFloatSignals(), &Signals::signal_ValueChanged, &Signals::signal_MinChanged,
            &Signals::signal_MaxChanged);
    } else if (auto* const boolean = node.asBoolean()) {
        follow(boolean->getBooleanSignals(), &tavo::ImplGenICamBooleanInterfaceSignals::signal_ValueChanged);
    } else if (auto* const text = node.asString()) {
        using Signals = tavo::ImplGenICamStringInterfaceSignals;
        follow(text->getStringSignals(), &Signals::signal_ValueChanged, &Signals::signal_LengthChanged);
    } else if (auto* const enumeration = node.asEnumeration()) {
        follow(
            enumeration->getEnumerationSignals(),
            &tavo::ImplGenICamEnumerationInterfaceSignals::signal_IntValueChanged);
    } else if (auto* const command = node.asCommand()) {
        follow(
            command->getCommandSignals(),
            &tavo::ImplGenICamCommandInterfaceSignals::signal_IsDoneValueChanged);
    } else if (auto* const bytes = node.asRegister()) {
        using Signals = tavo::ImplGenICamRegisterInterfaceSignals;
        follow(
            bytes->getRegisterSignals(), &Signals::signal_RegisterContentChanged,
            &Signals::signal_RegisterLengthChanged);
    }
}

template<class Watch> void followStates(Watch& watch, tavo::GenICamNode& node) {
    using Signals = tavo::ImplGenICamNodeInterfaceSignals;
    for (const auto signal :
         {&Signals::signal_ImplementationStateChanged, &Signals::signal_AvailabilityStateChanged,
          &Signals::signal_LockStateChanged}) {
        watch.follow(node.getNodeSignals(), signal, GBE_CHANGE_STATE);
    }
}

const std::string kControl; // no feature has this name

} // namespace

Watches::Watches() = default;

Watches::~Watches() {
    clear();
}

void Watches::watchFeature(
    CameraHandle* camera, tavo::ImplGenICamCamera& device, tavo::GenICamNode& node,
    GbeFeatureCallback callback, void* user) {
    const std::string& name = node.getName();
    if (callback == nullptr) {
        put(name, nullptr);
        return;
    }
    const auto told = std::make_shared<Told>(node);
    const auto watch = std::make_shared<Watch>([=](int change) {
        if (told->isNews(change)) {
            callback(camera, name.c_str(), change, user);
        }
    });
    followValue(*watch, node);
    followStates(*watch, node);
    put(name, watch);
    device.enableSignalling(true);
    if (node.asCommand() != nullptr) {
        device.enablePolling(true);
    }
}

void Watches::watchControl(
    CameraHandle* camera, tavo::ImplGenICamCamera& device, GbeControlCallback callback, void* user) {
    if (callback == nullptr) {
        put(kControl, nullptr);
        return;
    }
    const auto watch = std::make_shared<Watch>([=](int loss) { callback(camera, loss, user); });
    watch->followControl(device);
    put(kControl, watch);
    device.enableSignalling(true);
}

// The earlier watch is waited for without the lock, which its callback may want.
void Watches::put(const std::string& key, std::shared_ptr<Watch> watch) {
    {
        const std::lock_guard lock(m_mutex);
        std::swap(m_watches[key], watch);
    }
    if (watch) {
        watch->end();
    }
}

void Watches::clear() {
    std::map<std::string, std::shared_ptr<Watch>> all;
    {
        const std::lock_guard lock(m_mutex);
        std::swap(all, m_watches);
    }
    for (const auto& [name, watch] : all) {
        if (watch) {
            watch->end();
        }
    }
}

} // namespace api
