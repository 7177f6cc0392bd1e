// The implementations of the value interfaces: what all nodes with a value of one kind do alike. A kind of
// node fills in the reading and writing (readInteger and its like of ImplGenICamNode), which run under the
// device's lock; the public getters and setters here take the lock and check the access.
//
// Each carries the signals of its kind (liomol/signals.h), made when somebody first asks for them; they
// live as long as the node.
#pragma once

#include "genicam/nodes/ImplGenICamNode.h"
#include "genicam/nodes/Lazy.h"

namespace tavo {

struct BooleanWatch;
struct CommandWatch;
struct EnumerationWatch;
struct FloatWatch;
struct IntegerWatch;
struct RegisterWatch;
struct StringWatch;

class ImplGenICamIntegerInterface : public virtual ImplGenICamNode, public virtual GenICamIntegerInterface {
public:
    ImplGenICamIntegerInterface();
    ~ImplGenICamIntegerInterface() override;

    ImplGenICamIntegerInterfaceSignals* getIntegerSignals() override;
    void performSignalUpdate(bool force) override;

    std::int64_t getValue() override;
    void setValue(std::int64_t value) override;
    std::string getValueAsString() override;
    GenICamTypes::GenICamRepresentationType getRepresentation() const override { return m_representation; }
    void setRepresentation(GenICamTypes::GenICamRepresentationType r) { m_representation = r; }

    GenICamTypes::GenICamAddressType getAddressType() const override { return m_addressType; }
    void setAddressType(GenICamTypes::GenICamAddressType type) { m_addressType = type; }

    GenICamIntegerInterface* asInteger() override { return this; }
    bool hasNumber() const override { return true; }
    double readFloat() override;
    void writeFloat(double value) override;

protected:
    // The part of performSignalUpdate that is this interface's.
    void updateInteger(bool force);

private:
    GenICamTypes::GenICamRepresentationType m_representation =
        GenICamTypes::GenICamRepresentationType::NotGiven;
    GenICamTypes::GenICamAddressType m_addressType = GenICamTypes::GenICamAddressType::NotGiven;
    Lazy<IntegerWatch> m_integerWatch;
};

class ImplGenICamFloatInterface : public virtual ImplGenICamNode, public virtual GenICamFloatInterface {
public:
    ImplGenICamFloatInterface();
    ~ImplGenICamFloatInterface() override;

    ImplGenICamFloatInterfaceSignals* getFloatSignals() override;
    void performSignalUpdate(bool force) override;

    double getValue() override;
    void setValue(double value) override;
    std::string getValueAsString() override;
    GenICamTypes::GenICamRepresentationType getRepresentation() const override { return m_representation; }
    const std::string& getUnit() const override { return m_unit; }
    void setRepresentation(GenICamTypes::GenICamRepresentationType r) { m_representation = r; }
    void setUnit(std::string unit) { m_unit = std::move(unit); }

    GenICamFloatInterface* asFloat() override { return this; }
    bool hasNumber() const override { return true; }
    std::int64_t readInteger() override;
    void writeInteger(std::int64_t value) override;

protected:
    // The part of performSignalUpdate that is this interface's.
    void updateFloat(bool force);
    // Of a node without a minimum.
    double defaultFloatMin() const;

private:
    GenICamTypes::GenICamRepresentationType m_representation =
        GenICamTypes::GenICamRepresentationType::NotGiven;
    std::string m_unit;
    Lazy<FloatWatch> m_floatWatch;
};

class ImplGenICamBooleanInterface : public virtual ImplGenICamNode, public virtual GenICamBooleanInterface {
public:
    ImplGenICamBooleanInterface();
    ~ImplGenICamBooleanInterface() override;

    ImplGenICamBooleanInterfaceSignals* getBooleanSignals() override;
    void performSignalUpdate(bool force) override;

    bool getValue() override;
    void setValue(bool value) override;
    std::string getValueAsString() override;

    GenICamBooleanInterface* asBoolean() override { return this; }
    bool hasNumber() const override { return true; }
    double readFloat() override;
    void writeFloat(double value) override;

private:
    Lazy<BooleanWatch> m_booleanWatch;
};

class ImplGenICamCommandInterface : public virtual ImplGenICamNode, public virtual GenICamCommandInterface {
public:
    ImplGenICamCommandInterface();
    ~ImplGenICamCommandInterface() override;

    ImplGenICamCommandInterfaceSignals* getCommandSignals() override;
    void performSignalUpdate(bool force) override;

    GenICamCommandInterface* asCommand() override { return this; }

private:
    Lazy<CommandWatch> m_commandWatch;
};

class ImplGenICamEnumerationInterface : public virtual ImplGenICamNode,
                                        public virtual GenICamEnumerationInterface {
public:
    ImplGenICamEnumerationInterface();
    ~ImplGenICamEnumerationInterface() override;

    ImplGenICamEnumerationInterfaceSignals* getEnumerationSignals() override;
    void performSignalUpdate(bool force) override;

    GenICamEnumerationInterface* asEnumeration() override { return this; }
    bool hasNumber() const override { return true; }
    double readFloat() override;
    void writeFloat(double value) override;

private:
    Lazy<EnumerationWatch> m_enumerationWatch;
};

class ImplGenICamStringInterface : public virtual ImplGenICamNode, public virtual GenICamStringInterface {
public:
    ImplGenICamStringInterface();
    ~ImplGenICamStringInterface() override;

    ImplGenICamStringInterfaceSignals* getStringSignals() override;
    void performSignalUpdate(bool force) override;

    GenICamStringInterface* asString() override { return this; }

protected:
    // The part of performSignalUpdate that is this interface's.
    void updateString(bool force);

private:
    Lazy<StringWatch> m_stringWatch;
};

class ImplGenICamRegisterInterface : public virtual ImplGenICamNode, public virtual GenICamRegisterInterface {
public:
    ImplGenICamRegisterInterface();
    ~ImplGenICamRegisterInterface() override;

    ImplGenICamRegisterInterfaceSignals* getRegisterSignals() override;
    void performSignalUpdate(bool force) override;

    GenICamRegisterInterface* asRegister() override { return this; }

protected:
    // The part of performSignalUpdate that is this interface's.
    void updateRegister(bool force);
    // Whether a change of the content is to be reported; it counts as reported then.
    virtual bool takeContentChange(bool force) = 0;

private:
    Lazy<RegisterWatch> m_registerWatch;
};

class ImplGenICamCategoryInterface : public virtual ImplGenICamNode, public virtual GenICamCategoryInterface {
public:
    GenICamCategoryInterface* asCategory() override { return this; }
};

class ImplGenICamPortInterface : public virtual ImplGenICamNode, public virtual GenICamPortInterface {
public:
    GenICamPortInterface* asPort() override { return this; }
};

class ImplGenICamSelectorInterface : public virtual ImplGenICamNode, public virtual GenICamSelectorInterface {
public:
    bool isSelector() const override { return !m_selectedFeatures.empty(); }
    std::vector<GenICamNode*> getSelectedFeatures() const override { return m_selectedFeatures; }
    // Null is ignored.
    void addSelected(GenICamNode* node);

    GenICamSelectorInterface* asSelector() override { return this; }

private:
    std::vector<GenICamNode*> m_selectedFeatures;
};

} // namespace tavo
