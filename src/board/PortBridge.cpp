#include "board/PortBridge.h"

#include "board/BatchRead.h"
#include "board/Board.h"
#include "board/control.h"
#include "board/failures.h"
#include "genicam/device/ImplGenICamCamera.h"
#include "liomol/exceptions.h"
#include "protocol/bootstrap.h"
#include "protocol/gvcp.h"
#include "transport/command_channel.h"
#include "transport/exchange.h"
#include "transport/stream_setup.h"
#include "util/error_detail.h"
#include "util/logging.h"

#include <QtCore/QDateTime>

#include <algorithm>
#include <chrono>
#include <limits>
#include <vector>

namespace board {
namespace {

constexpr long long kRegisterSize = 4;

bool isInAddressSpace(long long address, long long length) {
    return address >= 0 && address < kAddressSpace && length >= 0 && length <= kAddressSpace - address &&
           length <= std::numeric_limits<unsigned>::max();
}

// Tells the diagnostic hook of a failed attempt. The counters are sampled for register accesses only.
class AttemptLog {
public:
    AttemptLog(transport::Port& port, unsigned address, unsigned length, bool isRead)
        : m_port(port), m_address(address), m_length(length), m_isRead(isRead),
          m_samples(length == kRegisterSize) {
        sample();
    }

    void sample() {
        m_beforeTime = QDateTime::currentDateTimeUtc();
        m_before = counters();
    }

    // GicTransportLayerException, after the last attempt.
    [[noreturn]] void fail(int result) const {
        util::fail<tavo::GicTransportLayerException>([&] {
            const bool isBlock = m_isRead && !m_samples;
            return accessSentence(
                m_isRead, m_address, m_length, isBlock ? m_port.arrears().lastBlock : result);
        });
    }

    void failed(int result, int attempt) {
        log_transport_layer_exception(
            m_port.index(), m_address, m_length, m_isRead, result, attempt, m_before, counters(),
            m_beforeTime, QDateTime::currentDateTimeUtc());
    }

private:
    PacketCounters counters() { return m_samples ? transport::readPacketCounters(m_port) : PacketCounters{}; }

    transport::Port& m_port;
    unsigned m_address;
    unsigned m_length;
    bool m_isRead;
    bool m_samples;
    PacketCounters m_before;
    QDateTime m_beforeTime;
};

// An access that cannot be carried out; `why` says what is wrong with it.
[[noreturn]] void failBefore(const char* why) {
    util::fail<tavo::GicTransportLayerException>([why] { return std::string(why); });
}

void refuseIfLost(const Device& device) {
    if (device.getControlLoss() != tavo::ControlLoss::None) {
        failAsLost(device);
    }
}

constexpr int kAccessDenied = static_cast<int>(gvcp::Status::AccessDenied);

// ReadMemory tells only that it failed.
bool isStatus(int result) {
    return result >= static_cast<int>(gvcp::Status::NotImplemented);
}

} // namespace

// An access under way on the port, and what is learnt there about control of the camera.
class PortBridge::Visit {
public:
    Visit(const HeldPort& held, Device& device)
        : port(*held.port()), m_access(port), m_held(held), m_device(device), m_control(held.control()) {}

    bool isReadOnly() const { return m_held.terms().readOnly; }

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
            m_somebodyHasControl = lookAtControl(m_held).holder == Holder::Somebody;
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
            if (transport::readRegister(port, bootstrap::kControlChannelPrivilege, &privilege) != 0) {
                return;
            }
            if (privilege == static_cast<int>(bootstrap::kPrivilegeNone)) {
                lookAtControl(m_held);
                throwIfLost();
            }
        }
        const int result = transport::writeRegister(
            port, bootstrap::kControlChannelPrivilege, static_cast<int>(m_held.terms().privilege()));
        if (result >= 0) {
            answered();
        }
        if (result == kAccessDenied && m_somebodyHasControl) {
            m_control.controlRefused();
            throwIfLost();
        }
    }

    // A heartbeat, or its like. Some cameras count only reads of the privilege, which also tell of a loss
    // that no access would notice.
    void heartbeatTimeoutWritten(unsigned timeout) {
        m_control.heartbeatTimeoutWritten(std::chrono::milliseconds(timeout));
        port.counters()[util::Figure::Heartbeats].add();
        port.counters()[util::Figure::HeartbeatMoment].set(port.counters()[util::Figure::AnswerMoment].get());
        if (port.beat()) {
            port.beat()->value = timeout;
            port.beat()->last = port.now();
        }
        int privilege = 0;
        if (m_control.isOn() && m_control.loss() == tavo::ControlLoss::None &&
            transport::readRegister(port, bootstrap::kControlChannelPrivilege, &privilege) == 0 &&
            privilege == static_cast<int>(bootstrap::kPrivilegeNone)) {
            lookAtControl(m_held);
            throwIfLost();
        }
    }

    transport::Port& port;

private:
    using Clock = std::chrono::steady_clock;

    void throwIfLost() {
        if (controlLoss(m_held) != tavo::ControlLoss::None) {
            m_device.noteControlLoss(m_control.loss(), m_control.lossFact());
            m_held.place.counters[util::Figure::Use].set(GBE_LINK_LOST);
            failAsLost(m_device);
        }
    }

    const transport::Access m_access; // with all its attempts
    const HeldPort& m_held;
    Device& m_device;
    ControlWatch& m_control;
    bool m_somebodyHasControl = false;
    bool m_silent = false; // the last attempt had no answer
};

namespace {

// Runs `attempt` and, when its result is not 0, `recover` and `attempt` once more.
template<typename Visit, typename Attempt, typename Recover>
void tryTwice(Visit& visit, AttemptLog& log, Attempt&& attempt, Recover&& recover) {
    for (int number = 1;; ++number) {
        const int result = attempt();
        if (result == 0) {
            visit.answered();
            return;
        }
        log.failed(result, number);
        visit.failed(result);
        if (number == 2) {
            log.fail(result);
        }
        recover();
        log.sample();
    }
}

} // namespace

void PortBridge::setConnection(int board, int port, unsigned int) {
    m_place = findPort(board, port);
}

// The port's device, if the door serves it: what another handle's device is for must not reach this one's
// camera.
Device* PortBridge::servedDevice(const CameraPort& place) const {
    Device* device = place.device();
    if (device == nullptr || (m_device != nullptr && m_device != device)) {
        failBefore("the camera is not connected on this port any more");
    }
    return device;
}

// What every access does first; `work` runs under the port's lock. A door that leads nowhere
// does nothing and reports nothing. A camera whose control is lost is refused before the lock, which somebody
// may hold for seconds, and after it.
template<typename Access> void PortBridge::access(long long address, long long length, Access&& work) {
    CameraPort* const place = m_place;
    if (place == nullptr) {
        return;
    }
    servedDevice(*place);
    if (m_device != nullptr) {
        refuseIfLost(*m_device);
    }
    const HeldPort held(*place);
    Device& device = *servedDevice(*place);
    refuseIfLost(device);
    if (held.port() == nullptr) {
        failBefore("the board is closed");
    }
    if (!isInAddressSpace(address, length)) {
        failBefore("the address is beyond 32 bits");
    }
    Visit visit(held, device);
    work(visit);
}

void PortBridge::read(unsigned char* buffer, long long address, long long length) {
    access(address, length, [&](Visit& visit) {
        const Range range{static_cast<unsigned>(address), static_cast<unsigned>(length)};
        needsWholeWords(range) ? readUnaligned(visit, buffer, range) : readRange(visit, buffer, range);
    });
}

bool PortBridge::readMany(Place* places, unsigned count) {
    bool goesOn = false;
    access(0, 0, [&](Visit& visit) {
        const auto tell = [&](int result) { result == 0 ? visit.answered() : visit.failed(result); };
        if (!m_canConcatenate) {
            int capability = 0;
            const int result = transport::readRegister(visit.port, bootstrap::kCapability, &capability);
            tell(result);
            if (result < 0) {
                return;
            }
            m_canConcatenate = (static_cast<unsigned>(capability) & bootstrap::kConcatenationBit) != 0;
        }
        goesOn = BatchRead(visit.port, *m_canConcatenate, tell).run({places, count});
    });
    return goesOn;
}

void PortBridge::readRange(Visit& visit, unsigned char* buffer, Range range) {
    if (range.length == kRegisterSize) {
        readRegister(visit, buffer, range.address);
    } else {
        readMemory(visit, buffer, range);
    }
}

void PortBridge::write(unsigned char* buffer, long long address, long long length) {
    access(address, length, [&](Visit& visit) {
        if (visit.isReadOnly()) {
            util::fail<tavo::GicNotWritableException>(
                [] { return std::string("the camera is connected for reading alone"); });
        }
        if (length > kMaxWrite) {
            failBefore("more than 512 bytes are not written at once");
        }
        const Range range{static_cast<unsigned>(address), static_cast<unsigned>(length)};
        needsWholeWords(range) ? writeUnaligned(visit, buffer, range) : writeRange(visit, buffer, range);
    });
}

void PortBridge::writeRange(Visit& visit, const unsigned char* buffer, Range range) {
    if (range.length % kRegisterSize != 0) {
        failBefore("what is written to a camera's memory are multiples of 4 bytes");
    }
    if (range.length == kRegisterSize) {
        writeRegister(visit, buffer, range.address);
    } else {
        writeMemory(visit, buffer, range);
    }
}

// Asks the device only about ranges that are not made of words: all others may come at any time, also while
// the device's behaviour is being switched.
bool PortBridge::needsWholeWords(const Range& range) const {
    const bool isWords = range.address % kRegisterSize == 0 && range.length % kRegisterSize == 0;
    return !isWords && m_device != nullptr && !m_device->quirks().unalignedWrites;
}

PortBridge::Range PortBridge::wordsAround(const Range& range) {
    constexpr long long kMask = ~(kRegisterSize - 1);
    const long long begin = range.address & kMask;
    const long long end = (static_cast<long long>(range.address) + range.length + kRegisterSize - 1) & kMask;
    if (end - begin > std::numeric_limits<unsigned>::max()) {
        failBefore("the range is beyond 32 bits");
    }
    return {static_cast<unsigned>(begin), static_cast<unsigned>(end - begin)};
}

void PortBridge::readUnaligned(Visit& visit, unsigned char* buffer, Range range) {
    if (range.length == 0) {
        return;
    }
    const Range words = wordsAround(range);
    std::vector<unsigned char> bytes(words.length);
    readRange(visit, bytes.data(), words);
    std::copy_n(bytes.begin() + (range.address - words.address), range.length, buffer);
}

// Only the first and the last word can be filled in part.
void PortBridge::writeUnaligned(Visit& visit, const unsigned char* buffer, Range range) {
    if (range.length == 0) {
        return;
    }
    const Range words = wordsAround(range);
    std::vector<unsigned char> bytes(words.length);
    const unsigned before = range.address - words.address;
    const unsigned behind = words.length - before - range.length;
    const auto last = words.length - static_cast<unsigned>(kRegisterSize);
    if (before != 0) {
        readRegister(visit, bytes.data(), words.address);
    }
    if (behind != 0 && (before == 0 || last != 0)) {
        readRegister(visit, bytes.data() + last, words.address + last);
    }
    std::copy_n(buffer, range.length, bytes.begin() + before);
    for (unsigned done = 0; done < words.length; done += static_cast<unsigned>(kMaxWrite)) {
        const unsigned piece = std::min(words.length - done, static_cast<unsigned>(kMaxWrite));
        writeRange(visit, bytes.data() + done, {words.address + done, piece});
    }
}

// A repeated read does not take control first; a repeated write does.
void PortBridge::readRegister(Visit& visit, unsigned char* buffer, unsigned address) {
    AttemptLog log(visit.port, address, kRegisterSize, true);
    int value = 0;
    tryTwice(
        visit, log, [&] { return transport::readRegister(visit.port, address, &value); }, [] {});
    const auto bits = static_cast<unsigned>(value);
    for (int byte = 0; byte < kRegisterSize; ++byte) {
        buffer[byte] = static_cast<unsigned char>(bits >> (24 - 8 * byte));
    }
}

void PortBridge::readMemory(Visit& visit, unsigned char* buffer, Range range) {
    AttemptLog log(visit.port, range.address, range.length, true);
    unsigned short done = 0;
    const auto attempt = [&] {
        return transport::readMemory(
            visit.port, range.address, range.length, &done, reinterpret_cast<char*>(buffer));
    };
    tryTwice(visit, log, attempt, [] {});
}

void PortBridge::writeRegister(Visit& visit, const unsigned char* buffer, unsigned address) {
    unsigned bits = 0;
    for (int byte = 0; byte < kRegisterSize; ++byte) {
        bits = bits << 8 | buffer[byte];
    }
    AttemptLog log(visit.port, address, kRegisterSize, false);
    tryTwice(
        visit, log, [&] { return transport::writeRegister(visit.port, address, static_cast<int>(bits)); },
        [&] { visit.takeControl(); });
    if (address == bootstrap::kHeartbeatTimeout) {
        visit.heartbeatTimeoutWritten(bits);
    }
}

void PortBridge::writeMemory(Visit& visit, const unsigned char* buffer, Range range) {
    AttemptLog log(visit.port, range.address, range.length, false);
    tryTwice(
        visit, log, [&] { return transport::writeMemory(visit.port, range.address, buffer, range.length); },
        [&] { visit.takeControl(); });
}

} // namespace board
