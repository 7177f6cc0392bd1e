// Finding a camera's description and building its device object.
#include "board/GenICamPortWrapper.h"
#include "board/description_file.h"
#include "board/description_url.h"
#include "board/tables.h"
#include "genicam/device/ImplGenICamCamera.h"
#include "liomol/exceptions.h"
#include "protocol/bootstrap.h"
#include "util/ZipReader.h"
#include "util/qt_locks.h"

#include <QtCore/QBuffer>
#include <QtCore/QByteArray>
#include <QtCore/QFile>

#include <array>
#include <cstring>
#include <memory>
#include <new>

namespace board {
namespace {

// A description, in memory or in a file; with neither there is none.
struct Document {
    std::unique_ptr<char[]> text; // ends with a NUL
    QString file;

    explicit operator bool() const { return text != nullptr || !file.isEmpty(); }
};

bool readCameraMemory(int boardIndex, int port, unsigned address, unsigned length, char* buffer) {
    const util::ScopedMutex lock(GenICamPortWrapper::mutex(boardIndex, port));
    GigeCamera* open = GenICamPortWrapper::getBoard(boardIndex);
    unsigned short done = 0;
    return open != nullptr && open->ReadMemory(port, address, length, &done, buffer) == 0;
}

std::unique_ptr<char[]> copyOf(const QByteArray& bytes) {
    if (bytes.isEmpty()) {
        return nullptr;
    }
    const auto size = static_cast<std::size_t>(bytes.size());
    std::unique_ptr<char[]> text(new (std::nothrow) char[size + 1]);
    if (text) {
        std::memcpy(text.get(), bytes.constData(), size);
        text[size] = '\0';
    }
    return text;
}

// The first entry of an archive, or nothing.
std::unique_ptr<char[]> unpack(QIODevice& archive) {
    ZipReader reader(&archive, tavo::kMaxDescriptionSize);
    if (!reader.hasEntries()) {
        return nullptr;
    }
    return copyOf(reader.fileData(reader.entryInfoAt(0).filePath));
}

bool isPlausibleRange(const DescriptionUrl& url) {
    constexpr std::uint64_t kAddressSpace = std::uint64_t{1} << 32;
    const auto length = static_cast<std::uint64_t>(url.length);
    return url.length > 0 && length <= tavo::kMaxDescriptionSize && url.address + length <= kAddressSpace;
}

Document fetchFromCamera(int boardIndex, int port, const DescriptionUrl& url) {
    if (!isPlausibleRange(url)) {
        return {};
    }
    const auto length = static_cast<std::size_t>(url.length);
    std::unique_ptr<char[]> bytes(new (std::nothrow) char[length + 1]);
    if (!bytes ||
        !readCameraMemory(boardIndex, port, url.address, static_cast<unsigned>(length), bytes.get())) {
        return {};
    }
    bytes[length] = '\0';
    if (!url.isZip) {
        return {std::move(bytes), {}};
    }
    QByteArray packed = QByteArray::fromRawData(bytes.get(), url.length);
    QBuffer archive(&packed);
    archive.open(QIODevice::ReadOnly);
    return {unpack(archive), {}};
}

Document fetchFromFile(const DescriptionUrl& url) {
    const QString path = findDescriptionFile(url.fileName);
    if (!url.isZip) {
        return {nullptr, path};
    }
    QFile archive(path);
    if (!archive.open(QIODevice::ReadOnly)) {
        return {};
    }
    return {unpack(archive), {}};
}

Document fetch(int boardIndex, int port, const DescriptionUrl& url) {
    switch (url.scheme) {
    case UrlScheme::Local:
        return fetchFromCamera(boardIndex, port, url);
    case UrlScheme::File:
        return fetchFromFile(url);
    case UrlScheme::Http: // deliberately never fetched
    case UrlScheme::Unusable:
    case UrlScheme::Unread:
        break;
    }
    return {};
}

DescriptionUrl readUrl(int boardIndex, int port, int which) {
    const unsigned address = which == 0 ? bootstrap::kFirstUrl : bootstrap::kSecondUrl;
    std::array<char, bootstrap::kUrlSize> text{};
    DescriptionUrl url;
    if (readCameraMemory(boardIndex, port, address, text.size(), text.data())) {
        url = parseDescriptionUrl(std::string_view(text.data(), text.size()));
    }
    LastUrl& last = tables().lastUrl;
    const std::lock_guard lock(last.mutex);
    last.url = url;
    return url;
}

bool connectDevice(tavo::ImplGenICamCamera& device, Document document) {
    if (document.text) {
        device.retrieveRegisterDescriptionFromMemory(document.text.release());
    } else {
        device.retrieveRegisterDescription(QFile::encodeName(document.file).toStdString());
    }
    return device.waitForConnection() != 0;
}

} // namespace
} // namespace board

int GenICamPortWrapper::ReadXMLUrl(int board, int port, int which) {
    return static_cast<int>(board::readUrl(board, port, which).scheme);
}

board::DescriptionUrl GenICamPortWrapper::lastUrl() {
    board::LastUrl& last = board::tables().lastUrl;
    const std::lock_guard lock(last.mutex);
    return last.url;
}

int GenICamPortWrapper::initializeGenICamInterface(int board, int port, bool standardBehaviour) {
    for (const int which : {0, 1}) {
        board::Document document = board::fetch(board, port, board::readUrl(board, port, which));
        if (!document) {
            continue;
        }
        tavo::ImplGenICamCamera& device = *makeDevice(board, port);
        device.enableStandardBehaviour(standardBehaviour);
        if (board::connectDevice(device, std::move(document))) {
            return 0;
        }
    }
    return -1;
}
