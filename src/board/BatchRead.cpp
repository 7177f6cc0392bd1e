#include "board/BatchRead.h"

#include "protocol/gvcp.h"
#include "transport/command_channel.h"
#include "transport/exchange.h"

#include <algorithm>
#include <array>
#include <vector>

namespace board {
namespace {

using Place = BatchRead::Place;

constexpr long long kWord = 4;
constexpr long long kBlock = gvcp::kMaxMemoryBlock;
constexpr long long kGranularity = 8; // a block of another size is read beyond its end

// Commands that bring nothing before the camera is taken for one that cannot do this.
constexpr unsigned kMostRefusals = 16;

bool isReadable(const Place& place) {
    return place.address >= 0 && place.length > 0 && place.length <= kBlock &&
           place.address <= kAddressSpace - place.length && place.address % kWord == 0 &&
           place.length % kWord == 0;
}

bool isWord(const Place& place) {
    return place.length == kWord && isReadable(place);
}

std::size_t countWords(std::span<const Place> places) {
    const auto end = std::ranges::find_if_not(places, isWord);
    return std::min<std::size_t>(static_cast<std::size_t>(end - places.begin()), gvcp::kMaxRegisters);
}

// How many places from the first on lie behind each other and can be read as one block.
std::size_t countNeighbours(std::span<const Place> places) {
    long long length = places[0].length;
    std::size_t best = 1;
    for (std::size_t i = 1; i < places.size() && length < kBlock; ++i) {
        const bool follows = isReadable(places[i]) && places[i].address == places[0].address + length;
        length += places[i].length;
        if (!follows || length > kBlock) {
            break;
        }
        best = length % kGranularity == 0 ? i + 1 : best;
    }
    return best;
}

} // namespace

bool BatchRead::run(Places places) {
    while (m_goesOn && !places.empty()) {
        std::size_t count = 1;
        if (!isReadable(places[0])) {
            places = places.subspan(1);
            continue;
        }
        if (m_concatenates && isWord(places[0])) {
            count = countWords(places);
            readRegisters(places.first(count));
        } else {
            count = countNeighbours(places);
            readBlock(places.first(count));
        }
        places = places.subspan(count);
    }
    return m_goesOn;
}

// A camera stops at the first register that it cannot read. One that does not say which it was is asked for
// halves.
void BatchRead::readRegisters(Places words) {
    std::vector<Places> open{words}; // the first ones last
    while (m_goesOn && !open.empty()) {
        const Places now = open.back();
        open.pop_back();
        if (!m_concatenates) {
            run(now);
            continue;
        }
        const std::size_t done = readWithOneCommand(now);
        if (done == 0 && now.size() > 1) {
            open.push_back(now.subspan(now.size() / 2));
            open.push_back(now.first(now.size() / 2));
        } else if (done + 1 < now.size()) {
            open.push_back(now.subspan(done + 1));
        }
    }
}

std::size_t BatchRead::readWithOneCommand(Places words) {
    std::array<std::uint32_t, gvcp::kMaxRegisters> addresses;
    std::array<std::uint32_t, gvcp::kMaxRegisters> values;
    std::ranges::transform(words, addresses.begin(), [](const Place& place) {
        return static_cast<std::uint32_t>(place.address);
    });
    std::size_t done = 0;
    const int result =
        transport::readRegisters(m_port, {addresses.data(), words.size()}, values.data(), done);
    for (std::size_t i = 0; i < done; ++i) {
        for (unsigned byte = 0; byte < kWord; ++byte) {
            words[i].buffer[byte] = static_cast<unsigned char>(values[i] >> (24 - 8 * byte));
        }
        words[i].isRead = true;
    }
    m_refusals += result > 0 && done == 0 ? 1 : 0;
    if (words.size() > 1 && (result < 0 || m_refusals > kMostRefusals)) {
        m_concatenates = false;
    }
    m_goesOn = result >= 0 && m_refusals <= 2 * kMostRefusals;
    ended(result);
    return done;
}

void BatchRead::readBlock(Places neighbours) {
    if (neighbours.size() == 1) {
        isWord(neighbours[0]) ? void(readWithOneCommand(neighbours)) : void(readMemory(neighbours[0]));
        return;
    }
    std::array<unsigned char, kBlock> bytes;
    Place block{bytes.data(), neighbours[0].address, 0, false};
    for (const Place& place : neighbours) {
        block.length += place.length;
    }
    if (!readMemory(block)) {
        return;
    }
    for (Place& place : neighbours) {
        std::copy_n(bytes.data() + (place.address - block.address), place.length, place.buffer);
        place.isRead = true;
    }
}

bool BatchRead::readMemory(Place& place) {
    const int result = transport::readMemory(
        m_port, static_cast<unsigned>(place.address), static_cast<unsigned>(place.length), nullptr,
        reinterpret_cast<char*>(place.buffer));
    place.isRead = result == 0;
    m_refusals += result != 0 ? 1 : 0;
    m_goesOn = m_refusals <= kMostRefusals;
    ended(result);
    return place.isRead;
}

// Each answer gives the time of an access anew; when it is over, the camera does not answer.
void BatchRead::ended(int result) {
    transport::Access access(m_port);
    m_tell(result);
    if (result == 0) {
        access.begin();
        transport::beatIfDue(m_port);
    }
    m_goesOn = m_goesOn && m_port.now() < access.time().end();
}

} // namespace board
