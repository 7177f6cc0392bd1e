#include "gvsp/Receiver.h"

#include "gvsp/Block.h"
#include "gvsp/BlockOrder.h"
#include "gvsp/Buffers.h"
#include "gvsp/UnderWay.h"
#include "gvsp/packet_sense.h"

#include <array>
#include <deque>

namespace gvsp {
namespace {

constexpr std::size_t kIpAndUdp = kPacketOverhead - kHeader;

// When so many packets of later blocks have come, what is missing of an earlier one was not just overtaken.
constexpr std::uint32_t kOvertaken = 32;

} // namespace

class Receiver::Impl {
public:
    explicit Impl(const Settings& settings) : m_settings(settings) {}

    void packet(std::span<const std::uint8_t> datagram, Time now);
    void advance(Time now);
    std::optional<Time> deadline() const;
    bool nextWish(ResendWish& out);
    void restart();
    void setSettings(const Settings& settings);
    Overflow overflow() const { return m_settings.overflow; }
    // Counts what the good path took.
    void account();

    Buffers buffers;
    Counters counters;

private:
    using Entry = UnderWay::Entry;

    void otherPacket(std::span<const std::uint8_t> datagram, Time now);
    void packetOfBlock(const Packet& packet, Time now);
    void take(Entry& entry, const Packet& packet, Time now);
    void takeError(Entry& entry, const Packet& packet);
    Entry* begin(const Packet& packet, Time now);
    Entry* insert(const Packet& packet, std::uint64_t sequence, Time now);
    std::size_t likelyPayload(bool extendedIds) const;
    void review(Entry& entry);
    void giveUpOvertaken();
    void finish(Entry& entry);
    void finishAll();
    void deliver();

    Settings m_settings;
    std::array<std::size_t, 2> m_learnt{}; // payload of data packets, by kind of ids; 0: not yet
    UnderWay m_underWay;
    BlockOrder m_blockOrder;
    AnswerTime m_answerTime;
    std::deque<ResendWish> m_wishes;
    Time m_lastEnd{};
};

inline void Receiver::Impl::packet(std::span<const std::uint8_t> datagram, Time now) {
    if (!m_underWay.current().takeNext(datagram, now)) {
        otherPacket(datagram, now);
    }
}

void Receiver::Impl::account() {
    const std::uint64_t packets = m_underWay.current().account();
    counters.packets += packets;
    counters.bytes += packets * m_underWay.current().packetPayload();
}

void Receiver::Impl::otherPacket(std::span<const std::uint8_t> datagram, Time now) {
    account();
    ++counters.packets;
    Packet packet;
    if (!read(datagram, packet)) {
        ++counters.malformed;
        return;
    }
    if (packet.block == kTestBlock) {
        ++counters.testPackets;
        counters.largestTestPacket =
            std::max<std::uint64_t>(counters.largestTestPacket, datagram.size() + kIpAndUdp);
        return;
    }
    packetOfBlock(packet, now);
}

void Receiver::Impl::packetOfBlock(const Packet& packet, Time now) {
    Entry* entry = m_underWay.find(packet.block, packet.extended());
    if (entry == nullptr) {
        entry = begin(packet, now);
    }
    if (entry == nullptr) {
        return;
    }
    if (entry->block.finished()) {
        counters.late += entry->block.buffer().data != nullptr ? 1 : 0;
        return;
    }
    m_underWay.setCurrent(entry->block);
    if (packet.isError() && !isLeaderOrTrailer(packet)) {
        takeError(*entry, packet);
    } else {
        take(*entry, packet, now);
    }
}

void Receiver::Impl::take(Entry& entry, const Packet& packet, Time now) {
    Block& block = entry.block;
    const std::uint32_t next = block.next();
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
    const Wishes::Asked asked = entry.wishes.asked(packet.id);
    counters.resentPackets += packet.saysResent() || asked.wishes != 0 ? 1 : 0;
    if (asked.wishes == 1) {
        m_answerTime.saw(now - asked.last);
    }
    if (packet.id > next) {
        entry.wishes.gap(next, std::min(packet.id - 1, block.lastWithPlace()), now, m_settings);
    }
    if (block.leader()) {
        m_blockOrder.sawLeader(block.sequence(), block.leader()->timestamp);
    }
    if (block.complete()) {
        finish(entry);
        deliver();
    }
    giveUpOvertaken();
}

void Receiver::Impl::takeError(Entry& entry, const Packet& packet) {
    ++counters.unavailable;
    if (!saysGone(packet.status)) {
        return;
    }
    const bool withAllBefore = packet.status == static_cast<std::uint16_t>(Status::RemovedWithAllBefore);
    entry.wishes.unavailable(packet.id, withAllBefore);
    for (Entry* other : m_underWay.order()) {
        if (withAllBefore && other->block.sequence() < entry.block.sequence()) {
            other->wishes.unavailable(kMostPackets, true);
            review(*other);
        }
    }
    review(entry);
    deliver();
}

Receiver::Impl::Entry* Receiver::Impl::begin(const Packet& packet, Time now) {
    if (packet.isError()) {
        ++counters.late;
        return nullptr;
    }
    if (!canBegin(packet)) {
        ++counters.malformed;
        return nullptr;
    }
    const bool quiet = m_underWay.empty() && now - m_lastEnd > m_settings.patience;
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
        finishAll();
        break;
    case BlockOrder::Verdict::Begin:
        break;
    }
    return insert(packet, sequence, now);
}

Receiver::Impl::Entry* Receiver::Impl::insert(const Packet& packet, std::uint64_t sequence, Time now) {
    if (m_underWay.full()) {
        finish(m_underWay.front());
        deliver();
    }
    if (m_blockOrder.isDelivered(sequence)) {
        ++counters.late;
        return nullptr;
    }
    Entry* entry = &m_underWay.insert(sequence, m_settings.resend, now);
    m_blockOrder.began(packet, sequence);

    const Block::Start start{packet.block, packet.extended(), sequence, likelyPayload(packet.extended())};
    Buffer buffer;
    if (buffers.take(buffer, m_settings.overflow, counters)) {
        entry->block.begin(start, buffer, m_settings, now);
        return entry;
    }
    entry->block.beginWithout(start, now);
    ++counters.droppedArriving;
    m_blockOrder.ended({sequence, true, false, std::nullopt});
    deliver();
    return nullptr;
}

std::size_t Receiver::Impl::likelyPayload(bool extendedIds) const {
    if (m_learnt[extendedIds ? 1 : 0] != 0) {
        return m_learnt[extendedIds ? 1 : 0];
    }
    const std::size_t headers = extendedIds ? kExtendedPacketOverhead : kPacketOverhead;
    return m_settings.packetSize > headers ? m_settings.packetSize - headers : 0;
}

// A block ends when nothing that is missing of it may still come.
void Receiver::Impl::review(Entry& entry) {
    if (!entry.block.finished() && entry.wishes.asking() && !entry.wishes.hopes(entry.block)) {
        finish(entry);
    }
}

// Where nothing is asked for, packets that are missing can only have been overtaken.
void Receiver::Impl::giveUpOvertaken() {
    const auto& order = m_underWay.order();
    std::uint32_t later = 0;
    for (auto entry = order.rbegin(); entry != order.rend(); ++entry) {
        if (later >= kOvertaken && !(*entry)->wishes.asking()) {
            finish(**entry);
        }
        later += (*entry)->block.arrived();
    }
    deliver();
}

void Receiver::Impl::finish(Entry& entry) {
    Block& block = entry.block;
    if (block.finished()) {
        return;
    }
    if (block.settledPayload() != 0) {
        m_learnt[block.extendedIds() ? 1 : 0] = block.settledPayload();
    }
    block.finish();
    counters.missingPackets += block.missingPackets();
    const auto& leader = block.leader();
    m_blockOrder.ended(
        {block.sequence(), false, entry.wishes.asked(),
         leader ? std::optional(leader->timestamp) : std::nullopt});
    m_lastEnd = std::max(m_lastEnd, block.lastPacket());
}

void Receiver::Impl::finishAll() {
    for (Entry* entry : m_underWay.order()) {
        finish(*entry);
    }
    deliver();
}

void Receiver::Impl::deliver() {
    while (!m_underWay.empty() && m_underWay.front().block.finished()) {
        const Block& block = m_underWay.front().block;
        counters.lostBlocks += m_blockOrder.delivered(block.sequence());
        if (block.buffer().data != nullptr) {
            Image& image = buffers.append();
            block.describe(image);
            const bool whole = image.status == ImageStatus::Complete ||
                               (image.status == ImageStatus::NotUnderstood && image.missing.empty());
            ++(whole ? counters.complete : counters.incomplete);
        }
        m_underWay.popFront();
    }
}

void Receiver::Impl::advance(Time now) {
    account();
    const auto& order = m_underWay.order();
    const Wishes::Means means{m_settings, m_answerTime, m_wishes};
    Time heldSince = Wishes::kNever; // since when a later block has waited for those before
    for (auto entry = order.rbegin(); entry != order.rend(); ++entry) {
        Block& block = (*entry)->block;
        if (block.finished()) {
            heldSince = std::min(heldSince, block.lastPacket());
            continue;
        }
        (*entry)->wishes.ask(block, now, means);
        const Time since = std::min(heldSince, block.lastPacket());
        if (now - since >= m_settings.patience) {
            finish(**entry);
        } else {
            review(**entry);
        }
    }
    giveUpOvertaken();
}

std::optional<Time> Receiver::Impl::deadline() const {
    const auto& order = m_underWay.order();
    Time first = Wishes::kNever;
    Time heldSince = Wishes::kNever;
    for (auto entry = order.rbegin(); entry != order.rend(); ++entry) {
        const Block& block = (*entry)->block;
        if (block.finished()) {
            heldSince = std::min(heldSince, block.lastPacket());
            continue;
        }
        first = std::min(
            {first, (*entry)->wishes.due(block, m_settings),
             std::min(heldSince, block.lastPacket()) + m_settings.patience});
    }
    return first == Wishes::kNever ? std::nullopt : std::optional(first);
}

// Wishes that were fulfilled, or whose block ended, before anybody fetched them are none any more.
bool Receiver::Impl::nextWish(ResendWish& out) {
    while (!m_wishes.empty()) {
        out = m_wishes.front();
        m_wishes.pop_front();
        const Entry* entry = m_underWay.find(out.block, out.extendedIds);
        if (entry != nullptr && !entry->block.finished()) {
            ++counters.wishes;
            counters.wishedPackets += out.last - out.first + 1;
            return true;
        }
    }
    return false;
}

void Receiver::Impl::restart() {
    account();
    while (!m_underWay.empty()) {
        Block& block = m_underWay.front().block;
        if (block.buffer().data != nullptr) {
            buffers.lend(block.buffer());
        }
        block.finish();
        m_underWay.popFront();
    }
    m_wishes.clear();
    buffers.dropWaiting();
    m_blockOrder = {};
}

void Receiver::Impl::setSettings(const Settings& settings) {
    m_learnt = settings.packetSize != m_settings.packetSize ? decltype(m_learnt){} : m_learnt;
    m_settings = settings;
}

Receiver::Receiver(const Settings& settings) : m_impl(std::make_unique<Impl>(settings)) {}
Receiver::~Receiver() = default;

void Receiver::lend(const Buffer& buffer) {
    m_impl->buffers.lend(buffer);
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
    return m_impl->buffers.next(out);
}

std::size_t Receiver::waiting() const {
    return m_impl->buffers.waiting();
}

bool Receiver::nextWish(ResendWish& out) {
    return m_impl->nextWish(out);
}

void Receiver::restart() {
    m_impl->restart();
}

void Receiver::setSettings(const Settings& settings) {
    m_impl->setSettings(settings);
}

Overflow Receiver::overflow() const {
    return m_impl->overflow();
}

const Counters& Receiver::counters() const {
    m_impl->account();
    return m_impl->counters;
}

} // namespace gvsp
