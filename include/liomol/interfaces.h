// What users of the node tree see of a node: its properties and states, and one interface for each kind of
// value. Nodes belong to their device and live until its tree is replaced or the device is destroyed.
//
// All operations may be called from any thread; those that touch a value take the device's lock, so that
// reads and writes of one device run one after another. With the device's checking switched on, the outermost
// access is checked first: GicNotImplementedException, GicNotAvailableException, GicLockedException (writes),
// GicNotReadableException, GicNotWritableException. Any access to a value may also throw what the port throws
// (GicTransportLayerException, GicPortNotAvailableException), GicIllegalRegisterLengthException for a
// register of an unusable length, GicIllegalNodeException for a node that refers to itself, and
// ScMathException for a formula that cannot be evaluated.
#pragma once

#include "liomol/GenICamPortInterface.h"
#include "liomol/GenICamTypes.h"
#include "liomol/export.h"

#include <cstdint>
#include <string>
#include <vector>

namespace tavo {

class GenICamEnumEntry;
class GenICamNode;
class ImplGenICamNodeInterfaceSignals;
class ImplGenICamBooleanInterfaceSignals;
class ImplGenICamCommandInterfaceSignals;
class ImplGenICamEnumerationInterfaceSignals;
class ImplGenICamFloatInterfaceSignals;
class ImplGenICamIntegerInterfaceSignals;
class ImplGenICamRegisterInterfaceSignals;
class ImplGenICamStringInterfaceSignals;

class LIOMOL_API GenICamNodeInterface {
public:
    // The states read the node that decides them, if the description names one.
    virtual bool isImplemented() = 0;
    virtual bool isAvailable() = 0;
    virtual bool isLocked() = 0;

    virtual ~GenICamNodeInterface();

    virtual GenICamTypes::GenICamNodeType getNodeType() const = 0;
    virtual const std::string& getName() const = 0;
    virtual const std::string& getNamespace() const = 0;
    virtual const std::string& getToolTip() const = 0;
    virtual const std::string& getDescription() const = 0;
    virtual const std::string& getDisplayName() const = 0;
    // Hexadecimal digits without a prefix, as the description gives them.
    virtual const std::string& getEventID() const = 0;
    // The value as text, or the node's name for a kind without a value.
    virtual std::string getValueAsString() = 0;
    virtual GenICamTypes::GenICamVisibilityType getVisibility() const = 0;
    // NotGiven for the kinds without a value.
    virtual GenICamTypes::GenICamAccessModeType getAccessMode() const = 0;
    virtual bool isStreamable() const = 0;
    virtual bool hasAliasNode() const = 0;
    // Null when the description gives none.
    virtual GenICamNode* getAliasNode() const = 0;
    // What tells of changes of the states; see liomol/signals.h, also for the signals of each kind of value.
    virtual ImplGenICamNodeInterfaceSignals* getNodeSignals() = 0;
};

class LIOMOL_API GenICamIntegerInterface : public virtual GenICamNodeInterface {
public:
    virtual std::int64_t getValue() = 0;
    // GicIllegalValueException for a value that the node does not accept; nothing is written then.
    virtual void setValue(std::int64_t value) = 0;
    virtual std::int64_t getMin() = 0;
    virtual std::int64_t getMax() = 0;
    virtual std::int64_t getInc() = 0;
    virtual GenICamTypes::GenICamRepresentationType getRepresentation() const = 0;
    // Of a number that is shown as an address, whose first byte is on top: the lowest 32 bits are an IP
    // address, the lowest 48 a MAC address.
    virtual GenICamTypes::GenICamAddressType getAddressType() const = 0;
    virtual ImplGenICamIntegerInterfaceSignals* getIntegerSignals() = 0;
    ~GenICamIntegerInterface() override;
};

class LIOMOL_API GenICamFloatInterface : public virtual GenICamNodeInterface {
public:
    virtual double getValue() = 0;
    virtual void setValue(double value) = 0;
    virtual double getMin() = 0;
    virtual double getMax() = 0;
    virtual GenICamTypes::GenICamRepresentationType getRepresentation() const = 0;
    virtual const std::string& getUnit() const = 0;
    virtual ImplGenICamFloatInterfaceSignals* getFloatSignals() = 0;
    ~GenICamFloatInterface() override;
};

class LIOMOL_API GenICamBooleanInterface : public virtual GenICamNodeInterface {
public:
    virtual bool getValue() = 0;
    virtual void setValue(bool value) = 0;
    // The integers that stand for true and false in the node below.
    virtual std::int64_t getOnValue() const = 0;
    virtual std::int64_t getOffValue() const = 0;
    virtual ImplGenICamBooleanInterfaceSignals* getBooleanSignals() = 0;
    ~GenICamBooleanInterface() override;
};

class LIOMOL_API GenICamCommandInterface : public virtual GenICamNodeInterface {
public:
    virtual void execute() = 0;
    // Whether the camera has cleared the command. The camera is asked at most once in a polling time.
    virtual bool isDone() = 0;
    // Milliseconds.
    virtual std::int64_t getPollingTime() const = 0;
    virtual ImplGenICamCommandInterfaceSignals* getCommandSignals() = 0;
    ~GenICamCommandInterface() override;
};

class LIOMOL_API GenICamEnumerationInterface : public virtual GenICamNodeInterface {
public:
    // The getters throw GicIllegalValueException while the camera holds a value that no entry has; the
    // setters do so for an entry that the description does not know.
    virtual std::int64_t getIntValue() = 0;
    virtual void setIntValue(std::int64_t value) = 0;
    virtual std::string getStringValue() = 0;
    virtual void setStringValue(const std::string& symbol) = 0;
    // All entries in the order of the description.
    virtual const std::vector<GenICamEnumEntry*>& getEntries() const = 0;
    // Null when no entry has the value.
    virtual GenICamEnumEntry* getEntryByValue(std::int64_t value) const = 0;
    virtual ImplGenICamEnumerationInterfaceSignals* getEnumerationSignals() = 0;
    ~GenICamEnumerationInterface() override;
};

class LIOMOL_API GenICamStringInterface : public virtual GenICamNodeInterface {
public:
    // The whole register, zero bytes included; up to its first zero byte with the standard's meaning.
    virtual std::string getValue() = 0;
    // A text longer than the register is cut.
    virtual void setValue(const std::string& value) = 0;
    virtual std::int64_t getMaxLength() = 0;
    virtual ImplGenICamStringInterfaceSignals* getStringSignals() = 0;
    ~GenICamStringInterface() override;
};

class LIOMOL_API GenICamRegisterInterface : public virtual GenICamNodeInterface {
public:
    // Milliseconds.
    virtual std::int64_t getPollingTime() const = 0;
    // Bytes in the order of their addresses; at most the smaller of `length` and the register's length is
    // copied.
    virtual void get(unsigned char* buffer, std::int64_t length) = 0;
    virtual void set(unsigned char* buffer, std::int64_t length) = 0;
    virtual std::int64_t getAddress() = 0;
    virtual std::int64_t getLength() = 0;
    // Null when the description names no port that exists.
    virtual GenICamPortInterface* getPort() const = 0;
    virtual ImplGenICamRegisterInterfaceSignals* getRegisterSignals() = 0;
    ~GenICamRegisterInterface() override;
};

class LIOMOL_API GenICamCategoryInterface : public virtual GenICamNodeInterface {
public:
    // In the order of the description.
    virtual const std::vector<GenICamNode*>& getFeatures() const = 0;
    ~GenICamCategoryInterface() override;
};

class LIOMOL_API GenICamSelectorInterface : public virtual GenICamNodeInterface {
public:
    virtual bool isSelector() const = 0;
    virtual std::vector<GenICamNode*> getSelectedFeatures() const = 0;
    ~GenICamSelectorInterface() override;
};

} // namespace tavo
