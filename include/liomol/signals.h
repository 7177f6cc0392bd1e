// The signals of devices and nodes: they tell listeners when something that they show has changed.
//
// Each device and each interface of a node has one such object (GenICamCamera::getCameraSignals,
// GenICamNodeInterface::getNodeSignals, GenICamIntegerInterface::getIntegerSignals and so on), made when
// first asked for, which lives as long as the device or the node. A change is read and told only for an
// interface whose signals somebody has asked for, and only while the device's signalling is on
// (GenICamCamera::enableSignalling).
//
// Nodes' signals are emitted on the device's signalling thread, outside the device's lock, whoever caused the
// change; a listener in another thread gets them queued. A listener may do anything, also have the tree
// replaced or the device freed; what a signal names stays until the listener has returned to its event loop.
// In a thread other than the application's this holds for a listener whose own thread has got the signals'
// object. The first argument tells whose signal it is, for a listener of several; nothing else can be done
// with it outside the library. Each signal has a method that only emits it.
#pragma once

#include "liomol/GenICamCamera.h"
#include "liomol/export.h"

#include <QtCore/QMetaType>
#include <QtCore/QObject>
#include <QtCore/QString>

#include <cstdint>
#include <string>

namespace tavo {

using std::int64_t; // signatures are compared as texts when connecting by name

class ImplGenICamCamera;
class ImplGenICamNodeInterface;
class ImplGenICamIntegerInterface;
class ImplGenICamFloatInterface;
class ImplGenICamBooleanInterface;
class ImplGenICamCommandInterface;
class ImplGenICamEnumerationInterface;
class ImplGenICamStringInterface;
class ImplGenICamRegisterInterface;

// The signals of a device.
class LIOMOL_API GenICamCameraSignals : public QObject {
    Q_OBJECT
public:
    // NotConnected -> Retrieving (a description is read) -> Connected, or NotConnected when that fails. A
    // connected device may retrieve again.
    enum CameraState { NotConnected = 0, Retrieving = 1, Connected = 2 };
    Q_ENUM(CameraState)

    GenICamCameraSignals();

Q_SIGNALS:
    // Comes from the thread that reads the description, or the one that has it read.
    void signal_StateChanged(ImplGenICamCamera* camera, GenICamCameraSignals::CameraState state);
    // Control of the camera was lost, or was found to be lost for another reason, or (None) taken again.
    // Comes from the heartbeat's thread, or from the one that connects.
    void signal_ControlChanged(ImplGenICamCamera* camera, tavo::ControlLoss loss);
};

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

// What a queued connection needs to know of the first arguments.
Q_DECLARE_OPAQUE_POINTER(tavo::ImplGenICamCamera*)
Q_DECLARE_OPAQUE_POINTER(tavo::ImplGenICamNodeInterface*)
Q_DECLARE_OPAQUE_POINTER(tavo::ImplGenICamIntegerInterface*)
Q_DECLARE_OPAQUE_POINTER(tavo::ImplGenICamFloatInterface*)
Q_DECLARE_OPAQUE_POINTER(tavo::ImplGenICamBooleanInterface*)
Q_DECLARE_OPAQUE_POINTER(tavo::ImplGenICamCommandInterface*)
Q_DECLARE_OPAQUE_POINTER(tavo::ImplGenICamEnumerationInterface*)
Q_DECLARE_OPAQUE_POINTER(tavo::ImplGenICamStringInterface*)
Q_DECLARE_OPAQUE_POINTER(tavo::ImplGenICamRegisterInterface*)
Q_DECLARE_METATYPE(tavo::ControlLoss)
