// Answers requests from what the boards' threads have seen and the files have said. One thread.
#pragma once

#include "BoardWorker.h"
#include "Keep.h"
#include "Request.h"
#include "Settings.h"

#include <QtCore/QByteArray>

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace gbe_service {

// What a request that waits has asked for: empty at first, and the same from one try to the next.
struct Ticket {
    std::map<const BoardWorker*, std::uint64_t> looks;
};

class Desk {
public:
    // `changed` is called by the boards' threads whenever a request that waits is worth another try.
    Desk(Settings settings, AddressBook addresses, const std::function<void()>& changed);

    // The lines of the reply, each with its end; nothing while the request must wait for a board.
    std::optional<QByteArray> answer(const Request& request, Ticket& ticket);

    // The same for KEEP, which only its own connection can ask for. A good end puts the keep in place: it
    // lasts as long as somebody holds it.
    std::optional<QByteArray> keep(const Request& request, int socket, std::shared_ptr<Keep>& place);

    // Closes the boards; false when one of them is being opened or does not end in time (told on standard
    // error): the process must be ended hard.
    bool stop();

private:
    using Reply = std::optional<QByteArray>;

    BoardWorker* find(std::optional<unsigned> board) const;
    Reply rescan(const Request& request, Ticket& ticket);
    Reply configure(const Request& request);
    Reply countBoards() const;
    Reply status(const Request& request) const;
    Mac macOf(const BoardWorker& board, unsigned port) const;
    std::optional<PortIp> ipOf(PortKey port) const;
    Reply openPort(unsigned board, unsigned port) const;
    Reply openMac(const std::string& text) const;
    std::string whyNoMore(const Peer& peer);
    std::string beginKeep(const Request& request, const Mac& mac, int socket, std::shared_ptr<Keep>& place);

    Settings m_settings;
    AddressBook m_addresses;
    std::vector<std::unique_ptr<BoardWorker>> m_boards;
    std::vector<std::weak_ptr<Keep>> m_keeps;
};

} // namespace gbe_service
