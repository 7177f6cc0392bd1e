// Reads the entries of a zip archive from a random-access device: camera descriptions come zipped, from
// camera memory or from a file. Nothing is ever written, and no content of an archive, however broken or
// hostile, does worse than giving no entries or no data. One thread at a time may use a reader.
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QFile>
#include <QtCore/QString>

#include <memory>

class QIODevice;
class ZipReaderPrivate;

class ZipReader {
public:
    enum Status {
        NoError = 0,
        FileOpenError = 2 // the device could not be opened
    };

    // One entry as the archive's directory tells of it. An invalid one has an empty path and no type.
    struct FileInfo {
        QString filePath;
        bool isDir = false;
        bool isFile = false;
        bool isSymLink = false;
        QFile::Permissions permissions;
        // As recorded. Never checked: cameras ship archives with wrong ones that other readers take, and a
        // damaged description fails in the parser, which tells more.
        quint32 crc = 0;
        qint64 size = 0; // bytes when unpacked, as recorded

        bool isValid() const { return isDir || isFile || isSymLink; }
    };

    // The most bytes that one entry may unpack to: far above any camera description, and small enough that an
    // archive made to exhaust memory does no harm.
    static constexpr int kMaxUnpackedSize = 64 * 1024 * 1024;

    // Uses the device without owning it; it must outlive the reader. A closed device is opened for reading at
    // first need and closed again by the destructor. Entries that unpack to more than maxUnpackedSize bytes
    // have no data.
    explicit ZipReader(QIODevice* device, int maxUnpackedSize = kMaxUnpackedSize);
    ~ZipReader();
    ZipReader(const ZipReader&) = delete;
    ZipReader& operator=(const ZipReader&) = delete;

    // The archive's directory is read once, by the first of these calls.
    bool hasEntries() const;
    int count() const;
    Status status() const;
    // The comment that stands behind the directory.
    QByteArray comment() const;
    // Entries are in the order of the directory. An invalid FileInfo for an index out of range.
    FileInfo entryInfoAt(int index) const;
    // The unpacked bytes of the first entry of that name, letter case included. Empty when there is none, its
    // method is neither "stored" nor "deflated", its data is broken or cut off, or it is too large.
    QByteArray fileData(const QString& fileName) const;

    // Closes the device, whoever opened it.
    void close();

private:
    std::unique_ptr<ZipReaderPrivate> d; // never null
};
