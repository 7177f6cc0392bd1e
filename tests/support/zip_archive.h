// Builds zip archives byte by byte, each field open to be wrong.
#pragma once

#include <QtCore/QByteArray>

#include <zlib.h>

#include <vector>

namespace test {

inline void putLe(QByteArray& out, unsigned long long value, int bytes) {
    for (int i = 0; i < bytes; ++i) {
        out += static_cast<char>(value >> 8 * i & 0xFF);
    }
}

inline QByteArray deflateRaw(const QByteArray& data) {
    z_stream stream{};
    deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY);
    QByteArray out(static_cast<int>(deflateBound(&stream, static_cast<uLong>(data.size()))), '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.constData()));
    stream.avail_in = static_cast<uInt>(data.size());
    stream.next_out = reinterpret_cast<Bytef*>(out.data());
    stream.avail_out = static_cast<uInt>(out.size());
    deflate(&stream, Z_FINISH);
    out.resize(static_cast<int>(stream.total_out));
    deflateEnd(&stream);
    return out;
}

struct ZipEntry {
    QByteArray name;
    QByteArray data;
    int method = 8;
    long long recordedSize = -1;       // -1: the right one
    long long recordedPackedSize = -1; // -1: the right one
    QByteArray localExtra = {};        // only in the local header
    unsigned mode = 0100644;
};

struct ZipArchive {
    std::vector<ZipEntry> entries;
    QByteArray comment = {};
    int announced = -1;     // entries that the end record tells of; -1: the right number
    QByteArray behind = {}; // follows the archive

    QByteArray bytes() const {
        QByteArray out;
        QByteArray directory;
        for (const ZipEntry& entry : entries) {
            const QByteArray packed = entry.method == 8 ? deflateRaw(entry.data) : entry.data;
            QByteArray common; // from "flags" to the name's length: alike in both headers
            putLe(common, 0, 2);
            putLe(common, static_cast<unsigned>(entry.method), 2);
            putLe(common, 0, 4);
            putLe(
                common,
                crc32(
                    0, reinterpret_cast<const Bytef*>(entry.data.constData()),
                    static_cast<uInt>(entry.data.size())),
                4);
            putLe(common, entry.recordedPackedSize >= 0 ? entry.recordedPackedSize : packed.size(), 4);
            putLe(common, entry.recordedSize >= 0 ? entry.recordedSize : entry.data.size(), 4);
            putLe(common, entry.name.size(), 2);
            putLe(directory, 0x02014b50, 4);
            putLe(directory, 0x0314, 2); // made on a Unix
            putLe(directory, 20, 2);
            directory += common;
            putLe(directory, 0, 8);
            putLe(directory, 0, 2);
            putLe(directory, entry.mode, 2);
            putLe(directory, out.size(), 4);
            directory += entry.name;
            putLe(out, 0x04034b50, 4);
            putLe(out, 20, 2);
            out += common;
            putLe(out, entry.localExtra.size(), 2);
            out += entry.name + entry.localExtra + packed;
        }
        const auto start = out.size();
        out += directory;
        putLe(out, 0x06054b50, 4);
        putLe(out, 0, 4);
        putLe(out, entries.size(), 2);
        putLe(out, announced >= 0 ? announced : entries.size(), 2);
        putLe(out, directory.size(), 4);
        putLe(out, start, 4);
        putLe(out, comment.size(), 2);
        return out + comment + behind;
    }
};

} // namespace test
