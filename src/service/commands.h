// The requests of the local service; docs/service-protocol.md has the grammar. Each takes an established
// transmission and waits for the reply; without one it fails. A service that is silent for 35 seconds counts
// as gone: it answers within 30.
#pragma once

#include "protocol/addresses.h"

#include <string>

class GbeTransmission;

// Stands for all boards or all ports in cmdRescan.
inline constexpr int kAllBoards = -1;
inline constexpr unsigned kAllPorts = ~0u;

// Lets the service look again at a port, at a board (port kAllPorts) or at everything (both). With one port
// the board is taken as given.
bool cmdRescan(GbeTransmission& transmission, int board, unsigned port);

// Gives a port an IPv4 address, as text "a.b.c.d": 1 when the service has taken it, 0 when it has not, or a
// negated errno when the request could not be sent.
int cmdSetIp(GbeTransmission& transmission, int board, unsigned port, const char* ip);

// The number of boards that the service knows, with the inversion of GbeTransmission::replyCount.
int cmdCountBoards(GbeTransmission& transmission);

// A port's link state and MAC address (six bytes); both outputs may be null. True when the reply told both,
// however it ended. Reads MAC addresses only of ports 0 to 9.
bool cmdStatus(GbeTransmission& transmission, int board, unsigned port, bool* linkUp, unsigned char* mac);

// The IPv4 address and subnet mask that the service has for a port, none when the
// reply told none, and the port then keeps the address that it has of itself.
struct PortIp {
    net::Ipv4 ip;
    net::Ipv4 mask;
};
// The same with that address as well.
bool cmdStatus(
    GbeTransmission& transmission, int board, unsigned port, bool* linkUp, unsigned char* mac, PortIp* ip);

// Any request: 1 when its reply ends well, 0 when the service refuses (410, 510), with the reply's lines in
// `reply`,
// '\n' between them; a negated errno when there is no whole reply.
int cmdAsk(GbeTransmission& transmission, const char* request, std::string& reply);

// The MAC address of a port, or the port that bears a MAC address: 0; -ENODEV when the service knows no such
// port (410); -EIO when it cannot serve it (510); -EPROTO when the reply lacks what was asked; otherwise the
// negative result of sending or receiving. Outputs are written only on success.
int cmdOpen(GbeTransmission& transmission, const int& board, const unsigned& port, unsigned char* mac);
int cmdOpen(GbeTransmission& transmission, const unsigned char* mac, int& board, unsigned& port);
