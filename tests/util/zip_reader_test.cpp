// The archives are the seeds of the fuzz target, and copies of them with a field that is wrong.
#include "util/ZipReader.h"

#include <gtest/gtest.h>

#include <QtCore/QBuffer>
#include <QtCore/QFile>

#include <zlib.h>

namespace {

// Hands out at most three bytes a read and, from `brokenFrom` on, none at all, whatever its size says.
class MeanDevice : public QBuffer {
public:
    qint64 brokenFrom = 1LL << 40;
    qint64 bytesRead = 0;

protected:
    qint64 readData(char* data, qint64 size) override {
        const qint64 got = pos() >= brokenFrom ? 0 : QBuffer::readData(data, qMin<qint64>(size, 3));
        bytesRead += got;
        return got;
    }
};

QByteArray seed(const char* name) {
    QFile file(QString(LIOMOL_ZIP_SEEDS "/%1.zip").arg(name));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name;
    return file.readAll();
}

// With other bytes at a place of the last record that begins with a signature.
QByteArray with(QByteArray archive, const char* signature, int at, const QByteArray& bytes) {
    return archive.replace(archive.lastIndexOf(signature) + at, bytes.size(), bytes);
}

constexpr const char* kDirectory = "PK\1\2";
constexpr const char* kEnd = "PK\5\6";

QByteArray firstEntry(QByteArray archive, int limit = ZipReader::kMaxUnpackedSize) {
    QBuffer device(&archive);
    const ZipReader reader(&device, limit);
    return reader.fileData(reader.entryInfoAt(0).filePath);
}

TEST(ZipReader, DataOfOneEntry) {
    const QByteArray text = firstEntry(seed("stored"));
    ASSERT_EQ(text.size(), 604);
    const QByteArray zeros(3145728, '\0');
    const struct {
        const char* name;
        QByteArray archive;
        int limit;
        QByteArray expected;
    } rows[] = {
        {"deflated", seed("deflated"), 604, text},
        {"stored, cut to the recorded size", with(seed("stored"), kDirectory, 24, {"\5\0", 2}), 604,
         text.left(5)},
        {"stored, more recorded than there is", with(seed("stored"), kDirectory, 24, {"\0\3", 2}), 999, ""},
        {"recorded as empty", seed("size_recorded_zero"), 604, text},
        {"recorded as 4 GiB", seed("size_recorded_huge"), ZipReader::kMaxUnpackedSize, ""},
        {"packed size recorded as 4 GiB", seed("packed_recorded_huge"), 604, ""},
        {"packed size cuts the stream", with(seed("deflated"), kDirectory, 20, {"\24\0", 2}), 604, ""},
        {"unknown method", seed("unsupported_method"), 604, ""},
        {"exactly the limit", seed("bomb"), 3145728, zeros},
        {"one byte above the limit, not told", with(seed("bomb"), kDirectory, 24, QByteArray(4, '\0')),
         3145727, ""},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(firstEntry(row.archive, row.limit), row.expected) << row.name;
    }
}

TEST(ZipReader, WhatCountsAsAnArchive) {
    const QByteArray one = seed("deflated");
    const QByteArray commented = with(one, kEnd, 20, "\xFF\xFF") + QByteArray(65535, 'c');
    const struct {
        const char* name;
        QByteArray bytes;
        int entries;
    } rows[] = {
        {"only a signature", "PK\3\4", 0},
        {"does not start with an entry", 'Q' + one.mid(1), 0},
        {"no comment", one, 1},
        {"longest comment", commented, 1},
        {"one more byte behind", commented + '!', 0},
        {"announces more than it holds", seed("absurd_count"), 1},
        {"record is bad", with(one, kDirectory, 3, "\7"), 0},
    };
    for (QByteArray bytes; const auto& row : rows) {
        bytes = row.bytes;
        QBuffer device(&bytes);
        EXPECT_EQ(ZipReader(&device).count(), row.entries) << row.name;
    }
}

TEST(ZipReader, TellsWhatAnEntryIs) {
    const QByteArray text = firstEntry(seed("stored"));
    const auto infoOf = [](QByteArray archive) {
        QBuffer device(&archive);
        return ZipReader(&device).entryInfoAt(0);
    };
    const ZipReader::FileInfo info = infoOf(seed("deflated"));
    EXPECT_EQ(info.filePath, "camera.xml");
    EXPECT_TRUE(info.isFile);
    EXPECT_EQ(info.size, text.size());
    EXPECT_EQ(info.crc, crc32(0, reinterpret_cast<const Bytef*>(text.constData()), 604));
    EXPECT_EQ(
        info.permissions, QFile::ReadOwner | QFile::ReadUser | QFile::WriteOwner | QFile::WriteUser |
                              QFile::ReadGroup | QFile::ReadOther);
    EXPECT_TRUE(infoOf(with(seed("deflated"), kDirectory, 40, "\xED\x41")).isDir);
    EXPECT_TRUE(infoOf(with(seed("deflated"), kDirectory, 40, "\xFF\xA1")).isSymLink);
    EXPECT_FALSE(infoOf("").isValid());
}

// A device that breaks off although its size promises more: what the directory told is known, data is not.
TEST(ZipReader, ShortReadsAreGatheredAndBrokenOnesEnd) {
    MeanDevice device;
    const QByteArray whole = seed("deflated");
    device.setData(whole);
    EXPECT_EQ(ZipReader(&device).fileData("camera.xml").size(), 604);
    EXPECT_LT(device.bytesRead, 3 * whole.size()) << "the tail is searched in memory";
    for (qint64 from = 0; from < whole.size(); ++from) {
        device.brokenFrom = from;
        EXPECT_EQ(ZipReader(&device).fileData("camera.xml"), "") << from;
    }
}

} // namespace
