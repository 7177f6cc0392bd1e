// The signals of the node interfaces: they tell listeners when something that an interface shows has changed.
//
// They are emitted on the device's signalling thread, outside the device's lock, whoever caused the change; a
// listener in another thread gets them queued. A listener may do anything, also replace the tree or destroy
// the device: see ImplGenICamCamera for how long the node can be used then. Each signal has a method that
// only emits it.
#pragma once

#include "liomol/export.h"

#include <QtCore/QMetaType>
#include <QtCore/QObject>
#include <QtCore/QString>

#include <cstdint>
#include <string>

namespace tavo {

class ImplGenICamBooleanInterface;
class ImplGenICamCommandInterface;
class ImplGenICamEnumerationInterface;
class ImplGenICamFloatInterface;
class ImplGenICamIntegerInterface;
class ImplGenICamNodeInterface;
class ImplGenICamRegisterInterface;
class ImplGenICamStringInterface;

} // namespace tavo

Q_DECLARE_OPAQUE_POINTER(tavo::ImplGenICamBooleanInterface*)
Q_DECLARE_OPAQUE_POINTER(tavo::ImplGenICamCommandInterface*)
Q_DECLARE_OPAQUE_POINTER(tavo::ImplGenICamEnumerationInterface*)
Q_DECLARE_OPAQUE_POINTER(tavo::ImplGenICamFloatInterface*)
Q_DECLARE_OPAQUE_POINTER(tavo::ImplGenICamIntegerInterface*)
Q_DECLARE_OPAQUE_POINTER(tavo::ImplGenICamNodeInterface*)
Q_DECLARE_OPAQUE_POINTER(tavo::ImplGenICamRegisterInterface*)
Q_DECLARE_OPAQUE_POINTER(tavo::ImplGenICamStringInterface*)

namespace tavo {

using std::int64_t; // signatures are compared as texts when connecting by name

class LIOMOL_API ImplGenICamNodeInterfaceSignals : public QObject {
    Q_OBJECT
public:
    ImplGenICamNodeInterfaceSignals();
    void emitSignal_ImplementationStateChanged(ImplGenICamNodeInterface* node, bool implemented);
    void emitSignal_AvailabilityStateChanged(ImplGenICamNodeInterface* node, bool available);
    void emitSignal_LockStateChanged(ImplGenICamNodeInterface* node, bool locked);

Q_SIGNALS:
    void signal_ImplementationStateChanged(ImplGenICamNodeInterface*, bool);
    void signal_AvailabilityStateChanged(ImplGenICamNodeInterface*, bool);
    void signal_LockStateChanged(ImplGenICamNodeInterface*, bool);
};

class LIOMOL_API ImplGenICamIntegerInterfaceSignals : public QObject {
    Q_OBJECT
public:
    ImplGenICamIntegerInterfaceSignals();
    void emitSignal_ValueChanged(ImplGenICamIntegerInterface* node, int64_t value);
    void emitSignal_MinChanged(ImplGenICamIntegerInterface* node, int64_t min);
    void emitSignal_MaxChanged(ImplGenICamIntegerInterface* node, int64_t max);
    void emitSignal_IncChanged(ImplGenICamIntegerInterface* node, int64_t inc);

Q_SIGNALS:
    void signal_ValueChanged(ImplGenICamIntegerInterface*, int64_t);
    void signal_MinChanged(ImplGenICamIntegerInterface*, int64_t);
    void signal_MaxChanged(ImplGenICamIntegerInterface*, int64_t);
    void signal_IncChanged(ImplGenICamIntegerInterface*, int64_t);
};

class LIOMOL_API ImplGenICamFloatInterfaceSignals : public QObject {
    Q_OBJECT
public:
    ImplGenICamFloatInterfaceSignals();
    void emitSignal_ValueChanged(ImplGenICamFloatInterface* node, double value);
    void emitSignal_MinChanged(ImplGenICamFloatInterface* node, double min);
    void emitSignal_MaxChanged(ImplGenICamFloatInterface* node, double max);

Q_SIGNALS:
    void signal_ValueChanged(ImplGenICamFloatInterface*, double);
    void signal_MinChanged(ImplGenICamFloatInterface*, double);
    void signal_MaxChanged(ImplGenICamFloatInterface*, double);
};

class LIOMOL_API ImplGenICamBooleanInterfaceSignals : public QObject {
    Q_OBJECT
public:
    ImplGenICamBooleanInterfaceSignals();
    void emitSignal_ValueChanged(ImplGenICamBooleanInterface* node, bool value);

Q_SIGNALS:
    void signal_ValueChanged(ImplGenICamBooleanInterface*, bool);
};

class LIOMOL_API ImplGenICamCommandInterfaceSignals : public QObject {
    Q_OBJECT
public:
    ImplGenICamCommandInterfaceSignals();
    void emitSignal_IsDoneValueChanged(ImplGenICamCommandInterface* node, bool done);

Q_SIGNALS:
    void signal_IsDoneValueChanged(ImplGenICamCommandInterface*, bool);
};

class LIOMOL_API ImplGenICamEnumerationInterfaceSignals : public QObject {
    Q_OBJECT
public:
    ImplGenICamEnumerationInterfaceSignals();
    void emitSignal_IntValueChanged(ImplGenICamEnumerationInterface* node, int64_t value);
    void emitSignal_StringValueChanged(ImplGenICamEnumerationInterface* node, const std::string& value);

Q_SIGNALS:
    void signal_IntValueChanged(ImplGenICamEnumerationInterface*, int64_t);
    void signal_StringValueChanged(ImplGenICamEnumerationInterface*, QString);
};

class LIOMOL_API ImplGenICamStringInterfaceSignals : public QObject {
    Q_OBJECT
public:
    ImplGenICamStringInterfaceSignals();
    void emitSignal_ValueChanged(ImplGenICamStringInterface* node, const std::string& value);
    void emitSignal_LengthChanged(ImplGenICamStringInterface* node, int64_t length);

Q_SIGNALS:
    void signal_ValueChanged(ImplGenICamStringInterface*, QString);
    void signal_LengthChanged(ImplGenICamStringInterface*, int64_t);
};

class LIOMOL_API ImplGenICamRegisterInterfaceSignals : public QObject {
    Q_OBJECT
public:
    ImplGenICamRegisterInterfaceSignals();
    void emitSignal_RegisterAddressChanged(ImplGenICamRegisterInterface* node, int64_t address);
    void emitSignal_RegisterLengthChanged(ImplGenICamRegisterInterface* node, int64_t length);
    void emitSignal_RegisterContentChanged(ImplGenICamRegisterInterface* node);

Q_SIGNALS:
    void signal_RegisterAddressChanged(ImplGenICamRegisterInterface*, int64_t);
    void signal_RegisterLengthChanged(ImplGenICamRegisterInterface*, int64_t);
    void signal_RegisterContentChanged(ImplGenICamRegisterInterface*);
};

} // namespace tavo
