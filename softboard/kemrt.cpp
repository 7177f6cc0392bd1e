#pragma GCC visibility push(default)
#include "platform/kemrt.h"
#pragma GCC visibility pop

#include "softboard/design.h"
#include "softboard/registers.h"

#include <algorithm>
#include <memory>
#include <mutex>
#include <vector>

namespace {

constexpr int kSuccess = 0;
constexpr int kNotLoaded = 1;

// The applets that are loaded now; all calls may come from any thread.
class Designs {
public:
    fpga_design load(int major, int minor) {
        const std::lock_guard lock(m_mutex);
        return m_designs.emplace_back(std::make_unique<KemDesign>(KemDesign{major, minor})).get();
    }

    bool unload(fpga_design design) {
        const std::lock_guard lock(m_mutex);
        return std::erase_if(m_designs, [&](const auto& own) { return own.get() == design; }) != 0;
    }

    bool holds(fpga_design design) {
        const std::lock_guard lock(m_mutex);
        return std::any_of(
            m_designs.begin(), m_designs.end(), [&](const auto& own) { return own.get() == design; });
    }

private:
    std::mutex m_mutex;
    std::vector<std::unique_ptr<KemDesign>> m_designs;
};

// Never destroyed: applications close boards in the destructors of static objects, too.
Designs& designs() {
    static Designs& instance = *new Designs;
    return instance;
}

} // namespace

fpga_design KemFirmwareTrampoline(int major, int minor) {
    const auto& majors = softboard::kAppletMajors;
    const bool known = std::find(majors.begin(), majors.end(), major) != majors.end() && minor >= 0 &&
                       minor < softboard::kVersionLimit;
    return known ? designs().load(major, minor) : nullptr;
}

int KemUnloadKemFile(fpga_design design) {
    return design != nullptr && designs().unload(design) ? kSuccess : kNotLoaded;
}

int KemGetRegisterByName(fpga_design design, const char* name) {
    if (design == nullptr || name == nullptr || !designs().holds(design)) {
        return softboard::kUnknownRegister;
    }
    return softboard::registerByName(name);
}
