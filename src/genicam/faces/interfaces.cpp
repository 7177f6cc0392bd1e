#include "liomol/interfaces.h"

#include "liomol/GenICamCamera.h"
#include "liomol/node_kinds.h"

namespace tavo {

GenICamNodeInterface::~GenICamNodeInterface() = default;
GenICamIntegerInterface::~GenICamIntegerInterface() = default;
GenICamFloatInterface::~GenICamFloatInterface() = default;
GenICamBooleanInterface::~GenICamBooleanInterface() = default;
GenICamCommandInterface::~GenICamCommandInterface() = default;
GenICamEnumerationInterface::~GenICamEnumerationInterface() = default;
GenICamStringInterface::~GenICamStringInterface() = default;
GenICamRegisterInterface::~GenICamRegisterInterface() = default;
GenICamCategoryInterface::~GenICamCategoryInterface() = default;
GenICamSelectorInterface::~GenICamSelectorInterface() = default;
GenICamNode::~GenICamNode() = default;
GenICamCamera::~GenICamCamera() = default;
VoCamera::~VoCamera() = default;

GenICamIntegerInterface* GenICamNode::asInteger() {
    return nullptr;
}
GenICamFloatInterface* GenICamNode::asFloat() {
    return nullptr;
}
GenICamBooleanInterface* GenICamNode::asBoolean() {
    return nullptr;
}
GenICamCommandInterface* GenICamNode::asCommand() {
    return nullptr;
}
GenICamEnumerationInterface* GenICamNode::asEnumeration() {
    return nullptr;
}
GenICamStringInterface* GenICamNode::asString() {
    return nullptr;
}
GenICamRegisterInterface* GenICamNode::asRegister() {
    return nullptr;
}
GenICamCategoryInterface* GenICamNode::asCategory() {
    return nullptr;
}
GenICamPortInterface* GenICamNode::asPort() {
    return nullptr;
}
GenICamSelectorInterface* GenICamNode::asSelector() {
    return nullptr;
}
ImplGenICamNode* GenICamNode::asImplementation() {
    return nullptr;
}

} // namespace tavo
