// Packet sockets for programs without the right to make them: a program that has it (apps/liomol-netport)
// lends them, each with a filter that cannot be taken off.
#pragma once

#include "netif/filter.h"

#include <cstdint>
#include <string>

namespace netif {

// What a program can do where nobody lends.
inline constexpr const char* kWithoutLender =
    "run as root, or give the program CAP_NET_RAW: setcap cap_net_raw+ep PROGRAM";

// What the two say to each other: one message each way over a SOCK_SEQPACKET socket, which the lender has as
// its standard input.
inline constexpr std::uint32_t kLoanVersion = 2;
struct LoanRequest {
    std::uint32_t version = kLoanVersion;
    char interface[16] = "";
    Traffic traffic;
};
static_assert(sizeof(LoanRequest) == 48, "the same for all who ask");

struct LoanReply {
    std::int32_t index = 0; // of the interface that the socket hears; 0: it is not there, nothing is heard
    char refusal[252] = ""; // one line; empty: the socket comes with this message (SCM_RIGHTS)
};

// A lent socket; -1, and the reason, without one.
struct Loan {
    int socket = -1;
    int index = 0;
    int code = 0;      // errno value: EPERM no lender is installed, EACCES it may not be run by this user,
                       // ECONNREFUSED it refuses, another when it could not be run
    std::string error; // the reason, to stand behind a colon
};

// Runs the lender, without environment, in the calling thread's network namespace, and waits for it some
// seconds at the most. Any thread.
Loan borrowSocket(const std::string& interface, const Traffic& traffic);

} // namespace netif
