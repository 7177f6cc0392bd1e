// The process-wide registry: open boards, ports, device objects, cameras in use.
#include "board/GenICamPortWrapper.h"
#include "board/camera.h"
#include "board/init_gbe.h"
#include "board/tables.h"
#include "genicam/device/ImplGenICamCamera.h"
#include "liomol/exceptions.h"
#include "service/GbeTransmission.h"
#include "service/commands.h"
#include "util/qt_locks.h"

#include <QtCore/QCoreApplication>

#include <memory>
#include <optional>

namespace board {

Tables& tables() {
    static Tables& all = *new Tables;
    return all;
}

namespace {

constexpr const char* kDevicePort = "Device";
constexpr IpBytes kUsualMask{255, 255, 255, 0};

// Each port's addresses are asked for in an exchange of its own. An IP address that comes without a mask is
// taken for one of the smallest usual network.
bool setPortAddresses(int boardIndex, GigeCamera& open) {
    for (int port = 0; port < GenICamPortWrapper::kPorts; ++port) {
        GbeTransmission service;
        unsigned char mac[6] = {};
        PortIp address;
        if (!service.isEstablished() ||
            !cmdStatus(service, boardIndex, static_cast<unsigned>(port), nullptr, mac, &address)) {
            return false;
        }
        open.SetMAC(port, mac);
        if (address.ip != IpBytes{}) {
            open.setPortIP(port, address.ip, address.mask != IpBytes{} ? address.mask : kUsualMask);
        }
    }
    return true;
}

void closeBoard(GigeCamera* open) {
    open->deinit();
    delete open;
}

// Keeps all ports of a board quiet for a scope.
class AllPorts {
public:
    explicit AllPorts(int boardIndex)
        : m_locks{
              Lock(tables().port(boardIndex, 0).traffic), Lock(tables().port(boardIndex, 1).traffic),
              Lock(tables().port(boardIndex, 2).traffic), Lock(tables().port(boardIndex, 3).traffic)} {
        static_assert(GenICamPortWrapper::kPorts == 4);
    }

private:
    using Lock = util::ScopedMutex;
    Lock m_locks[GenICamPortWrapper::kPorts];
};

// A scan empties the table that current cameras are records of. A camera whose port is in use gets its record
// back: its heartbeat and its features must not go to whoever answered first this time.
class KeptCamera {
public:
    KeptCamera(GigeCamera& open, int boardIndex, int port) : m_board(open), m_port(port) {
        const DiscoveredCamera* current = open.currentCamera(port);
        if (current != nullptr && GenICamPortWrapper::portUser(boardIndex, port) != nullptr) {
            m_record = *current;
        }
    }

    void restore() {
        if (m_record && !camera(&m_board, m_port).selectCameraViaMac(m_record->mac)) {
            m_board.selectCamera(m_port, *m_record);
        }
    }

private:
    GigeCamera& m_board;
    int m_port;
    std::optional<DiscoveredCamera> m_record;
};

// Tells a device, and through it its door, where its camera hangs. Commands go to the port's current camera,
// so that no address is needed.
void lead(tavo::ImplGenICamCamera& device, int boardIndex, int port) {
    constexpr unsigned kNoAddress = 0;
    device.addCameraConnection(boardIndex, port);
    device.setConnection({boardIndex, port}, kNoAddress);
}

std::uint64_t keyOf(const unsigned char* mac) {
    std::uint64_t key = 0;
    for (int byte = 0; byte < 6; ++byte) {
        key |= std::uint64_t{mac[byte]} << (8 * byte);
    }
    return key;
}

} // namespace
} // namespace board

using board::tables;

int GenICamPortWrapper::initBoard(int board, int flags) {
    if (!board::isBoard(board)) {
        return -1;
    }
    board::BoardEntry& entry = tables().boards.at(static_cast<std::size_t>(board));
    const std::lock_guard opening(entry.opening);
    if (entry.board != nullptr) {
        return 0;
    }
    GigeCamera* open = init_gbe(board, flags);
    if (open == nullptr) {
        return -1;
    }
    if (flags != kServiceMode && !board::setPortAddresses(board, *open)) {
        board::closeBoard(open);
        return -1;
    }
    entry.board = open;
    return 0;
}

int GenICamPortWrapper::freeBoard(int board) {
    if (!board::isBoard(board)) {
        return 0;
    }
    board::BoardEntry& entry = tables().boards.at(static_cast<std::size_t>(board));
    const std::lock_guard opening(entry.opening);
    if (entry.board != nullptr) {
        const std::lock_guard mdio(entry.mdio);
        const board::AllPorts quiet(board);
        board::closeBoard(entry.board.exchange(nullptr));
    }
    return 0;
}

GigeCamera* GenICamPortWrapper::getBoard(int board) {
    return board::isBoard(board) ? tables().boards.at(static_cast<std::size_t>(board)).board.load() : nullptr;
}

bool GenICamPortWrapper::isBoardInitialized(int) {
    return false;
}

int GenICamPortWrapper::discover(int board, int port, int value) {
    if (!board::isBoard(board) || !board::isPort(port)) {
        return -1;
    }
    const util::ScopedMutex lock(mutex(board, port));
    GigeCamera* open = getBoard(board);
    if (open == nullptr) {
        return -1;
    }
    board::KeptCamera kept(*open, board, port);
    const int result = open->Discover(port, value);
    kept.restore();
    return result;
}

int GenICamPortWrapper::discover(int board, int value) {
    if (!board::isBoard(board)) {
        return -1;
    }
    const board::AllPorts quiet(board);
    GigeCamera* open = getBoard(board);
    if (open == nullptr) {
        return -1;
    }
    board::KeptCamera kept[] = {{*open, board, 0}, {*open, board, 1}, {*open, board, 2}, {*open, board, 3}};
    const int result = open->DiscoverAll(value);
    for (board::KeptCamera& one : kept) {
        one.restore();
    }
    return result;
}

void GenICamPortWrapper::discoverAll() {
    GbeTransmission service;
    if (!service.isEstablished() || !cmdRescan(service, kAllBoards, kAllPorts)) {
        throw tavo::GicConnectionException();
    }
}

QMutex& GenICamPortWrapper::mutex(int board, int port) {
    return tables().port(board, port).traffic;
}

std::mutex& GenICamPortWrapper::mdioMutex(int board) {
    return tables().boards.at(static_cast<std::size_t>(board)).mdio;
}

bool GenICamPortWrapper::claimPort(int board, int port, const void* user) {
    const void* nobody = nullptr;
    return tables().port(board, port).user.compare_exchange_strong(nobody, user) || nobody == user;
}

void GenICamPortWrapper::releasePort(int board, int port, const void* user) {
    tables().port(board, port).user.compare_exchange_strong(user, nullptr);
}

const void* GenICamPortWrapper::portUser(int board, int port) {
    return tables().port(board, port).user;
}

tavo::ImplGenICamCamera* GenICamPortWrapper::getDevice(int board, int port) {
    return board::isBoard(board) && board::isPort(port) ? tables().port(board, port).device.load() : nullptr;
}

tavo::GenICamCamera* GenICamPortWrapper::getGenICamInterface(int board, int port) {
    return getDevice(board, port);
}

// The port's device object, made and registered if there is none.
tavo::ImplGenICamCamera* GenICamPortWrapper::makeDevice(int board, int port) {
    std::atomic<tavo::ImplGenICamCamera*>& entry = tables().port(board, port).device;
    if (entry == nullptr) {
        auto device = std::make_unique<tavo::ImplGenICamCamera>();
        device->setPort(new GenICamPortWrapper(board, port, device.get()), board::kDevicePort);
        board::lead(*device, board, port);
        entry = device.release();
    }
    return entry;
}

// Threads of the device may be using the door: they stop before it goes.
void GenICamPortWrapper::deleteCamera(int board, int port) {
    tavo::ImplGenICamCamera* device = getDevice(board, port);
    if (device == nullptr) {
        return;
    }
    device->stopAsyncMethods();
    delete device->getPort(board::kDevicePort);
    tables().port(board, port).device = nullptr;
    delete device;
    if (QCoreApplication::instance() != nullptr) {
        QCoreApplication::processEvents();
    }
}

bool GenICamPortWrapper::moveCamera(int board, int port, int newBoard, int newPort) {
    tavo::ImplGenICamCamera* device = getDevice(board, port);
    tavo::ImplGenICamCamera* none = nullptr;
    if (device == nullptr || !tables().port(newBoard, newPort).device.compare_exchange_strong(none, device)) {
        return false;
    }
    tables().port(board, port).device = nullptr;
    board::lead(*device, newBoard, newPort);
    return true;
}

QString GenICamPortWrapper::localXmlFile(int board, int port) {
    board::PortEntry& entry = tables().port(board, port);
    const std::lock_guard lock(entry.fileMutex);
    return QString::fromStdString(entry.localXmlFile);
}

void GenICamPortWrapper::setLocalXmlFile(int board, int port, const QString& fileName) {
    board::PortEntry& entry = tables().port(board, port);
    const std::lock_guard lock(entry.fileMutex);
    entry.localXmlFile = fileName.toStdString();
}

bool GenICamPortWrapper::isCameraInUse(const unsigned char* mac) {
    board::CamerasInUse& inUse = tables().camerasInUse;
    const std::lock_guard lock(inUse.mutex);
    return inUse.keys.count(board::keyOf(mac)) != 0;
}

bool GenICamPortWrapper::takeCamera(const unsigned char* mac) {
    board::CamerasInUse& inUse = tables().camerasInUse;
    const std::lock_guard lock(inUse.mutex);
    return inUse.keys.insert(board::keyOf(mac)).second;
}

void GenICamPortWrapper::setCameraInUse(const unsigned char* mac, bool inUse) {
    if (inUse) {
        takeCamera(mac);
        return;
    }
    board::CamerasInUse& table = tables().camerasInUse;
    const std::lock_guard lock(table.mutex);
    table.keys.erase(board::keyOf(mac));
}
