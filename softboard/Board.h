// One frame grabber: four ports, their PHYs behind MDIO, and the board-wide registers.
#pragma once

#include "softboard/Phy.h"
#include "softboard/Port.h"
#include "softboard/configuration.h"
#include "softboard/design.h"
#include "softboard/registers.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>

namespace softboard {

// Any thread may call anything, within what Port says of transmitting. Several handles of a process share one
// Board.
class Board {
public:
    // Makes what hangs on the ports. Null, and one line in `error`, when something of it cannot be made.
    static std::shared_ptr<Board> create(const BoardConfiguration& configuration, std::string& error);

    explicit Board(const BoardConfiguration& configuration);

    const std::string& camInterface() const { return m_camInterface; }
    int serial() const { return m_serial; }
    int firmwareMajor() const { return m_firmwareMajor; }
    int firmwareMinor() const { return m_firmwareMinor; }

    // Loads the applet; its registers begin from their power-on values. An applet that is in the FPGA already
    // stays as it is, with its registers: other users of the board run on.
    int configure(const KemDesign& design);

    // The last user is gone: registers off, queues closed. PHYs and what hangs on the ports go on.
    void release();

    // Lets go of everything on the ports and ends all threads.
    void shutDown();

    bool configured() const { return m_configured.load(std::memory_order_acquire); }

    int write(int reg, std::uint64_t value);
    int read(int reg, std::uint64_t& value);

    Port& port(std::size_t number) { return *m_ports[number]; }
    Phy& phy(std::size_t number) { return *m_phys[number]; }

    void powerOnPhys(PhyPowerOn state);
    std::uint16_t lookAtPhy(unsigned phy, unsigned reg, bool extended);
    std::uint8_t resetLines();

private:
    struct Mdio {
        std::uint8_t phy = 0;
        std::uint8_t reg = 0;
        std::uint16_t data = 0;
        std::uint16_t result = 0;
    };

    bool attachConfigured(const PortConfiguration& configuration, std::size_t number, std::string& error);
    int writeOwn(BoardRegister reg, std::uint32_t value);
    std::uint32_t readOwn(BoardRegister reg);
    void mdioRead();
    void mdioWrite();
    void setResetLines(std::uint8_t lines);

    const std::string m_camInterface;
    const int m_serial;
    const int m_firmwareMajor;
    const int m_firmwareMinor;

    std::atomic<bool> m_configured{false};
    BoardLines m_lines;
    std::atomic<std::uint32_t> m_txCamEnable{0};

    std::mutex m_mutex; // guards what follows, and the PHYs' registers
    Mdio m_mdio;
    std::uint8_t m_resetLines = 0;

    std::array<std::unique_ptr<Phy>, kPorts> m_phys; // PHY n has MDIO address n and serves port n
    std::array<std::unique_ptr<Port>, kPorts> m_ports;
};

} // namespace softboard
