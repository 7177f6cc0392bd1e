// Register nodes: a block of camera memory, its cache, and the bytes seen raw, as an integer, a bit field, a
// floating-point number or a text.
#pragma once

#include "genicam/nodes/RegisterBytes.h"
#include "genicam/nodes/limits.h"
#include "genicam/nodes/node_interfaces.h"

#include <algorithm>
#include <chrono>

namespace tavo {

struct AccessContext;

// A variable part of a register's address: the node's value times the factor.
struct AddressNodeElement {
    NumberReference node;
    std::int64_t factor = 1;
};

class ImplGenICamRegister : public ImplGenICamRegisterInterface, public virtual GenICamRegister {
public:
    using CacheMode = GenICamTypes::GenICamCacheModeType;
    using Endianess = GenICamTypes::GenICamEndianessType;

    ImplGenICamRegister();
    ~ImplGenICamRegister() override;

    // Operations of users
    std::int64_t getPollingTime() const override { return m_pollingTime; }
    void get(unsigned char* buffer, std::int64_t length) override;
    void set(unsigned char* buffer, std::int64_t length) override;
    // The fixed address plus the terms in their order, in 64-bit arithmetic that wraps.
    std::int64_t getAddress() override;
    // The fixed length is added to the value of pLength, deliberately.
    std::int64_t getLength() override;
    GenICamPortInterface* getPort() const override { return m_port; }
    std::string getValueAsString() override;

    // Properties. A cache mode that is not given is WriteThrough.
    void setAccessMode(AccessMode mode) { m_accessMode = mode; }
    void setCacheMode(CacheMode mode) { m_cacheMode = mode; }
    CacheMode getCacheMode() const { return m_cacheMode; }
    void setPollingTime(std::int64_t milliseconds) { m_pollingTime = milliseconds; }
    void setAddress(std::int64_t address) { m_address = address; }
    // Adds to the fixed part of the address; wraps.
    void addToAddress(std::int64_t address);
    void setLength(std::int64_t length) { m_length = length; }

    // References
    void setPLength(GenICamNode* node) { m_pLength.set(node); }
    void setPort(GenICamPortInterface* port);
    // Whether 4 bytes stand for the number of a register command, whose most significant byte comes first,
    // also in a little-endian register.
    void setWordsAreNumbers(bool on) { m_wordsAreNumbers = on; }
    // A node without a number is ignored. Returns whether the term was added.
    bool addAddressElement(GenICamNode* node, std::int64_t factor);

    // Whether a read is answered from the cache; for callers that hold the device's lock.
    bool isRegisterValid() const { return m_contentValid; }
    // Whether what is read now still counts at a later access.
    bool keepsContent() const { return m_cacheMode != CacheMode::NoCache || m_pollingTime > 0; }
    // For a caller that holds the device's lock, and has just read this from the register's place.
    void takeContent(RegisterBytes content, std::int64_t address);

protected:
    // Brings the device's content here, unless the cache still holds it. A forced call always reads.
    void internalGet(bool force);
    // Writes to the device, whose content this is then.
    void internalSet(RegisterBytes content);
    // Bytes of 0, as many as the register has now. GicIllegalRegisterLengthException for a length that is
    // negative or above kMaxRegisterLength.
    RegisterBytes emptyContent() const;
    // What the device held when it was read or written last, in the order of addresses.
    const RegisterBytes& content() const { return m_content; }
    // The order of a number's bytes.
    bool isBigEndian(Endianess endianess, const RegisterBytes& content) const {
        return endianess == Endianess::BigEndian || (m_wordsAreNumbers && content.size() == kWordSize);
    }

    std::int64_t currentAddress() const;
    std::int64_t currentLength() const;
    // That of the fixed part.
    std::int64_t fixedLength() const { return m_length; }
    // How many of the bytes of a register of a length are read and written.
    virtual std::int64_t usedLength(std::int64_t length) const { return length; }

    AccessRule accessRule() const override { return {m_accessMode, nullptr}; }
    Volatility ownVolatility() const override {
        return m_cacheMode == CacheMode::NoCache ? Volatility::Volatile : Volatility::Steady;
    }
    bool takeContentChange(bool force) override;
    void dropContent() override;
    RegisterPlace place() const override;
    bool knows(const RegisterPlace& place, const unsigned char* bytes) const override;

private:
    using Clock = std::chrono::steady_clock;
    static constexpr std::size_t kWordSize = 4;

    bool isHeld(std::int64_t address) const;
    void readDevice(std::int64_t address);
    void writeDevice(RegisterBytes& content, std::int64_t address);
    void hold(RegisterBytes content);
    void moveTo(std::int64_t address, std::size_t length);
    AccessContext* access() const;
    GenICamPortInterface& port() const;

    GenICamPortInterface* m_port = nullptr;
    RegisterBytes m_content;
    RegisterPlace m_place; // where the content lies
    std::int64_t m_address = 0;
    std::int64_t m_length = 0;
    std::int64_t m_pollingTime = 0;
    Clock::time_point m_nextReadTime = Clock::time_point::min(); // of NoCache registers
    std::uint64_t m_heldFor = 0;                                 // the access that read a NoCache register
    NumberReference m_pLength;
    std::vector<AddressNodeElement> m_addressElements;
    AccessMode m_accessMode = AccessMode::NotGiven;
    CacheMode m_cacheMode = CacheMode::NotGiven;
    bool m_contentKnown = false; // has been read or written at all
    bool m_contentValid = false; // and may be used again
    bool m_contentChanged = false;
    bool m_wordsAreNumbers = false;
};

// Minimum and maximum follow the length, and treat a sign that is not given as signed; values are extended
// only for an explicit Signed. Kept deliberately (the stages set Unsigned for the standard's meaning).
class ImplGenICamIntReg : public ImplGenICamRegister,
                          public ImplGenICamIntegerInterface,
                          public ImplGenICamSelectorInterface,
                          public virtual GenICamIntReg {
public:
    using Sign = GenICamTypes::GenICamSignType;

    std::int64_t getMin() override;
    std::int64_t getMax() override;
    std::int64_t getInc() override { return 1; }
    std::string getValueAsString() override { return ImplGenICamIntegerInterface::getValueAsString(); }
    void performSignalUpdate(bool force) override;

    void setEndianess(Endianess endianess) { m_endianess = endianess; }
    Endianess getEndianess() const { return m_endianess; }
    void setSign(Sign sign) { m_sign = sign; }
    Sign getSign() const { return m_sign; }

    std::int64_t readInteger() override;
    void writeInteger(std::int64_t value) override;

protected:
    bool isBigEndian(const RegisterBytes& content) const {
        return ImplGenICamRegister::isBigEndian(m_endianess, content);
    }
    // The number of bits that hold the value; -40008 when they are not 1 to 64.
    virtual std::int64_t valueBits();

private:
    Endianess m_endianess = Endianess::NotGiven;
    Sign m_sign = Sign::NotGiven;
};

// A bit field of an integer register. LSB and MSB are -1 while they are not given; a field that lies outside
// of the register or of the 64 bits of a value ends in GicIllegalNodeException, also when its limits are
// asked for. One without a sign that fills all 64 bits shows them as they are.
class ImplGenICamMaskedIntReg : public ImplGenICamIntReg, public GenICamMaskedIntReg {
public:
    void setLSB(std::int64_t bit) { m_lsb = bit; }
    void setMSB(std::int64_t bit) { m_msb = bit; }
    void setBit(std::int64_t bit) { m_lsb = m_msb = bit; }

    // The place in the value: bits of a register that is not little-endian count from its most significant.
    std::int64_t getLSB();
    std::int64_t getMSB();
    std::int64_t getBitLength() const;
    std::uint64_t getValueMask();

    std::int64_t readInteger() override;
    // The rest of the register keeps what the device holds: its content is read first, whatever the cache.
    void writeInteger(std::int64_t value) override;

protected:
    std::int64_t valueBits() override;

private:
    struct Field {
        unsigned lsb;
        unsigned bits; // 1 to 64
    };
    Field field(std::int64_t length) const;
    std::int64_t bitPlace(std::int64_t stored, std::int64_t length) const;

    std::int64_t m_lsb = -1;
    std::int64_t m_msb = -1;
};

// Single precision with a length of 4, double with 8; -40008 for any other length. The minimum is the
// smallest positive normal number, kept deliberately; the standard's is the lowest number.
class ImplGenICamFloatReg : public ImplGenICamRegister,
                            public ImplGenICamFloatInterface,
                            public virtual GenICamFloatReg {
public:
    double getMin() override;
    double getMax() override;
    std::string getValueAsString() override { return ImplGenICamFloatInterface::getValueAsString(); }
    void performSignalUpdate(bool force) override;

    void setEndianess(Endianess endianess) { m_endianess = endianess; }
    Endianess getEndianess() const { return m_endianess; }

    double readFloat() override;
    void writeFloat(double value) override;

private:
    Endianess m_endianess = Endianess::NotGiven;
};

// The whole register as a text: neither ended by a zero byte when it fills the register, nor, which the
// standard has otherwise, cut at one.
class ImplGenICamStringReg : public ImplGenICamRegister,
                             public ImplGenICamStringInterface,
                             public virtual GenICamStringReg {
public:
    std::string getValue() override;
    void setValue(const std::string& value) override;
    std::int64_t getMaxLength() override { return usedLength(getLength()); }
    std::string getValueAsString() override { return getValue(); }
    void performSignalUpdate(bool force) override;

protected:
    std::int64_t usedLength(std::int64_t length) const override {
        return std::min(length, std::max(kMaxTextLength, fixedLength()));
    }
};

} // namespace tavo
