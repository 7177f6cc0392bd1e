#include "simcam/StreamModel.h"

#include "simcam/ChunkModel.h"

#include <algorithm>

namespace simcam {

using std::chrono::nanoseconds;

namespace {

// Of IPv4 multicast over Ethernet (RFC 1112).
constexpr std::uint32_t kGroups = 0xE; // the first bits of a group's address
constexpr Mac kGroupMac = 0x01005E000000;
constexpr std::uint32_t kGroupBits = 0x7FFFFF;

} // namespace

bool StreamModel::isOpen() const {
    const bool destination =
        m_parts.registers.get(Reg::StreamPort) != 0 && m_parts.registers.get(Reg::StreamDestination) != 0;
    return destination && m_parts.station.ip().address != 0;
}

void StreamModel::close() {
    m_current.reset();
    m_past.clear();
    m_asked.reset();
}

StreamModel::Statistics StreamModel::statistics() const {
    const PastBlocks::Statistics& again = m_past.statistics();
    return {
        m_sent.frames, m_sent.packets + again.packets, m_sent.bytes + again.bytes, again.packets,
        again.refused};
}

// --- registers ---

void StreamModel::refresh(Time) {
    const Statistics sent = statistics();
    m_parts.registers.set(Reg::FramesSent, sent.frames);
    m_parts.registers.set(Reg::PacketsSent, sent.packets);
    m_parts.registers.set(Reg::BytesSent, sent.bytes);
}

void StreamModel::written(Reg reg, std::uint32_t, Time) {
    const bool on = m_parts.registers.get(reg) != 0;
    if (reg == Reg::StreamPort || reg == Reg::StreamDestination) {
        close();
    }
    if (reg == Reg::StreamPort && m_parts.acquisition != nullptr) {
        m_opened = m_parts.acquisition->frames();
    } else if (reg == Reg::AcquisitionAbort && on) {
        m_current.reset();
    } else if (reg == Reg::StatisticsReset && on) {
        m_sent = {};
        m_past.clearStatistics();
    }
}

// --- who receives ---

// None while the MAC address is being asked for.
std::optional<Mac> StreamModel::findReceiver(Time now, PacketBatch& out) {
    const IpConfiguration& own = m_parts.station.ip();
    const auto destination = static_cast<std::uint32_t>(m_parts.registers.get(Reg::StreamDestination));
    const bool near = own.inSubnet(destination) || own.gateway == 0;
    const std::uint32_t hop = near ? destination : own.gateway;
    if (destination == kBroadcastIp) {
        return kBroadcastMac;
    }
    if (destination >> 28 == kGroups) {
        return kGroupMac | (destination & kGroupBits);
    }
    auto mac = m_parts.station.neighbour(destination); // a far one has been heard through its router
    mac = mac ? mac : m_parts.station.neighbour(hop);
    if (mac) {
        m_asked.reset();
    } else if (!m_asked || now >= *m_asked + kArpRepeat) {
        m_asked = now;
        m_parts.station.await(hop);
        out.add(m_parts.station.arpRequest(hop), {}, {}, nullptr);
    }
    return mac;
}

StreamFrames StreamModel::frames(Mac receiver) const {
    const Registers& registers = m_parts.registers;
    const Peer to{
        receiver, static_cast<std::uint32_t>(registers.get(Reg::StreamDestination)),
        static_cast<std::uint16_t>(registers.get(Reg::StreamPort))};
    const bool whole = (registers.get(Reg::StreamPacketSize) & bootstrap::kDoNotFragmentBit) != 0;
    return {m_parts.station, to, static_cast<std::uint16_t>(registers.get(Reg::StreamSourcePort)), whole};
}

// --- blocks ---

std::shared_ptr<const Block> StreamModel::makeBlock(const AcquisitionModel::Exposure& exposure) {
    const Registers& registers = m_parts.registers;
    const auto word = [&](Reg reg) { return static_cast<std::uint32_t>(registers.get(reg)); };
    auto block = std::make_shared<Block>();
    block->number = exposure.number - m_opened;
    block->extendedIds = (word(Reg::GvspConfiguration) & bootstrap::kLongBlockIdsBit) != 0;
    block->timestamp = m_parts.bootstrap.timestamp(exposure.time);
    block->payloadType = static_cast<std::uint16_t>(gvsp::PayloadType::Image);
    block->pixelFormat = word(Reg::PixelFormat);
    block->width = word(Reg::Width);
    block->height = word(Reg::Height);
    block->offsetX = word(Reg::OffsetX);
    block->offsetY = word(Reg::OffsetY);
    block->packetSize = word(Reg::StreamPacketSize) & bootstrap::kPacketSizeMask;
    showPicture(*block);
    addChunks(*block);
    return block;
}

void StreamModel::showPicture(Block& block) {
    const SceneWish wish{
        static_cast<TestPattern>(m_parts.registers.get(Reg::TestPattern)), block.pixelFormat, block.width,
        block.height};
    const Picture picture = m_pictures.show(wish, block.id());
    block.settings = m_pictures.settings();
    block.picture = picture.owner;
    block.image = picture.bytes;
}

// Applications that know extended chunk data learn what the image is; others take it from the features.
void StreamModel::addChunks(Block& block) {
    Registers& registers = m_parts.registers;
    if (chunkBytes(registers) == 0) {
        return;
    }
    const bool extended = (registers.get(Reg::StreamConfiguration) & bootstrap::kExtendedChunkDataBit) != 0;
    block.payloadType = static_cast<std::uint16_t>(
        extended ? block.payloadType | gvsp::kWithChunks
                 : static_cast<std::uint16_t>(gvsp::PayloadType::ChunkData));
    block.chunks = makeChunks(registers, block.image.size(), block.number, block.timestamp);
    block.chunkLayout = chunkLayout(registers);
}

// Starts the next block; false when no frame waits.
bool StreamModel::begin() {
    const auto exposure = m_parts.acquisition->takeExposure();
    if (!exposure) {
        return false;
    }
    UnderWay started{makeBlock(*exposure), 0, std::max(exposure->time, m_linkFree), {}};
    const double seconds =
        static_cast<double>(started.block->payloadSize()) / m_parts.acquisition->bytesPerSecond();
    const std::uint32_t pauses = started.block->lastPacket();
    started.interval =
        nanoseconds(static_cast<std::int64_t>(seconds * 1e9 / pauses)) + m_parts.acquisition->packetDelay();
    m_linkFree = started.start + pauses * started.interval;
    m_current = std::move(started);
    return true;
}

void StreamModel::sendBlocks(Time now, StreamFrames& frames, PacketBatch& out) {
    while (!out.full() && (m_current || begin()) && due() <= now) {
        m_sent.bytes += frames.packet(*m_current->block, m_current->next, false, out);
        ++m_sent.packets;
        if (m_current->next++ == m_current->block->lastPacket()) {
            ++m_sent.frames;
            m_past.keep(std::move(m_current->block));
            m_current.reset();
        }
    }
}

// --- packets that are wanted again ---

PastBlocks::UnderWay StreamModel::underWay() const {
    return m_current ? PastBlocks::UnderWay{m_current->block, m_current->next} : PastBlocks::UnderWay{};
}

void StreamModel::resend(const ResendRequest& request) {
    if (isOpen() && request.from.ip == m_parts.registers.get(Reg::StreamDestination)) {
        m_past.ask(request, underWay());
    }
}

// --- time ---

bool StreamModel::hasWork() const {
    const bool waiting = m_parts.acquisition != nullptr && m_parts.acquisition->isWaiting();
    return m_current || waiting || m_past.asked() || m_parts.bootstrap.wantsTestPacket();
}

void StreamModel::next(Time now, PacketBatch& out) {
    m_looked = now;
    if (!isOpen()) {
        pass(now);
        return;
    }
    if (m_parts.acquisition != nullptr) {
        m_parts.acquisition->refresh(now);
    }
    const auto receiver = hasWork() ? findReceiver(now, out) : std::nullopt;
    if (!receiver) {
        return;
    }
    StreamFrames sent = frames(*receiver);
    if (m_parts.bootstrap.takeTestPacket()) {
        sent.test(m_parts.registers.get(Reg::StreamPacketSize) & bootstrap::kPacketSizeMask, out);
    }
    m_past.answer(kBatchPackets / 2, sent, underWay(), out);
    if (m_parts.acquisition != nullptr) {
        sendBlocks(now, sent, out);
    }
}

void StreamModel::pass(Time now) {
    m_looked = now;
    m_parts.bootstrap.takeTestPacket();
    m_past.forgetRequests();
    m_current.reset();
    if (m_parts.acquisition != nullptr) {
        m_parts.acquisition->refresh(now);
        m_parts.acquisition->skipWaiting();
    }
}

// What is overdue goes out at once, as does the beginning of a block.
std::optional<Time> StreamModel::deadline() const {
    if (!isOpen()) {
        return std::nullopt;
    }
    if (m_asked && hasWork()) {
        return *m_asked + kArpRepeat;
    }
    const bool later = m_current && due() > m_looked;
    if (hasWork() && (!later || m_past.asked() || m_parts.bootstrap.wantsTestPacket())) {
        return m_looked;
    }
    if (m_current) {
        return m_current->next == 0 ? due() : std::max(due(), m_looked + kPacingStep);
    }
    return m_parts.acquisition != nullptr ? m_parts.acquisition->deadline() : std::nullopt;
}

} // namespace simcam
