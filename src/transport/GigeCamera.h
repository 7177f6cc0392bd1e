// One frame grabber board as the network interface of its four Ethernet ports. The board keeps its registers,
// MDIO and the PHYs; what concerns one port is done by its transport::Port and by what works on that, and the
// methods with a port number are doors to it.
//
// Results: 0 is success, a positive number is the status that the camera answered, a negative one an error of
// transport_error or the data queue's own code. ReadMemory tells only 0 and 1. Nothing throws.
//
// Threads: different ports may be used at the same time. What sends, receives, discovers or reads the
// discovery table of one port must be serialised by the caller, who holds one lock a port; there is none in
// here but the one around the hand-over of the asynchronous acknowledgements. MDIO and PHY functions share
// registers of the whole board and want one thread. The selected camera may be set and read by any thread.
//
// A port that does not exist (not 0 to 3) is refused: no access, and -22 (1 from ReadMemory), null, false or
// 0 as the result.
#pragma once

#include "platform/kemrt.h"
#include "platform/tavo_hw.h"
#include "transport/AckHandOver.h"
#include "transport/AckWait.h"
#include "transport/Port.h"
#include "util/logging.h"

#include <QtCore/QByteArray>
#include <QtCore/QObject>

#include <array>
#include <cstdint>
#include <span>
#include <string>

class GigeCamera : public QObject {
    Q_OBJECT

public:
    static constexpr int kPorts = 4;
    static constexpr std::uint16_t kControlPort = transport::Port::kControlPort;
    static constexpr int kMaxCameras = transport::DiscoveryTable::kMaxCameras;
    static constexpr int kAckTimeout = static_cast<int>(AckWait::kAckTimeout.count()); // milliseconds

    // `design` is the applet that is loaded into `board`; both are taken over and given back by deinit().
    // Looks the registers up and enables transmitter and receiver.
    GigeCamera(fpga_design design, QLdevice board);
    // Does not release applet and board: deinit() does, and comes first.
    ~GigeCamera() override;

    // Unloads the applet and releases the board; nothing else may be called afterwards. The result is that of
    // the release.
    int deinit();

    // --- FPGA registers: the hardware library's result; a failed read leaves `value` as it was
    int ReadFpgaRegister32(int reg, unsigned int* value);
    int ReadFpgaRegister16(int reg, unsigned short* value);
    int ReadFpgaRegister8(int reg, unsigned char* value);
    int WriteFpgaRegister32(int reg, unsigned int value);
    int WriteFpgaRegister16(int reg, unsigned short value);
    int WriteFpgaRegister8(int reg, unsigned char value);

    // --- MDIO and PHY: on the PHY selected last. They sleep 100 ms or more each
    void SetMdioPhyAddress(unsigned char phy);
    int ReadMdioData(unsigned char reg, unsigned short* value);
    void WriteMdioData(unsigned char reg, unsigned short value);
    void PhyHardwareReset();
    // Configures and restarts one PHY and waits until its reset is over, without limit. `flag` chooses one of
    // two settings of an extended register. The result is that of the last read.
    int PhyReset(unsigned int phy, bool flag);

    // Port 0 to 3, and null for any other number. It lives as long as the board.
    transport::Port* findPort(int number);

    // --- The port's own addresses
    // Copies 6 bytes; a null pointer is ignored.
    void SetMAC(int port, const unsigned char* mac);
    MacBytes portMac(int port) const;
    // The port's IPv4 address, the first octet on top. At first it is 169.254.S.(42 + port), S being the low
    // byte of the board's serial number, in the subnet of 16 bits that all link-local addresses share.
    unsigned int getPortIP(int port) const;
    unsigned int getPortMask(int port) const;
    void setPortIP(int port, const IpBytes& ip, const IpBytes& mask);

    // --- The camera that commands of a port go to
    // Takes record `index` of the discovery table; false and no change when there is no such record. The
    // record stays what it is until the next discovery on the port.
    bool selectCamera(int port, int index);
    // Takes a copy of a record that a discovery may have dropped from the table since.
    void selectCamera(int port, const DiscoveredCamera& record);
    // Null until a camera is selected; commands then go to zero addresses, where nobody answers.
    const DiscoveredCamera* currentCamera(int port) const;

    // --- Frame building: see gvcp_frame.h. Each clears the packet, fills it and sets `length` to the bytes
    // to send; all but the first two advance the port's request id.
    int BuildUdpHeader(int port, UDPPacket* packet, unsigned short gvcpLength, bool broadcast);
    int BuildUdpChecksum(int port, UDPPacket* packet, unsigned short gvcpLength);
    // An odd `flag` asks for a unicast answer. `requestId` 0 takes the port's next one.
    int BuildGvcpDiscoveryPacket(
        int port, UDPPacket* packet, unsigned short* length, int flag, unsigned short requestId);
    int BuildGvcpForceIpPacket(
        int port, UDPPacket* packet, unsigned short* length, const frame::ForcedAddress& to);
    int
    BuildGvcpReadRegisterPacket(int port, UDPPacket* packet, unsigned short* length, unsigned int address);
    int BuildGvcpWriteRegisterPacket(
        int port, UDPPacket* packet, unsigned short* length, unsigned int address, unsigned int value);
    int BuildGvcpReadMemPacket(
        int port, UDPPacket* packet, unsigned short* length, unsigned int address, unsigned int count);
    int BuildGvcpWriteMemoryPacket(
        int port, UDPPacket* packet, unsigned short* length, unsigned int address, const unsigned char* data,
        unsigned int count);
    // The status of an acknowledgement; 0 for a null packet.
    static int checkAckPacket(const UDPPacket* packet);
    // 0 for an ARP frame or one from a DHCP client's port, else 1. For diagnostics.
    static int AnalysePacket(const UDPPacket& packet, int port);

    // --- Frames
    int SendPacket(int port, const void* data, unsigned int length);
    int PrepareSendPacket(int port, const void* data, unsigned int length);
    int SendPreparedPacket(int port);
    int PrepareWriteRegister(int port, unsigned int address, unsigned int value);
    // Takes the next UDP frame for this host, answering ARP requests for the port's address on the way.
    // `timeout` milliseconds count for each frame. Without `packet` the next frame is thrown away, whatever
    // it is. `length` may be null.
    int ReceiveUdpPacket(unsigned int port, UDPPacket* packet, unsigned int* length, int timeout);

    // --- Commands to the selected camera
    int ReadRegister(int port, unsigned int address, int* value);
    // Up to 135 with one command: see command_channel.h.
    int ReadRegisters(
        int port, std::span<const std::uint32_t> addresses, std::uint32_t* values, std::size_t& done);
    int WriteRegister(int port, unsigned int address, int value);
    // Reads `count` bytes into `buffer`, in blocks of 536. 0, or 1 for any failure, with part of the buffer
    // filled. `done` (which may be null) gets the low 16 bits of `count` on success.
    int ReadMemory(int port, unsigned int address, unsigned int count, unsigned short* done, char* buffer);
    // Writes up to 536 bytes; more are refused with kOversized.
    int WriteMemory(int port, unsigned int address, const unsigned char* data, unsigned int count);

    // --- To a camera by its MAC address, which may have any IP address
    // Gives an IP address to the camera. The acknowledgement is waited for; a camera that is to configure
    // itself (address 0) need not send one, so that silence then is success too. The discovery table and
    // the selected camera learn the new address, but not that of a camera that configures itself: only the
    // next discovery finds it.
    int ForceIp(int port, const frame::ForcedAddress& to);

    // The waiting halves of the commands above. `requestId` is the command's, as frame::rawRequestId gives
    // it.
    int ReceiveReadRegAckPacket(int port, int* value, unsigned short requestId);
    int ReceiveWriteRegAckPacket(int port, unsigned short requestId);
    // `capacity` when the acknowledgement filled the buffer, else -1.
    int ReceiveReadMemAckPacket(int port, char* buffer, unsigned int capacity);
    int ReceiveWriteMemoryAckPacket(int port);

    // --- Discovery: refills a port's table. Takes 1.1 s for one port and 1.4 s for all; must not run
    // while commands are under way on its ports. The last argument is not used.
    int Discover(int port, int value);
    int DiscoverAll(int value);
    // Takes one frame: 0 when there was none. Stores the camera of an acknowledgement with this id (0: any).
    int ReceiveDiscoveryAckPacket(int port, int timeout, unsigned short requestId);
    // The new count, or 0 for a camera known already and for one too many.
    int storeDiscoveredCamera(int port, const DiscoveryAckData* ack);
    bool CameraAlreadyFound(int port, const unsigned char* mac) const;

    // The table: records 0 to discoveredCount - 1 of a port. Pointers lead into the record (see
    // DiscoveredCamera: texts may lack their zero) and are null for an index outside the table.
    int discoveredCount(int port) const;
    const DiscoveredCamera* discoveredCamera(int port, int index) const;
    const unsigned char* GetMacAddress(int port, int index) const;
    const unsigned char* GetIPAddress(int port, int index) const;
    const char* GetManufactorName(int port, int index) const;
    const char* GetModellName(int port, int index) const;
    const char* GetDeviceVersion(int port, int index) const;
    const char* GetManufacturerInfo(int port, int index) const;
    const char* GetSerialNumber(int port, int index) const;
    const char* GetUserName(int port, int index) const;

    // --- Stream set-up
    // Sets the port's line length for lines of `width` pixels of a GenICam pixel format; an unknown format
    // counts one unit a pixel. The result is that of the register write.
    int SetEolWidth(int port, int width, const std::string& pixelFormat);

    // Do nothing and return 0: the heartbeat is a GbeHeartbeatThread's.
    int EnableHeartbeat(int port, bool enable);
    int DisableHeartbeat(int port);
    int Test(int port);

    // --- Acknowledgements that arrive by another route, as whole frames, through the slots below. One thread
    // may wait here for what another one hands over.
    int processReadRegAckPacket(int port, const QByteArray& frame);
    int processReadMemAckPacket(int port, const QByteArray& frame);
    int processDiscoveryAckPacket(int port, const QByteArray& frame);
    // Where the next read-memory acknowledgements of the port go; `buffer` stays the caller's, null to end
    // it.
    void setReadMemTarget(int port, char* buffer, unsigned int capacity);
    // Waits for the next acknowledgement of either kind; false when none came in `timeout` milliseconds.
    bool waitForAck(int port, int timeout);
    std::uint32_t readRegResult(int port) const;
    int readMemResult(int port) const;

public Q_SLOTS:
    void readreg_ack_port0(QByteArray frame);
    void readreg_ack_port1(QByteArray frame);
    void readreg_ack_port2(QByteArray frame);
    void readreg_ack_port3(QByteArray frame);
    void readmem_ack_port0(QByteArray frame);
    void readmem_ack_port1(QByteArray frame);
    void readmem_ack_port2(QByteArray frame);
    void readmem_ack_port3(QByteArray frame);
    void discovery_ack_port0(QByteArray frame);
    void discovery_ack_port1(QByteArray frame);
    void discovery_ack_port2(QByteArray frame);
    void discovery_ack_port3(QByteArray frame);

private:
    struct PortPlace {
        PortPlace(int number, fpga_design design, QLdevice board) : port(number, design, board) {}

        transport::Port port;
        transport::AckHandOver acks;
    };

    int id(fpga::BoardRegister reg) const { return m_registers[static_cast<std::size_t>(reg)]; }

    fpga_design m_design;
    QLdevice m_board;
    std::array<PortPlace, kPorts> m_ports;
    std::array<int, fpga::kBoardRegisters.size()> m_registers{};
};
