#include "simcam/zip_writer.h"

#include <zlib.h>

#include <cstring>

namespace simcam {

namespace {

constexpr std::uint32_t kLocalSignature = 0x04034b50;
constexpr std::uint32_t kCentralSignature = 0x02014b50;
constexpr std::uint32_t kEndSignature = 0x06054b50;
constexpr std::uint16_t kVersion = 20;
constexpr std::uint16_t kDeflated = 8;
constexpr std::uint16_t kMidnight = 0;
constexpr std::uint16_t kFirstOf1980 = 0x0021; // no clock: equal contents give equal archives

// Zip is little-endian throughout.
class LittleWriter {
public:
    LittleWriter& u16(std::uint32_t value) { return number(value, 2); }
    LittleWriter& u32(std::uint32_t value) { return number(value, 4); }
    LittleWriter& bytes(ByteView data) {
        m_data.insert(m_data.end(), data.begin(), data.end());
        return *this;
    }
    std::uint32_t size() const { return static_cast<std::uint32_t>(m_data.size()); }
    Bytes take() { return std::move(m_data); }

private:
    LittleWriter& number(std::uint32_t value, int count) {
        for (int i = 0; i < count; ++i) {
            m_data.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
        }
        return *this;
    }
    Bytes m_data;
};

Bytes deflated(ByteView content) {
    z_stream stream;
    std::memset(&stream, 0, sizeof stream);
    if (deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY) != Z_OK) {
        return {};
    }
    Bytes out(deflateBound(&stream, static_cast<uLong>(content.size())));
    stream.next_in = const_cast<Bytef*>(content.data()); // zlib reads only
    stream.avail_in = static_cast<uInt>(content.size());
    stream.next_out = out.data();
    stream.avail_out = static_cast<uInt>(out.size());
    const bool done = deflate(&stream, Z_FINISH) == Z_STREAM_END;
    out.resize(done ? stream.total_out : 0);
    deflateEnd(&stream);
    return out;
}

// What the local and the central header share: method, time, checksum, sizes and the name's length.
void describe(LittleWriter& zip, std::string_view name, ByteView content, const Bytes& packed) {
    const auto sum = crc32(0, content.data(), static_cast<uInt>(content.size()));
    zip.u16(0).u16(kDeflated).u16(kMidnight).u16(kFirstOf1980).u32(static_cast<std::uint32_t>(sum));
    zip.u32(static_cast<std::uint32_t>(packed.size())).u32(static_cast<std::uint32_t>(content.size()));
    zip.u16(static_cast<std::uint32_t>(name.size())).u16(0);
}

} // namespace

Bytes zipped(std::string_view entryName, ByteView content) {
    const Bytes packed = deflated(content);
    if (packed.empty()) {
        return {};
    }
    LittleWriter zip;
    zip.u32(kLocalSignature).u16(kVersion);
    describe(zip, entryName, content, packed);
    zip.bytes(viewOf(entryName)).bytes(packed);

    const std::uint32_t directory = zip.size();
    zip.u32(kCentralSignature).u16(kVersion).u16(kVersion);
    describe(zip, entryName, content, packed);
    zip.u16(0).u16(0).u16(0).u32(0).u32(0).bytes(viewOf(entryName)); // comment, disk, attributes, place
    const std::uint32_t directorySize = zip.size() - directory;

    zip.u32(kEndSignature).u16(0).u16(0).u16(1).u16(1).u32(directorySize).u32(directory).u16(0);
    return zip.take();
}

} // namespace simcam
