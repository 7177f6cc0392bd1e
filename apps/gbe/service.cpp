#include "service.h"

#include "Failure.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sstream>

namespace gbe {
namespace {

constexpr unsigned kReplySize = 64 * 1024;
constexpr std::size_t kStatusSize = 4; // of a reply's line: "510 "

// Throws unless the service does what it is asked.
void demand(const std::string& what, const std::string& request) {
    const ServiceReply reply = askService(request);
    if (reply.error != 0) {
        throw Failure(
            what + ": the service on " + serviceSocket() + ": " + std::strerror(reply.error) +
                " (gbe doctor tells more)",
            reply.error == EACCES || reply.error == EPERM ? ExitStatus::NoRight : ExitStatus::NoService);
    }
    if (!reply.good()) {
        throw Failure(
            what + ": " + reply.lines.back().substr(std::min(kStatusSize, reply.lines.back().size())));
    }
}

} // namespace

std::string ServiceReply::field(const std::string& prefix) const {
    for (const std::string& line : lines) {
        if (line.starts_with(prefix)) {
            return line.substr(prefix.size());
        }
    }
    return "";
}

ServiceReply askService(const std::string& request) {
    std::string text(kReplySize, '\0');
    unsigned size = kReplySize;
    const int code = Gbe_askService(request.c_str(), text.data(), &size);
    if (code != 0 && code != GBE_ERROR_TRANSPORT_LAYER) {
        return {code == GBE_ERROR_CONNECTION ? errno : EPROTO, {}};
    }
    ServiceReply reply;
    std::istringstream lines(text.c_str());
    for (std::string line; std::getline(lines, line);) {
        reply.lines.push_back(line);
    }
    return reply;
}

const char* serviceSocket() {
    return LIOMOL_SERVICE_SOCKET;
}

void rescan(std::optional<int> board, std::optional<unsigned> port) {
    const std::string number = " BOARD " + std::to_string(board.value_or(0));
    demand(
        "rescan", port    ? "RESCAN" + number + " PORT " + std::to_string(*port)
                  : board ? "RESCAN" + number
                          : "RESCAN");
}

void setPortAddress(const std::string& port, const std::string& address) {
    unsigned board = 0;
    unsigned number = 0;
    char rest = 0;
    if (std::sscanf(port.c_str(), "%u:%u%c", &board, &number, &rest) != 2) {
        throw Failure("\"" + port + "\" is not BOARD:PORT", ExitStatus::Usage);
    }
    if (address.find_first_not_of("0123456789./") != address.npos) {
        throw Failure(
            "\"" + address + "\" is not an IPv4 address with the length of its mask", ExitStatus::Usage);
    }
    demand(
        "port " + port,
        "CONFIGURE BOARD " + std::to_string(board) + " PORT " + std::to_string(number) + " IP " + address);
}

} // namespace gbe
