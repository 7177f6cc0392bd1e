#include "Platform.h"

#include "Report.h"

#include <dlfcn.h>

#include <initializer_list>

namespace platform_check {
namespace {

// It stands in for both hardware libraries and lets them go first: the loader takes a call from those where
// it finds them, and from this one where it does not.
constexpr const char* kUsual = "libliomol_softboard.so";

void* open(const std::string& name, Report& report) {
    report.calling(name.c_str());
    void* const library = dlopen(name.c_str(), RTLD_NOW | RTLD_GLOBAL);
    if (library == nullptr) {
        report.expect(false, std::string("is loaded: ") + dlerror());
    }
    return library;
}

std::string fileOf(void* call) {
    Dl_info info{};
    return call != nullptr && dladdr(call, &info) != 0 ? info.dli_fname : "";
}

class Finder {
public:
    Finder(void* library, Report& report) : m_library(library), m_report(report) {}

    template<class Call> void need(Call& call, const char* name) {
        find(call, name);
        m_report.calling(name);
        m_report.expect(
            call != nullptr, call != nullptr ? "is in " + fileOf(reinterpret_cast<void*>(call)) : "is there");
        m_complete = m_complete && call != nullptr;
    }
    template<class Call> void find(Call& call, const char* name) {
        call = reinterpret_cast<Call>(dlsym(m_library, name));
    }
    bool complete() const { return m_complete; }

private:
    void* m_library;
    Report& m_report;
    bool m_complete = true;
};

// The optional calls count only where they come from the library that opens the boards.
template<class Call>
void keepIfTogether(Call& call, const char* name, const Platform& platform, Report& report) {
    report.calling(name);
    if (call == nullptr) {
        report.note("is not there; it may be missing");
    } else if (fileOf(reinterpret_cast<void*>(call)) != fileOf(reinterpret_cast<void*>(platform.init))) {
        report.note("is in another library than TavoInitAllHWEx, and not used");
        call = nullptr;
    }
}

} // namespace

bool load(const std::string& hardware, const std::string& runtime, Platform& platform, Report& report) {
    void* const first = open(hardware.empty() ? kUsual : hardware, report);
    void* const second = runtime.empty() ? first : open(runtime, report);
    if (first == nullptr || second == nullptr) {
        return false;
    }
    Finder boards(first, report);
    boards.need(platform.init, "TavoInitAllHWEx");
    boards.need(platform.free, "TavoFreeHW");
    boards.need(platform.infoString, "TavoGetBoardInfoString");
    boards.need(platform.infoInt, "TavoGetBoardInfoInt");
    boards.need(platform.configure, "TavoConfigureFpga");
    boards.need(platform.read, "TavoRegisterRead");
    boards.need(platform.write, "TavoRegisterWrite");
    boards.need(platform.queueRead, "TavoDataQueueReadBufferLong");
    boards.need(platform.queueClear, "TavoDataQueueClear");
    Finder applets(second, report);
    applets.need(platform.applet, "KemFirmwareTrampoline");
    applets.need(platform.unload, "KemUnloadKemFile");
    applets.need(platform.registerId, "KemGetRegisterByName");
    boards.find(platform.imagePath, LIOMOL_IMAGE_PATH_CALL);
    boards.find(platform.portSharing, LIOMOL_PORT_SHARING_CALL);
    keepIfTogether(platform.imagePath, LIOMOL_IMAGE_PATH_CALL, platform, report);
    keepIfTogether(platform.portSharing, LIOMOL_PORT_SHARING_CALL, platform, report);
    return boards.complete() && applets.complete();
}

} // namespace platform_check
