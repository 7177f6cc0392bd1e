#include "streaming/image_path.h"

#include "util/status.h"

#include <dlfcn.h>

namespace streaming {
namespace {

// Where the hardware's own library opens the boards, a board in software that is loaded beside it must not
// answer for them: both calls have to come from one object.
const TavoImagePath* lookUp() {
    void* const path = dlsym(RTLD_DEFAULT, LIOMOL_IMAGE_PATH_CALL);
    void* const open = dlsym(RTLD_DEFAULT, "TavoInitAllHWEx");
    Dl_info ofPath{};
    Dl_info ofOpen{};
    const bool together = path != nullptr && open != nullptr && dladdr(path, &ofPath) != 0 &&
                          dladdr(open, &ofOpen) != 0 && ofPath.dli_fbase == ofOpen.dli_fbase;
    return together ? reinterpret_cast<TavoImagePathCall>(path)(LIOMOL_IMAGE_PATH_VERSION) : nullptr;
}

} // namespace

const TavoImagePath* findImagePath() {
    static const TavoImagePath* const path = lookUp();
    return path;
}

int statusOf(int pathResult) {
    switch (pathResult) {
    case IMAGE_PATH_OK:
        return status::Success;
    case IMAGE_PATH_TIMEOUT:
        return status::Timeout;
    case IMAGE_PATH_BAD_ARGUMENT:
        return status::IllegalParameter;
    case IMAGE_PATH_BUSY:
    case IMAGE_PATH_NO_RIGHT:
        return status::PortNotAvailable;
    case IMAGE_PATH_NO_MEMORY:
        return status::NotAvailable;
    default:
        return status::Connection;
    }
}

} // namespace streaming
