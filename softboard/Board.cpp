#include "softboard/Board.h"

#include "softboard/InProcessLink.h"
#include "softboard/InterfaceLink.h"
#include "softboard/hw_results.h"

namespace softboard {

namespace {

constexpr std::uint8_t kAllReleased = (1U << kPorts) - 1;

} // namespace

Board::Board(const BoardConfiguration& configuration)
    : m_camInterface(configuration.camInterface), m_serial(configuration.serial),
      m_firmwareMajor(configuration.firmwareMajor), m_firmwareMinor(configuration.firmwareMinor) {
    for (std::size_t i = 0; i < m_ports.size(); ++i) {
        m_phys[i] = std::make_unique<Phy>(configuration.negotiation);
        m_ports[i] = std::make_unique<Port>(m_lines, *m_phys[i], configuration.ports[i].queueWords);
    }
    powerOnPhys(configuration.phy);
}

std::shared_ptr<Board> Board::create(const BoardConfiguration& configuration, std::string& error) {
    auto board = std::make_shared<Board>(configuration);
    for (std::size_t i = 0; i < configuration.ports.size(); ++i) {
        if (!board->attachConfigured(configuration.ports[i], i, error)) {
            return nullptr;
        }
    }
    return board;
}

bool Board::attachConfigured(const PortConfiguration& configuration, std::size_t number, std::string& error) {
    Port& own = port(number);
    own.setFaultPlan(configuration.faults);
    if (!configuration.capture.empty()) {
        auto capture = CaptureFile::create(configuration.capture, error);
        if (!capture) {
            error = configuration.place + ": " + error;
            return false;
        }
        own.setCapture(std::move(capture));
    }
    if (!configuration.interface.interface.empty()) {
        std::shared_ptr<Link> link = InterfaceLink::create(configuration.interface, error);
        if (!link) {
            error = configuration.place + ": " + error;
            return false;
        }
        own.attach(std::move(link));
    }
    for (const CameraConfiguration& camera : configuration.cameras) {
        std::string reason;
        std::shared_ptr<ethernet::Endpoint> station = ethernet::makeCamera(camera.settings, reason);
        if (!station) {
            error = camera.place + ": " + reason;
            return false;
        }
        own.attach(std::make_shared<InProcessLink>(std::move(station)));
    }
    return true;
}

int Board::configure(const KemDesign& design) {
    const std::lock_guard lock(m_mutex);
    if (design.major != m_firmwareMajor || design.minor != m_firmwareMinor) {
        return kWrongApplet;
    }
    if (!configured()) {
        for (const auto& port : m_ports) {
            port->setConfigured(true);
        }
        m_configured.store(true, std::memory_order_release);
    }
    return kSuccess;
}

void Board::release() {
    const std::lock_guard lock(m_mutex);
    m_configured.store(false, std::memory_order_release);
    m_lines.transmit = false;
    m_lines.receive = false;
    m_txCamEnable = 0;
    m_mdio = {};
    for (const auto& port : m_ports) {
        port->setConfigured(false);
    }
}

void Board::shutDown() {
    for (const auto& port : m_ports) {
        port->shutDown();
    }
}

int Board::write(int reg, std::uint64_t value) {
    const RegisterSlot* const slot = findRegister(reg);
    if (slot == nullptr) {
        return kNoSuchRegister;
    }
    if (!configured()) {
        return kNotConfigured;
    }
    if (slot->access != Access::Write && slot->access != Access::ReadWrite) {
        return kNotWritable;
    }
    const auto masked = static_cast<std::uint32_t>(value & slot->mask);
    return slot->port < kPorts ? m_ports[slot->port]->write(static_cast<PortRegister>(slot->index), masked)
                               : writeOwn(static_cast<BoardRegister>(slot->index), masked);
}

int Board::read(int reg, std::uint64_t& value) {
    const RegisterSlot* const slot = findRegister(reg);
    if (slot == nullptr) {
        return kNoSuchRegister;
    }
    if (!configured()) {
        return kNotConfigured;
    }
    if (slot->access != Access::Read && slot->access != Access::ReadWrite) {
        return kNotReadable;
    }
    value =
        slot->mask & (slot->port < kPorts ? m_ports[slot->port]->read(static_cast<PortRegister>(slot->index))
                                          : readOwn(static_cast<BoardRegister>(slot->index)));
    return kSuccess;
}

int Board::writeOwn(BoardRegister reg, std::uint32_t value) {
    switch (reg) {
    case BoardRegister::TxStart:
        m_lines.transmit = value != 0;
        return kSuccess;
    case BoardRegister::RxEnable:
        m_lines.receive = value != 0;
        return kSuccess;
    case BoardRegister::TxCamEnable:
        m_txCamEnable = value;
        return kSuccess;
    default:
        break;
    }
    const std::lock_guard lock(m_mutex);
    switch (reg) {
    case BoardRegister::MdioRead:
        mdioRead();
        break;
    case BoardRegister::MdioWrite:
        mdioWrite();
        break;
    case BoardRegister::MdioData:
        m_mdio.data = static_cast<std::uint16_t>(value);
        break;
    case BoardRegister::MdioRegisterAddress:
        m_mdio.reg = static_cast<std::uint8_t>(value);
        break;
    case BoardRegister::MdioPhyAddress:
        m_mdio.phy = static_cast<std::uint8_t>(value);
        break;
    case BoardRegister::Reset:
        setResetLines(static_cast<std::uint8_t>(value));
        break;
    default:
        return kNotWritable;
    }
    return kSuccess;
}

std::uint32_t Board::readOwn(BoardRegister reg) {
    if (reg == BoardRegister::TxCamEnable) {
        return m_txCamEnable;
    }
    const std::lock_guard lock(m_mutex);
    return m_mdio.result;
}

void Board::mdioRead() {
    m_mdio.result = m_mdio.phy < kPorts ? m_phys[m_mdio.phy]->read(m_mdio.reg, m_ports[m_mdio.phy]->carrier())
                                        : Phy::kNothing;
}

void Board::mdioWrite() {
    if (m_mdio.phy < kPorts) {
        m_phys[m_mdio.phy]->write(m_mdio.reg, m_mdio.data);
    }
}

void Board::setResetLines(std::uint8_t lines) {
    m_resetLines = lines;
    for (std::size_t i = 0; i < m_phys.size(); ++i) {
        m_phys[i]->setHeld((lines >> i & 1U) == 0);
    }
}

void Board::powerOnPhys(PhyPowerOn state) {
    const std::lock_guard lock(m_mutex);
    m_resetLines = state == PhyPowerOn::Up ? kAllReleased : 0;
    for (const auto& phy : m_phys) {
        phy->powerOn(state);
    }
}

std::uint16_t Board::lookAtPhy(unsigned phy, unsigned reg, bool extended) {
    const std::lock_guard lock(m_mutex);
    if (phy >= kPorts) {
        return Phy::kNothing;
    }
    return extended ? m_phys[phy]->lookExtended(reg) : m_phys[phy]->look(reg, m_ports[phy]->carrier());
}

std::uint8_t Board::resetLines() {
    const std::lock_guard lock(m_mutex);
    return m_resetLines;
}

} // namespace softboard
