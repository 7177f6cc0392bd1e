// Accesses of the node tree to camera memory; the static members are in board_registry.cpp and
// description.cpp.
#include "board/GenICamPortWrapper.h"

#include "board/tables.h"
#include "genicam/ImplGenICamCamera.h"
#include "protocol/bootstrap.h"
#include "util/exceptions.h"
#include "util/logging.h"
#include "util/qt_locks.h"

#include <QtCore/QDateTime>

#include <algorithm>
#include <limits>
#include <vector>

namespace {

constexpr long long kRegisterSize = 4;
constexpr long long kAddressSpace = 1LL << 32;

bool isInAddressSpace(long long address, long long length) {
    return address >= 0 && address < kAddressSpace && length >= 0 && length <= kAddressSpace - address &&
           length <= std::numeric_limits<unsigned>::max();
}

void takeControl(GigeCamera& board, int port) {
    board.WriteRegister(
        port, bootstrap::kControlChannelPrivilege, static_cast<int>(bootstrap::kPrivilegeControl));
}

// Tells the diagnostic hook of a failed attempt. The counters are sampled for register accesses only.
class AttemptLog {
public:
    AttemptLog(GigeCamera& board, int port, unsigned address, unsigned length, bool isRead)
        : m_board(board), m_port(port), m_address(address), m_length(length), m_isRead(isRead),
          m_samples(length == kRegisterSize) {
        sample();
    }

    void sample() {
        m_beforeTime = QDateTime::currentDateTimeUtc();
        m_before = counters();
    }

    void failed(int result, int attempt) {
        log_transport_layer_exception(
            m_port, m_address, m_length, m_isRead, result, attempt, m_before, counters(), m_beforeTime,
            QDateTime::currentDateTimeUtc());
    }

private:
    PacketCounters counters() { return m_samples ? m_board.readPacketCounters(m_port) : PacketCounters{}; }

    GigeCamera& m_board;
    int m_port;
    unsigned m_address;
    unsigned m_length;
    bool m_isRead;
    bool m_samples;
    PacketCounters m_before;
    QDateTime m_beforeTime;
};

// Runs `attempt` and, when its result is not 0, `recover` and `attempt` once more.
template<typename Attempt, typename Recover>
void tryTwice(AttemptLog& log, Attempt&& attempt, Recover&& recover) {
    int result = attempt();
    if (result == 0) {
        return;
    }
    log.failed(result, 1);
    recover();
    log.sample();
    result = attempt();
    if (result != 0) {
        log.failed(result, 2);
        throw tavo::GicTransportLayerException();
    }
}

} // namespace

GenICamPortWrapper::GenICamPortWrapper(tavo::ImplGenICamCamera* device)
    : GenICamPortWrapper(-1, -1, device) {}

GenICamPortWrapper::GenICamPortWrapper(int board, int port, tavo::ImplGenICamCamera* device)
    : m_board(board), m_port(port), m_device(device) {}

void GenICamPortWrapper::setConnection(int board, int port, unsigned int) {
    m_board = board;
    m_port = port;
}

// What every access does first; `work` gets the open board and the port, under the port's mutex. A door that
// leads nowhere deliberately does nothing and reports nothing.
template<typename Access>
void GenICamPortWrapper::access(long long address, long long length, Access&& work) {
    const int board = m_board;
    const int port = m_port;
    if (!board::isBoard(board) || !board::isPort(port)) {
        return;
    }
    if (getDevice(board, port) == nullptr) {
        throw tavo::GicTransportLayerException();
    }
    const util::ScopedMutex lock(mutex(board, port));
    GigeCamera* open = getBoard(board);
    if (open == nullptr || !isInAddressSpace(address, length)) {
        throw tavo::GicTransportLayerException();
    }
    work(*open, port);
}

void GenICamPortWrapper::read(unsigned char* buffer, long long address, long long length) {
    access(address, length, [&](GigeCamera& board, int port) {
        const Range range{static_cast<unsigned>(address), static_cast<unsigned>(length)};
        needsWholeWords(range) ? readUnaligned(board, port, buffer, range)
                               : readRange(board, port, buffer, range);
    });
}

void GenICamPortWrapper::readRange(GigeCamera& board, int port, unsigned char* buffer, Range range) {
    if (range.length == kRegisterSize) {
        readRegister(board, port, buffer, range.address);
    } else {
        readMemory(board, port, buffer, range.address, range.length);
    }
}

void GenICamPortWrapper::write(unsigned char* buffer, long long address, long long length) {
    access(address, length, [&](GigeCamera& board, int port) {
        if (length > kMaxWrite) {
            throw tavo::GicTransportLayerException();
        }
        const Range range{static_cast<unsigned>(address), static_cast<unsigned>(length)};
        needsWholeWords(range) ? writeUnaligned(board, port, buffer, range)
                               : writeRange(board, port, buffer, range);
    });
}

void GenICamPortWrapper::writeRange(GigeCamera& board, int port, const unsigned char* buffer, Range range) {
    if (range.length % kRegisterSize != 0) {
        throw tavo::GicTransportLayerException();
    }
    if (range.length == kRegisterSize) {
        writeRegister(board, port, buffer, range.address);
    } else {
        writeMemory(board, port, buffer, range.address, range.length);
    }
}

// Asks the device only about ranges that are not made of words: all others may come at any time, also while
// the device's behaviour is being switched.
bool GenICamPortWrapper::needsWholeWords(const Range& range) const {
    const bool isWords = range.address % kRegisterSize == 0 && range.length % kRegisterSize == 0;
    return !isWords && m_device != nullptr && !m_device->quirks().unalignedWrites;
}

GenICamPortWrapper::Range GenICamPortWrapper::wordsAround(const Range& range) {
    constexpr long long mask = ~(kRegisterSize - 1);
    const long long begin = range.address & mask;
    const long long end = (static_cast<long long>(range.address) + range.length + kRegisterSize - 1) & mask;
    if (end - begin > std::numeric_limits<unsigned>::max()) {
        throw tavo::GicTransportLayerException();
    }
    return {static_cast<unsigned>(begin), static_cast<unsigned>(end - begin)};
}

void GenICamPortWrapper::readUnaligned(GigeCamera& board, int port, unsigned char* buffer, Range range) {
    if (range.length == 0) {
        return;
    }
    const Range words = wordsAround(range);
    std::vector<unsigned char> bytes(words.length);
    readRange(board, port, bytes.data(), words);
    std::copy_n(bytes.begin() + (range.address - words.address), range.length, buffer);
}

// Only the first and the last word can be filled in part.
void GenICamPortWrapper::writeUnaligned(
    GigeCamera& board, int port, const unsigned char* buffer, Range range) {
    if (range.length == 0) {
        return;
    }
    const Range words = wordsAround(range);
    std::vector<unsigned char> bytes(words.length);
    const unsigned before = range.address - words.address;
    const unsigned behind = words.length - before - range.length;
    const auto last = words.length - static_cast<unsigned>(kRegisterSize);
    if (before != 0) {
        readRegister(board, port, bytes.data(), words.address);
    }
    if (behind != 0 && (before == 0 || last != 0)) {
        readRegister(board, port, bytes.data() + last, words.address + last);
    }
    std::copy_n(buffer, range.length, bytes.begin() + before);
    for (unsigned done = 0; done < words.length; done += static_cast<unsigned>(kMaxWrite)) {
        const unsigned piece = std::min(words.length - done, static_cast<unsigned>(kMaxWrite));
        writeRange(board, port, bytes.data() + done, {words.address + done, piece});
    }
}

// A repeated read deliberately does not take control first; a repeated write does.
void GenICamPortWrapper::readRegister(GigeCamera& board, int port, unsigned char* buffer, unsigned address) {
    AttemptLog log(board, port, address, kRegisterSize, true);
    int value = 0;
    tryTwice(
        log, [&] { return board.ReadRegister(port, address, &value); }, [] {});
    const auto bits = static_cast<unsigned>(value);
    for (int byte = 0; byte < kRegisterSize; ++byte) {
        buffer[byte] = static_cast<unsigned char>(bits >> (24 - 8 * byte));
    }
}

void GenICamPortWrapper::readMemory(
    GigeCamera& board, int port, unsigned char* buffer, unsigned address, unsigned length) {
    AttemptLog log(board, port, address, length, true);
    unsigned short done = 0;
    const auto attempt = [&] {
        return board.ReadMemory(port, address, length, &done, reinterpret_cast<char*>(buffer));
    };
    tryTwice(log, attempt, [] {});
}

void GenICamPortWrapper::writeRegister(
    GigeCamera& board, int port, const unsigned char* buffer, unsigned address) {
    unsigned bits = 0;
    for (int byte = 0; byte < kRegisterSize; ++byte) {
        bits = bits << 8 | buffer[byte];
    }
    AttemptLog log(board, port, address, kRegisterSize, false);
    tryTwice(
        log, [&] { return board.WriteRegister(port, address, static_cast<int>(bits)); },
        [&] { takeControl(board, port); });
}

void GenICamPortWrapper::writeMemory(
    GigeCamera& board, int port, const unsigned char* buffer, unsigned address, unsigned length) {
    AttemptLog log(board, port, address, length, false);
    tryTwice(
        log, [&] { return board.WriteMemory(port, address, buffer, length); },
        [&] { takeControl(board, port); });
}
