// What applications may ask of the local service, which looks after the ports of all boards.
#include "api/refusals.h"
#include "liomol/gige.h"
#include "service/GbeTransmission.h"
#include "service/commands.h"
#include "util/status.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace {

bool isBoard(int board) {
    return board >= 0 && board < GBE_BOARDS;
}

bool isPort(int port) {
    return port >= 0 && port < GBE_PORTS;
}

// An address of the C interface, whose first octet is the lowest byte.
std::string textOf(unsigned ip) {
    std::string text;
    for (const unsigned shift : {0, 8, 16, 24}) {
        text += (text.empty() ? "" : ".") + std::to_string(ip >> shift & 0xFF);
    }
    return text;
}

// The length of a mask in bits; 0 for what is none.
int bitsOf(unsigned mask) {
    const std::uint32_t number = mask << 24 | (mask & 0xFF00) << 8 | (mask >> 8 & 0xFF00) | mask >> 24;
    const int bits = std::countl_one(number);
    return bits == std::popcount(number) ? bits : 0;
}

int badPlace(int board, long long port) {
    return api::refused(
        status::IllegalParameter, [&] { return isBoard(board) ? api::noPort(port) : api::noBoard(board); });
}

int noService(int cause) {
    return api::refused(status::Connection, [&] { return serviceSentence(cause); });
}

} // namespace

int Gbe_rescan(int board, int port) {
    const bool everything = board == kAllBoards && port == -1;
    if (!everything && (!isBoard(board) || (port != -1 && !isPort(port)))) {
        return badPlace(board, port);
    }
    GbeTransmission transmission;
    if (!transmission.isEstablished()) {
        return noService(errno);
    }
    const unsigned place = port == -1 ? kAllPorts : static_cast<unsigned>(port);
    return cmdRescan(transmission, board, place)
               ? status::Success
               : api::refused(status::BoardDoesNotExist, [&] {
                     return "the service serves no board " + std::to_string(board) + ", or cannot open it";
                 });
}

int Gbe_setPortAddress(int board, unsigned port, unsigned ip, unsigned mask) {
    const int bits = bitsOf(mask);
    if (!isBoard(board) || !isPort(static_cast<int>(port)) || bits == 0) {
        return bits == 0
                   ? api::refused(status::IllegalParameter, [&] { return textOf(mask) + " is no mask"; })
                   : badPlace(board, port);
    }
    GbeTransmission transmission;
    if (!transmission.isEstablished()) {
        return noService(errno);
    }
    const std::string address = textOf(ip) + "/" + std::to_string(bits);
    const int taken = cmdSetIp(transmission, board, port, address.c_str());
    return taken == 1   ? status::Success
           : taken == 0 ? api::refused(
                              status::IllegalParameter,
                              [&] {
                                  return "the service refuses " + address +
                                         " for this port, or its configuration gives the address";
                              })
                        : noService(-taken);
}

int Gbe_askService(const char* request, char* reply, unsigned* size) {
    if (request == nullptr || reply == nullptr || size == nullptr ||
        std::string_view(request).find('\n') != std::string_view::npos) {
        const bool isBroken = request != nullptr && reply != nullptr && size != nullptr;
        return isBroken ? api::refused(status::IllegalParameter, "the request has more than one line")
                        : api::firstNull({{request, "request"}, {reply, "reply"}, {size, "size"}});
    }
    GbeTransmission transmission;
    std::string text;
    const int result = transmission.isEstablished() ? cmdAsk(transmission, request, text) : -errno;
    if (result < 0) {
        noService(-result);
        errno = -result;
        return status::Connection;
    }
    const unsigned room = std::exchange(*size, static_cast<unsigned>(text.size() + 1));
    if (*size > room) {
        return api::tooSmall(*size, room);
    }
    std::copy_n(text.c_str(), *size, reply);
    return result == 1 ? status::Success : api::refused(status::TransportLayer, [&] {
        return "the service says: " + text.substr(text.rfind('\n') + 1);
    });
}
