#include "support/zip_archive.h"
#include "util/ZipReader.h"

#include <gtest/gtest.h>

#include <QtCore/QBuffer>
#include <QtCore/QFile>

namespace {

using test::ZipArchive;
using test::ZipEntry;

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

QByteArray read(QByteArray archive, const QString& name, int limit = ZipReader::kMaxUnpackedSize) {
    QBuffer device(&archive);
    return ZipReader(&device, limit).fileData(name);
}

const QByteArray kText("<RegisterDescription/>");
const QByteArray kLong(100000, 'x');

TEST(ZipReader, ReadsAnArchiveAsTold) {
    QByteArray bytes =
        ZipArchive{
            {{"folder/", "", 0, -1, -1, {}, 0040755},
             {"Camera.xml", kLong},
             {"b", kText, 0, -1, -1, "extra"},
             {"Camera.xml", "second of its name"},
             {"link", "b", 0, -1, -1, {}, 0120777}},
            "told at the end"}
            .bytes();
    QBuffer device(&bytes);
    ZipReader reader(&device);
    EXPECT_TRUE(reader.hasEntries());
    ASSERT_EQ(reader.count(), 5);
    EXPECT_EQ(reader.comment(), "told at the end");
    EXPECT_TRUE(reader.entryInfoAt(0).isDir);
    const ZipReader::FileInfo info = reader.entryInfoAt(1);
    EXPECT_EQ(info.filePath, "Camera.xml");
    EXPECT_TRUE(info.isFile);
    EXPECT_EQ(info.size, kLong.size());
    EXPECT_EQ(info.crc, crc32(0, reinterpret_cast<const Bytef*>(kLong.constData()), 100000));
    EXPECT_EQ(
        info.permissions, QFile::ReadOwner | QFile::ReadUser | QFile::WriteOwner | QFile::WriteUser |
                              QFile::ReadGroup | QFile::ReadOther);
    EXPECT_TRUE(reader.entryInfoAt(4).isSymLink);
    EXPECT_FALSE(reader.entryInfoAt(-1).isValid());
    EXPECT_FALSE(reader.entryInfoAt(5).isValid());
    EXPECT_EQ(reader.fileData("Camera.xml"), kLong);
    EXPECT_EQ(reader.fileData("b"), kText);
    EXPECT_EQ(reader.fileData("camera.xml"), "");
    EXPECT_EQ(reader.fileData("absent"), "");
}

TEST(ZipReader, DataOfOneEntry) {
    const struct {
        const char* name;
        ZipEntry entry;
        int limit;
        QByteArray expected;
    } rows[] = {
        {"stored", {"x", kText, 0}, 1000, kText},
        {"stored, cut to the recorded size", {"x", kText, 0, 5}, 1000, kText.left(5)},
        {"stored, more recorded than there is", {"x", kText, 0, 1000}, 1000, ""},
        {"deflated", {"x", kText, 8}, 1000, kText},
        {"deflated, recorded as empty", {"x", kLong, 8, 0}, 1000000, kLong},
        {"packed size cuts the stream", {"x", kLong, 8, -1, 20}, 1000000, ""},
        {"unknown method", {"x", kText, 12}, 1000, ""},
        {"exactly the limit", {"x", kLong, 8, 0}, 100000, kLong},
        {"one byte above the limit, not told", {"x", kLong, 8, 0}, 99999, ""},
        {"stored above the limit", {"x", kLong, 0}, 99999, ""},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(read(ZipArchive{{row.entry}}.bytes(), "x", row.limit), row.expected) << row.name;
    }
}

TEST(ZipReader, WhatCountsAsAnArchive) {
    const std::vector<ZipEntry> one{{"x", kText}};
    QByteArray wrongStart = ZipArchive{one}.bytes();
    wrongStart[0] = 'Q';
    QByteArray wrongEntry = ZipArchive{{{"x", kText}, {"y", kText}}}.bytes();
    wrongEntry[wrongEntry.lastIndexOf("PK\1\2") + 3] = '\7';
    const struct {
        const char* name;
        QByteArray bytes;
        int entries;
    } rows[] = {
        {"only a signature", "PK\3\4", 0},
        {"does not start with an entry", wrongStart, 0},
        {"longest comment", ZipArchive{one, QByteArray(65535, 'c')}.bytes(), 1},
        {"one more byte behind", ZipArchive{one, QByteArray(65535, 'c'), -1, "!"}.bytes(), 0},
        {"announces more than it holds", ZipArchive{one, {}, 65535}.bytes(), 1},
        {"second record is bad", wrongEntry, 1},
    };
    for (QByteArray bytes; const auto& row : rows) {
        bytes = row.bytes;
        QBuffer device(&bytes);
        const ZipReader reader(&device);
        EXPECT_EQ(reader.count(), row.entries) << row.name;
        EXPECT_EQ(reader.hasEntries(), row.entries > 0) << row.name;
    }
}

// A device that breaks off although its size promises more: what the directory told is known, data is not.
TEST(ZipReader, ShortReadsAreGatheredAndBrokenOnesEnd) {
    MeanDevice device;
    const QByteArray whole = ZipArchive{{{"x", kText, 0}, {"y", kLong}}, QByteArray(60000, 'c')}.bytes();
    device.setData(whole);
    EXPECT_EQ(ZipReader(&device).fileData("y"), kLong);
    EXPECT_LT(device.bytesRead, 3 * whole.size()) << "the tail is searched in memory";
    for (qint64 from = 0; from < whole.size() - 60000; ++from) {
        device.brokenFrom = from;
        EXPECT_EQ(ZipReader(&device).fileData("y"), "") << from;
    }
}

TEST(ZipReader, ADeviceIsOpenedAtNeedAndUsedNotOwned) {
    QFile missing("missing.zip");
    const ZipReader none(&missing);
    EXPECT_EQ(none.status(), ZipReader::FileOpenError);
    EXPECT_FALSE(none.hasEntries());

    QByteArray bytes = ZipArchive{{{"x", kText}}}.bytes();
    QBuffer device(&bytes);
    {
        ZipReader reader(&device);
        EXPECT_FALSE(device.isOpen());
        EXPECT_TRUE(reader.hasEntries());
        EXPECT_EQ(reader.status(), ZipReader::NoError);
    }
    EXPECT_FALSE(device.isOpen());
    ASSERT_TRUE(device.open(QIODevice::WriteOnly));
    EXPECT_FALSE(ZipReader(&device).hasEntries()) << "not readable";
    EXPECT_TRUE(device.isOpen()) << "opened by someone else";
}

} // namespace
