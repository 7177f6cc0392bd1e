#include "genicam/nodes/node_interfaces.h"

#include "genicam/nodes/GenICamScopedReadWriteLock.h"
#include "genicam/nodes/numbers.h"
#include "util/Quirks.h"
#include "util/number_text.h"

namespace tavo {

using Guard = GenICamScopedReadWriteLock;

// ---- Integer ---------------------------------------------------------------------------------------------

std::int64_t ImplGenICamIntegerInterface::getValue() {
    const Guard guard(this, Guard::ReadLock);
    return readInteger();
}

void ImplGenICamIntegerInterface::setValue(std::int64_t value) {
    const Guard guard(this, Guard::WriteLock);
    writeInteger(value);
    settleWrite();
}

// Decimal whatever the representation says.
std::string ImplGenICamIntegerInterface::getValueAsString() {
    return std::to_string(getValue());
}

double ImplGenICamIntegerInterface::readFloat() {
    return static_cast<double>(readInteger());
}

void ImplGenICamIntegerInterface::writeFloat(double value) {
    writeInteger(integerToWrite(value));
}

// ---- Float -----------------------------------------------------------------------------------------------

double ImplGenICamFloatInterface::getValue() {
    const Guard guard(this, Guard::ReadLock);
    return readFloat();
}

void ImplGenICamFloatInterface::setValue(double value) {
    const Guard guard(this, Guard::WriteLock);
    writeFloat(value);
    settleWrite();
}

std::string ImplGenICamFloatInterface::getValueAsString() {
    return util::numberText(getValue());
}

std::int64_t ImplGenICamFloatInterface::readInteger() {
    return numbers::clampedInteger(readFloat());
}

void ImplGenICamFloatInterface::writeInteger(std::int64_t value) {
    writeFloat(static_cast<double>(value));
}

double ImplGenICamFloatInterface::defaultFloatMin() const {
    using Limits = std::numeric_limits<double>;
    return quirks().positiveFloatMinimum ? Limits::min() : Limits::lowest();
}

// ---- Boolean ---------------------------------------------------------------------------------------------

bool ImplGenICamBooleanInterface::getValue() {
    const Guard guard(this, Guard::ReadLock);
    return readInteger() != 0;
}

void ImplGenICamBooleanInterface::setValue(bool value) {
    const Guard guard(this, Guard::WriteLock);
    writeInteger(value ? 1 : 0);
    settleWrite();
}

std::string ImplGenICamBooleanInterface::getValueAsString() {
    return getValue() ? "true" : "false";
}

double ImplGenICamBooleanInterface::readFloat() {
    return static_cast<double>(readInteger());
}

void ImplGenICamBooleanInterface::writeFloat(double value) {
    writeInteger(value != 0 ? 1 : 0);
}

// ---- Enumeration -----------------------------------------------------------------------------------------

double ImplGenICamEnumerationInterface::readFloat() {
    return static_cast<double>(readInteger());
}

void ImplGenICamEnumerationInterface::writeFloat(double value) {
    writeInteger(integerToWrite(value));
}

// ---- Selector --------------------------------------------------------------------------------------------

void ImplGenICamSelectorInterface::addSelected(GenICamNode* node) {
    if (node != nullptr) {
        m_selectedFeatures.push_back(node);
    }
}

} // namespace tavo
