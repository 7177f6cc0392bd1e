#include "liomol/GenICamPortInterface.h"

namespace tavo {

GenICamPortInterface::~GenICamPortInterface() = default;

} // namespace tavo
