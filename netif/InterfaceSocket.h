// A packet socket that belongs to whatever network interface bears a name, made here or borrowed.
#pragma once

#include "netif/filter.h"
#include "netif/interface.h"

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace netif {

using Clock = std::chrono::steady_clock;

// The interface is found by its name, whenever there is one of that name: it may be missing at first, be
// switched off, removed and made again. Frames that this host sends on it are not received. Any thread may
// call anything.
class InterfaceSocket {
public:
    // How long a reader may sleep while it is away.
    static constexpr std::chrono::milliseconds kJoinInterval{20};

    // Hears nothing until somebody says what. Not bound yet: join() does it, once the socket is what it shall
    // be. Null, and one sentence in `error` (with its errno value in `code`), when the right is missing or
    // the name is none. An interface that is not there is no failure.
    //
    // Who `mayBorrow` needs no right where a lender is installed (lending.h); such a one says by hear() alone
    // what is to come in.
    static std::unique_ptr<InterfaceSocket>
    create(const std::string& interface, bool everyStation, bool mayBorrow, std::string& error, int& code);

    ~InterfaceSocket();
    InterfaceSocket(const InterfaceSocket&) = delete;
    InterfaceSocket& operator=(const InterfaceSocket&) = delete;

    const std::string& interface() const { return m_name; }
    // The same number for ever. Behind it a borrowed socket is exchanged for another by hear() and join().
    int file() const { return m_socket; }
    unsigned exchanges() const { return m_exchanges; } // so far

    // Whether frames can come. While they cannot, the interface is looked for from time to time.
    bool alive();
    // Looks for the interface now, and tells whether frames can come: after an error that meansAway().
    bool join();
    static bool meansAway(int error);

    // Takes effect at once, but for frames that have come in already.
    void setFilter(const Filter& filter);
    // The same; in a borrowed socket what has come in and not been read is lost when the traffic is another,
    // and who sleeps in it has to be woken. 0, or the errno value of a lender that does not give it (Loan):
    // the socket then hears what it did, and asks again from time to time.
    int hear(const Traffic& traffic);

    // Frames to this address are taken in too: the interface is promiscuous while it is not its own.
    void setStation(const Mac& mac);

    // Looked up, and kept for some milliseconds.
    bool carrier();
    // The same of a state that was looked up just now.
    bool follow(const InterfaceState& state);
    InterfaceState state() const { return queryInterface(m_name, m_socket); }

private:
    InterfaceSocket(std::string name, int socket, bool everyStation, bool lent);

    void prepare() const;
    void joinLocked();
    bool listens() const { return !m_lent || m_traffic.kind != Traffic::Kind::Nothing; }
    bool borrowLocked(int index);
    void followLocked(const InterfaceState& state);
    void applyPromiscuous(const InterfaceState& state, bool anew);

    const std::string m_name;
    const int m_socket;
    const bool m_everyStation;
    const bool m_lent;
    std::atomic<unsigned> m_exchanges{0};

    std::mutex m_mutex; // guards what follows
    int m_index = 0;    // of the interface that the socket was bound to last; 0: none
    bool m_on = false;  // the interface was there and switched on when it was looked at last
    Clock::time_point m_nextJoin{};
    std::optional<Mac> m_station;
    bool m_promiscuous = false; // on the interface of m_index
    Clock::time_point m_carrierUntil{};
    bool m_carrier = false;
    Traffic m_traffic; // that a borrowed socket is to hear
    Traffic m_lentFor; // that it was lent for, on the interface of this index
    int m_lentIndex = 0;
    int m_refusal = 0; // errno value of the last loan
};

} // namespace netif
