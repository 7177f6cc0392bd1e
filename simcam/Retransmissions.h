// What the device answered to the last command of each application, so that a command that comes again is
// answered again and not carried out twice. One thread at a time.
#pragma once

#include "protocol/gvcp.h"
#include "simcam/Station.h"
#include "simcam/limits.h"

#include <deque>

namespace simcam {

// What a command came to.
struct Response {
    gvcp::Status status = gvcp::Status::Success;
    Bytes payload = {};
    bool answered = true;
    milliseconds takes{0}; // from now until it is done
    bool repeated = false; // a retransmission of a command that was carried out before
};

class Retransmissions {
public:
    // The response to the same message of the same application within kRetransmissionWindow, with the time
    // that is left until it is done.
    std::optional<Response> find(const Peer& from, ByteView message, Time now) const;
    void remember(const Peer& from, ByteView message, const Response& response, Time now);

private:
    struct Entry {
        Peer from;
        Bytes message;
        Response response;
        Time when{};
    };
    std::deque<Entry> m_entries; // one of each application, the oldest first
};

} // namespace simcam
