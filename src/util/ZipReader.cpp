#include "util/ZipReader.h"

#include <QtCore/QIODevice>

#include <zlib.h>

#include <algorithm>
#include <limits>
#include <vector>

namespace {

// Records and field offsets of the zip format; every number is little-endian.
constexpr quint32 kLocalSignature = 0x04034b50;
constexpr quint32 kDirectorySignature = 0x02014b50;
constexpr quint32 kEndSignature = 0x06054b50;
constexpr int kLocalSize = 30;
constexpr int kDirectorySize = 46;
constexpr int kEndSize = 22;
constexpr int kMaxCommentSize = 65535;

namespace local {
constexpr int kMethod = 8, kNameLength = 26, kExtraLength = 28;
}
namespace directory {
constexpr int kMadeBy = 5, kCrc = 16, kPackedSize = 20, kUnpackedSize = 24, kNameLength = 28,
              kExtraLength = 30, kCommentLength = 32, kAttributes = 38, kLocalOffset = 42;
}
namespace end {
constexpr int kEntries = 10, kDirectoryOffset = 16, kCommentLength = 20;
}

constexpr int kLargestLimit = std::numeric_limits<int>::max() - 1;

constexpr quint16 kMethodStored = 0;
constexpr quint16 kMethodDeflated = 8;

// Whoever made the entry on a Unix keeps its mode in the upper half of the attributes.
constexpr int kMadeByUnix = 3;
constexpr quint32 kModeTypeMask = 0170000;
constexpr quint32 kModeDirectory = 0040000;
constexpr quint32 kModeSymLink = 0120000;

quint16 le16(const QByteArray& record, int offset) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(record.constData()) + offset;
    return static_cast<quint16>(bytes[0] | bytes[1] << 8);
}

quint32 le32(const QByteArray& record, int offset) {
    return le16(record, offset) | static_cast<quint32>(le16(record, offset + 2)) << 16;
}

QFile::Permissions permissionsOfMode(quint32 mode) {
    constexpr struct {
        quint32 bit;
        QFile::Permissions permissions;
    } kBits[] = {
        {0400, QFile::ReadOwner | QFile::ReadUser},
        {0200, QFile::WriteOwner | QFile::WriteUser},
        {0100, QFile::ExeOwner | QFile::ExeUser},
        {0040, QFile::ReadGroup},
        {0020, QFile::WriteGroup},
        {0010, QFile::ExeGroup},
        {0004, QFile::ReadOther},
        {0002, QFile::WriteOther},
        {0001, QFile::ExeOther},
    };
    QFile::Permissions result;
    for (const auto& row : kBits) {
        if (mode & row.bit) {
            result |= row.permissions;
        }
    }
    return result;
}

// A raw deflate stream, unpacked into at most maxSize bytes; empty when it is broken, cut off or larger. The
// buffer is one byte longer than the data: a stream ends only after its last byte found room.
QByteArray inflateRaw(const QByteArray& packed, qint64 expectedSize, int maxSize) {
    z_stream stream{};
    if (inflateInit2(&stream, -MAX_WBITS) != Z_OK) {
        return {};
    }
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(packed.constData())); // zlib only reads it
    stream.avail_in = static_cast<uInt>(packed.size());
    QByteArray result(static_cast<int>(std::clamp<qint64>(expectedSize, 1, maxSize)) + 1, Qt::Uninitialized);
    int used = 0;
    int code = Z_OK;
    while (code == Z_OK && used <= maxSize) {
        if (used == result.size()) {
            result.resize(used > maxSize / 2 ? maxSize + 1 : used * 2);
        }
        stream.next_out = reinterpret_cast<Bytef*>(result.data()) + used;
        stream.avail_out = static_cast<uInt>(result.size() - used);
        code = inflate(&stream, Z_NO_FLUSH); // Z_BUF_ERROR: the input ended before the stream did
        used = static_cast<int>(result.size()) - static_cast<int>(stream.avail_out);
    }
    inflateEnd(&stream);
    return code == Z_STREAM_END && used <= maxSize ? result.left(used) : QByteArray();
}

// Deflation hardly ever makes data longer: more packed bytes than this are not worth reading.
qint64 largestPackedSize(int maxSize) {
    return qint64{maxSize} + maxSize / 8 + 64;
}

} // namespace

class ZipReaderPrivate {
public:
    struct FileHeader {
        QByteArray record; // kDirectorySize bytes
        QByteArray name;
        QByteArray extra;
        QByteArray comment;

        QString path() const { return QString::fromLocal8Bit(name); }
    };

    ZipReaderPrivate(QIODevice* ioDevice, int limit) : device(ioDevice), maxSize(limit) {}

    void scanFiles();
    void fillFileInfo(const FileHeader& header, ZipReader::FileInfo& info) const;
    QByteArray entryData(const FileHeader& header);

    QIODevice* device;
    int maxSize;
    ZipReader::Status status = ZipReader::NoError;
    bool scanned = false;
    bool openedHere = false;
    std::vector<FileHeader> headers;
    QByteArray comment;

private:
    bool open();
    bool seek(qint64 position);
    bool readAt(qint64 position, qint64 size, QByteArray& bytes);
    bool readNext(qint64 size, QByteArray& bytes);
    QByteArray findEnd();
    bool readHeader(FileHeader& header);
};

bool ZipReaderPrivate::open() {
    if (!device->isOpen()) {
        openedHere = device->open(QIODevice::ReadOnly);
        if (!openedHere) {
            status = ZipReader::FileOpenError;
        }
    }
    return device->isOpen() && device->isReadable() && !device->isSequential();
}

// Devices print a warning for a place that they lack, so that is found out first.
bool ZipReaderPrivate::seek(qint64 position) {
    return position <= device->size() && device->seek(position);
}

bool ZipReaderPrivate::readAt(qint64 position, qint64 size, QByteArray& bytes) {
    return seek(position) && readNext(size, bytes);
}

// True only when all of it came. Sizes that the device cannot hold are refused before memory is taken.
bool ZipReaderPrivate::readNext(qint64 size, QByteArray& bytes) {
    if (size > device->size() - device->pos()) {
        return false;
    }
    bytes = device->read(size);
    while (bytes.size() < size) {
        const QByteArray more = device->read(size - bytes.size());
        if (more.isEmpty()) {
            return false;
        }
        bytes += more;
    }
    return true;
}

// The end record followed by the comment: the last record in the file whose trailing region is no longer than
// a comment can be. The tail is read once and searched backwards.
QByteArray ZipReaderPrivate::findEnd() {
    const qint64 tailSize = std::min<qint64>(device->size(), kEndSize + kMaxCommentSize);
    QByteArray tail;
    if (!readAt(device->size() - tailSize, tailSize, tail)) {
        return {};
    }
    for (int start = static_cast<int>(tailSize) - kEndSize; start >= 0; --start) {
        if (le32(tail, start) == kEndSignature) {
            return tail.mid(start);
        }
    }
    return {};
}

bool ZipReaderPrivate::readHeader(FileHeader& header) {
    return readNext(kDirectorySize, header.record) && le32(header.record, 0) == kDirectorySignature &&
           readNext(le16(header.record, directory::kNameLength), header.name) &&
           readNext(le16(header.record, directory::kExtraLength), header.extra) &&
           readNext(le16(header.record, directory::kCommentLength), header.comment);
}

void ZipReaderPrivate::scanFiles() {
    if (scanned) {
        return;
    }
    scanned = true;
    QByteArray signature;
    if (!open() || !readAt(0, 4, signature) || le32(signature, 0) != kLocalSignature) {
        return;
    }
    const QByteArray record = findEnd();
    if (record.isEmpty()) {
        return;
    }
    comment = record.mid(kEndSize, le16(record, end::kCommentLength));
    if (!seek(le32(record, end::kDirectoryOffset))) {
        return;
    }
    FileHeader header;
    for (int left = le16(record, end::kEntries); left > 0 && readHeader(header); --left) {
        headers.push_back(header);
    }
}

void ZipReaderPrivate::fillFileInfo(const FileHeader& header, ZipReader::FileInfo& info) const {
    info.filePath = header.path();
    info.crc = le32(header.record, directory::kCrc);
    info.size = le32(header.record, directory::kUnpackedSize);
    const bool fromUnix = header.record[directory::kMadeBy] == kMadeByUnix;
    const quint32 mode = fromUnix ? le16(header.record, directory::kAttributes + 2) : 0644;
    info.isDir = (mode & kModeTypeMask) == kModeDirectory || header.name.endsWith('/');
    info.isSymLink = !info.isDir && (mode & kModeTypeMask) == kModeSymLink;
    info.isFile = !info.isDir && !info.isSymLink;
    info.permissions = permissionsOfMode(mode);
}

QByteArray ZipReaderPrivate::entryData(const FileHeader& header) {
    const qint64 packedSize = le32(header.record, directory::kPackedSize);
    const qint64 unpackedSize = le32(header.record, directory::kUnpackedSize);
    QByteArray record;
    if (unpackedSize > maxSize || !readAt(le32(header.record, directory::kLocalOffset), kLocalSize, record) ||
        le32(record, 0) != kLocalSignature) {
        return {};
    }
    const qint64 start = device->pos() + le16(record, local::kNameLength) + le16(record, local::kExtraLength);
    const quint16 method = le16(record, local::kMethod);
    QByteArray packed;
    if (method == kMethodStored) {
        const bool whole = unpackedSize <= packedSize && readAt(start, unpackedSize, packed);
        return whole ? packed : QByteArray();
    }
    if (method == kMethodDeflated && packedSize <= largestPackedSize(maxSize) &&
        readAt(start, packedSize, packed)) {
        return inflateRaw(packed, unpackedSize, maxSize);
    }
    return {};
}

ZipReader::ZipReader(QIODevice* device, int maxUnpackedSize)
    : d(std::make_unique<ZipReaderPrivate>(device, std::clamp(maxUnpackedSize, 1, kLargestLimit))) {}

ZipReader::~ZipReader() {
    if (d->openedHere) {
        d->device->close();
    }
}

bool ZipReader::hasEntries() const {
    return count() > 0;
}

int ZipReader::count() const {
    d->scanFiles();
    return static_cast<int>(d->headers.size());
}

ZipReader::Status ZipReader::status() const {
    d->scanFiles();
    return d->status;
}

QByteArray ZipReader::comment() const {
    d->scanFiles();
    return d->comment;
}

ZipReader::FileInfo ZipReader::entryInfoAt(int index) const {
    FileInfo info;
    if (index >= 0 && index < count()) {
        d->fillFileInfo(d->headers[static_cast<std::size_t>(index)], info);
    }
    return info;
}

QByteArray ZipReader::fileData(const QString& fileName) const {
    d->scanFiles();
    const auto header = std::find_if(
        d->headers.begin(), d->headers.end(), [&](const auto& each) { return each.path() == fileName; });
    return header == d->headers.end() ? QByteArray() : d->entryData(*header);
}

void ZipReader::close() {
    d->openedHere = false;
    d->device->close();
}
