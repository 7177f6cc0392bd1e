#include "Desk.h"

#include "link_report/link_report.h"

#include <algorithm>
#include <cstdio>

namespace gbe_service {
namespace {

using Phase = BoardWorker::Phase;

constexpr const char* kDone = "200 OK\n";
constexpr const char* kNoSuchPort = "510 no such port\n";
constexpr const char* kNoPortToOpen = "410 no such port\n";

QByteArray cannotOpen(unsigned board) {
    return "510 board " + QByteArray::number(board) + " cannot be opened\n";
}

QByteArray line(const std::string& text) {
    return QByteArray::fromStdString(text) + '\n';
}

} // namespace

Desk::Desk(Settings settings, AddressBook addresses, const std::function<void()>& changed)
    : m_settings(std::move(settings)), m_addresses(std::move(addresses)) {
    const bool expected = !m_settings.boards.empty();
    for (unsigned board = 0; board < kBoards; ++board) {
        const auto& listed = m_settings.boards;
        if (!expected || std::find(listed.begin(), listed.end(), board) != listed.end()) {
            m_boards.push_back(std::make_unique<BoardWorker>(board, expected, changed));
        }
    }
}

std::optional<QByteArray> Desk::answer(const Request& request, Ticket& ticket) {
    switch (request.kind) {
    case RequestKind::Rescan:
        return rescan(request, ticket);
    case RequestKind::Configure:
        return configure(request);
    case RequestKind::CountBoards:
        return countBoards();
    case RequestKind::Status:
        return status(request);
    case RequestKind::OpenPort:
        return openPort(*request.board, *request.port);
    case RequestKind::OpenMac:
        return openMac(request.text);
    case RequestKind::Keep:
        break;
    }
    return QByteArray();
}

bool Desk::stop() {
    const auto deadline = std::chrono::steady_clock::now() + kStopLimit;
    for (const auto& board : m_boards) {
        board->requestStop();
    }
    bool all = true;
    for (const auto& board : m_boards) {
        const BoardWorker::End end = board->waitForEnd(deadline);
        all = all && end == BoardWorker::End::Ended;
        if (end == BoardWorker::End::Stuck) {
            std::fprintf(
                stderr, "gbe-service: board %u does not come to an end; left as it is\n", board->board());
        }
    }
    return all;
}

BoardWorker* Desk::find(std::optional<unsigned> board) const {
    const auto found = std::find_if(
        m_boards.begin(), m_boards.end(), [&](const auto& each) { return each->board() == board; });
    return found != m_boards.end() ? found->get() : nullptr;
}

// Asks once, then waits for the looks asked for.
std::optional<QByteArray> Desk::rescan(const Request& request, Ticket& ticket) {
    const BoardWorker* named = find(request.board);
    if ((request.board && named == nullptr) || (request.port && *request.port >= kPorts)) {
        return kNoSuchPort;
    }
    if (ticket.looks.empty()) {
        for (const auto& board : m_boards) {
            if (!request.board || board.get() == named) {
                ticket.looks[board.get()] = board->requestLook(request.port);
            }
        }
    }
    for (const auto& [board, number] : ticket.looks) {
        if (board->view().looks < number) {
            return std::nullopt;
        }
    }
    return named != nullptr && named->view().phase == Phase::Absent ? cannotOpen(named->board())
                                                                    : QByteArray(kDone);
}

std::optional<QByteArray> Desk::configure(const Request& request) {
    if (find(request.board) == nullptr || *request.port >= kPorts) {
        return kNoSuchPort;
    }
    if (m_settings.ips.count({*request.board, *request.port}) != 0) {
        return "510 the configuration file gives this port's address\n";
    }
    if (!parsePortIp(request.text)) {
        return "510 not an IPv4 address of a station\n";
    }
    std::string error;
    if (!m_addresses.set({*request.board, *request.port}, request.text, error)) {
        std::fprintf(stderr, "gbe-service: %s\n", error.c_str());
        return "510 the address cannot be kept\n";
    }
    return kDone;
}

std::optional<QByteArray> Desk::countBoards() const {
    int count = 0;
    for (const auto& board : m_boards) {
        const Phase phase = board->view().phase;
        if (phase == Phase::Opening) {
            return std::nullopt;
        }
        count += phase == Phase::Open ? 1 : 0;
    }
    return line("200-" + std::to_string(count)) + kDone;
}

std::optional<QByteArray> Desk::status(const Request& request) const {
    const BoardWorker* board = find(request.board);
    if (board == nullptr || *request.port >= kPorts) {
        return kNoSuchPort;
    }
    const BoardWorker::View view = board->view();
    const std::optional<bool> up = view.linkUp[*request.port];
    if (view.phase == Phase::Absent) {
        return cannotOpen(board->board());
    }
    if (!up) {
        return std::nullopt;
    }
    const std::string prefix = "200-PORT " + std::to_string(*request.port) + " ";
    const std::optional<PortIp> ip = ipOf({*request.board, *request.port});
    return line(prefix + "MAC " + macOf(*board, *request.port).text()) +
           line(prefix + (*up ? "up" : "down")) +
           (ip ? line(prefix + "IP " + ip->ip.text()) + line(prefix + "MASK " + ip->mask.text())
               : QByteArray()) +
           kDone;
}

Mac Desk::macOf(const BoardWorker& board, unsigned port) const {
    return m_settings.mac(board.board(), port, board.view().interfaceMacs[port]);
}

// The configuration file's word counts; nothing when the port keeps the address that it has of itself.
std::optional<PortIp> Desk::ipOf(PortKey port) const {
    const auto configured = m_settings.ips.find(port);
    return configured != m_settings.ips.end() ? std::optional(configured->second) : m_addresses.ip(port);
}

std::optional<QByteArray> Desk::openPort(unsigned number, unsigned port) const {
    const BoardWorker* board = find(number);
    if (board == nullptr || port >= kPorts) {
        return kNoPortToOpen;
    }
    switch (board->view().phase) {
    case Phase::Opening:
        return std::nullopt;
    case Phase::Absent:
        return cannotOpen(number);
    case Phase::Open:
        break;
    }
    return line(
               "200-BOARD " + std::to_string(number) + " PORT " + std::to_string(port) + " MAC " +
               macOf(*board, port).text()) +
           kDone;
}

std::optional<QByteArray> Desk::openMac(const std::string& text) const {
    const std::optional<Mac> mac = Mac::parse(text);
    if (!mac) {
        return "510 not a MAC address\n";
    }
    for (const auto& board : m_boards) {
        for (unsigned port = 0; port < kPorts; ++port) {
            if (macOf(*board, port) == *mac) {
                return openPort(board->board(), port);
            }
        }
    }
    return "410 no port has this MAC address\n";
}

// The source address is the port's own, whatever the process says.
std::optional<QByteArray> Desk::keep(const Request& request, int socket, std::shared_ptr<Keep>& place) {
    const BoardWorker* board = find(request.board);
    if (board == nullptr || *request.port >= kPorts) {
        return kNoSuchPort;
    }
    switch (board->view().phase) {
    case Phase::Opening:
        return std::nullopt;
    case Phase::Absent:
        return cannotOpen(board->board());
    case Phase::Open:
        break;
    }
    const std::string refusal = beginKeep(request, macOf(*board, *request.port), socket, place);
    return refusal.empty() ? QByteArray(kDone) : line("510 " + refusal);
}

std::string
Desk::beginKeep(const Request& request, const Mac& mac, int socket, std::shared_ptr<Keep>& place) {
    const std::optional<Peer> peer = Peer::of(socket);
    std::string error = place   ? "this connection keeps control already"
                        : !peer ? "the process is not to be seen from here"
                                : whyNoKeep(request.keep);
    error = error.empty() ? whyNoMore(*peer) : error;
    if (!error.empty()) {
        return error;
    }
    const auto link = link_report::ofPort(static_cast<int>(*request.board), *request.port);
    if (!link) {
        return "this port is not a network interface";
    }
    place = Keep::begin(*peer, request.keep, mac, link->interface, error);
    if (place) {
        m_keeps.push_back(place);
    }
    return error;
}

std::string Desk::whyNoMore(const Peer& peer) {
    m_keeps.erase(
        std::remove_if(m_keeps.begin(), m_keeps.end(), [](const auto& each) { return each.expired(); }),
        m_keeps.end());
    const auto own = std::count_if(m_keeps.begin(), m_keeps.end(), [&](const auto& each) {
        const std::shared_ptr<Keep> keep = each.lock();
        return keep && keep->peer().id() == peer.id();
    });
    const bool isFull = m_keeps.size() >= kMaxKeeps || own >= kMaxKeepsOfOne;
    return isFull ? "control of too many cameras is kept already" : "";
}

} // namespace gbe_service
