#include "link_report/link_report.h"

#include "softboard/link_report.h"

#include <cerrno>
#include <dlfcn.h>

namespace link_report {
namespace {

using Ask = decltype(&softboard_linkReport);

// The call of the board in software; null when another library is the hardware's.
Ask findAsk() {
    void* const ask = dlsym(RTLD_DEFAULT, "softboard_linkReport");
    void* const open = dlsym(RTLD_DEFAULT, "TavoInitAllHWEx");
    Dl_info asked{};
    Dl_info opened{};
    const bool together = ask != nullptr && open != nullptr && dladdr(ask, &asked) != 0 &&
                          dladdr(open, &opened) != 0 && asked.dli_fbase == opened.dli_fbase;
    return together ? reinterpret_cast<Ask>(ask) : nullptr;
}

Ask lookUp() {
    static const Ask ask = findAsk();
    return ask;
}

} // namespace

bool isSoftware() {
    return lookUp() != nullptr;
}

bool isRightMissing(const LinkReport& report) {
    return report.error == EPERM || report.error == EACCES || report.error == ECONNREFUSED;
}

std::optional<LinkReport> ofPort(int board, unsigned port) {
    const Ask ask = lookUp();
    SoftboardLinkReport told{};
    if (ask == nullptr || ask(board, static_cast<int>(port), &told) != 0) {
        return std::nullopt;
    }
    LinkReport report;
    report.interface = told.interfaceName;
    report.error = told.error;
    report.message = told.message;
    report.up = told.up != 0;
    report.carrier = told.carrier != 0;
    report.mtu = told.mtu;
    report.mac = net::Mac::at(told.mac);
    report.ip = net::Ipv4::at(told.ipv4);
    return report;
}

} // namespace link_report
