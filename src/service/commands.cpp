#include "service/commands.h"

#include "service/GbeTransmission.h"
#include "util/MacAddress.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace {

constexpr std::size_t kRequestSize = 40; // the longest: "RESCAN BOARD <ten digits> PORT <ten digits>"
constexpr int kMaxReplyLines = 1024;     // no reply is near it; a peer that never ends one is given up

constexpr std::string_view kGone = "410 ";
constexpr std::string_view kFailed = "510 ";

std::optional<std::string> receiveLine(GbeTransmission& transmission, int* error = nullptr) {
    char* line = nullptr;
    const int length = transmission.receive(&line);
    const std::unique_ptr<char[]> owner(line);
    if (length < 0) {
        if (error != nullptr) {
            *error = length;
        }
        return std::nullopt;
    }
    return std::string(line, static_cast<std::size_t>(length));
}

// Where the MAC stands in a status line, counted from its start: kept as it is, right for ports of one digit
// only.
constexpr std::size_t kMacPosition = 15;

bool parseStatusMac(std::string_view line, unsigned char* out) {
    const auto mac = net::Mac::parse(line.substr(std::min(kMacPosition, line.size())));
    if (mac) {
        std::copy(mac->begin(), mac->end(), out);
    }
    return mac.has_value();
}

// What a status reply has told so far.
struct StatusReply {
    std::string prefix;
    bool* linkUp;
    unsigned char* mac;
    PortIp ip{};
    bool macSeen = false;
    bool linkSeen = false;

    void take(const std::string& line) {
        if (!line.starts_with(prefix)) {
            return;
        }
        const std::string_view rest = std::string_view(line).substr(prefix.size());
        if (rest.starts_with("MAC ")) {
            macSeen = mac == nullptr || parseStatusMac(line, mac);
        } else if (rest.starts_with("IP ")) {
            ip.ip = net::Ipv4::parse(rest.substr(3)).value_or(ip.ip);
        } else if (rest.starts_with("MASK ")) {
            ip.mask = net::Ipv4::parse(rest.substr(5)).value_or(ip.mask);
        } else if (rest == "up" || rest == "down") {
            linkSeen = true;
            if (linkUp != nullptr) {
                *linkUp = rest == "up";
            }
        }
    }
};

// The fields of an OPEN reply, each where it was found.
struct OpenReply {
    std::optional<unsigned> board;
    std::optional<unsigned> port;
    std::optional<MacAddress> mac;

    void take(std::string_view line) {
        takeNumber(line, "BOARD ", board);
        takeNumber(line, " PORT ", port);
        const std::string_view text = after(line, "MAC ").substr(0, kMacTextLength);
        MacAddress address{QByteArray()};
        if (address.setAddress(QByteArray(text.data(), static_cast<int>(text.size())))) {
            mac = address;
        }
    }

private:
    static constexpr std::size_t kMacTextLength = 17;

    static std::string_view after(std::string_view line, std::string_view field) {
        const std::size_t at = line.find(field);
        return at == std::string_view::npos ? std::string_view() : line.substr(at + field.size());
    }

    static void takeNumber(std::string_view line, std::string_view field, std::optional<unsigned>& out) {
        const std::string_view text = after(line, field);
        unsigned value = 0;
        if (std::from_chars(text.data(), text.data() + text.size(), value).ec == std::errc()) {
            out = value;
        }
    }
};

int cmdOpenPrivate(GbeTransmission& transmission, const char* request, OpenReply& reply) {
    const int sent = transmission.send(request);
    if (sent < 0) {
        return sent;
    }
    for (int lines = 0; lines < kMaxReplyLines; ++lines) {
        int error = 0;
        const std::optional<std::string> line = receiveLine(transmission, &error);
        if (!line || line->starts_with(kGone) || line->starts_with(kFailed)) {
            return !line ? error : line->starts_with(kGone) ? -ENODEV : -EIO;
        }
        if (line->starts_with("200")) {
            reply.take(*line);
        }
        if (line->starts_with(kServiceDone)) {
            return 0;
        }
    }
    return -EPROTO;
}

} // namespace

bool cmdRescan(GbeTransmission& transmission, int board, unsigned port) {
    char request[kRequestSize];
    if (port != kAllPorts) {
        std::snprintf(request, sizeof request, "RESCAN BOARD %u PORT %u", static_cast<unsigned>(board), port);
    } else if (board == kAllBoards) {
        std::snprintf(request, sizeof request, "RESCAN");
    } else {
        std::snprintf(request, sizeof request, "RESCAN BOARD %u", static_cast<unsigned>(board));
    }
    return transmission.send(request) >= 0 && transmission.replyDone();
}

int cmdSetIp(GbeTransmission& transmission, int board, unsigned port, const char* ip) {
    const std::string request = "CONFIGURE BOARD " + std::to_string(static_cast<unsigned>(board)) + " PORT " +
                                std::to_string(port) + " IP " + ip;
    const int sent = transmission.send(request.c_str());
    return sent < 0 ? sent : transmission.replyDone();
}

int cmdCountBoards(GbeTransmission& transmission) {
    const int sent = transmission.send("COUNT BOARDS");
    return sent < 0 ? sent : transmission.replyCount();
}

bool cmdStatus(GbeTransmission& transmission, int board, unsigned port, bool* linkUp, unsigned char* mac) {
    return cmdStatus(transmission, board, port, linkUp, mac, nullptr);
}

bool cmdStatus(
    GbeTransmission& transmission, int board, unsigned port, bool* linkUp, unsigned char* mac, PortIp* ip) {
    char request[kRequestSize];
    std::snprintf(request, sizeof request, "STATUS BOARD %u PORT %u", static_cast<unsigned>(board), port);
    if (transmission.send(request) < 0) {
        return false;
    }
    StatusReply reply{"200-PORT " + std::to_string(port) + " ", linkUp, mac};
    for (int lines = 0; lines < kMaxReplyLines; ++lines) {
        const std::optional<std::string> line = receiveLine(transmission);
        if (!line) {
            return false;
        }
        if (line->starts_with(kFailed) || line->starts_with(kServiceDone)) {
            if (ip != nullptr) {
                *ip = reply.ip;
            }
            return reply.macSeen && reply.linkSeen;
        }
        reply.take(*line);
    }
    return false;
}

int cmdAsk(GbeTransmission& transmission, const char* request, std::string& reply) {
    const int sent = transmission.send(request);
    if (sent < 0) {
        return sent;
    }
    reply.clear();
    for (int lines = 0; lines < kMaxReplyLines; ++lines) {
        int error = 0;
        const std::optional<std::string> line = receiveLine(transmission, &error);
        if (!line) {
            return error;
        }
        reply += (reply.empty() ? "" : "\n") + *line;
        if (line->size() > 3 && (*line)[3] == ' ') { // the last one; the others have a '-' there
            return line->starts_with(kServiceDone) ? 1 : 0;
        }
    }
    return -EPROTO;
}

int cmdOpen(GbeTransmission& transmission, const int& board, const unsigned& port, unsigned char* mac) {
    char request[kRequestSize];
    std::snprintf(request, sizeof request, "OPEN BOARD %u PORT %u", static_cast<unsigned>(board), port);
    OpenReply reply;
    const int result = cmdOpenPrivate(transmission, request, reply);
    if (result < 0 || !reply.mac) {
        return result < 0 ? result : -EPROTO;
    }
    std::copy_n(reply.mac->data(), 6, mac);
    return 0;
}

int cmdOpen(GbeTransmission& transmission, const unsigned char* mac, int& board, unsigned& port) {
    const QByteArray request = "OPEN MAC " + MacAddress(mac).toAscii();
    OpenReply reply;
    const int result = cmdOpenPrivate(transmission, request.constData(), reply);
    if (result < 0 || !reply.board || !reply.port) {
        return result < 0 ? result : -EPROTO;
    }
    board = static_cast<int>(*reply.board);
    port = *reply.port;
    return 0;
}
