#include "genicam/nodes/ImplGenICamRegister.h"

#include "genicam/device/ImplGenICamCamera.h"
#include "genicam/nodes/GenICamScopedReadWriteLock.h"
#include "genicam/nodes/numbers.h"

#include <algorithm>
#include <cstring>

namespace tavo {
namespace {

using Guard = GenICamScopedReadWriteLock;

// Longer registers are not shown as text.
constexpr std::int64_t kMaxShownLength = 512;

} // namespace

ImplGenICamRegister::ImplGenICamRegister() = default;
ImplGenICamRegister::~ImplGenICamRegister() = default;

// ---- Place -----------------------------------------------------------------------------------------------

void ImplGenICamRegister::addToAddress(std::int64_t address) {
    m_address = numbers::add(m_address, address);
}

bool ImplGenICamRegister::addAddressElement(GenICamNode* node, std::int64_t factor) {
    AddressNodeElement element;
    if (!element.node.set(node)) {
        return false;
    }
    element.factor = factor;
    m_addressElements.push_back(element);
    return true;
}

std::int64_t ImplGenICamRegister::currentAddress() const {
    std::int64_t address = m_address;
    for (const AddressNodeElement& element : m_addressElements) {
        address = numbers::add(address, numbers::multiply(element.node.readInteger(), element.factor));
    }
    return address;
}

std::int64_t ImplGenICamRegister::currentLength() const {
    return m_pLength ? numbers::add(m_pLength.readInteger(), m_length) : m_length;
}

std::int64_t ImplGenICamRegister::getAddress() {
    const Guard guard(this, Guard::ReadLock);
    return currentAddress();
}

std::int64_t ImplGenICamRegister::getLength() {
    return m_pLength ? numbers::add(m_pLength.getInteger(), m_length) : m_length;
}

GenICamPortInterface& ImplGenICamRegister::port() const {
    if (m_port == nullptr) {
        throw GicPortNotAvailableException();
    }
    return *m_port;
}

// ---- Cache -----------------------------------------------------------------------------------------------

void ImplGenICamRegister::dropContent() {
    m_contentValid = false;
    m_nextReadTime = Clock::time_point::min();
}

void ImplGenICamRegister::internalCheckBufferSize() {
    const std::int64_t length = currentLength();
    if (length < 0 || length > kMaxRegisterLength) {
        throw GicIllegalRegisterLengthException();
    }
    if (static_cast<std::size_t>(length) != m_bytes.size()) {
        dropContent();
        m_bytes.reset(static_cast<std::size_t>(length));
    }
}

bool ImplGenICamRegister::needsDevice(std::int64_t address, bool force) const {
    if (!m_addressElements.empty() && address != m_lastReadAddress) {
        return true; // a moved register is always read again
    }
    if (force || isTriggered()) {
        return true;
    }
    if (m_cacheMode == CacheMode::NoCache) {
        return Clock::now() >= m_nextReadTime;
    }
    return !m_contentValid;
}

void ImplGenICamRegister::internalGet(bool force) {
    const std::int64_t address = currentAddress();
    if (needsDevice(address, force)) {
        readDevice(address);
    }
}

void ImplGenICamRegister::readDevice(std::int64_t address) {
    const bool cached = m_cacheMode != CacheMode::NoCache;
    if (cached) {
        invalidateRegistersAndTriggerSignals(); // what is read may change what dependants see
    }
    dropContent(); // a read that fails leaves nothing behind that could be taken for the content
    internalCheckBufferSize();
    if (m_bytes.size() != 0) {
        port().read(m_bytes.data(), address, static_cast<long long>(m_bytes.size()));
    }
    m_lastReadAddress = address;
    m_contentValid = cached;
    m_contentChanged = true;
    if (!cached) {
        m_nextReadTime = numbers::fromNow(m_pollingTime);
    }
}

// The own mark may be set already (a masked register reads before it writes), and then the invalidation does
// nothing; so the content is dropped here, and comes back only with a write that succeeds.
void ImplGenICamRegister::internalSet() {
    dropContent();
    invalidateRegistersAndTriggerSignals();
    const std::int64_t address = currentAddress();
    if (m_bytes.size() != 0) {
        GenICamPortInterface& target = port();
        try {
            target.write(m_bytes.data(), address, static_cast<long long>(m_bytes.size()));
        } catch (const GenICamException& failure) {
            throw GenICamException(failure); // the code without the type: kept as it is
        }
    }
    // At an address that was never read the bytes are not kept: a register that moves back would show them.
    const bool inPlace = m_addressElements.empty() || address == m_lastReadAddress;
    m_contentValid = inPlace && m_cacheMode != CacheMode::NoCache && m_cacheMode != CacheMode::WriteAround;
    m_contentChanged = true;
}

void ImplGenICamRegister::prepareRegisterSet() {
    m_backup.assign(m_bytes.data(), m_bytes.data() + m_bytes.size());
}

void ImplGenICamRegister::revertRegisterSet() {
    const std::size_t count = std::min(m_backup.size(), m_bytes.size());
    std::copy_n(m_backup.begin(), count, m_bytes.data());
}

// ---- Raw bytes -------------------------------------------------------------------------------------------

void ImplGenICamRegister::get(unsigned char* buffer, std::int64_t length) {
    const Guard guard(this, Guard::ReadLock);
    internalGet(false);
    const auto count = std::min(length, static_cast<std::int64_t>(m_bytes.size()));
    if (count > 0) {
        std::memcpy(buffer, m_bytes.data(), static_cast<std::size_t>(count));
    }
}

void ImplGenICamRegister::set(unsigned char* buffer, std::int64_t length) {
    const Guard guard(this, Guard::WriteLock);
    internalCheckBufferSize();
    prepareRegisterSet();
    const auto count = std::min(length, static_cast<std::int64_t>(m_bytes.size()));
    if (count > 0) {
        dropContent();
        std::memcpy(m_bytes.data(), buffer, static_cast<std::size_t>(count));
    }
    internalSet();
}

std::string ImplGenICamRegister::getValueAsString() {
    const std::int64_t length = getLength();
    if (length > kMaxShownLength) {
        return "<buffer too large (more than 512 bytes)>";
    }
    if (length < 0) {
        throw GicIllegalRegisterLengthException();
    }
    std::vector<unsigned char> bytes(static_cast<std::size_t>(length));
    get(bytes.data(), length);
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (const unsigned char byte : bytes) {
        if (!text.empty()) {
            text += ' ';
        }
        text += digits[byte >> 4];
        text += digits[byte & 0xF];
    }
    return text;
}

} // namespace tavo
