#include "softboard/Port.h"

#include "softboard/StreamTimer.h"
#include "softboard/hw_results.h"

#include "netif/checksum.h"
#include "protocol/gvcp.h"
#include "protocol/net.h"

#include <algorithm>
#include <cerrno>
#include <utility>

namespace softboard {

namespace {

void storeBig16(std::uint8_t* bytes, std::uint32_t value) {
    bytes[0] = static_cast<std::uint8_t>(value >> 8);
    bytes[1] = static_cast<std::uint8_t>(value);
}

constexpr std::size_t kUdpDestination = net::kUdpDestinationPort - net::kUdpSourcePort;

void count(std::atomic<std::uint64_t>& counter) {
    counter.fetch_add(1, std::memory_order_relaxed);
}

} // namespace

Port::Port(const BoardLines& lines, const Phy& phy, std::size_t queueWords)
    : m_lines(lines), m_phy(phy), m_wire(m_hub), m_queue(queueWords, m_wire) {
    m_wire.plug([this](const std::uint8_t* frame, std::size_t size) {
        if (m_phy.negotiated()) {
            receive(frame, size);
        } else {
            count(m_ignored);
        }
    });
}

Port::~Port() {
    shutDown();
}

void Port::shutDown() {
    setStreamAllowed(false);
    if (const auto last = m_lastStream.lock()) {
        last->close();
    }
    m_hub->detachAll();
    m_wire.shutDown();
    setCapture(nullptr);
}

void Port::setConfigured(bool configured) {
    m_frameSize = 0;
    m_overflow = false;
    m_transmitEnable = false;
    m_stampEnable = false;
    m_requestId = 0;
    m_heartbeatEnable = 0;
    setImagePort(0);
    m_lineLength = 0;
    m_queue.setOpen(configured);
    setStreamAllowed(configured);
}

void Port::attach(std::shared_ptr<Link> link) {
    m_hub->attach(std::move(link));
    m_queue.wake();
    tellStreamOfLink();
}

bool Port::detach(const std::function<bool(const Link&)>& which) {
    const bool found = m_hub->detach(which);
    tellStreamOfLink();
    return found;
}

void Port::detachAll() {
    m_hub->detachAll();
    tellStreamOfLink();
}

int Port::write(PortRegister reg, std::uint32_t value) {
    switch (reg) {
    case PortRegister::WriteData:
        return load(static_cast<std::uint16_t>(value));
    case PortRegister::BufferReset:
        m_frameSize = 0;
        m_overflow = false;
        break;
    case PortRegister::WriteComplete:
        return transmit();
    case PortRegister::TxStart:
        m_transmitEnable = value != 0;
        break;
    case PortRegister::RequestIdLoad:
        m_requestId = value;
        break;
    case PortRegister::RequestIdEnable:
        m_stampEnable = value != 0;
        break;
    case PortRegister::ImagePort:
        setImagePort(static_cast<std::uint16_t>(value));
        break;
    case PortRegister::LineLength:
        m_lineLength = static_cast<std::uint16_t>(value);
        break;
    case PortRegister::HeartbeatEnable:
        m_heartbeatEnable = value;
        break;
    default:
        return kNotWritable;
    }
    return kSuccess;
}

std::uint32_t Port::read(PortRegister reg) {
    switch (reg) {
    case PortRegister::HeartbeatEnable:
        return m_heartbeatEnable;
    case PortRegister::Status:
        m_wire.readInPlace(Clock::time_point::min()); // what waits on the wire waits for the reader too
        return (linkUp() ? kStatusLinkUp : 0) | (m_queue.queuedWords() > 0 ? kStatusFrameWaiting : 0);
    case PortRegister::ReceivedPackets:
        return static_cast<std::uint32_t>(m_received);
    case PortRegister::ReceiveErrors:
        return static_cast<std::uint32_t>(m_errors + m_queueDrops + m_wire.statistics().overrun);
    case PortRegister::ImagePackets:
        return static_cast<std::uint32_t>(m_toImagePath);
    default:
        return 0;
    }
}

void Port::setImagePort(std::uint16_t udpPort) {
    m_imagePort = udpPort;
    m_wire.setImagePort(udpPort);
}

int Port::load(std::uint16_t halfword) {
    if (m_frameSize + 2 > kTransmitBytes) {
        m_overflow = true;
        return kTransmitOverflow;
    }
    m_frame[m_frameSize] = static_cast<std::uint8_t>(halfword);
    m_frame[m_frameSize + 1] = static_cast<std::uint8_t>(halfword >> 8);
    m_frameSize += 2;
    return kSuccess;
}

// The frame stays loaded, so that a prepared one can be sent again and again. What is too short for the
// Ethernet is filled with zeros as it leaves.
int Port::transmit() {
    if (m_overflow) {
        count(m_notSent);
        return kTransmitOverflow;
    }
    if (m_frameSize == 0) {
        return kSuccess;
    }
    const bool enabled = m_lines.transmit && m_transmitEnable;
    if (!enabled || m_frameSize < net::kEthernetHeader || !linkUp()) {
        count(m_notSent);
        return kSuccess;
    }
    if (m_stampEnable) {
        stamp();
    }
    const std::size_t size = std::max(m_frameSize, net::kMinFrame);
    std::fill(
        m_frame.begin() + static_cast<std::ptrdiff_t>(m_frameSize),
        m_frame.begin() + static_cast<std::ptrdiff_t>(size), std::uint8_t{0});
    leave(m_frame.data(), size);
    return kSuccess;
}

void Port::leave(const std::uint8_t* frame, std::size_t size) {
    record(frame, size);
    count(m_sent);
    m_wire.send(frame, size);
}

// The FPGA writes its request id into a GVCP command while the frame leaves. The IP checksum covers no data.
// The UDP checksum would have to be known before the id is, so that only commands without one (0) are
// stamped: the writes. Commands with a checksum keep the id that they were built with.
void Port::stamp() {
    const std::size_t udp = udpHeader(m_frame.data(), m_frameSize);
    constexpr std::size_t kChecksum = net::kUdpChecksum - net::kUdpSourcePort;
    const std::size_t command = udp + net::kUdpHeader;
    if (udp == 0 || command + gvcp::kHeader > m_frameSize ||
        big16(&m_frame[udp + kUdpDestination]) != gvcp::kPort || big16(&m_frame[udp + kChecksum]) != 0 ||
        m_frame[command + gvcp::kCommandKey] != gvcp::kKey) {
        return;
    }
    storeBig16(&m_frame[command + gvcp::kRequestId], m_requestId.fetch_add(1));
}

bool Port::forImagePath(const std::uint8_t* frame, std::size_t size) const {
    const std::uint16_t imagePort = m_imagePort;
    const std::size_t udp = imagePort != 0 ? udpHeader(frame, size) : 0;
    return udp != 0 && big16(frame + udp + kUdpDestination) == imagePort;
}

void Port::receive(const std::uint8_t* frame, std::size_t size) {
    record(frame, size);
    if (!m_lines.receive) {
        count(m_ignored);
    } else if (size < net::kEthernetHeader || size > DataQueue::kLargestFrame) {
        count(m_errors);
    } else if (toStream(frame, size)) {
        // counted there, so that whoever has the image finds its packets counted
    } else if (forImagePath(frame, size)) {
        count(m_received);
        count(m_toImagePath);
    } else if (m_queue.pushFrame(frame, size)) {
        count(m_received);
    } else {
        count(m_queueDrops);
    }
}

bool Port::toStream(const std::uint8_t* frame, std::size_t size) {
    if (!m_streaming.load(std::memory_order_acquire)) {
        return false;
    }
    const auto open = stream();
    auto packet = open ? streamPacket(open->address(), frame, size, false) : std::nullopt;
    if (!packet) {
        return false;
    }
    count(m_received);
    count(m_toImagePath);
    open->take([&packet] { return std::exchange(packet, std::nullopt); }, ImageStream::From::Other);
    return true;
}

std::shared_ptr<ImageStream> Port::stream() const {
    const std::lock_guard lock(m_streamMutex);
    return m_stream;
}

int Port::openStream(const TavoImageSettings& settings, std::shared_ptr<ImageStream>& stream) {
    {
        const std::lock_guard lock(m_streamMutex);
        if (!m_streamAllowed || m_stream) {
            return m_streamAllowed ? IMAGE_PATH_BUSY : IMAGE_PATH_NO_PORT;
        }
        stream = std::make_shared<ImageStream>(settings, [this](const std::uint8_t* frame, std::size_t size) {
            if (linkUp()) {
                leave(frame, size);
            } else {
                count(m_notSent);
            }
        });
        int error = 0;
        auto keeper = makeKeeper(*stream, settings, error);
        if (!keeper) {
            return error == ENOMEM ? IMAGE_PATH_NO_MEMORY : IMAGE_PATH_NO_RIGHT;
        }
        stream->keepBy(std::move(keeper));
        m_lastStream = m_stream = stream;
        m_streaming.store(true, std::memory_order_release);
    }
    tellStreamOfLink();
    return IMAGE_PATH_OK;
}

// Null when the system refuses.
std::unique_ptr<ImageStream::Keeper>
Port::makeKeeper(ImageStream& stream, const TavoImageSettings& settings, int& error) {
    const StreamAddress& address = stream.address();
    const std::uint16_t every = settings.packetSize != 0 ? RingReader::bellEvery(settings.packetSize) : 0;
    auto ring =
        m_wire.openRing(net::Mac::at(settings.hostMac), {address.camera, address.udpPort, every}, error);
    if (ring) {
        return std::make_unique<RingReader>(
            stream, std::move(ring), [this, &stream](RingReader& reader) { takeFromRing(stream, reader); });
    }
    return error == 0 ? std::make_unique<StreamTimer>(stream) : nullptr;
}

void Port::takeFromRing(ImageStream& stream, RingReader& reader) {
    if (!m_wire.isSound() || m_recording.load(std::memory_order_acquire)) {
        while (const netif::PacketRing::Frame* frame = reader.next()) {
            if (frame->checksum == netif::PacketRing::Checksum::Open) {
                netif::fillTransportChecksum(frame->data, frame->size);
            }
            m_wire.arrive(frame->data, frame->size);
        }
        return;
    }
    std::uint64_t frames = 0;
    const bool wanted = m_phy.negotiated() && m_lines.receive;
    const auto nextPacket = [&]() -> std::optional<ImageStream::Packet> {
        std::optional<ImageStream::Packet> packet;
        for (const netif::PacketRing::Frame* frame = reader.next(); !packet && frame != nullptr;) {
            ++frames;
            const bool verified = frame->checksum != netif::PacketRing::Checksum::Unknown;
            packet =
                wanted ? streamPacket(stream.address(), frame->data, frame->size, verified) : std::nullopt;
            frame = packet ? frame : reader.next();
        }
        if (!packet) { // the last: whoever gets an image out of them finds them counted
            (wanted ? m_received : m_ignored).fetch_add(frames, std::memory_order_relaxed);
            m_toImagePath.fetch_add(wanted ? frames : 0, std::memory_order_relaxed);
        }
        return packet;
    };
    stream.take(nextPacket, ImageStream::From::Keeper);
}

void Port::closeStream(const std::shared_ptr<ImageStream>& stream) {
    stream->close(); // without the lock: the keeper may be on its way to it
    const std::lock_guard lock(m_streamMutex);
    forget(stream);
}

// With m_streamMutex held, of a stream that is closed.
void Port::forget(const std::shared_ptr<ImageStream>& stream) {
    if (m_lastStream.lock() == stream) {
        m_streaming = false;
        m_stream = nullptr;
        m_lastStream.reset();
        m_wire.closeRing();
    }
}

// A stream that ends here is still its owner's to close; if it is not when streams are allowed again, then
// the ring is taken from it.
void Port::setStreamAllowed(bool allowed) {
    std::shared_ptr<ImageStream> last;
    {
        const std::lock_guard lock(m_streamMutex);
        last = m_lastStream.lock();
        if (!allowed) {
            m_streamAllowed = m_streaming = false;
            m_stream = nullptr;
        }
    }
    if (last) {
        allowed ? last->close() : last->end();
    }
    if (allowed) {
        const std::lock_guard lock(m_streamMutex);
        forget(last);
        m_streamAllowed = true;
    }
}

void Port::tellStreamOfLink() {
    if (const auto open = stream()) {
        open->setLink(carrier());
    }
}

void Port::setCapture(std::shared_ptr<CaptureFile> capture) {
    const std::lock_guard lock(m_captureMutex);
    m_capture = std::move(capture);
    m_recording = m_capture != nullptr;
}

void Port::record(const std::uint8_t* frame, std::size_t size) {
    if (!m_recording.load(std::memory_order_acquire)) {
        return;
    }
    const std::lock_guard lock(m_captureMutex);
    if (m_capture) {
        m_capture->record(frame, size);
    }
}

PortState Port::state() const {
    PortState state;
    state.framesSent = m_sent;
    state.framesNotSent = m_notSent;
    state.framesReceived = m_received;
    state.framesToImagePath = m_toImagePath;
    state.receiveErrors = m_errors;
    state.queueDrops = m_queueDrops;
    state.framesIgnored = m_ignored;
    state.queuedWords = static_cast<unsigned>(m_queue.queuedWords());
    state.linkUp = linkUp();
    state.lineLength = m_lineLength;
    state.imagePort = m_imagePort;
    state.requestId = m_requestId;
    state.requestIdEnabled = m_stampEnable;
    state.link = m_wire.statistics();
    return state;
}

} // namespace softboard
