// An exchange with the local service: a connection made on construction and closed on destruction. Make one
// for each exchange. One thread at a time.
#pragma once

#include <memory>
#include <string>
#include <string_view>

class GbeTransmissionPrivate;

// What the last line of a good reply begins with.
inline constexpr std::string_view kServiceDone = "200 ";

// Why there is no exchange with the service, for people; `cause` is an errno.
std::string serviceSentence(int cause);

class GbeTransmission {
public:
    // Connects to the socket path that the build has set (LIOMOL_SERVICE_SOCKET).
    GbeTransmission();
    ~GbeTransmission();
    GbeTransmission(const GbeTransmission&) = delete;
    GbeTransmission& operator=(const GbeTransmission&) = delete;

    // False when the service does not run; every call below fails then.
    bool isEstablished() const;

    // A line, or bytes as they are: 0, or a negated errno.
    int send(const char* line);
    int send(const void* buffer, const unsigned& length);
    // As GbeConnection::receive.
    int receive(char** line);

    // Receives one line: true when it is the good end of a reply, "200 ...".
    bool replyDone();
    // Receives "200-<count>" and the line that ends the reply. Kept as it is, inverted: after a good end the
    // result is 1, and only after any other line it is the count. -EINVAL: the first line is no count; or
    // the failure of receiving it.
    int replyCount();

private:
    std::unique_ptr<GbeTransmissionPrivate> d; // never null
};
