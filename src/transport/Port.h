// One Ethernet port of a board: its own addresses, the cameras that answered on it, the one that commands go
// to, and frames in and out. What is done with frames works on a Port& from outside: commands, discovery,
// FORCEIP, stream set-up.
//
// Results: 0 is success, a negative number an error of transport_error or the data queue's own code.
//
// Threads: different ports may be used at the same time. The caller serialises what is done on one port; only
// the current camera may be set and read by any thread.
#pragma once

#include "platform/fpga_registers.h"
#include "platform/kemrt.h"
#include "platform/tavo_hw.h"
#include "transport/DiscoveryTable.h"
#include "transport/errors.h"
#include "transport/gvcp_frame.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <optional>

namespace transport {

class Port {
public:
    static constexpr std::uint16_t kControlPort = 3015; // UDP port that commands come from

    // Looks up the registers of port `index` (0 to 3) in the applet. The board is not owned, and its serial
    // number is part of the port's first address.
    Port(int index, fpga_design design, QLdevice board);

    // Switches the transmitter on and gives registers their first values.
    void enable();

    int index() const { return m_index; }

    // --- Own addresses
    const MacBytes& mac() const { return m_mac; }
    void setMac(const MacBytes& mac) { m_mac = mac; }
    // At first 169.254.S.(42 + index), S being the low byte of the board's serial number, in the subnet of 16
    // bits that all link-local addresses share.
    const IpBytes& ip() const { return m_ip; }
    const IpBytes& mask() const { return m_mask; }
    void setIp(const IpBytes& ip, const IpBytes& mask);

    // --- Cameras: those that the last discovery found, and the current one, which commands go to
    const DiscoveryTable& cameras() const { return m_cameras; }
    DiscoveryTable& cameras() { return m_cameras; }
    // Takes record `index` of the table; false and no change when there is no such record. The record stays
    // what it is until the next discovery.
    bool selectCamera(int index);
    // Takes the first record with this MAC address (6 bytes), likewise.
    bool selectCamera(const unsigned char* mac);
    // Takes a copy of a record that a discovery may have dropped from the table since.
    void selectCamera(const DiscoveredCamera& record);
    // Null until a camera is selected; commands then go to zero addresses, where nobody answers.
    const DiscoveredCamera* currentCamera() const { return m_selected; }
    // A camera has another address now: the table, and a current camera outside of it, learn it.
    void learnAddress(const MacBytes& mac, const IpBytes& ip);

    // --- Frames out
    frame::Route toCurrentCamera() const;
    frame::Route toEverybody() const;
    std::uint16_t takeRequestId() { return m_requestId++; }
    int send(const void* data, unsigned length);
    // The halves of send: a trailing odd byte is not sent.
    int prepare(const void* data, unsigned length);
    int sendPrepared();

    // --- Frames in
    // Takes the next UDP frame for this host, answering ARP requests for the port's address on the way.
    // `timeout` milliseconds count for each frame. Without `packet` the next frame is thrown away, whatever
    // it is. `length` may be null.
    int receive(UDPPacket* packet, unsigned* length, int timeout);
    // Throws away what has arrived.
    void clearQueue();

    // --- FPGA registers: the hardware library's result; a failed read leaves `value` as it was
    int readRegister(fpga::PortRegister reg, unsigned* value) const;
    int writeRegister(fpga::PortRegister reg, std::uint64_t value);

    // What earlier commands have left behind; the command channel's own.
    struct Arrears {
        bool unsettled = false;            // a command failed, so that its acknowledgement may still come
        std::optional<std::uint16_t> owed; // of a command that was sent twice and acknowledged once
    };
    Arrears& arrears() { return m_arrears; }

private:
    bool select(const DiscoveredCamera* camera);
    int id(fpga::PortRegister reg) const { return m_registers[static_cast<std::size_t>(reg)]; }
    int receiveFrame(UDPPacket* packet, unsigned* length, int timeout);
    int receiveWords(std::uint32_t length, UDPPacket* packet, int timeout);
    void answerArp(UDPPacket& packet);

    const int m_index;
    const QLdevice m_board;
    std::array<int, fpga::kPortRegisters.size()> m_registers{};
    MacBytes m_mac{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
    IpBytes m_ip;
    IpBytes m_mask{255, 255, 0, 0};
    std::uint16_t m_requestId = 1;
    DiscoveryTable m_cameras;
    DiscoveredCamera m_kept{}; // selected without a place in the table
    std::atomic<const DiscoveredCamera*> m_selected{nullptr};
    Arrears m_arrears;
};

} // namespace transport
