// Reads ahead what the next accesses of many nodes need, many registers at once.
#pragma once

#include "genicam/nodes/RegisterBytes.h"

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <unordered_map>
#include <vector>

namespace tavo {

class GenICamBatchReadInterface;
class GenICamPortInterface;
class ImplGenICamNode;
class ImplGenICamRegister;
class NodeHost;

// Each node is asked what its users ask: its states, value and limits. An access that comes to a register
// that has to be read goes no further: the register is noted, all that were noted are read at once, and the
// access is tried again. So addresses and conditions come before what depends on them, and nothing is read,
// checked or refused that an access by itself would not read, check or refuse.
//
// What must be read at each access, what is longer than kLongestReadAhead, and what the port could not read
// is left to the access that needs it. One thread uses a Prefetch; it takes the device's lock for each round.
class Prefetch {
public:
    explicit Prefetch(NodeHost& host) : m_host(host) {}

    void add(ImplGenICamNode& node);
    // Without its limits and the states of its entries.
    void addValue(ImplGenICamNode& node);
    // Throws what the port throws, which stands against every access.
    void run();

    // For registers: one needs to be read, `content` being empty bytes of its length. Ends the access, with
    // what is no failure of it; returns when it is the register's value that is asked for, on which nothing
    // depends.
    void defer(
        ImplGenICamRegister& needed, GenICamPortInterface* port, std::int64_t address, RegisterBytes content);

private:
    using Ask = void (*)(ImplGenICamNode&);
    struct Question {
        ImplGenICamNode* node;
        Ask ask;
        const ImplGenICamRegister* content; // the node, when it is a register asked for its value
    };
    using Questions = std::vector<Question>;
    struct Want {
        ImplGenICamRegister* needed;
        GenICamPortInterface* port;
        std::int64_t address;
        RegisterBytes content;
        bool isRead;
    };
    struct Reads {
        unsigned times = 0;
        unsigned round = 0; // the latest one that notes it
    };
    struct Deferred {};

    void ask(ImplGenICamNode& node, std::initializer_list<Ask> asks);
    bool settle(Questions& questions);
    void askAll(Questions& questions);
    bool isAnswered(const Question& question);
    bool read();
    static bool readFrom(GenICamPortInterface* port, Want* first, Want* end);
    void take();

    NodeHost& m_host;
    Questions m_contents;                         // come first: most others need no second attempt then
    Questions m_questions;                        // without an answer
    const ImplGenICamRegister* m_asked = nullptr; // for its value
    std::vector<Want> m_wants;                    // of this round
    std::unordered_map<const ImplGenICamRegister*, Reads> m_reads;
    unsigned m_round = 0;
    bool m_waits = false; // the access that has ended may go further in the next round
};

} // namespace tavo
