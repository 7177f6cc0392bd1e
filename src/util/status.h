// The status codes of the library, by their short names: one table for exceptions and for the C interface.
#pragma once

#include "liomol/status.h"

namespace status {

#define LIOMOL_STATUS(enumerator, name, code, text) inline constexpr int name = enumerator;
GBE_STATUS_TABLE(LIOMOL_STATUS)
#undef LIOMOL_STATUS

// The text of a code; "unknown error code" for a code that the table does not hold. Static, never null.
const char* description(int code);

} // namespace status
