#include "link_report/link_report.h"

#include "softboard/link_report.h"

#include <dlfcn.h>

#include <algorithm>

namespace link_report {

std::optional<LinkReport> ofPort(int board, unsigned port) {
    static const auto ask =
        reinterpret_cast<decltype(&softboard_linkReport)>(dlsym(RTLD_DEFAULT, "softboard_linkReport"));
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
    std::copy(std::begin(told.mac), std::end(told.mac), report.mac.begin());
    const unsigned char* ip = told.ipv4;
    report.ip = ip[0] | ip[1] << 8 | ip[2] << 16 | static_cast<unsigned>(ip[3]) << 24;
    return report;
}

} // namespace link_report
