#include "genicam/GenICamPortInterface.h"

namespace tavo {

GenICamPortInterface::~GenICamPortInterface() = default;

} // namespace tavo
