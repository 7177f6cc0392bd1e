#include "board/GenICamPortWrapper.h"

#include "board/CamerasInUse.h"
#include "board/description.h"
#include "board/devices.h"
#include "genicam/device/ImplGenICamCamera.h"
#include "liomol/exceptions.h"
#include "service/GbeTransmission.h"
#include "service/commands.h"
#include "util/error_detail.h"

#include <QtCore/QCoreApplication>

#include <cerrno>
#include <stdexcept>

using board::findBoard;
using board::findPort;

int GenICamPortWrapper::initBoard(int board, int flags) {
    board::Board* found = findBoard(board);
    return found != nullptr && found->open(flags) ? 0 : -1;
}

int GenICamPortWrapper::freeBoard(int board) {
    if (board::Board* found = findBoard(board)) {
        found->close();
    }
    return 0;
}

GigeCamera* GenICamPortWrapper::getBoard(int board) {
    const board::Board* found = findBoard(board);
    return found != nullptr ? found->get() : nullptr;
}

bool GenICamPortWrapper::isBoardInitialized(int) {
    return false;
}

int GenICamPortWrapper::discover(int board, int port, int value) {
    board::CameraPort* found = findPort(board, port);
    return found != nullptr ? board::Board::discover(*found, value) : -1;
}

int GenICamPortWrapper::discover(int board, int value) {
    board::Board* found = findBoard(board);
    return found != nullptr ? found->discover(value) : -1;
}

void GenICamPortWrapper::discoverAll() {
    GbeTransmission service;
    const int cause = service.isEstablished() ? EPROTO : errno;
    if (!service.isEstablished() || !cmdRescan(service, kAllBoards, kAllPorts)) {
        util::fail<tavo::GicConnectionException>([cause] { return serviceSentence(cause); });
    }
}

QMutex& GenICamPortWrapper::mutex(int board, int port) {
    if (board::CameraPort* found = findPort(board, port)) {
        return found->mutex();
    }
    throw std::out_of_range("no such port");
}

tavo::ImplGenICamCamera* GenICamPortWrapper::getDevice(int board, int port) {
    const board::CameraPort* found = findPort(board, port);
    return found != nullptr ? found->device() : nullptr;
}

tavo::GenICamCamera* GenICamPortWrapper::getGenICamInterface(int board, int port) {
    return getDevice(board, port);
}

void GenICamPortWrapper::deleteCamera(int board, int port) {
    board::CameraPort* found = findPort(board, port);
    if (found == nullptr || found->device() == nullptr) {
        return;
    }
    board::makeOwn(*found, nullptr);
    if (QCoreApplication::instance() != nullptr) {
        QCoreApplication::processEvents();
    }
}

bool GenICamPortWrapper::isCameraInUse(const unsigned char* mac) {
    return board::CamerasInUse::instance().contains(mac);
}

void GenICamPortWrapper::setCameraInUse(const unsigned char* mac, bool inUse) {
    if (inUse) {
        board::CamerasInUse::instance().take(mac);
    } else {
        board::CamerasInUse::instance().giveBack(mac);
    }
}

int GenICamPortWrapper::ReadXMLUrl(int board, int port, int which) {
    board::CameraPort* found = findPort(board, port);
    const auto scheme = found != nullptr ? board::readUrl(*found, which).scheme : board::UrlScheme::Unread;
    return static_cast<int>(scheme);
}

board::DescriptionUrl GenICamPortWrapper::lastUrl() {
    return board::lastUrl();
}

int GenICamPortWrapper::initializeGenICamInterface(int board, int port, bool standardBehaviour) {
    board::CameraPort* found = findPort(board, port);
    if (found == nullptr) {
        return -1;
    }
    std::shared_ptr<board::Device> device = board::HeldPort(*found).device();
    return board::retrieveDescription(*found, device, standardBehaviour) ? 0 : -1;
}
