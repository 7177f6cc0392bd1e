// A zip archive from a camera's memory: whatever it holds, an entry unpacks to no more than the limit, and to
// the same bytes each time; a reader with room enough gives the same as one with just enough.
#include "util/ZipReader.h"

#include <QtCore/QBuffer>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace {

constexpr int kLimit = 1 << 20;
constexpr int kMaxEntries = 64; // more only take time

void require(bool sound) {
    if (!sound) {
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<int>(size));
    QBuffer device(&bytes);
    const ZipReader reader(&device, kLimit);
    require(reader.hasEntries() == (reader.count() > 0));
    require(!reader.entryInfoAt(-1).isValid() && !reader.entryInfoAt(reader.count()).isValid());
    for (int i = 0; i < reader.count() && i < kMaxEntries; ++i) {
        const QString path = reader.entryInfoAt(i).filePath;
        const QByteArray unpacked = reader.fileData(path);
        require(unpacked.size() <= kLimit);
        QBuffer again(&bytes);
        const ZipReader exact(&again, qMax(1, static_cast<int>(unpacked.size())));
        const QByteArray same = exact.fileData(path);
        require(same == unpacked || same.isEmpty()); // a recorded size above the limit is refused unread
    }
    return 0;
}
