#include "liomol/GenICamPortInterface.h"

namespace tavo {

GenICamPortInterface::~GenICamPortInterface() = default;
GenICamBatchReadInterface::~GenICamBatchReadInterface() = default;

} // namespace tavo
