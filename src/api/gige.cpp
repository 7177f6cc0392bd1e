#include "liomol/gige.h"

#include "util/error_detail.h"
#include "util/status.h"

const char* Gbe_getErrorDescription(int code) {
    return status::description(code);
}

const char* Gbe_getLastErrorDetail(void) {
    return util::errorDetail();
}
