// The search for the largest packet that passes on the way from a camera, by test packets. A value machine:
// it says which sizes to try next, and is told what has arrived. One thread at a time.
//
// The usual size goes first, and tells how long a test packet takes; then the largest; then rounds of several
// sizes at once between what arrives and what does not.
#pragma once

#include <vector>

namespace streaming {

class PacketSizeSearch {
public:
    static constexpr unsigned kUsual = 1500; // what every Ethernet carries
    static constexpr unsigned kLeast = 576;  // what every host takes
    static constexpr unsigned kStep = 4;     // to which cameras round
    static constexpr unsigned kAtOnce = 16;  // sizes of a round

    // `most`: bytes, all headers included, as is every size here.
    explicit PacketSizeSearch(unsigned most);

    // Ascending; empty when the search is over.
    std::vector<unsigned> next() const;
    // The largest that has arrived of all, when a round is over; 0 when none has.
    void arrived(unsigned largest);

    // 0 when none has arrived.
    unsigned best() const { return m_best; }

private:
    enum class Round { Usual, Most, Between };

    std::vector<unsigned> between() const;

    unsigned m_most;
    unsigned m_best = 0;
    unsigned m_tooLarge; // the smallest that did not arrive
    Round m_round = Round::Usual;
};

} // namespace streaming
