// The optional image path of a port, without a camera.
#include "Platform.h"
#include "Report.h"

#include <array>
#include <vector>

namespace platform_check {
namespace {

constexpr unsigned kBuffers = 2;
constexpr std::size_t kBufferSize = 4096;
constexpr std::uint16_t kUdpPort = 1520;

bool whole(const TavoImagePath& path) {
    return path.open != nullptr && path.wait != nullptr && path.giveBack != nullptr && path.wake != nullptr &&
           path.restart != nullptr && path.statistics != nullptr && path.close != nullptr;
}

void checkStream(
    const TavoImagePath& path, TavoImageStream* stream, const TavoImageSettings& settings, Report& report) {
    TavoImage image{};
    report.calling("image path, wait");
    report.expect(
        path.wait(stream, 0, &image) == IMAGE_PATH_TIMEOUT,
        "without an image and without waiting: IMAGE_PATH_TIMEOUT");
    report.calling("image path, open");
    TavoImageStream* second = nullptr;
    report.expect(
        path.open(&settings, &second) == IMAGE_PATH_BUSY, "a second stream of the port: IMAGE_PATH_BUSY");
    report.calling("image path, giveBack");
    report.expect(
        path.giveBack(stream, 0) == IMAGE_PATH_BAD_ARGUMENT,
        "a buffer that is not borrowed: IMAGE_PATH_BAD_ARGUMENT");
    report.calling("image path, statistics");
    TavoImageStatistics statistics{};
    path.statistics(stream, &statistics);
    report.expect(
        statistics.buffersFree <= kBuffers && statistics.imagesWaiting == 0, "counts buffers and images");
    report.calling("image path, wake");
    path.wake(stream);
    report.expect(
        path.wait(stream, -1, &image) == IMAGE_PATH_WOKEN, "a wait without limit ends with IMAGE_PATH_WOKEN");
}

} // namespace

void checkImagePath(const Board& board, Report& report) {
    if (board.calls.imagePath == nullptr) {
        return;
    }
    report.calling(LIOMOL_IMAGE_PATH_CALL);
    report.expect(board.calls.imagePath(~0U) == nullptr, "a version that nobody knows gives null");
    const TavoImagePath* const path = board.calls.imagePath(LIOMOL_IMAGE_PATH_VERSION);
    report.expect(
        path != nullptr && path->version >= LIOMOL_IMAGE_PATH_VERSION && whole(*path),
        "gives the table of its calls, all of them");
    if (path == nullptr || !whole(*path)) {
        return;
    }
    std::vector<std::uint8_t> bytes(kBuffers * kBufferSize);
    const std::array<void*, kBuffers> memory{bytes.data(), bytes.data() + kBufferSize};
    TavoImageSettings settings{};
    settings.board = board.number;
    settings.port = static_cast<int>(board.port);
    settings.udpPort = kUdpPort;
    settings.buffers = kBuffers;
    settings.memory = memory.data();
    settings.bufferSize = settings.payloadSize = kBufferSize;
    report.calling("image path, open");
    TavoImageStream* stream = nullptr;
    report.expect(path->open(nullptr, &stream) == IMAGE_PATH_BAD_ARGUMENT, "null is IMAGE_PATH_BAD_ARGUMENT");
    const int opened = path->open(&settings, &stream);
    report.expect(
        opened == IMAGE_PATH_OK && stream != nullptr,
        "a stream opens (result " + std::to_string(opened) + ")");
    if (opened == IMAGE_PATH_OK && stream != nullptr) {
        checkStream(*path, stream, settings, report);
        report.calling("image path, close");
        path->close(stream);
        report.expect(
            path->open(&settings, &stream) == IMAGE_PATH_OK, "the port has room for a stream again");
        path->close(stream);
    }
}

} // namespace platform_check
