#include "streaming/ImageStream.h"

#include "board/failures.h"
#include "genicam/device/ImplGenICamCamera.h"
#include "liomol/exceptions.h"
#include "streaming/stream_channel.h"
#include "util/error_detail.h"

#include <atomic>
#include <utility>

namespace streaming {

using util::Figure;

// A call of the path, for a scope: the path is not closed meanwhile.
class ImageStream::Use {
public:
    explicit Use(ImageStream& stream) : m_owner(stream) {
        const std::lock_guard lock(m_owner.m_mutex);
        m_reason = m_owner.m_reason;
        m_stream = m_reason == status::Success ? m_owner.m_stream : nullptr;
        m_owner.m_users += m_stream != nullptr ? 1 : 0;
    }
    ~Use() {
        if (m_stream != nullptr) {
            const std::lock_guard lock(m_owner.m_mutex);
            --m_owner.m_users;
            m_owner.m_unused.notify_all();
        }
    }
    Use(const Use&) = delete;
    Use& operator=(const Use&) = delete;

    // Null when the stream is not open; the reason tells why.
    TavoImageStream* stream() const { return m_stream; }
    int reason() const { return m_reason; }

private:
    ImageStream& m_owner;
    TavoImageStream* m_stream;
    int m_reason;
};

ImageStream::ImageStream(
    const TavoImagePath& path, board::CameraPort& place, std::shared_ptr<board::Device> device,
    const GbeStreamOptions& options)
    : m_path(path), m_place(place), m_options(options), m_device(std::move(device)),
      m_borrowed(options.buffers) {}

// --- Images

int ImageStream::wait(int timeoutMs, GbeImage& image) {
    const Use use(*this);
    if (use.stream() == nullptr) {
        return use.reason();
    }
    TavoImage arrived{};
    const int result = m_path.wait(use.stream(), timeoutMs, &arrived);
    countPacketsIfDue(use.stream());
    m_linkGone = result == IMAGE_PATH_LINK_GONE;
    if (result == IMAGE_PATH_OK) {
        present(arrived, image);
        return status::Success;
    }
    if (result == IMAGE_PATH_TIMEOUT) {
        return status::Timeout;
    }
    if (result == IMAGE_PATH_LINK_GONE) { // it may come back before control is lost
        const int lost = reason();
        return lost != status::Success ? lost : statusOf(result);
    }
    if (result != IMAGE_PATH_WOKEN) {
        fail(statusOf(result));
    }
    return reason();
}

// The number of the buffer is part of the id, so that an image is found at once.
void ImageStream::present(const TavoImage& arrived, GbeImage& image) {
    static std::atomic<std::uint64_t> serial{0};
    const std::lock_guard lock(m_borrowing);
    countImage(arrived);
    Borrowed& borrowed = m_borrowed.at(arrived.buffer);
    borrowed.id = ++serial * GBE_MOST_BUFFERS + arrived.buffer;
    image = {};
    image.id = borrowed.id;
    image.status = arrived.status;
    image.payloadType = arrived.payloadType;
    image.width = arrived.width;
    image.height = arrived.height;
    image.offsetX = arrived.offsetX;
    image.offsetY = arrived.offsetY;
    image.paddingX = arrived.paddingX;
    image.paddingY = arrived.paddingY;
    image.pixelFormat = arrived.pixelFormat;
    image.pixelFormatName = "";
    image.geometryAssumed = arrived.geometryAssumed;
    image.truncated = arrived.truncated;
    image.blockId = arrived.block;
    image.timestamp = arrived.timestamp;
    image.timestampNs = nanoseconds(arrived.timestamp);
    image.arrivedNs = arrived.arrivedNs;
    borrowed.payload.describe(arrived, m_memory.piece(arrived.buffer), image);
}

// In two steps, so that nothing overflows.
std::uint64_t ImageStream::nanoseconds(std::uint64_t ticks) const {
    constexpr std::uint64_t kSecond = 1'000'000'000;
    if (m_tickFrequency == 0) {
        return 0;
    }
    const std::uint64_t rest = ticks % m_tickFrequency;
    const std::uint64_t partial =
        m_tickFrequency <= UINT64_MAX / kSecond
            ? rest * kSecond / m_tickFrequency
            : static_cast<std::uint64_t>(
                  static_cast<double>(rest) / static_cast<double>(m_tickFrequency) * kSecond);
    return ticks / m_tickFrequency * kSecond + partial;
}

int ImageStream::giveBack(std::uint64_t id) {
    const auto buffer = static_cast<unsigned>(id % GBE_MOST_BUFFERS);
    {
        const std::lock_guard lock(m_borrowing);
        if (id == 0 || buffer >= m_borrowed.size() || m_borrowed[buffer].id != id) {
            return util::refused(status::IllegalParameter, [id] {
                return "no image with the id " + std::to_string(id) + " is borrowed";
            });
        }
        m_borrowed[buffer].id = 0;
    }
    const Use use(*this);
    const int result = use.stream() != nullptr ? m_path.giveBack(use.stream(), buffer) : int{IMAGE_PATH_OK};
    return result == IMAGE_PATH_OK ? status::Success : util::refused(statusOf(result), sentenceOf(result));
}

void ImageStream::restart() {
    const std::shared_ptr<board::Device> camera = device();
    if (camera == nullptr) {
        return;
    }
    try {
        const ImageShape shape = readShape(*camera);
        const Use use(*this);
        if (use.stream() != nullptr) {
            const std::lock_guard settling(m_settling);
            setShape(shape);
            m_path.restart(use.stream(), &m_settings);
        }
    } catch (const tavo::GenICamException&) { // starting tells what is wrong with the camera
        return;
    }
}

// --- Statistics

TavoImageStatistics ImageStream::pathStatistics() {
    {
        const Use use(*this);
        if (use.stream() != nullptr) {
            TavoImageStatistics now{};
            m_path.statistics(use.stream(), &now);
            return now;
        }
    }
    const std::lock_guard ending(m_ending);
    return m_last;
}

TestPackets ImageStream::testPackets() {
    const TavoImageStatistics now = pathStatistics();
    return {now.testPackets, static_cast<unsigned>(now.largestTestPacket)};
}

void ImageStream::getStatistics(GbeStreamStatistics& out) {
    const TavoImageStatistics now = pathStatistics();
    out = {};
    out.packets = now.packets;
    out.bytes = now.bytes;
    out.complete = now.complete;
    out.incomplete = now.incomplete;
    out.lostImages = now.lostBlocks;
    out.droppedArriving = now.droppedArriving;
    out.droppedOldest = now.droppedOldest;
    out.missingPackets = now.missingPackets;
    out.resendRequests = now.wishes;
    out.requestedPackets = now.wishedPackets;
    out.resentPackets = now.resentPackets;
    out.unavailable = now.unavailable;
    out.duplicates = now.duplicates;
    out.late = now.late;
    out.malformed = now.malformed;
    out.overrun = now.overrun;
    out.packetSize = m_packetSize;
    out.buffersFree = now.buffersFree;
    out.imagesWaiting = now.imagesWaiting;
}

// --- Figures for everybody, of the port and not of this stream alone

// Images are borrowed one at a time.
void ImageStream::countImage(const TavoImage& arrived) {
    constexpr std::uint8_t kIncomplete = GBE_IMAGE_INCOMPLETE;
    m_place.counters[Figure::Images].add();
    m_place.counters[Figure::ImageBytes].add(arrived.size);
    m_place.counters[Figure::ImagesBroken].add(arrived.status == kIncomplete ? 1 : 0);
}

void ImageStream::countPackets(const TavoImageStatistics& now) {
    const TavoImageStatistics before = std::exchange(m_counted, now);
    util::LinkCounters& counters = m_place.counters;
    counters[Figure::StreamPackets].add(now.packets - before.packets);
    counters[Figure::ImagesLost].add(now.lostBlocks - before.lostBlocks);
    counters[Figure::ImagesDropped].add(
        now.droppedArriving - before.droppedArriving + now.droppedOldest - before.droppedOldest);
    counters[Figure::MissingPackets].add(now.missingPackets - before.missingPackets);
    counters[Figure::ResentPackets].add(now.resentPackets - before.resentPackets);
    counters[Figure::Overrun].add(now.overrun - before.overrun);
}

void ImageStream::count() {
    const Use use(*this);
    if (use.stream() != nullptr) {
        countPacketsIfDue(use.stream());
    }
}

// Asking the path for its figures costs more than an image should.
void ImageStream::countPacketsIfDue(TavoImageStream* stream) {
    constexpr std::chrono::milliseconds kPeriod{250};
    const std::unique_lock lock(m_counting, std::try_to_lock);
    const auto now = std::chrono::steady_clock::now();
    if (lock.owns_lock() && now >= m_nextCount) {
        m_nextCount = now + kPeriod;
        TavoImageStatistics statistics{};
        m_path.statistics(stream, &statistics);
        countPackets(statistics);
    }
}

// --- The end

std::shared_ptr<board::Device> ImageStream::device() const {
    const std::lock_guard lock(m_mutex);
    return m_device;
}

int ImageStream::reason() const {
    const std::lock_guard lock(m_mutex);
    return m_reason;
}

std::string ImageStream::reasonText() const {
    const std::shared_ptr<board::Device> camera = device();
    if (camera != nullptr && camera->getControlLoss() != tavo::ControlLoss::None) {
        return board::lossSentence(*camera);
    }
    switch (reason()) {
    case status::Success:
        return m_linkGone ? sentenceOf(IMAGE_PATH_LINK_GONE) : "";
    case status::CameraNotConnected:
        return "the camera was disconnected";
    case status::StreamClosed:
        return "the stream was closed";
    default:
        return "control of the camera was lost, the board closed or the network interface switched off";
    }
}

bool ImageStream::isEnded() const {
    const std::lock_guard lock(m_mutex);
    return m_isEnded;
}

void ImageStream::fail(int reason) {
    const std::lock_guard lock(m_mutex);
    if (m_reason == status::Success) {
        m_reason = reason;
        if (m_stream != nullptr) {
            m_path.wake(m_stream);
        }
    }
}

// Whoever is inside a call of the path was woken and leaves it soon.
void ImageStream::end(int reason) {
    fail(reason);
    const std::lock_guard ending(m_ending);
    TavoImageStream* stream = nullptr;
    std::shared_ptr<board::Device> device;
    {
        std::unique_lock lock(m_mutex);
        m_unused.wait(lock, [this] { return m_users == 0; });
        stream = std::exchange(m_stream, nullptr);
        device = std::exchange(m_device, nullptr);
    }
    if (stream != nullptr) {
        m_path.statistics(stream, &m_last);
        const std::lock_guard counting(m_counting);
        countPackets(m_last);
        m_place.counters[Figure::StreamOpen].set(0);
        m_path.close(stream);
    }
    const std::lock_guard lock(m_mutex);
    m_isEnded = true;
}

// A camera that does not answer, or is somebody else's by now, keeps its channel.
void ImageStream::closeChannel() {
    if (const std::shared_ptr<board::Device> camera = device()) {
        try {
            streaming::close(CameraRegisters(m_place, *camera));
        } catch (const tavo::GenICamException&) {
            return;
        }
    }
}

void ImageStream::close() {
    const bool wasOpen = reason() == status::Success && !m_linkGone;
    fail(status::StreamClosed);
    if (wasOpen) {
        closeChannel();
    }
    end(status::StreamClosed);
    m_memory.giveBack();
}

} // namespace streaming
