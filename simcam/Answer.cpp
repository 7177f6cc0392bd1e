#include "simcam/Answer.h"

#include <algorithm>

namespace simcam {

Bytes ackMessage(gvcp::Status status, std::uint16_t code, std::uint16_t id, ByteView payload) {
    Writer message;
    message.u16(static_cast<std::uint16_t>(status)).u16(code);
    message.u16(static_cast<std::uint16_t>(payload.size())).u16(id).bytes(payload);
    return message.take();
}

Answer pendingAck(const Answer& answer, milliseconds time) {
    constexpr auto kCode = static_cast<std::uint16_t>(gvcp::Command::PendingAck);
    const auto id = Reader(ByteView(answer.message).subspan(gvcp::kAckId)).u16();
    const auto ms = std::clamp<std::int64_t>(time.count(), 0, 0xFFFF);
    const Bytes payload = Writer().u16(0).u16(static_cast<std::uint16_t>(ms)).take();
    return {answer.to, ackMessage(gvcp::Status::Success, kCode, id, payload), answer.delay};
}

std::vector<Answer> spoilt(const Answer& sound, const Fault& fault) {
    Answer answer = sound;
    const auto id = Reader(ByteView(sound.message).subspan(gvcp::kAckId)).u16();
    switch (fault.kind) {
    case Fault::Kind::LoseAck:
        return {};
    case Fault::Kind::Delay:
        answer.delay += milliseconds(fault.value);
        return {answer};
    case Fault::Kind::Pending:
        answer.delay += milliseconds(fault.value);
        return {pendingAck(sound, milliseconds(fault.value)), answer};
    case Fault::Kind::WrongId: {
        const auto wrong = static_cast<std::uint16_t>(id + fault.value);
        answer.message[gvcp::kAckId] = static_cast<std::uint8_t>(wrong >> 8);
        answer.message[gvcp::kAckId + 1] = static_cast<std::uint8_t>(wrong);
        return {answer};
    }
    case Fault::Kind::Duplicate:
        return {1 + std::min<std::size_t>(fault.value, kMaxDuplicates), answer};
    case Fault::Kind::Truncate:
        answer.message.resize(std::min<std::size_t>(answer.message.size(), fault.value));
        return {answer};
    case Fault::Kind::Corrupt:
        answer.damaged = true;
        return {answer};
    case Fault::Kind::Silent:
    case Fault::Kind::Status:
        break; // struck before there was an answer
    }
    return {answer};
}

} // namespace simcam
