#include "genicam/nodes/ImplGenICamRegister.h"

#include "genicam/nodes/GenICamScopedReadWriteLock.h"
#include "genicam/nodes/NodeHost.h"
#include "genicam/nodes/Prefetch.h"
#include "genicam/nodes/failures.h"
#include "genicam/nodes/limits.h"
#include "genicam/nodes/numbers.h"

#include <algorithm>
#include <cstring>

namespace tavo {
namespace {

using Guard = GenICamScopedReadWriteLock;

} // namespace

ImplGenICamRegister::ImplGenICamRegister() = default;
ImplGenICamRegister::~ImplGenICamRegister() = default;

// Null for a register without a device.
AccessContext* ImplGenICamRegister::access() const {
    return getHost() != nullptr ? &getHost()->access() : nullptr;
}

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
        failAt<GicPortNotAvailableException>(*this, " names no port of the description");
    }
    return *m_port;
}

// Once its port is known, a register takes part in what happens to the memory behind it.
void ImplGenICamRegister::setPort(GenICamPortInterface* port) {
    if (m_port == nullptr && port != nullptr && access() != nullptr) {
        access()->registers.enrol(*this);
    }
    m_port = port;
}

// A register that moves is where it was last.
RegisterPlace ImplGenICamRegister::place() const {
    const bool isFixed = m_addressElements.empty() && !m_pLength;
    if (isFixed && m_place.isNowhere() && m_length > 0 && m_length <= kMaxRegisterLength) {
        return {m_port, m_address, numbers::clampedSum(m_address, m_length)};
    }
    return m_place;
}

bool ImplGenICamRegister::knows(const RegisterPlace& place, const unsigned char* bytes) const {
    const std::int64_t begin = std::max(place.begin, m_place.begin);
    const std::int64_t end = std::min(place.end, m_place.end);
    const auto known = m_content.data() + (begin - m_place.begin);
    return m_contentKnown && begin < end &&
           std::equal(known, known + (end - begin), bytes + (begin - place.begin));
}

void ImplGenICamRegister::moveTo(std::int64_t address, std::size_t length) {
    const RegisterPlace to{m_port, address, numbers::clampedSum(address, static_cast<std::int64_t>(length))};
    if (access() != nullptr) {
        access()->registers.move(*this, place(), to);
    }
    m_place = to;
}

// ---- Cache -----------------------------------------------------------------------------------------------

void ImplGenICamRegister::dropContent() {
    m_contentValid = false;
    m_nextReadTime = Clock::time_point::min();
    m_heldFor = 0;
}

RegisterBytes ImplGenICamRegister::emptyContent() const {
    const std::int64_t length = currentLength();
    if (length < 0 || length > kMaxRegisterLength) {
        failLength(*this, length, "; a register has 0 to 16777216");
    }
    RegisterBytes content;
    content.reset(static_cast<std::size_t>(usedLength(length)));
    return content;
}

// Content is good for one place only. What is not to be cached is kept for the access that read it, so that a
// formula which names it twice sees one value.
bool ImplGenICamRegister::isHeld(std::int64_t address) const {
    if (!m_addressElements.empty() && address != m_place.begin) {
        return false;
    }
    if (m_pLength && static_cast<std::uint64_t>(usedLength(currentLength())) != m_content.size()) {
        return false;
    }
    if (m_cacheMode != CacheMode::NoCache) {
        return m_contentValid;
    }
    const bool isThisAccess = access() != nullptr && m_heldFor == access()->number;
    return isThisAccess || Clock::now() < m_nextReadTime;
}

void ImplGenICamRegister::internalGet(bool force) {
    const std::int64_t address = currentAddress();
    if (force || !isHeld(address)) {
        readDevice(address);
    }
}

void ImplGenICamRegister::readDevice(std::int64_t address) {
    if (access() != nullptr && access()->prefetch != nullptr) {
        return access()->prefetch->defer(*this, m_port, address, emptyContent());
    }
    dropContent(); // a read that fails leaves nothing behind that could be taken for the content
    RegisterBytes content = emptyContent();
    if (content.size() != 0) {
        port().read(content.data(), address, static_cast<long long>(content.size()));
    }
    takeContent(std::move(content), address);
}

// Only news spreads: whoever read the same bytes before holds nothing that they make wrong. Those of another
// place are no news of it.
void ImplGenICamRegister::takeContent(RegisterBytes content, std::int64_t address) {
    dropContent();
    const RegisterPlace before = m_place;
    moveTo(address, content.size());
    if (m_contentKnown && !(content == m_content) && access() != nullptr) {
        access()->invalidation.changed(*this, before == m_place ? content.data() : nullptr);
    }
    hold(std::move(content));
    m_contentValid = m_cacheMode != CacheMode::NoCache;
    if (!m_contentValid) {
        m_nextReadTime = numbers::fromNow(m_pollingTime);
    }
    if (access() != nullptr) {
        m_heldFor = access()->number;
        access()->invalidation.gained();
    }
}

void ImplGenICamRegister::hold(RegisterBytes content) {
    m_content = std::move(content);
    m_contentKnown = true;
    m_contentChanged = true;
}

// What depends on the register is dropped after the write, so that nothing read on the way to it is left, and
// also when the write fails: it may have arrived.
void ImplGenICamRegister::internalSet(RegisterBytes content) {
    dropContent();
    const std::int64_t address = currentAddress();
    moveTo(address, content.size());
    try {
        writeDevice(content, address);
    } catch (...) {
        invalidateRegistersAndTriggerSignals();
        throw;
    }
    const bool staysAsWritten = access() == nullptr || !access()->invalidation.written(*this);
    const bool isKept = m_cacheMode != CacheMode::NoCache && m_cacheMode != CacheMode::WriteAround;
    hold(std::move(content));
    m_contentValid = staysAsWritten && isKept;
}

void ImplGenICamRegister::writeDevice(RegisterBytes& content, std::int64_t address) {
    if (content.size() == 0) {
        return;
    }
    GenICamPortInterface& target = port();
    if (access() != nullptr) {
        ++access()->number;
    }
    try {
        target.write(content.data(), address, static_cast<long long>(content.size()));
    } catch (const GenICamException& failure) {
        throw GenICamException(failure); // the code without the type: kept as it is
    }
}

// ---- Raw bytes -------------------------------------------------------------------------------------------

void ImplGenICamRegister::get(unsigned char* buffer, std::int64_t length) {
    const Guard guard(this, Guard::ReadLock);
    internalGet(false);
    const auto count = std::min(length, static_cast<std::int64_t>(m_content.size()));
    if (count > 0) {
        std::memcpy(buffer, m_content.data(), static_cast<std::size_t>(count));
    }
}

// What the caller does not give stays as the device holds it, as far as that can be read.
void ImplGenICamRegister::set(unsigned char* buffer, std::int64_t length) {
    const Guard guard(this, Guard::WriteLock);
    RegisterBytes bytes = emptyContent();
    const auto count = std::min(length, static_cast<std::int64_t>(bytes.size()));
    if (count < static_cast<std::int64_t>(bytes.size()) && !isWriteOnly()) {
        internalGet(false);
        bytes = m_content;
    }
    if (count > 0) {
        std::memcpy(bytes.data(), buffer, static_cast<std::size_t>(count));
    }
    internalSet(std::move(bytes));
}

std::string ImplGenICamRegister::getValueAsString() {
    const std::int64_t length = getLength();
    if (length > kMaxShownRegisterLength) {
        return "<buffer too large (more than 512 bytes)>";
    }
    if (length < 0) {
        failLength(*this, length, "; a register has 0 to 16777216");
    }
    std::vector<unsigned char> bytes(static_cast<std::size_t>(length));
    get(bytes.data(), length);
    constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (const unsigned char byte : bytes) {
        if (!text.empty()) {
            text += ' ';
        }
        text += kDigits[byte >> 4];
        text += kDigits[byte & 0xF];
    }
    return text;
}

} // namespace tavo
