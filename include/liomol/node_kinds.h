// The abstract node kinds: which interfaces a node of each kind offers. Implementations are in the
// ImplGenICam headers.
#pragma once

#include "liomol/interfaces.h"

namespace tavo {

class ImplGenICamNode;

// A node of any kind. The `as...` calls give its interface of a kind, or null when it has none: what a
// dynamic_cast gives, at the price of a virtual call.
class LIOMOL_API GenICamNode : public virtual GenICamNodeInterface {
public:
    virtual GenICamIntegerInterface* asInteger();
    virtual GenICamFloatInterface* asFloat();
    virtual GenICamBooleanInterface* asBoolean();
    virtual GenICamCommandInterface* asCommand();
    virtual GenICamEnumerationInterface* asEnumeration();
    virtual GenICamStringInterface* asString();
    virtual GenICamRegisterInterface* asRegister();
    virtual GenICamCategoryInterface* asCategory();
    virtual GenICamPortInterface* asPort();
    virtual GenICamSelectorInterface* asSelector();
    // The library's own class behind the node.
    virtual ImplGenICamNode* asImplementation();
    ~GenICamNode() override;
};

class LIOMOL_API GenICamRegister : public virtual GenICamNode, public virtual GenICamRegisterInterface {};

class LIOMOL_API GenICamIntReg : public virtual GenICamRegister,
                                 public virtual GenICamIntegerInterface,
                                 public virtual GenICamSelectorInterface {};

class LIOMOL_API GenICamMaskedIntReg : public virtual GenICamIntReg {};

class LIOMOL_API GenICamFloatReg : public virtual GenICamRegister, public virtual GenICamFloatInterface {};

class LIOMOL_API GenICamStringReg : public virtual GenICamRegister, public virtual GenICamStringInterface {};

class LIOMOL_API GenICamInteger : public virtual GenICamNode,
                                  public virtual GenICamIntegerInterface,
                                  public virtual GenICamSelectorInterface {
public:
    virtual const std::string& getUnit() const = 0;
};

class LIOMOL_API GenICamFloat : public virtual GenICamNode, public virtual GenICamFloatInterface {};

class LIOMOL_API GenICamBoolean : public virtual GenICamNode, public virtual GenICamBooleanInterface {};

class LIOMOL_API GenICamCommand : public virtual GenICamNode, public virtual GenICamCommandInterface {};

class LIOMOL_API GenICamString : public virtual GenICamNode, public virtual GenICamStringInterface {};

class LIOMOL_API GenICamEnumeration : public virtual GenICamNode,
                                      public virtual GenICamEnumerationInterface,
                                      public virtual GenICamSelectorInterface {};

class LIOMOL_API GenICamEnumEntry : public virtual GenICamNode {
public:
    virtual std::int64_t getValue() const = 0;
    // Lives as long as the entry.
    virtual const std::string& getSymbol() const = 0;
};

class LIOMOL_API GenICamCategory : public virtual GenICamNode, public virtual GenICamCategoryInterface {};

class LIOMOL_API GenICamConverter : public virtual GenICamNode, public virtual GenICamFloatInterface {
public:
    virtual GenICamTypes::GenICamSlopeType getSlope() const = 0;
};

class LIOMOL_API GenICamIntConverter : public virtual GenICamNode, public virtual GenICamIntegerInterface {
public:
    virtual GenICamTypes::GenICamSlopeType getSlope() const = 0;
    virtual const std::string& getUnit() const = 0;
};

class LIOMOL_API GenICamSwissKnife : public virtual GenICamNode, public virtual GenICamFloatInterface {};

class LIOMOL_API GenICamIntSwissKnife : public virtual GenICamNode, public virtual GenICamIntegerInterface {};

class LIOMOL_API GenICamPort : public virtual GenICamNode, public virtual GenICamPortInterface {};

} // namespace tavo
