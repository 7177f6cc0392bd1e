#include "service/GbeTransmission.h"

#include "service/GbeConnection.h"

#include <cerrno>
#include <charconv>
#include <string_view>
#include <system_error>

class GbeTransmissionPrivate {
public:
    GbeConnection connection{LIOMOL_SERVICE_SOCKET};
};

namespace {

constexpr std::string_view kMore = "200-";

// What replyCount gives for a reply that ended well, instead of the count.
constexpr int kCountOfGoodReply = 1;

// A decimal number that is the whole text, or -EINVAL.
int parseCount(std::string_view text) {
    int count = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), count);
    return error == std::errc() && end == text.data() + text.size() && count >= 0 ? count : -EINVAL;
}

} // namespace

std::string serviceSentence(int cause) {
    const std::string place = "at " LIOMOL_SERVICE_SOCKET ": " + std::generic_category().message(cause);
    switch (cause) {
    case ENOENT:
    case ECONNREFUSED:
        return "gbe-service does not run (" + place + ")";
    case EACCES:
    case EPERM:
        return "this user has no right to the socket of gbe-service (" + place + ")";
    default:
        return "gbe-service does not answer (" + place + ")";
    }
}

GbeTransmission::GbeTransmission() : d(std::make_unique<GbeTransmissionPrivate>()) {}

GbeTransmission::~GbeTransmission() = default;

bool GbeTransmission::isEstablished() const {
    return d->connection.isOpen();
}

int GbeTransmission::send(const char* line) {
    return d->connection.transmit(line);
}

int GbeTransmission::send(const void* buffer, const unsigned& length) {
    return d->connection.rawSend(buffer, length);
}

int GbeTransmission::receive(char** line) {
    return d->connection.receive(line);
}

bool GbeTransmission::replyDone() {
    char* line = nullptr;
    const int length = receive(&line);
    const std::unique_ptr<char[]> owner(line);
    return length >= 0 && std::string_view(line).starts_with(kServiceDone);
}

int GbeTransmission::replyCount() {
    char* line = nullptr;
    const int length = receive(&line);
    const std::unique_ptr<char[]> owner(line);
    if (length < 0) {
        return length;
    }
    const std::string_view text(line, static_cast<std::size_t>(length));
    const int count = text.starts_with(kMore) ? parseCount(text.substr(kMore.size())) : -EINVAL;
    if (count < 0) {
        return count;
    }
    return replyDone() ? kCountOfGoodReply : count;
}
