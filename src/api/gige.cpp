#include "liomol/gige.h"

#include "util/status.h"

const char* Gbe_getErrorDescription(int code) {
    return status::description(code);
}
