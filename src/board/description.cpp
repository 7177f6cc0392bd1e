#include "board/description.h"

#include "board/description_file.h"
#include "board/devices.h"
#include "board/failures.h"
#include "board/log.h"
#include "genicam/description/limits.h"
#include "genicam/device/ImplGenICamCamera.h"
#include "liomol/exceptions.h"
#include "protocol/bootstrap.h"
#include "transport/command_channel.h"
#include "util/ZipReader.h"
#include "util/error_detail.h"

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

// A description, in memory or in a file; with neither there is none, for a reason.
struct Document {
    std::unique_ptr<char[]> text; // ends with a NUL
    QString file;
    std::string reason;

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

Document none(std::string reason) {
    return {nullptr, {}, std::move(reason)};
}

// Empty when it was read, or why it was not.
std::string readCameraMemory(CameraPort& place, unsigned address, unsigned length, char* buffer) {
    const HeldPort held(place);
    if (held.port() == nullptr) {
        return "the board is closed";
    }
    const int result = transport::readMemory(*held.port(), address, length, nullptr, buffer);
    return result == 0 ? "" : accessSentence(true, address, length, held.port()->arrears().lastBlock);
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

// The first entry of an archive.
Document unpack(QIODevice& archive) {
    ZipReader reader(&archive, genicam::kMaxDescriptionSize);
    auto text = reader.hasEntries() ? copyOf(reader.fileData(reader.entryInfoAt(0).filePath)) : nullptr;
    return text != nullptr ? Document{std::move(text), {}, {}} : none("its zip archive gives no file");
}

bool isPlausibleRange(const DescriptionUrl& url) {
    constexpr std::uint64_t kAddressSpace = std::uint64_t{1} << 32;
    const auto length = static_cast<std::uint64_t>(url.length);
    return url.length > 0 && length <= genicam::kMaxDescriptionSize && url.address + length <= kAddressSpace;
}

Document fetchFromCamera(CameraPort& place, const DescriptionUrl& url) {
    if (!isPlausibleRange(url)) {
        return none("no description can have that length and address");
    }
    const auto length = static_cast<std::size_t>(url.length);
    std::unique_ptr<char[]> bytes(new (std::nothrow) char[length + 1]);
    std::string reason =
        bytes != nullptr ? readCameraMemory(place, url.address, static_cast<unsigned>(length), bytes.get())
                         : "there is no memory for it";
    if (!reason.empty()) {
        return none(std::move(reason));
    }
    bytes[length] = '\0';
    if (!url.isZip) {
        return {std::move(bytes), {}, {}};
    }
    QByteArray packed = QByteArray::fromRawData(bytes.get(), url.length);
    QBuffer archive(&packed);
    archive.open(QIODevice::ReadOnly);
    return unpack(archive);
}

Document fetchFromFile(const DescriptionUrl& url) {
    const QString path = findDescriptionFile(url.fileName);
    if (!url.isZip) {
        return {nullptr, path, {}};
    }
    QFile archive(path);
    if (!archive.open(QIODevice::ReadOnly)) {
        return none("the file cannot be read");
    }
    return unpack(archive);
}

Document fetch(CameraPort& place, const DescriptionUrl& url) {
    switch (url.scheme) {
    case UrlScheme::Local:
        return fetchFromCamera(place, url);
    case UrlScheme::File:
        return fetchFromFile(url);
    case UrlScheme::Http:
        return none("nothing is fetched from the web");
    case UrlScheme::Unusable:
        return none("it names no description");
    case UrlScheme::Unread:
        break;
    }
    return none({}); // why it was not read is told with it
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

namespace {

// A URL as it stands in the camera, and what it means; `reason` is why it could not be read.
struct ReadUrl {
    std::string text;
    DescriptionUrl url;
    std::string reason;
};

ReadUrl readUrlText(CameraPort& place, int which) {
    const unsigned address = which == 0 ? bootstrap::kFirstUrl : bootstrap::kSecondUrl;
    std::array<char, bootstrap::kUrlSize + 1> text{};
    ReadUrl read;
    read.reason = readCameraMemory(place, address, bootstrap::kUrlSize, text.data());
    if (read.reason.empty()) {
        read.text = text.data();
        read.url = parseDescriptionUrl(read.text);
    }
    const std::lock_guard lock(last().mutex);
    last().url = read.url;
    return read;
}

} // namespace

DescriptionUrl readUrl(CameraPort& place, int which) {
    return readUrlText(place, which).url;
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

namespace {

// The port's own from here on.
void makeDeviceOf(CameraPort& place, std::shared_ptr<Device>& device) {
    if (device == nullptr) {
        device = makeDevice(place);
    }
    makeOwn(place, device);
}

// What is told when neither URL has led to a description.
void addReason(std::string& all, int which, const ReadUrl& read, const std::string& reason) {
    constexpr std::size_t kLongestUrl = 120;
    all += all.empty() ? "" : "; ";
    all += std::string(which == 0 ? "first" : "second") + " URL";
    if (!read.reason.empty()) {
        all += ": " + read.reason;
    } else if (read.text.empty()) {
        all += " empty";
    } else {
        all += " \"" + read.text.substr(0, kLongestUrl) + "\": " + reason;
    }
}

} // namespace

bool retrieveDescription(CameraPort& place, std::shared_ptr<Device>& device, bool standardBehaviour) {
    std::string reasons;
    for (const int which : {0, 1}) {
        const ReadUrl read = readUrlText(place, which);
        Document document = fetch(place, read.url);
        qCDebug(boardLog) << "board" << place.boardIndex << "port" << place.number << ordinal(which)
                          << (document ? "URL leads to a description" : "URL leads to no description");
        if (!document) {
            addReason(reasons, which, read, document.reason);
            continue;
        }
        makeDeviceOf(place, device);
        device->enableStandardBehaviour(standardBehaviour);
        if (connectDevice(*device, std::move(document))) {
            return true;
        }
        addReason(reasons, which, read, device->refusal());
    }
    util::setErrorDetail(reasons);
    return false;
}

bool doWithoutDescription(CameraPort& place, std::shared_ptr<Device>& device) {
    static constexpr char kText[] =
        R"(<RegisterDescription><Category Name="Root"/><Port Name="Device"/></RegisterDescription>)";
    auto text = std::make_unique<char[]>(sizeof kText);
    std::memcpy(text.get(), kText, sizeof kText);
    makeDeviceOf(place, device);
    return connectDevice(*device, {std::move(text), {}, {}});
}

} // namespace board
