// The door from the node tree of one camera to its port. Any thread.
#pragma once

#include "board/CameraPort.h"
#include "liomol/GenICamPortInterface.h"

#include <atomic>
#include <optional>

namespace board {

class PortBridge : public tavo::GenICamPortInterface, public tavo::GenICamBatchReadInterface {
public:
    // The longest write; it is also a multiple of 4, as every write but that of a register must be.
    static constexpr long long kMaxWrite = 512;

    // A door to null leads nowhere until setConnection: it reads and writes nothing and reports no error.
    // `device` is the device that the door serves, not owned; a door without one serves whichever the port
    // has.
    PortBridge(CameraPort* place, Device* device) : m_place(place), m_device(device) {}

    // Bytes of camera memory in address order. 4 bytes go as a register access, everything else as a memory
    // access; a failed access is repeated once, a write after taking control of the camera again.
    //
    // Addresses and lengths that are no multiples of 4 go out as they are, deliberately (a write of such a
    // length is refused). With the standard's meaning only whole words do: a read is cut out of them, and a
    // write reads those that it fills in part and writes them back, under the port's lock.
    // Throws tavo::GicTransportLayerException: the device is not the port's, the board is closed, the range
    // leaves the 32-bit address space, a write has a bad length, or both attempts failed; the buffer of a
    // failed read is left as the transport left it. Throws tavo::GicConnectionException once control of the
    // camera, where it is watched, has turned out to be lost, without accessing the camera any more. A write
    // to a camera that is connected for reading alone throws tavo::GicNotWritableException.
    void read(unsigned char* buffer, long long address, long long length) override;
    void write(unsigned char* buffer, long long address, long long length) override;
    // With one command for many registers, where the camera takes that, and one for neighbours in memory. An
    // attempt is not repeated; what fails, is longer than a block of memory, or does not consist of words is
    // left. False when the camera does not answer. Throws as a read does when the device is not the port's,
    // the board is closed, or control is lost.
    bool readMany(Place* places, unsigned count) override;
    // Leads the door to another port. The address is not needed: commands go to the port's current camera.
    void setConnection(int board, int port, unsigned int ip) override;

    Device* device() const { return m_device; }

private:
    class Visit;
    struct Range {
        unsigned address;
        unsigned length;
    };

    template<typename Access> void access(long long address, long long length, Access&& work);
    Device* servedDevice(const CameraPort& place) const;
    bool needsWholeWords(const Range& range) const;
    static Range wordsAround(const Range& range);
    static void readRange(Visit& visit, unsigned char* buffer, Range range);
    static void writeRange(Visit& visit, const unsigned char* buffer, Range range);
    static void readUnaligned(Visit& visit, unsigned char* buffer, Range range);
    static void writeUnaligned(Visit& visit, const unsigned char* buffer, Range range);
    static void readRegister(Visit& visit, unsigned char* buffer, unsigned address);
    static void readMemory(Visit& visit, unsigned char* buffer, Range range);
    static void writeRegister(Visit& visit, const unsigned char* buffer, unsigned address);
    static void writeMemory(Visit& visit, const unsigned char* buffer, Range range);

    std::atomic<CameraPort*> m_place;
    Device* m_device;
    std::optional<bool> m_canConcatenate; // read several registers with one command; under the port's lock
};

} // namespace board
