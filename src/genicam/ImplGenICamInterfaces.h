// The implementations of the value interfaces: what all nodes with a value of one kind do alike. A kind of
// node fills in the reading and writing (readInteger and its like of ImplGenICamNode), which run under the
// device's lock; the public getters and setters here take the lock and check the access.
#pragma once

#include "genicam/ImplGenICamNode.h"

namespace tavo {

class LIOMOL_API ImplGenICamIntegerInterface : public virtual ImplGenICamNode,
                                               public virtual GenICamIntegerInterface {
public:
    std::int64_t getValue() override;
    void setValue(std::int64_t value) override;
    std::string getValueAsString() override;
    GenICamTypes::GenICamRepresentationType getRepresentation() const override { return m_representation; }
    void setRepresentation(GenICamTypes::GenICamRepresentationType r) { m_representation = r; }

    GenICamIntegerInterface* asInteger() override { return this; }
    bool hasNumber() const override { return true; }
    double readFloat() override;
    void writeFloat(double value) override;

private:
    GenICamTypes::GenICamRepresentationType m_representation =
        GenICamTypes::GenICamRepresentationType::NotGiven;
};

class LIOMOL_API ImplGenICamFloatInterface : public virtual ImplGenICamNode,
                                             public virtual GenICamFloatInterface {
public:
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

private:
    GenICamTypes::GenICamRepresentationType m_representation =
        GenICamTypes::GenICamRepresentationType::NotGiven;
    std::string m_unit;
};

class LIOMOL_API ImplGenICamBooleanInterface : public virtual ImplGenICamNode,
                                               public virtual GenICamBooleanInterface {
public:
    bool getValue() override;
    void setValue(bool value) override;
    std::string getValueAsString() override;

    GenICamBooleanInterface* asBoolean() override { return this; }
    bool hasNumber() const override { return true; }
    double readFloat() override;
    void writeFloat(double value) override;
};

class LIOMOL_API ImplGenICamCommandInterface : public virtual ImplGenICamNode,
                                               public virtual GenICamCommandInterface {
public:
    GenICamCommandInterface* asCommand() override { return this; }
};

class LIOMOL_API ImplGenICamEnumerationInterface : public virtual ImplGenICamNode,
                                                   public virtual GenICamEnumerationInterface {
public:
    GenICamEnumerationInterface* asEnumeration() override { return this; }
    bool hasNumber() const override { return true; }
    double readFloat() override;
    void writeFloat(double value) override;
};

class LIOMOL_API ImplGenICamStringInterface : public virtual ImplGenICamNode,
                                              public virtual GenICamStringInterface {
public:
    GenICamStringInterface* asString() override { return this; }
};

class LIOMOL_API ImplGenICamRegisterInterface : public virtual ImplGenICamNode,
                                                public virtual GenICamRegisterInterface {
public:
    GenICamRegisterInterface* asRegister() override { return this; }
};

class LIOMOL_API ImplGenICamCategoryInterface : public virtual ImplGenICamNode,
                                                public virtual GenICamCategoryInterface {
public:
    GenICamCategoryInterface* asCategory() override { return this; }
};

class LIOMOL_API ImplGenICamPortInterface : public virtual ImplGenICamNode,
                                            public virtual GenICamPortInterface {
public:
    GenICamPortInterface* asPort() override { return this; }
};

class LIOMOL_API ImplGenICamSelectorInterface : public virtual ImplGenICamNode,
                                                public virtual GenICamSelectorInterface {
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
