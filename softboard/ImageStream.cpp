#include "softboard/ImageStream.h"

#include <algorithm>

namespace softboard {

namespace {

using std::chrono::microseconds;
using std::chrono::milliseconds;

gvsp::Time now() {
    return Clock::now().time_since_epoch();
}

// The receiver's own choice stands where the caller leaves it to the path.
gvsp::Settings receiverSettings(const TavoImageSettings& from) {
    gvsp::Settings to;
    to.payloadSize = from.payloadSize;
    to.assumed.pixelFormat = from.pixelFormat;
    to.assumed.width = from.width;
    to.assumed.height = from.height;
    to.assumed.offsetX = from.offsetX;
    to.assumed.offsetY = from.offsetY;
    to.packetSize = from.packetSize;
    to.overflow = from.dropOldest != 0 ? gvsp::Overflow::DropOldest : gvsp::Overflow::DropArriving;
    to.resend = from.resend != 0;
    to.firstWish = from.firstWishUs != 0 ? microseconds(from.firstWishUs) : to.firstWish;
    to.nextWish = from.nextWishUs != 0 ? microseconds(from.nextWishUs) : to.nextWish;
    to.mostWishes = from.mostWishes != 0 ? from.mostWishes : to.mostWishes;
    to.patience = from.patienceMs != 0 ? milliseconds(from.patienceMs) : to.patience;
    return to;
}

void describe(const gvsp::Image& from, TavoImage& to) {
    to.buffer = from.buffer.number;
    to.size = from.size;
    to.block = from.block;
    to.timestamp = from.timestamp;
    to.arrivedNs = static_cast<std::uint64_t>(from.lastPacket.count());
    to.payloadType = from.payloadType;
    to.status = static_cast<std::uint8_t>(from.status);
    to.geometryAssumed = from.geometryAssumed ? 1 : 0;
    to.truncated = from.truncated ? 1 : 0;
    to.pixelFormat = from.geometry.pixelFormat;
    to.width = from.geometry.width;
    to.height = from.geometry.height;
    to.offsetX = from.geometry.offsetX;
    to.offsetY = from.geometry.offsetY;
    to.paddingX = from.geometry.paddingX;
    to.paddingY = from.geometry.paddingY;
    to.missingBytes = from.missingBytes;
}

} // namespace

int ImageStream::check(const TavoImageSettings& settings) {
    constexpr unsigned kMostBuffers = 65536; // far above what anybody fills; bounds the stream's own memory
    const bool good = settings.buffers >= 1 && settings.buffers <= kMostBuffers &&
                      settings.memory != nullptr && settings.bufferSize > 0 && settings.udpPort != 0 &&
                      settings.payloadSize <= settings.bufferSize &&
                      std::all_of(settings.memory, settings.memory + settings.buffers, [](const void* piece) {
                          return piece != nullptr;
                      });
    return good ? IMAGE_PATH_OK : IMAGE_PATH_BAD_ARGUMENT;
}

ImageStream::ImageStream(const TavoImageSettings& settings, Send send)
    : m_address{net::Ipv4::at(settings.cameraIp), settings.udpPort},
      m_route{
          net::Mac::at(settings.hostMac), net::Mac::at(settings.cameraMac), net::Ipv4::at(settings.hostIp),
          net::Ipv4::at(settings.cameraIp), settings.udpPort},
      m_send(std::move(send)), m_bufferSize(settings.bufferSize), m_receiver(receiverSettings(settings)),
      m_borrowed(settings.buffers), m_missing(settings.buffers) {
    for (unsigned number = 0; number < settings.buffers; ++number) {
        auto* const data = static_cast<std::uint8_t*>(settings.memory[number]);
        m_receiver.lend(m_buffers.emplace_back(gvsp::Buffer{data, settings.bufferSize, number}));
    }
}

ImageStream::~ImageStream() {
    if (m_keeper) {
        close();
    }
}

void ImageStream::keepBy(std::unique_ptr<Keeper> keeper) {
    m_keeper = std::move(keeper);
    m_keeper->start();
}

// Gives the lock back.
void ImageStream::taken(std::unique_lock<std::mutex>& lock, From from) {
    bool hurry = false;
    if (from == From::Other) {
        const auto deadline = m_receiver.deadline();
        const bool sooner = deadline && *deadline < m_due;
        m_due = sooner ? *deadline : m_due;
        hurry = sooner || (m_attending > 0 && m_receiver.waiting() > 0);
    }
    finish(lock);
    if (hurry) {
        m_keeper->hurry();
    }
}

ImageStream::Tended ImageStream::tend() {
    std::unique_lock lock(m_mutex);
    if (m_ended) {
        return {};
    }
    m_receiver.advance(now());
    const auto deadline = m_receiver.deadline();
    m_due = deadline.value_or(gvsp::Time::max());
    Tended tended;
    tended.answer = m_receiver.waiting() > 0 || m_woken || !m_link;
    tended.mayWait = m_receiver.overflow() == gvsp::Overflow::DropArriving;
    if (deadline) {
        tended.due = Clock::time_point(std::chrono::duration_cast<Clock::duration>(*deadline));
    }
    finish(lock);
    return tended;
}

// Gives the lock back, wakes whoever waits for what has come, and asks for what has not.
void ImageStream::finish(std::unique_lock<std::mutex>& lock) {
    const std::size_t images = m_waiters > 0 ? m_receiver.waiting() : 0;
    Requests requests;
    std::size_t count = takeRequests(requests);
    lock.unlock();
    if (images > 1) {
        m_arrived.notify_all();
    } else if (images == 1) {
        m_arrived.notify_one();
    }
    while (count > 0) {
        ask(std::span(requests).first(count));
        const std::lock_guard again(m_mutex);
        count = m_ended ? 0 : takeRequests(requests);
    }
}

std::size_t ImageStream::takeRequests(Requests& requests) {
    std::size_t count = 0;
    while (count < requests.size() && m_receiver.nextWish(requests[count].wish)) {
        m_requestId = static_cast<std::uint16_t>(m_requestId == 0xFFFF ? 1 : m_requestId + 1); // 0 is no id
        requests[count++].id = m_requestId;
    }
    return count;
}

void ImageStream::ask(std::span<const Request> requests) const {
    std::array<std::uint8_t, kResendFrame> frame;
    for (const Request& request : requests) {
        m_send(frame.data(), buildResend(m_route, request.wish, request.id, frame));
    }
}

// With m_mutex held: what a wait comes to now, if to anything.
std::optional<int> ImageStream::result(TavoImage& image) {
    if (m_woken) {
        return IMAGE_PATH_WOKEN;
    }
    if (m_ended) {
        return IMAGE_PATH_NO_PORT;
    }
    if (m_receiver.nextImage(m_image)) {
        handOut(image);
        return IMAGE_PATH_OK;
    }
    return m_link ? std::nullopt : std::optional<int>(IMAGE_PATH_LINK_GONE);
}

void ImageStream::sleep(std::unique_lock<std::mutex>& lock, std::optional<Clock::time_point> deadline) {
    ++m_waiters;
    if (deadline) {
        m_arrived.wait_until(lock, *deadline);
    } else {
        m_arrived.wait(lock);
    }
    --m_waiters;
}

int ImageStream::wait(int timeoutMs, TavoImage& image) {
    std::optional<Clock::time_point> deadline;
    if (timeoutMs >= 0) {
        deadline = Clock::now() + milliseconds(timeoutMs);
    }
    bool attended = false; // in vain
    bool looked = false;   // also who does not wait gets what is there
    std::unique_lock lock(m_mutex);
    for (;;) {
        auto done = result(image);
        if (!done && looked && deadline && Clock::now() >= *deadline) {
            done = IMAGE_PATH_TIMEOUT;
        }
        if (done) {
            if (m_waiters > 0) {
                m_arrived.notify_one(); // who may do the keeper's work now
            }
            return *done;
        }
        if (attended) {
            sleep(lock, deadline);
            attended = false;
            continue;
        }
        ++m_attending;
        looked = true;
        lock.unlock();
        attended = !m_keeper->attend(deadline.value_or(Clock::time_point::max()));
        lock.lock();
        --m_attending;
    }
}

void ImageStream::handOut(TavoImage& out) {
    describe(m_image, out);
    m_borrowed[out.buffer] = true;
    auto& missing = m_missing[out.buffer];
    missing.clear();
    for (const gvsp::Range& range : m_image.missing) {
        missing.push_back({range.offset, range.length});
    }
    out.missing = missing.data();
    out.missingCount = missing.size();
}

int ImageStream::giveBack(unsigned buffer) {
    const std::lock_guard lock(m_mutex);
    if (buffer >= m_borrowed.size() || !m_borrowed[buffer]) {
        return IMAGE_PATH_BAD_ARGUMENT;
    }
    m_borrowed[buffer] = false;
    m_receiver.lend(m_buffers[buffer]);
    return IMAGE_PATH_OK;
}

void ImageStream::wake() {
    {
        const std::lock_guard lock(m_mutex);
        m_woken = true;
    }
    m_arrived.notify_all();
    m_keeper->hurry();
}

int ImageStream::restart(const TavoImageSettings& settings) {
    if (settings.payloadSize > m_bufferSize) {
        return IMAGE_PATH_BAD_ARGUMENT;
    }
    m_keeper->catchUp(); // so that nothing of before comes after
    const std::lock_guard lock(m_mutex);
    m_receiver.setSettings(receiverSettings(settings));
    m_receiver.restart();
    return m_ended ? IMAGE_PATH_NO_PORT : IMAGE_PATH_OK;
}

void ImageStream::statistics(TavoImageStatistics& out) {
    out = {};
    out.overrun = m_keeper->overrun();
    const std::lock_guard lock(m_mutex);
    const gvsp::Counters& counters = m_receiver.counters();
    out.packets = counters.packets;
    out.bytes = counters.bytes;
    out.complete = counters.complete;
    out.incomplete = counters.incomplete;
    out.lostBlocks = counters.lostBlocks;
    out.droppedArriving = counters.droppedArriving;
    out.droppedOldest = counters.droppedOldest;
    out.missingPackets = counters.missingPackets;
    out.wishes = counters.wishes;
    out.wishedPackets = counters.wishedPackets;
    out.resentPackets = counters.resentPackets;
    out.unavailable = counters.unavailable;
    out.duplicates = counters.duplicates;
    out.late = counters.late;
    out.malformed = counters.malformed;
    out.testPackets = counters.testPackets;
    out.largestTestPacket = counters.largestTestPacket;
    out.imagesWaiting = static_cast<unsigned>(m_receiver.waiting());
    const auto borrowed = static_cast<unsigned>(std::count(m_borrowed.begin(), m_borrowed.end(), true));
    out.buffersFree = static_cast<unsigned>(m_borrowed.size()) - borrowed - out.imagesWaiting;
}

void ImageStream::setLink(bool present) {
    {
        const std::lock_guard lock(m_mutex);
        if (m_link == present) {
            return;
        }
        m_link = present;
    }
    m_arrived.notify_all();
}

void ImageStream::end() {
    {
        const std::lock_guard lock(m_mutex);
        m_ended = true;
    }
    m_arrived.notify_all();
    m_keeper->leave();
}

void ImageStream::close() {
    end();
    m_keeper->join();
}

} // namespace softboard
