#include "liomol/signals.h"

namespace tavo {
namespace {

// Queued connections, and those made by name, look argument types up by the names that the signatures use.
void registerArgumentTypes() {
    static const bool done = [] {
        qRegisterMetaType<std::int64_t>("int64_t");
        qRegisterMetaType<ImplGenICamCamera*>("ImplGenICamCamera*");
        qRegisterMetaType<GenICamCameraSignals::CameraState>("GenICamCameraSignals::CameraState");
        qRegisterMetaType<ControlLoss>("tavo::ControlLoss");
        qRegisterMetaType<ImplGenICamNodeInterface*>("ImplGenICamNodeInterface*");
        qRegisterMetaType<ImplGenICamIntegerInterface*>("ImplGenICamIntegerInterface*");
        qRegisterMetaType<ImplGenICamFloatInterface*>("ImplGenICamFloatInterface*");
        qRegisterMetaType<ImplGenICamBooleanInterface*>("ImplGenICamBooleanInterface*");
        qRegisterMetaType<ImplGenICamCommandInterface*>("ImplGenICamCommandInterface*");
        qRegisterMetaType<ImplGenICamEnumerationInterface*>("ImplGenICamEnumerationInterface*");
        qRegisterMetaType<ImplGenICamStringInterface*>("ImplGenICamStringInterface*");
        qRegisterMetaType<ImplGenICamRegisterInterface*>("ImplGenICamRegisterInterface*");
        return true;
    }();
    static_cast<void>(done);
}

} // namespace

// clang-format off
#define LIOMOL_SIGNALS_CONSTRUCTOR(Class) Class::Class() { registerArgumentTypes(); }
LIOMOL_SIGNALS_CONSTRUCTOR(GenICamCameraSignals)
LIOMOL_SIGNALS_CONSTRUCTOR(ImplGenICamNodeInterfaceSignals)
LIOMOL_SIGNALS_CONSTRUCTOR(ImplGenICamIntegerInterfaceSignals)
LIOMOL_SIGNALS_CONSTRUCTOR(ImplGenICamFloatInterfaceSignals)
LIOMOL_SIGNALS_CONSTRUCTOR(ImplGenICamBooleanInterfaceSignals)
LIOMOL_SIGNALS_CONSTRUCTOR(ImplGenICamCommandInterfaceSignals)
LIOMOL_SIGNALS_CONSTRUCTOR(ImplGenICamEnumerationInterfaceSignals)
LIOMOL_SIGNALS_CONSTRUCTOR(ImplGenICamStringInterfaceSignals)
LIOMOL_SIGNALS_CONSTRUCTOR(ImplGenICamRegisterInterfaceSignals)
#undef LIOMOL_SIGNALS_CONSTRUCTOR

// One emitting method for each signal; the third column is the value's type in the method, the fourth what
// turns it into the signal's.
#define LIOMOL_EMITTING_METHODS(X) \
    X(Node, ImplementationStateChanged, bool, ) \
    X(Node, AvailabilityStateChanged, bool, ) \
    X(Node, LockStateChanged, bool, ) \
    X(Integer, ValueChanged, int64_t, ) \
    X(Integer, MinChanged, int64_t, ) \
    X(Integer, MaxChanged, int64_t, ) \
    X(Integer, IncChanged, int64_t, ) \
    X(Float, ValueChanged, double, ) \
    X(Float, MinChanged, double, ) \
    X(Float, MaxChanged, double, ) \
    X(Boolean, ValueChanged, bool, ) \
    X(Command, IsDoneValueChanged, bool, ) \
    X(Enumeration, IntValueChanged, int64_t, ) \
    X(Enumeration, StringValueChanged, const std::string&, QString::fromStdString) \
    X(String, ValueChanged, const std::string&, QString::fromStdString) \
    X(String, LengthChanged, int64_t, ) \
    X(Register, RegisterAddressChanged, int64_t, ) \
    X(Register, RegisterLengthChanged, int64_t, )

#define LIOMOL_EMITTING_METHOD(Kind, Signal, Type, convert) \
    void ImplGenICam##Kind##InterfaceSignals::emitSignal_##Signal(ImplGenICam##Kind##Interface* node, Type value) { \
        Q_EMIT signal_##Signal(node, convert(value)); \
    }
LIOMOL_EMITTING_METHODS(LIOMOL_EMITTING_METHOD)
#undef LIOMOL_EMITTING_METHOD
#undef LIOMOL_EMITTING_METHODS
// clang-format on

void ImplGenICamRegisterInterfaceSignals::emitSignal_RegisterContentChanged(
    ImplGenICamRegisterInterface* node) {
    Q_EMIT signal_RegisterContentChanged(node);
}

} // namespace tavo
