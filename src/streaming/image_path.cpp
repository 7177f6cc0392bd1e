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

const char* sentenceOf(int pathResult) {
    switch (pathResult) {
    case IMAGE_PATH_BAD_ARGUMENT:
        return "the image path refuses the buffers, or one that is not borrowed";
    case IMAGE_PATH_NO_PORT:
        return "the board is closed";
    case IMAGE_PATH_BUSY:
        return "the port has the stream of another camera already";
    case IMAGE_PATH_NO_MEMORY:
        return "there is no memory for the stream";
    case IMAGE_PATH_NO_RIGHT:
        return "the system refuses the socket for images";
    case IMAGE_PATH_LINK_GONE:
        return "the link is gone: the camera is unplugged, or the network interface removed or switched off";
    default:
        return "";
    }
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
