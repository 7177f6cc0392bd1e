// One request to the local service, asked without the library: a person wants to know why that gets nothing.
#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace gbe {

struct ServiceReply {
    int error = 0;                  // errno value when there is no reply
    std::vector<std::string> lines; // of the reply, without their ends

    bool good() const { return error == 0 && !lines.empty() && lines.back().starts_with("200 "); }
    // Without the status; empty when there is no such line.
    std::string field(const std::string& prefix) const;
};

// docs/service-protocol.md has the requests and their replies.
ServiceReply askService(const std::string& request, std::chrono::seconds limit);

const char* serviceSocket();

} // namespace gbe
