#include "board/description.h"

#include "board/description_file.h"
#include "board/devices.h"
#include "board/log.h"
#include "genicam/description/limits.h"
#include "genicam/device/ImplGenICamCamera.h"
#include "liomol/exceptions.h"
#include "protocol/bootstrap.h"
#include "transport/command_channel.h"
#include "util/ZipReader.h"

#include <QtCore/QBuffer>
#include <QtCore/QByteArray>
#include <QtCore/QFile>

#include <array>
#include <cstring>
#include <memory>
#include <mutex>
#include <new>

namespace board {
namespace {

// A description, in memory or in a file; with neither there is none.
struct Document {
    std::unique_ptr<char[]> text; // ends with a NUL
    QString file;

    explicit operator bool() const { return text != nullptr || !file.isEmpty(); }
};

// The URL that was parsed last.
struct LastUrl {
    std::mutex mutex;
    DescriptionUrl url; // under mutex
};

// Never destroyed: threads of the application may still run while the process ends.
LastUrl& last() {
    static LastUrl& one = *new LastUrl;
    return one;
}

bool readCameraMemory(CameraPort& place, unsigned address, unsigned length, char* buffer) {
    const HeldPort held(place);
    return held.port() != nullptr &&
           transport::readMemory(*held.port(), address, length, nullptr, buffer) == 0;
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
    ZipReader reader(&archive, genicam::kMaxDescriptionSize);
    if (!reader.hasEntries()) {
        return nullptr;
    }
    return copyOf(reader.fileData(reader.entryInfoAt(0).filePath));
}

bool isPlausibleRange(const DescriptionUrl& url) {
    constexpr std::uint64_t kAddressSpace = std::uint64_t{1} << 32;
    const auto length = static_cast<std::uint64_t>(url.length);
    return url.length > 0 && length <= genicam::kMaxDescriptionSize && url.address + length <= kAddressSpace;
}

Document fetchFromCamera(CameraPort& place, const DescriptionUrl& url) {
    if (!isPlausibleRange(url)) {
        return {};
    }
    const auto length = static_cast<std::size_t>(url.length);
    std::unique_ptr<char[]> bytes(new (std::nothrow) char[length + 1]);
    if (!bytes || !readCameraMemory(place, url.address, static_cast<unsigned>(length), bytes.get())) {
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

Document fetch(CameraPort& place, const DescriptionUrl& url) {
    switch (url.scheme) {
    case UrlScheme::Local:
        return fetchFromCamera(place, url);
    case UrlScheme::File:
        return fetchFromFile(url);
    case UrlScheme::Http: // never fetched
    case UrlScheme::Unusable:
    case UrlScheme::Unread:
        break;
    }
    return {};
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

DescriptionUrl readUrl(CameraPort& place, int which) {
    const unsigned address = which == 0 ? bootstrap::kFirstUrl : bootstrap::kSecondUrl;
    std::array<char, bootstrap::kUrlSize> text{};
    DescriptionUrl url;
    if (readCameraMemory(place, address, text.size(), text.data())) {
        url = parseDescriptionUrl(std::string_view(text.data(), text.size()));
    }
    const std::lock_guard lock(last().mutex);
    last().url = url;
    return url;
}

DescriptionUrl lastUrl() {
    const std::lock_guard lock(last().mutex);
    return last().url;
}

namespace {

const char* ordinal(int which) {
    return which == 0 ? "First" : "Second";
}

} // namespace

bool retrieveDescription(CameraPort& place, std::shared_ptr<Device>& device, bool standardBehaviour) {
    for (const int which : {0, 1}) {
        Document document = fetch(place, readUrl(place, which));
        qCDebug(boardLog) << "board" << place.boardIndex << "port" << place.number << ordinal(which)
                          << (document ? "URL leads to a description" : "URL leads to no description");
        if (!document) {
            continue;
        }
        if (device == nullptr) {
            device = makeDevice(place);
        }
        makeOwn(place, device);
        device->enableStandardBehaviour(standardBehaviour);
        if (connectDevice(*device, std::move(document))) {
            return true;
        }
    }
    return false;
}

} // namespace board
