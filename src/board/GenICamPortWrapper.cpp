// Accesses of the node tree to camera memory; the static members are in board_registry.cpp and
// description.cpp.
#include "board/GenICamPortWrapper.h"

#include "board/tables.h"
#include "genicam/device/ImplGenICamCamera.h"
#include "liomol/exceptions.h"
#include "protocol/bootstrap.h"
#include "protocol/gvcp.h"
#include "util/logging.h"
#include "util/qt_locks.h"

#include <QtCore/QDateTime>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <limits>
#include <vector>

namespace {

constexpr long long kRegisterSize = 4;
constexpr long long kAddressSpace = 1LL << 32;

bool isInAddressSpace(long long address, long long length) {
    return address >= 0 && address < kAddressSpace && length >= 0 && length <= kAddressSpace - address &&
           length <= std::numeric_limits<unsigned>::max();
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

void refuseIfLost(const tavo::ImplGenICamCamera& device) {
    if (device.getControlLoss() != tavo::ControlLoss::None) {
        throw tavo::GicConnectionException();
    }
}

constexpr int kAccessDenied = static_cast<int>(gvcp::Status::AccessDenied);

// ReadMemory tells only that it failed.
bool isStatus(int result) {
    return result >= static_cast<int>(gvcp::Status::NotImplemented);
}

} // namespace

// Where an access goes, and what is learnt there about control of the camera. Under the port's mutex.
class GenICamPortWrapper::Place {
public:
    Place(int boardIndex, int portIndex, GigeCamera& open)
        : board(open), port(portIndex), m_boardIndex(boardIndex),
          m_control(board::tables().port(boardIndex, portIndex).control) {}

    void answered() { m_control.answered(Clock::now()); }

    // Throws when the failure shows that control is lost: nothing must be written to a camera then that has
    // restarted, or is somebody else's.
    void failed(int result) {
        if (!m_control.isOn()) {
            return;
        }
        m_somebodyHasControl = false;
        m_silent = result < 0;
        if (result == kAccessDenied || (m_silent && m_control.isOverdue(Clock::now()))) {
            m_somebodyHasControl = lookAtControl(m_boardIndex, port).holder == board::Holder::Somebody;
        } else if (isStatus(result)) {
            answered();
        }
        throwIfLost();
    }

    // A camera that was silent may have restarted. Taking control would hide that, so it is looked at first;
    // one that is silent still is left alone.
    void takeControl() {
        if (m_control.isOn() && m_silent) {
            int privilege = 0;
            if (board.ReadRegister(port, bootstrap::kControlChannelPrivilege, &privilege) != 0) {
                return;
            }
            if (privilege == static_cast<int>(bootstrap::kPrivilegeNone)) {
                lookAtControl(m_boardIndex, port);
                throwIfLost();
            }
        }
        const int result = board.WriteRegister(
            port, bootstrap::kControlChannelPrivilege, static_cast<int>(bootstrap::kPrivilegeControl));
        if (result >= 0) {
            answered();
        }
        if (result == kAccessDenied && m_somebodyHasControl) {
            m_control.controlRefused();
            throwIfLost();
        }
    }

    void heartbeatTimeoutWritten(unsigned timeout) {
        m_control.heartbeatTimeoutWritten(std::chrono::milliseconds(timeout));
    }

    GigeCamera& board;
    const int port;

private:
    using Clock = std::chrono::steady_clock;

    void throwIfLost() {
        if (controlLoss(m_boardIndex, port) != tavo::ControlLoss::None) {
            getDevice(m_boardIndex, port)->noteControlLoss(m_control.loss());
            throw tavo::GicConnectionException();
        }
    }

    int m_boardIndex;
    board::ControlWatch& m_control;
    bool m_somebodyHasControl = false;
    bool m_silent = false; // the last attempt had no answer
};

namespace {

// Runs `attempt` and, when its result is not 0, `recover` and `attempt` once more.
template<typename Place, typename Attempt, typename Recover>
void tryTwice(Place& place, AttemptLog& log, Attempt&& attempt, Recover&& recover) {
    for (int number = 1;; ++number) {
        const int result = attempt();
        if (result == 0) {
            place.answered();
            return;
        }
        log.failed(result, number);
        place.failed(result);
        if (number == 2) {
            throw tavo::GicTransportLayerException();
        }
        recover();
        log.sample();
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

// What every access does first; `work` runs under the port's mutex. A door that leads nowhere deliberately
// does nothing and reports nothing. A camera whose control is lost is refused before the mutex, which
// somebody may hold for seconds, and after it.
template<typename Access>
void GenICamPortWrapper::access(long long address, long long length, Access&& work) {
    const int board = m_board;
    const int port = m_port;
    if (!board::isBoard(board) || !board::isPort(port)) {
        return;
    }
    const tavo::ImplGenICamCamera* device = getDevice(board, port);
    if (device == nullptr) {
        throw tavo::GicTransportLayerException();
    }
    refuseIfLost(*device);
    const util::ScopedMutex lock(mutex(board, port));
    refuseIfLost(*device);
    GigeCamera* open = getBoard(board);
    if (open == nullptr || !isInAddressSpace(address, length)) {
        throw tavo::GicTransportLayerException();
    }
    Place place(board, port, *open);
    work(place);
}

void GenICamPortWrapper::read(unsigned char* buffer, long long address, long long length) {
    access(address, length, [&](Place& place) {
        const Range range{static_cast<unsigned>(address), static_cast<unsigned>(length)};
        needsWholeWords(range) ? readUnaligned(place, buffer, range) : readRange(place, buffer, range);
    });
}

void GenICamPortWrapper::readRange(Place& place, unsigned char* buffer, Range range) {
    if (range.length == kRegisterSize) {
        readRegister(place, buffer, range.address);
    } else {
        readMemory(place, buffer, range.address, range.length);
    }
}

void GenICamPortWrapper::write(unsigned char* buffer, long long address, long long length) {
    access(address, length, [&](Place& place) {
        if (length > kMaxWrite) {
            throw tavo::GicTransportLayerException();
        }
        const Range range{static_cast<unsigned>(address), static_cast<unsigned>(length)};
        needsWholeWords(range) ? writeUnaligned(place, buffer, range) : writeRange(place, buffer, range);
    });
}

void GenICamPortWrapper::writeRange(Place& place, const unsigned char* buffer, Range range) {
    if (range.length % kRegisterSize != 0) {
        throw tavo::GicTransportLayerException();
    }
    if (range.length == kRegisterSize) {
        writeRegister(place, buffer, range.address);
    } else {
        writeMemory(place, buffer, range.address, range.length);
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

void GenICamPortWrapper::readUnaligned(Place& place, unsigned char* buffer, Range range) {
    if (range.length == 0) {
        return;
    }
    const Range words = wordsAround(range);
    std::vector<unsigned char> bytes(words.length);
    readRange(place, bytes.data(), words);
    std::copy_n(bytes.begin() + (range.address - words.address), range.length, buffer);
}

// Only the first and the last word can be filled in part.
void GenICamPortWrapper::writeUnaligned(Place& place, const unsigned char* buffer, Range range) {
    if (range.length == 0) {
        return;
    }
    const Range words = wordsAround(range);
    std::vector<unsigned char> bytes(words.length);
    const unsigned before = range.address - words.address;
    const unsigned behind = words.length - before - range.length;
    const auto last = words.length - static_cast<unsigned>(kRegisterSize);
    if (before != 0) {
        readRegister(place, bytes.data(), words.address);
    }
    if (behind != 0 && (before == 0 || last != 0)) {
        readRegister(place, bytes.data() + last, words.address + last);
    }
    std::copy_n(buffer, range.length, bytes.begin() + before);
    for (unsigned done = 0; done < words.length; done += static_cast<unsigned>(kMaxWrite)) {
        const unsigned piece = std::min(words.length - done, static_cast<unsigned>(kMaxWrite));
        writeRange(place, bytes.data() + done, {words.address + done, piece});
    }
}

// A repeated read deliberately does not take control first; a repeated write does.
void GenICamPortWrapper::readRegister(Place& place, unsigned char* buffer, unsigned address) {
    AttemptLog log(place.board, place.port, address, kRegisterSize, true);
    int value = 0;
    tryTwice(
        place, log, [&] { return place.board.ReadRegister(place.port, address, &value); }, [] {});
    const auto bits = static_cast<unsigned>(value);
    for (int byte = 0; byte < kRegisterSize; ++byte) {
        buffer[byte] = static_cast<unsigned char>(bits >> (24 - 8 * byte));
    }
}

void GenICamPortWrapper::readMemory(Place& place, unsigned char* buffer, unsigned address, unsigned length) {
    AttemptLog log(place.board, place.port, address, length, true);
    unsigned short done = 0;
    const auto attempt = [&] {
        return place.board.ReadMemory(place.port, address, length, &done, reinterpret_cast<char*>(buffer));
    };
    tryTwice(place, log, attempt, [] {});
}

void GenICamPortWrapper::writeRegister(Place& place, const unsigned char* buffer, unsigned address) {
    unsigned bits = 0;
    for (int byte = 0; byte < kRegisterSize; ++byte) {
        bits = bits << 8 | buffer[byte];
    }
    AttemptLog log(place.board, place.port, address, kRegisterSize, false);
    tryTwice(
        place, log, [&] { return place.board.WriteRegister(place.port, address, static_cast<int>(bits)); },
        [&] { place.takeControl(); });
    if (address == bootstrap::kHeartbeatTimeout) {
        place.heartbeatTimeoutWritten(bits);
    }
}

void GenICamPortWrapper::writeMemory(
    Place& place, const unsigned char* buffer, unsigned address, unsigned length) {
    AttemptLog log(place.board, place.port, address, length, false);
    tryTwice(
        place, log, [&] { return place.board.WriteMemory(place.port, address, buffer, length); },
        [&] { place.takeControl(); });
}
