// How a stream is opened: memory, path, camera, packet size, in this order.
#include "genicam/device/ImplGenICamCamera.h"
#include "liomol/exceptions.h"
#include "streaming/ImageStream.h"
#include "streaming/stream_channel.h"
#include "util/error_detail.h"

#include <algorithm>
#include <string>

namespace streaming {
namespace {

// Larger ones are sent by no camera, and carried by no Ethernet.
constexpr unsigned kMostTestedSize = 16384;

} // namespace

int ImageStream::open() {
    const std::shared_ptr<board::Device> camera = device();
    if (camera == nullptr) {
        return util::refused(reason(), [this] { return reasonText(); });
    }
    const CameraRegisters registers(m_place, *camera);
    const ImageShape shape = readShape(*camera);
    const int refused = takeMemory(shape);
    if (refused != status::Success) {
        return refused;
    }
    if (!setAddresses()) {
        return util::refused(status::CameraNotConnected, "the port serves another camera by now");
    }
    setShape(shape);
    const ChannelFacts facts = readFacts(registers);
    m_tickFrequency = facts.tickFrequency;
    m_settings.resend = m_options.resend != 0 && facts.canResend ? 1 : 0;
    const int result = openPath();
    if (result != status::Success) {
        return result;
    }
    setUpChannel(registers);
    choosePacketSize(registers);
    camera->invalidateAllNodes();
    restart();
    const int ended = reason();
    return ended == status::Success ? ended : util::refused(ended, [this] { return reasonText(); });
}

int ImageStream::takeMemory(const ImageShape& shape) {
    m_bufferSize = m_options.bufferSize != 0 ? m_options.bufferSize : shape.payloadSize;
    if (m_bufferSize < shape.payloadSize) {
        return util::refused(status::BufferTooSmall, [&] {
            return "bufferSize is " + std::to_string(m_bufferSize) + ", and an image takes " +
                   std::to_string(shape.payloadSize) + " bytes (PayloadSize)";
        });
    }
    if (m_options.memory != nullptr) {
        m_memory.lend(m_options.memory, m_options.buffers);
        return status::Success;
    }
    return m_memory.take(m_options.buffers, m_bufferSize)
               ? status::Success
               : util::refused(status::NotAvailable, [&] {
                     return "there is no memory for " + std::to_string(m_options.buffers) + " buffers of " +
                            std::to_string(m_bufferSize) + " bytes";
                 });
}

void ImageStream::setShape(const ImageShape& shape) {
    m_settings.payloadSize = std::min(shape.payloadSize, m_bufferSize);
    m_settings.pixelFormat = shape.pixelFormat;
    m_settings.width = shape.width;
    m_settings.height = shape.height;
    m_settings.offsetX = shape.offsetX;
    m_settings.offsetY = shape.offsetY;
}

// Who is where on the port; false when the port is another camera's by now.
bool ImageStream::setAddresses() {
    const board::HeldPort held(m_place);
    const transport::Port* const port = held.port();
    const DiscoveredCamera* const camera = port != nullptr ? port->currentCamera() : nullptr;
    if (camera == nullptr) {
        return false;
    }
    std::copy_n(camera->mac, sizeof camera->mac, m_settings.cameraMac);
    std::copy_n(camera->ip, sizeof camera->ip, m_settings.cameraIp);
    std::copy_n(port->mac().data(), sizeof m_settings.hostMac, m_settings.hostMac);
    std::copy_n(port->ip().data(), sizeof m_settings.hostIp, m_settings.hostIp);
    m_settings.udpPort = port->imagePort();
    return true;
}

int ImageStream::openPath() {
    m_settings.board = m_place.boardIndex;
    m_settings.port = m_place.number;
    m_settings.buffers = m_options.buffers;
    m_settings.memory = m_memory.pieces();
    m_settings.bufferSize = m_bufferSize;
    m_settings.dropOldest = m_options.dropOldest != 0 ? 1 : 0;
    m_settings.patienceMs = m_options.patienceMs;
    TavoImageStream* stream = nullptr;
    const int result = m_path.open(&m_settings, &stream);
    const std::lock_guard lock(m_mutex);
    m_stream = stream;
    m_place.counters[util::Figure::StreamOpen].set(stream != nullptr ? 1 : 0);
    return result == IMAGE_PATH_OK ? status::Success : util::refused(statusOf(result), sentenceOf(result));
}

void ImageStream::setUpChannel(const CameraRegisters& registers) {
    sendTo(registers, {net::Ipv4::at(m_settings.hostIp), m_settings.udpPort});
    chooseIds(registers, m_options.extendedIds != 0);
    if (m_options.packetDelay >= 0 &&
        !registers.write(
            bootstrap::kStreamChannelPacketDelay, static_cast<std::uint32_t>(m_options.packetDelay))) {
        util::fail<tavo::GicIllegalValueException>([&] {
            return "the camera does not take a packet delay of " + std::to_string(m_options.packetDelay);
        });
    }
}

void ImageStream::choosePacketSize(const CameraRegisters& registers) {
    if (m_options.packetSize == GBE_PACKET_SIZE_AUTO) {
        findPacketSize(registers, kMostTestedSize, [this] { return testPackets(); });
    } else if (
        m_options.packetSize != GBE_PACKET_SIZE_KEEP &&
        !writePacketSize(registers, static_cast<unsigned>(m_options.packetSize))) {
        util::fail<tavo::GicIllegalValueException>([&] {
            return "the camera does not take packets of " + std::to_string(m_options.packetSize) + " bytes";
        });
    }
    m_packetSize = readPacketSize(registers);
    const std::lock_guard settling(m_settling);
    m_settings.packetSize = m_packetSize;
}

} // namespace streaming
