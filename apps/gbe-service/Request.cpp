#include "Request.h"

#include <charconv>

namespace gbe_service {
namespace {

// Small letters stand for what a request carries: b the board's number, p the port's, t a text; of KEEP m the
// camera's MAC address, c its IP address, i the process's, u its UDP port, s the seconds.
constexpr struct {
    RequestKind kind;
    std::string_view pattern;
} kRequests[] = {
    {RequestKind::Rescan, "RESCAN"},
    {RequestKind::Rescan, "RESCAN BOARD b"},
    {RequestKind::Rescan, "RESCAN BOARD b PORT p"},
    {RequestKind::Configure, "CONFIGURE BOARD b PORT p IP t"},
    {RequestKind::CountBoards, "COUNT BOARDS"},
    {RequestKind::Status, "STATUS BOARD b PORT p"},
    {RequestKind::OpenPort, "OPEN BOARD b PORT p"},
    {RequestKind::OpenMac, "OPEN MAC t"},
    {RequestKind::Keep, "KEEP BOARD b PORT p CAMERA m AT c FROM i u FOR s"},
};

// Cuts the text up to the next blank off; nothing is left behind the last word.
std::optional<std::string_view> nextWord(std::optional<std::string_view>& rest) {
    if (!rest) {
        return std::nullopt;
    }
    const std::size_t blank = rest->find(' ');
    const std::string_view word = rest->substr(0, blank);
    rest = blank == rest->npos ? std::nullopt : std::optional(rest->substr(blank + 1));
    return word;
}

std::optional<unsigned> numberOf(std::string_view word) {
    unsigned value = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
    const bool isWhole = error == std::errc() && end == word.data() + word.size();
    return isWhole ? std::optional(value) : std::nullopt;
}

template<typename From, typename To> bool take(const std::optional<From>& from, To& to) {
    if (from) {
        to = *from;
    }
    return from.has_value();
}

bool matchWord(std::string_view pattern, std::string_view word, Request& request) {
    switch (pattern.front()) {
    case 'b':
        return take(numberOf(word), request.board);
    case 'p':
        return take(numberOf(word), request.port);
    case 't':
        request.text = word;
        return !word.empty();
    case 'm':
        return take(net::Mac::parse(word), request.keep.camera);
    case 'c':
        return take(net::Ipv4::parse(word), request.keep.cameraIp);
    case 'i':
        return take(net::Ipv4::parse(word), request.keep.ip);
    case 'u':
        return take(numberOf(word), request.keep.udpPort);
    case 's':
        return take(numberOf(word), request.keep.seconds);
    default:
        return pattern == word;
    }
}

bool match(std::string_view pattern, std::string_view line, Request& request) {
    std::optional patternRest(pattern);
    std::optional lineRest(line);
    while (patternRest && lineRest) {
        if (!matchWord(*nextWord(patternRest), *nextWord(lineRest), request)) {
            return false;
        }
    }
    return !patternRest && !lineRest;
}

} // namespace

std::optional<Request> parseRequest(std::string_view line) {
    for (const auto& row : kRequests) {
        Request request;
        request.kind = row.kind;
        if (match(row.pattern, line, request)) {
            return request;
        }
    }
    return std::nullopt;
}

} // namespace gbe_service
