#include "board/Board.h"

#include "board/host_locks.h"
#include "board/init_gbe.h"
#include "service/GbeTransmission.h"
#include "service/commands.h"
#include "util/error_detail.h"
#include "util/link_pages.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <optional>
#include <string>
#include <utility>

namespace board {
namespace {

constexpr IpBytes kUsualMask{255, 255, 255, 0};

// Each port's addresses are asked for in an exchange of its own. An IP address that comes without a mask is
// taken for one of the smallest usual network.
bool setPortAddresses(int boardIndex, GigeCamera& open) {
    for (int port = 0; port < kPorts; ++port) {
        GbeTransmission service;
        unsigned char mac[6] = {};
        PortIp address;
        if (!service.isEstablished()) {
            util::setErrorDetail(serviceSentence(errno));
            return false;
        }
        if (!cmdStatus(service, boardIndex, static_cast<unsigned>(port), nullptr, mac, &address)) {
            util::setErrorDetail(
                "gbe-service serves no board " + std::to_string(boardIndex) + " port " +
                std::to_string(port));
            return false;
        }
        open.SetMAC(port, mac);
        if (address.ip != IpBytes{}) {
            open.setPortIP(port, address.ip, address.mask != IpBytes{} ? address.mask : kUsualMask);
        }
    }
    return true;
}

// Where other programs send from the same addresses, each has UDP ports of its own. False when there is no
// more room for this one.
bool shareAddresses(int boardIndex, GigeCamera& open) {
    for (int port = 0; port < kPorts; ++port) {
        if (sharingOf(boardIndex, port) != Sharing::Shared) {
            continue;
        }
        const std::optional<unsigned> number = processNumber();
        if (!number) {
            util::setErrorDetail(
                std::to_string(kMostProcesses) + " programs of this computer use network interfaces already");
            return false;
        }
        open.findPort(port)->shareAddresses(*number);
    }
    return true;
}

void closeBoard(GigeCamera* open) {
    open->deinit();
    delete open;
}

// Index to element: what holds locks or atomics cannot be moved into an array.
template<typename Element, std::size_t... Index, typename Make>
std::array<Element, sizeof...(Index)> arrayOf(std::index_sequence<Index...>, Make&& make) {
    return {make(static_cast<int>(Index))...};
}

std::array<Board, kBoards>& boards() {
    static auto& all = *new std::array<Board, kBoards>(
        arrayOf<Board>(std::make_index_sequence<kBoards>(), [](int index) { return Board(index); }));
    return all;
}

} // namespace

Board::Board(int number)
    : index(number), m_ports(arrayOf<CameraPort>(std::make_index_sequence<kPorts>(), [&](int port) {
          return CameraPort(index, port, m_open);
      })) {}

bool Board::open(int flags) {
    const std::lock_guard opening(m_opening);
    if (m_open != nullptr) {
        return true;
    }
    GigeCamera* open = init_gbe(index, flags);
    if (open == nullptr) {
        return false;
    }
    if (flags != kServiceMode && !(setPortAddresses(index, *open) && shareAddresses(index, *open))) {
        closeBoard(open);
        return false;
    }
    for (int port = 0; port < kPorts; ++port) {
        open->findPort(port)->setBoardIndex(index);
    }
    util::publishLinkCounters();
    m_open = open;
    return true;
}

void Board::close() {
    const std::lock_guard opening(m_opening);
    if (m_open != nullptr) {
        const std::lock_guard mdio(m_mdio);
        const HeldPort quiet[] = {
            HeldPort(m_ports[0]), HeldPort(m_ports[1]), HeldPort(m_ports[2]), HeldPort(m_ports[3])};
        closeBoard(m_open.exchange(nullptr));
    }
}

CameraPort* Board::findPort(int number) {
    return number >= 0 && number < kPorts ? &m_ports[static_cast<std::size_t>(number)] : nullptr;
}

int Board::discover(CameraPort& port, int value) {
    const HeldPort held(port);
    const PortClaim claim(port.boardIndex, port.number);
    if (!claim) {
        return kPortInUse;
    }
    const KeepCurrent kept(held);
    return held.board() != nullptr ? held.board()->Discover(port.number, value) : -1;
}

int Board::discover(int value) {
    const HeldPort held[] = {
        HeldPort(m_ports[0]), HeldPort(m_ports[1]), HeldPort(m_ports[2]), HeldPort(m_ports[3])};
    const KeepCurrent kept[] = {
        KeepCurrent(held[0]), KeepCurrent(held[1]), KeepCurrent(held[2]), KeepCurrent(held[3])};
    GigeCamera* open = held[0].board();
    if (open == nullptr) {
        return -1;
    }
    const PortClaim claims[] = {{index, 0}, {index, 1}, {index, 2}, {index, 3}};
    if (std::all_of(std::begin(claims), std::end(claims), [](const auto& claim) { return bool(claim); })) {
        return open->DiscoverAll(value);
    }
    for (int port = 0; port < kPorts; ++port) {
        if (claims[port]) {
            open->Discover(port, value);
        }
    }
    return 0;
}

Board* findBoard(int board) {
    return board >= 0 && board < kBoards ? &boards()[static_cast<std::size_t>(board)] : nullptr;
}

CameraPort* findPort(int board, int port) {
    Board* found = findBoard(board);
    return found != nullptr ? found->findPort(port) : nullptr;
}

} // namespace board
