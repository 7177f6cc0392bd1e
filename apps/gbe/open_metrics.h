// The state of links in the text format of OpenMetrics 1.0 (openmetrics.io), for a collector of metrics.
#pragma once

#include "LinkState.h"

#include <string>

namespace gbe {

std::string openMetrics(const LinkState& state);

} // namespace gbe
