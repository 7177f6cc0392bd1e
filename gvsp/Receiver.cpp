#include "gvsp/Receiver.h"

#include "gvsp/Block.h"
#include "gvsp/BlockOrder.h"

#include <array>
#include <deque>

namespace gvsp {
namespace {

// Under way, or finished behind one that is. So many that one can be asked for several times over while a
// fast camera goes on.
constexpr std::size_t kMostBlocks = 32;

constexpr std::size_t kIpAndUdp = kPacketOverhead - kHeader;

// So much of later blocks has come that what is missing of an earlier one was not just overtaken.
constexpr std::uint32_t kOvertaken = 32;

std::size_t headersOf(bool extendedIds) {
    return extendedIds ? kExtendedPacketOverhead : kPacketOverhead;
}

bool canBegin(const Packet& packet) {
    if (packet.isError() || packet.content.empty()) {
        return false;
    }
    switch (packet.kind()) {
    case Format::Leader:
    case Format::AllIn:
        return readLeader(packet.content).has_value();
    case Format::Trailer:
        return packet.id != 0 && readTrailer(packet.content).has_value();
    case Format::Payload:
    case Format::H264:
    case Format::MultiZone:
    case Format::MultiPart:
    case Format::GenDc:
        return packet.id != 0;
    }
    return false;
}

} // namespace

class Receiver::Impl {
public:
    explicit Impl(const Settings& settings) : m_settings(settings) {
        for (Block& block : m_pool) {
            m_idle.push_back(&block);
        }
    }

    void packet(std::span<const std::uint8_t> datagram, Time now);
    void advance(Time now);
    std::optional<Time> deadline() const;
    bool nextImage(Image& out);
    void restart();
    void setSettings(const Settings& settings);

    std::vector<Buffer> free;
    std::deque<Image> finished;
    Counters counters;

private:
    void otherPacket(const Packet& packet, std::size_t size, Time now);
    void take(Block& block, const Packet& packet, Time now);
    Block* find(const Packet& packet);
    Block* begin(const Packet& packet, Time now);
    bool findBuffer(Buffer& out);
    std::size_t likelyPayload(bool extendedIds) const;
    void giveUpOvertaken();
    void finish(Block& block);
    void deliver();
    void release(Block& block);

    Settings m_settings;
    std::array<std::size_t, 2> m_learnt{}; // payload of data packets, by kind of ids; 0: not yet
    std::array<Block, kMostBlocks> m_pool;
    std::vector<Block*> m_idle;
    std::vector<Block*> m_order; // by sequence
    Block m_none;
    Block* m_current = &m_none; // of the last packet
    BlockOrder m_blockOrder;
    Time m_lastEnd{};
};

inline void Receiver::Impl::packet(std::span<const std::uint8_t> datagram, Time now) {
    ++counters.packets;
    Packet packet;
    if (!read(datagram, packet)) {
        ++counters.malformed;
    } else if (m_current->takeNext(packet, now)) {
        counters.bytes += packet.content.size();
    } else {
        otherPacket(packet, datagram.size(), now);
    }
}

void Receiver::Impl::otherPacket(const Packet& packet, std::size_t size, Time now) {
    if (packet.block == kTestBlock) {
        ++counters.testPackets;
        counters.largestTestPacket = std::max<std::uint64_t>(counters.largestTestPacket, size + kIpAndUdp);
        return;
    }
    Block* block = find(packet);
    if (block == nullptr) {
        block = begin(packet, now);
    }
    if (block == nullptr || block->finished()) {
        counters.late += block != nullptr && block->buffer().data != nullptr ? 1 : 0;
        return;
    }
    m_current = block;
    if (packet.isError()) {
        ++counters.unavailable;
        return;
    }
    take(*block, packet, now);
}

void Receiver::Impl::take(Block& block, const Packet& packet, Time now) {
    const Block::Result result = block.take(packet, now);
    counters.bytes += result.bytes;
    if (result.taken == Block::Taken::Malformed) {
        ++counters.malformed;
        return;
    }
    if (result.taken == Block::Taken::Duplicate) {
        ++counters.duplicates;
        return;
    }
    if (block.leader()) {
        m_blockOrder.sawLeader(block.sequence(), block.leader()->timestamp);
    }
    if (block.complete()) {
        finish(block);
        deliver();
    }
    giveUpOvertaken();
}

Block* Receiver::Impl::find(const Packet& packet) {
    const auto found = std::find_if(m_order.rbegin(), m_order.rend(), [&](const Block* block) {
        return block->is(packet.block, packet.extended());
    });
    return found == m_order.rend() ? nullptr : *found;
}

Block* Receiver::Impl::begin(const Packet& packet, Time now) {
    if (!canBegin(packet)) {
        ++(packet.isError() ? counters.late : counters.malformed);
        return nullptr;
    }
    const bool quiet = m_order.empty() && now - m_lastEnd > m_settings.patience;
    const auto [verdict, sequence] = m_blockOrder.judge(packet, quiet);
    switch (verdict) {
    case BlockOrder::Verdict::Strange:
        ++counters.malformed;
        return nullptr;
    case BlockOrder::Verdict::Late:
        ++counters.late;
        return nullptr;
    case BlockOrder::Verdict::Ignored:
        return nullptr;
    case BlockOrder::Verdict::Restart:
        std::for_each(m_order.begin(), m_order.end(), [this](Block* block) { finish(*block); });
        deliver();
        break;
    case BlockOrder::Verdict::Begin:
        break;
    }
    if (m_idle.empty()) {
        finish(*m_order.front());
        deliver();
    }
    Block* block = m_idle.back();
    const Block::Start start{packet.block, packet.extended(), sequence, likelyPayload(packet.extended())};
    Buffer buffer;
    if (findBuffer(buffer)) {
        block->begin(start, buffer, m_settings, now);
    } else {
        block->beginWithout(start, now);
        ++counters.droppedArriving;
        m_blockOrder.ended(sequence, true, std::nullopt);
    }
    m_idle.pop_back();
    m_blockOrder.began(packet, sequence);
    m_order.insert(
        std::find_if(
            m_order.begin(), m_order.end(), [&](const Block* other) { return other->sequence() > sequence; }),
        block);
    deliver();
    return block;
}

bool Receiver::Impl::findBuffer(Buffer& out) {
    if (free.empty()) {
        if (m_settings.overflow == Overflow::DropArriving || finished.empty()) {
            return false;
        }
        free.push_back(finished.front().buffer);
        finished.pop_front();
        ++counters.droppedOldest;
    }
    out = free.back();
    free.pop_back();
    return true;
}

std::size_t Receiver::Impl::likelyPayload(bool extendedIds) const {
    const std::size_t headers = headersOf(extendedIds);
    const std::size_t set = m_settings.packetSize > headers ? m_settings.packetSize - headers : 0;
    return m_learnt[extendedIds ? 1 : 0] != 0 ? m_learnt[extendedIds ? 1 : 0] : set;
}

// Without asking again, what is missing of a block can only have been overtaken.
void Receiver::Impl::giveUpOvertaken() {
    std::uint32_t later = 0;
    for (auto block = m_order.rbegin(); block != m_order.rend(); ++block) {
        if (later >= kOvertaken && !(*block)->finished()) {
            finish(**block);
        }
        later += (*block)->arrived();
    }
    deliver();
}

void Receiver::Impl::finish(Block& block) {
    if (block.finished()) {
        return;
    }
    if (block.settledPayload() != 0) {
        m_learnt[block.extendedIds() ? 1 : 0] = block.settledPayload();
    }
    counters.missingPackets += block.missingPackets();
    m_blockOrder.ended(
        block.sequence(), false, block.leader() ? std::optional(block.leader()->timestamp) : std::nullopt);
    block.finish();
    m_lastEnd = std::max(m_lastEnd, block.lastPacket());
}

void Receiver::Impl::deliver() {
    while (!m_order.empty() && m_order.front()->finished()) {
        Block* block = m_order.front();
        m_order.erase(m_order.begin());
        counters.lostBlocks += m_blockOrder.delivered(block->sequence());
        if (block->buffer().data != nullptr) {
            Image& image = finished.emplace_back();
            block->describe(image);
            const bool whole = image.status == ImageStatus::Complete ||
                               (image.status == ImageStatus::NotUnderstood && image.missing.empty());
            ++(whole ? counters.complete : counters.incomplete);
        }
        release(*block);
    }
}

void Receiver::Impl::release(Block& block) {
    m_idle.push_back(&block);
    if (m_current == &block) {
        m_current = &m_none;
    }
}

void Receiver::Impl::advance(Time now) {
    for (Block* block : m_order) {
        if (!block->finished() && now - block->lastPacket() >= m_settings.patience) {
            finish(*block);
        }
    }
    giveUpOvertaken();
}

std::optional<Time> Receiver::Impl::deadline() const {
    std::optional<Time> first;
    for (const Block* block : m_order) {
        if (!block->finished()) {
            const Time due = block->lastPacket() + m_settings.patience;
            first = first ? std::min(*first, due) : due;
        }
    }
    return first;
}

bool Receiver::Impl::nextImage(Image& out) {
    if (finished.empty()) {
        return false;
    }
    out = std::move(finished.front());
    finished.pop_front();
    return true;
}

void Receiver::Impl::restart() {
    for (Block* block : m_order) {
        if (block->buffer().data != nullptr) {
            free.push_back(block->buffer());
        }
        block->finish();
        release(*block);
    }
    m_order.clear();
    for (const Image& image : finished) {
        free.push_back(image.buffer);
    }
    finished.clear();
    m_blockOrder = {};
}

void Receiver::Impl::setSettings(const Settings& settings) {
    if (settings.packetSize != m_settings.packetSize) {
        m_learnt = {};
    }
    m_settings = settings;
}

Receiver::Receiver(const Settings& settings) : m_impl(std::make_unique<Impl>(settings)) {}
Receiver::~Receiver() = default;

void Receiver::lend(const Buffer& buffer) {
    m_impl->free.push_back(buffer);
}
void Receiver::packet(std::span<const std::uint8_t> datagram, Time now) {
    m_impl->packet(datagram, now);
}
void Receiver::advance(Time now) {
    m_impl->advance(now);
}
std::optional<Time> Receiver::deadline() const {
    return m_impl->deadline();
}
bool Receiver::nextImage(Image& out) {
    return m_impl->nextImage(out);
}
std::size_t Receiver::waiting() const {
    return m_impl->finished.size();
}
bool Receiver::nextWish(ResendWish&) {
    return false;
}
void Receiver::restart() {
    m_impl->restart();
}
void Receiver::setSettings(const Settings& settings) {
    m_impl->setSettings(settings);
}
const Counters& Receiver::counters() const {
    return m_impl->counters;
}

} // namespace gvsp
