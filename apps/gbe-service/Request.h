// The request lines of the service's protocol (docs/service-protocol.md).
#pragma once

#include "protocol/addresses.h"

#include <optional>
#include <string>
#include <string_view>

namespace gbe_service {

enum class RequestKind { Rescan, Configure, CountBoards, Status, OpenPort, OpenMac, Keep };

// What KEEP carries besides its port.
struct KeepRequest {
    net::Mac camera;
    net::Ipv4 cameraIp;
    net::Ipv4 ip;         // that the process's commands come from
    unsigned udpPort = 0; // likewise
    unsigned seconds = 0;
};

struct Request {
    RequestKind kind = RequestKind::Rescan;
    std::optional<unsigned> board; // any number: whether there is such a board is not the parser's business
    std::optional<unsigned> port;
    std::string text; // the address of CONFIGURE and OPEN MAC, as it came
    KeepRequest keep;
};

// Nothing for a line that is no request. Words are upper case and one blank apart; numbers are decimal and
// fit 32 bits.
std::optional<Request> parseRequest(std::string_view line);

} // namespace gbe_service
