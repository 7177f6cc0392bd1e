#include "TarGz.h"

#include <sys/stat.h>

#include <array>
#include <cstdio>
#include <cstring>
#include <ctime>

namespace gbe {
namespace {

constexpr std::size_t kRecord = 512;
constexpr int kGzip = 15 + 16; // zlib: the largest window, and gzip's own header
constexpr int kMemory = 8;

// Numbers are octal digits.
struct Header {
    char name[100];
    char mode[8];
    char uid[8];
    char gid[8];
    char size[12];
    char mtime[12];
    char checksum[8];
    char type;
    char linkName[100];
    char magic[6];
    char version[2];
    char userName[32];
    char groupName[32];
    char deviceMajor[8];
    char deviceMinor[8];
    char prefix[155];
    char rest[12];
};
static_assert(sizeof(Header) == kRecord);

template<std::size_t N> void octal(char (&field)[N], unsigned long long value) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%0*llo", static_cast<int>(N - 1), value);
    std::memcpy(field, text.data(), N - 1);
}

// Closed to others before there is anything in it.
std::string privately(const std::string& name) {
    umask(0077);
    return name;
}

} // namespace

TarGz::TarGz(const std::string& name)
    : m_file(privately(name)), m_time(static_cast<long long>(std::time(nullptr))) {
    if (deflateInit2(&m_zip, Z_BEST_COMPRESSION, Z_DEFLATED, kGzip, kMemory, Z_DEFAULT_STRATEGY) != Z_OK) {
        throw Failure(name + ": no memory to compress");
    }
}

TarGz::~TarGz() {
    deflateEnd(&m_zip);
}

void TarGz::add(const std::string& name, std::string_view content) {
    Header header{};
    if (name.empty() || name.size() > sizeof header.name || content.size() >= 1ULL << 33) {
        throw Failure(name + ": does not fit into an archive");
    }
    std::memcpy(header.name, name.data(), name.size());
    octal(header.mode, 0644);
    octal(header.uid, 0);
    octal(header.gid, 0);
    octal(header.size, content.size());
    octal(header.mtime, static_cast<unsigned long long>(m_time));
    header.type = '0'; // a file
    std::memcpy(header.magic, "ustar", sizeof header.magic);
    std::memcpy(header.version, "00", sizeof header.version);
    std::memset(header.checksum, ' ', sizeof header.checksum); // counts as such
    std::array<unsigned char, kRecord> bytes{};
    std::memcpy(bytes.data(), &header, sizeof header);
    unsigned sum = 0;
    for (const unsigned char byte : bytes) {
        sum += byte;
    }
    char digits[8];
    std::snprintf(digits, sizeof digits, "%06o", sum);
    std::memcpy(header.checksum, digits, 7);
    write({reinterpret_cast<const char*>(&header), sizeof header});
    write(content);
    write(std::string((kRecord - content.size() % kRecord) % kRecord, '\0'));
}

void TarGz::close() {
    write(std::string(2 * kRecord, '\0'));
    compress(Z_FINISH);
    m_file.close();
}

void TarGz::write(std::string_view bytes) {
    constexpr std::size_t kPiece = 1U << 20;
    for (std::size_t at = 0; at < bytes.size(); at += kPiece) {
        const std::string_view piece = bytes.substr(at, kPiece);
        m_zip.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(piece.data())); // zlib only reads it
        m_zip.avail_in = static_cast<uInt>(piece.size());
        compress(Z_NO_FLUSH);
    }
}

void TarGz::compress(int flush) {
    std::array<std::uint8_t, 16384> out{};
    do {
        m_zip.next_out = out.data();
        m_zip.avail_out = static_cast<uInt>(out.size());
        deflate(&m_zip, flush);
        m_file.write({out.data(), out.size() - m_zip.avail_out});
    } while (m_zip.avail_out == 0);
}

} // namespace gbe
