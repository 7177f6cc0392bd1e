// The control interface, carried out on the boards of this process.
#include "softboard/Hardware.h"
#include "softboard/InProcessLink.h"
#include "softboard/softboard.h"

namespace softboard {

namespace {

// A port together with the board that keeps it alive; false when there is none.
class PortReference {
public:
    PortReference(int board, int port)
        : m_board(port >= 0 && port < kPorts ? Hardware::instance().find(board) : nullptr), m_port(port) {}

    explicit operator bool() const { return m_board != nullptr; }
    Port* operator->() const { return &m_board->port(static_cast<std::size_t>(m_port)); }

private:
    const std::shared_ptr<Board> m_board;
    const int m_port;
};

} // namespace

bool loadConfiguration(const std::string& text, std::string& error) {
    return Hardware::instance().load(text, "configuration", error);
}

bool attach(int board, int port, std::shared_ptr<ethernet::Endpoint> station) {
    return station && attach(board, port, std::make_shared<InProcessLink>(std::move(station)));
}

bool attach(int board, int port, std::shared_ptr<Link> link) {
    const PortReference own(board, port);
    if (!own || !link) {
        return false;
    }
    own->attach(std::move(link));
    return true;
}

bool detach(int board, int port, const std::shared_ptr<ethernet::Endpoint>& station) {
    const PortReference own(board, port);
    return own && own->detach([&](const Link& link) {
        const auto* const inProcess = dynamic_cast<const InProcessLink*>(&link);
        return inProcess != nullptr && inProcess->station() == station;
    });
}

bool detach(int board, int port, const std::shared_ptr<Link>& link) {
    const PortReference own(board, port);
    return own && own->detach([&](const Link& other) { return &other == link.get(); });
}

bool detachAll(int board, int port) {
    const PortReference own(board, port);
    if (own) {
        own->detachAll();
    }
    return static_cast<bool>(own);
}

bool startCapture(int board, int port, const std::string& file, std::string& error) {
    const PortReference own(board, port);
    if (!own) {
        error = "no such port";
        return false;
    }
    auto capture = CaptureFile::create(file, error);
    if (!capture) {
        return false;
    }
    own->setCapture(std::move(capture));
    return true;
}

bool stopCapture(int board, int port) {
    const PortReference own(board, port);
    if (own) {
        own->setCapture(nullptr);
    }
    return static_cast<bool>(own);
}

bool setFaultPlan(int board, int port, const FaultPlan& plan) {
    const PortReference own(board, port);
    if (own) {
        own->setFaultPlan(plan);
    }
    return static_cast<bool>(own);
}

bool injectFrame(int board, int port, const void* frame, std::size_t size) {
    const PortReference own(board, port);
    if (own) {
        own->receive(static_cast<const std::uint8_t*>(frame), size);
    }
    return static_cast<bool>(own);
}

bool injectQueueWords(int board, int port, const std::vector<std::uint32_t>& words) {
    const PortReference own(board, port);
    return own && own->queue().pushWords(words);
}

bool powerOnPhys(int board, PhyPowerOn state) {
    const auto own = Hardware::instance().find(board);
    if (own) {
        own->powerOnPhys(state);
    }
    return own != nullptr;
}

std::uint16_t phyRegister(int board, unsigned phy, unsigned reg) {
    const auto own = Hardware::instance().find(board);
    return own ? own->lookAtPhy(phy, reg, false) : Phy::kNothing;
}

std::uint16_t phyExtendedRegister(int board, unsigned phy, unsigned reg) {
    const auto own = Hardware::instance().find(board);
    return own ? own->lookAtPhy(phy, reg, true) : Phy::kNothing;
}

BoardState boardState(int board) {
    const auto own = Hardware::instance().find(board);
    return own ? BoardState{true, Hardware::instance().opens(board), own->configured(), own->resetLines()}
               : BoardState{};
}

PortState portState(int board, int port) {
    const PortReference own(board, port);
    return own ? own->state() : PortState{};
}

} // namespace softboard
