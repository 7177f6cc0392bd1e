// The local service: its replies as a person asks for them.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace gbe {

struct ServiceReply {
    int error = 0;                  // errno value when there is no reply
    std::vector<std::string> lines; // of the reply, without their ends

    bool good() const { return error == 0 && !lines.empty() && lines.back().starts_with("200 "); }
    // What follows the prefix in the first line that has it; empty when there is none.
    std::string field(const std::string& prefix) const;
};

// docs/service-protocol.md has the requests and their replies.
ServiceReply askService(const std::string& request);

const char* serviceSocket();

// Looks again at a port's link, at a board (without a port), or at everything (without a board). Throws
// Failure.
void rescan(std::optional<int> board, std::optional<unsigned> port);

// Gives a port an address: "0:1" is port 1 of board 0, "192.168.0.250/24" the address with the length of its
// mask. Throws Failure.
void setPortAddress(const std::string& port, const std::string& address);

} // namespace gbe
