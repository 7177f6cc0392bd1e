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
#include "util/LinkCounters.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <limits>
#include <optional>

namespace transport {

class Port {
public:
    static constexpr std::uint16_t kControlPort = 3015;    // UDP port that commands come from
    static constexpr std::uint16_t kFirstImagePort = 1520; // UDP port that takes the stream, of port 0
    static constexpr int kPorts = 4;                       // of a board

    using Time = std::chrono::steady_clock::time_point;
    using Clock = Time (*)();

    // Looks up the registers of port `index` (0 to 3) in the applet. The board is not owned, and its serial
    // number is part of the port's first address.
    Port(int index, fpga_design design, QLdevice board);

    // Switches the transmitter on and gives registers their first values.
    void enable();

    // The clock by which commands wait; a test has its own.
    void setClock(Clock clock) { m_clock = clock; }
    Time now() const { return m_clock(); }

    int index() const { return m_index; }

    // The number of the board in this process, 0 to 7: from then on the port's traffic is counted where
    // everybody sees it, and traced as that board's. Before, it is board 0's and counted for nobody.
    void setBoardIndex(int board);
    util::LinkCounters& counters() { return *m_counters; }

    // --- Own addresses
    const MacBytes& mac() const { return m_mac; }
    void setMac(const MacBytes& mac) { m_mac = mac; }
    // At first 169.254.S.(42 + index), S being the low byte of the board's serial number, in the subnet of 16
    // bits that all link-local addresses share.
    const IpBytes& ip() const { return m_ip; }
    const IpBytes& mask() const { return m_mask; }
    void setIp(const IpBytes& ip, const IpBytes& mask);
    // The UDP ports that commands come from and that the stream goes to: 3015 and 1520 + index at first.
    // Where several programs share the port's addresses each has ports of its own, by a number from 0 on, and
    // request ids that begin at random.
    std::uint16_t controlPort() const { return m_controlPort; }
    std::uint16_t imagePort() const { return m_imagePort; }
    void shareAddresses(unsigned number);

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
    // Counts up; 0 is nobody's, and some belong to who keeps control while the process is stopped.
    std::uint16_t takeRequestId();
    // The next id, or the first one behind it that is a command's.
    void setRequestId(std::uint16_t id) { m_requestId = id; }
    int send(const void* data, unsigned length);
    // The halves of send: a trailing odd byte is not sent.
    int prepare(const void* data, unsigned length);
    int sendPrepared();

    // --- Frames in
    // Takes the next UDP frame for this host, answering ARP requests for the port's address on the way.
    // `timeout` milliseconds count for each frame; at `end` nothing more is waited for, whatever arrives, and
    // the result is kNoAnswer or the data queue's. Without `packet` the next frame is thrown away, whatever
    // it is. `length` may be null.
    int receive(UDPPacket* packet, unsigned* length, int timeout, Time end = Time::max());
    static constexpr int kPatient = std::numeric_limits<int>::max(); // a `timeout` that leaves it to `end`
    // Throws away what has arrived.
    void clearQueue();

    // --- FPGA registers: the hardware library's result; a failed read leaves `value` as it was
    int readRegister(fpga::PortRegister reg, unsigned* value) const;
    int writeRegister(fpga::PortRegister reg, std::uint64_t value);

    // What earlier commands have left behind; the command channel's own.
    class Arrears {
    public:
        bool unsettled = false; // a command failed, so that its acknowledgement may still come
        int lastBlock = 0;      // how the latest block of memory was refused, as a result

        // An id whose command may be answered (once more) at any time, as frame::rawRequestId gives it.
        void addSpent(std::uint16_t id) { m_spent[m_count++ % m_spent.size()] = id; }
        bool isSpent(std::uint16_t id) const {
            const auto end = m_spent.begin() + static_cast<std::ptrdiff_t>(std::min(m_count, m_spent.size()));
            return std::find(m_spent.begin(), end, id) != end;
        }

    private:
        std::array<std::uint16_t, 32> m_spent{}; // the latest ones
        std::size_t m_count = 0;
    };
    Arrears& arrears() { return m_arrears; }
    // The access under way, if there is one: see Access in exchange.h.
    std::optional<AccessTime>& access() { return m_access; }

    // What keeps control of the current camera alive while a command waits for long: once a second a register
    // is written and another one read. Without it nothing is done.
    struct Beat {
        unsigned address = 0;
        unsigned value = 0;
        unsigned look = 0; // the register that is read
        Time last{};
    };
    std::optional<Beat>& beat() { return m_beat; }

    // Whether a command can go out again with its own id: not while the FPGA writes ids into frames without a
    // checksum.
    bool mayRepeat(const UDPPacket& command) const {
        return !m_stamping || frame::get16<net::kUdpChecksum>(command) != 0;
    }
    // The FPGA stamps request ids from now on.
    void startStamping();

private:
    bool select(const DiscoveredCamera* camera);
    int id(fpga::PortRegister reg) const { return m_registers[static_cast<std::size_t>(reg)]; }
    int receiveFrame(UDPPacket* packet, unsigned* length, int timeout);
    int receiveWords(std::uint32_t length, UDPPacket* packet, int timeout);
    void answerArp(UDPPacket& packet);
    frame::Route route() const;

    const int m_index;
    const QLdevice m_board;
    int m_boardIndex = 0;
    util::LinkCounters m_unseen;
    util::LinkCounters* m_counters = &m_unseen;
    std::array<int, fpga::kPortRegisters.size()> m_registers{};
    MacBytes m_mac{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
    IpBytes m_ip;
    IpBytes m_mask{255, 255, 0, 0};
    Clock m_clock = &std::chrono::steady_clock::now;
    std::uint16_t m_controlPort = kControlPort;
    std::uint16_t m_imagePort;
    std::uint16_t m_requestId = 1;
    bool m_stamping = false;
    DiscoveryTable m_cameras;
    DiscoveredCamera m_kept{}; // selected without a place in the table
    std::atomic<const DiscoveredCamera*> m_selected{nullptr};
    Arrears m_arrears;
    std::optional<AccessTime> m_access;
    std::optional<Beat> m_beat;
};

} // namespace transport
