// Accesses of the node tree to camera memory; the static members are in board_registry.cpp and
// description.cpp.
#include "board/GenICamPortWrapper.h"

#include "board/tables.h"
#include "protocol/bootstrap.h"
#include "util/exceptions.h"
#include "util/logging.h"
#include "util/qt_locks.h"

#include <QtCore/QDateTime>

#include <cstring>
#include <limits>

namespace {

constexpr long long kRegisterSize = 4;
constexpr long long kAddressSpace = 1LL << 32;

bool isInAddressSpace(long long address, long long length) {
    return address >= 0 && address < kAddressSpace && length >= 0 && length <= kAddressSpace - address &&
           length <= std::numeric_limits<unsigned>::max();
}

bool isWritable(long long length) {
    return length >= 0 && length <= GenICamPortWrapper::kMaxWrite && length % kRegisterSize == 0;
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
        if (length == kRegisterSize) {
            readRegister(board, port, buffer, static_cast<unsigned>(address));
        } else {
            readMemory(board, port, buffer, static_cast<unsigned>(address), static_cast<unsigned>(length));
        }
    });
}

void GenICamPortWrapper::write(unsigned char* buffer, long long address, long long length) {
    access(address, length, [&](GigeCamera& board, int port) {
        if (!isWritable(length)) {
            throw tavo::GicTransportLayerException();
        }
        if (length == kRegisterSize) {
            writeRegister(board, port, buffer, static_cast<unsigned>(address));
        } else {
            writeMemory(board, port, buffer, static_cast<unsigned>(address), static_cast<unsigned>(length));
        }
    });
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
