#include "simcam/Answer.h"

#include <algorithm>

namespace simcam {

Bytes ackMessage(gvcp::Status status, std::uint16_t code, std::uint16_t id, ByteView payload) {
    Writer message;
    message.u16(static_cast<std::uint16_t>(status)).u16(code);
    message.u16(static_cast<std::uint16_t>(payload.size())).u16(id).bytes(payload);
    return message.take();
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
    case Fault::Kind::Pending: {
        Writer time;
        time.u16(0).u16(static_cast<std::uint16_t>(std::min<std::uint32_t>(fault.value, 0xFFFF)));
        constexpr auto code = static_cast<std::uint16_t>(gvcp::Command::PendingAck);
        answer.delay += milliseconds(fault.value);
        return {{sound.to, ackMessage(gvcp::Status::Success, code, id, time.view()), sound.delay}, answer};
    }
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
