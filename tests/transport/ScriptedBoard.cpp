#include "ScriptedBoard.h"

namespace {

const AckWait::Time kStart{std::chrono::hours(1)};
AckWait::Time g_now;

} // namespace

extern "C" {

int KemUnloadKemFile(fpga_design) {
    return 0;
}

int KemGetRegisterByName(fpga_design design, const char* name) {
    design->lookedUp.emplace_back(name);
    return static_cast<int>(design->lookedUp.size()) - 1;
}

int TavoFreeHW(QLdevice) {
    return 0;
}

int TavoGetBoardInfoInt(QLdevice, const char* key) {
    return key == std::string("board/serial") ? 0x12307 : 0;
}

int TavoRegisterRead(QLdevice board, int reg, std::uint64_t* value) {
    const std::string& name = board->design->lookedUp.at(static_cast<std::size_t>(reg));
    if (name == "MdioReadReg" && board->onMdioRead) {
        board->onMdioRead();
    }
    *value = board->values[name];
    return board->broken.count(name) != 0 ? kRegisterError : 0;
}

int TavoRegisterWrite(QLdevice board, int reg, std::uint64_t value) {
    const std::string& name = board->design->lookedUp.at(static_cast<std::size_t>(reg));
    const std::string base = name.substr(0, name.size() - 1);
    const auto port = static_cast<std::size_t>(name.back() - '0');
    board->values[name] = value;
    if (base == "GigeWriteData") {
        board->loaded.push_back(static_cast<std::uint8_t>(value));
        board->loaded.push_back(static_cast<std::uint8_t>(value >> 8));
        return 0;
    }
    board->writes.emplace_back(name, value);
    if (base == "GigeBufferReset") {
        board->loaded.clear();
    } else if (base == "GigeWriteComplete") {
        board->sent[port].push_back(board->loaded);
        if (board->onSent) {
            board->onSent(static_cast<int>(port), Frame(board->loaded));
        }
    }
    return board->broken.count(name) != 0 ? kRegisterError : 0;
}

int TavoDataQueueReadBufferLong(QLdevice board, unsigned channel, void* buffer, unsigned bytes, int timeout) {
    std::deque<std::uint32_t>& queue = board->queues.at(channel);
    if (queue.empty() && board->onEmpty) {
        board->onEmpty();
    }
    if (queue.empty()) {
        g_now += std::chrono::milliseconds(timeout);
        return kQueueTimeout;
    }
    const std::size_t words = std::min<std::size_t>(bytes / 4, queue.size());
    std::copy_n(queue.begin(), words, static_cast<std::uint32_t*>(buffer));
    queue.erase(queue.begin(), queue.begin() + static_cast<std::ptrdiff_t>(words));
    return static_cast<int>(words * 4);
}

int TavoDataQueueClear(QLdevice board, unsigned channel) {
    board->queues.at(channel).clear();
    return 0;
}

} // extern "C"

ScriptedBoard::ScriptedBoard() {
    g_now = kStart;
    board.design = &design;
    camera = std::make_unique<GigeCamera>(&design, &board);
    const std::uint8_t mac[] = {2, 0, 0, 0, 0, 1};
    DiscoveryAckData ack{};
    const Frame payload = discoveryPayload(0x55, "");
    std::copy(payload.begin(), payload.end(), ack.bytes.begin());
    for (int port = 0; port < GigeCamera::kPorts; ++port) {
        camera->SetMAC(port, mac);
        camera->storeDiscoveredCamera(port, &ack);
        camera->selectCamera(port, 0);
        camera->findPort(port)->setClock([] { return g_now; });
    }
}

long ScriptedBoard::time() {
    return static_cast<long>((g_now - kStart) / std::chrono::milliseconds(1));
}

void ScriptedBoard::arrive(int port, const Frame& frame) {
    std::deque<std::uint32_t>& queue = board.queues.at(static_cast<std::size_t>(port));
    queue.push_back(static_cast<std::uint32_t>(frame.size()));
    for (std::size_t i = 0; i + 1 < frame.size(); i += 2) {
        queue.push_back(frame[i] | (static_cast<std::uint32_t>(frame[i + 1]) << 8));
    }
    queue.back() |= 0x10000;
}

void ScriptedBoard::answer(Answers script) {
    board.onSent = [this, script = std::move(script)](int port, const Frame& frame) {
        for (const Frame& ack : script(frame)) {
            arrive(port, ack);
        }
    };
}

Frame with(Frame frame, std::size_t offset, const Frame& bytes) {
    frame.resize(std::max(frame.size(), offset + bytes.size()));
    std::copy(bytes.begin(), bytes.end(), frame.begin() + static_cast<std::ptrdiff_t>(offset));
    return frame;
}

Frame ackTo(const Frame& command, const Frame& payload, std::uint16_t status) {
    Frame ack = with16(golden::load("readreg_ack"), 16, 36 + payload.size());
    ack = with16(with16(ack, 38, 16 + payload.size()), 42, status);
    ack = with16(with16(ack, kAckCode, numberAt(command, kAckCode) + 1), 46, payload.size());
    ack = with16(ack, kIdAt, numberAt(command, kIdAt));
    ack = with16(with16(ack, 24, 0), 40, 0); // no checksums
    return with(with(ack, 50, Frame(4)), 50, payload);
}

Frame discoveryPayload(std::uint8_t lastMacByte, const std::string& userName) {
    const Frame ack = golden::load("discovery_ack");
    const Frame payload = with(Frame(ack.begin() + 50, ack.end()), 15, {lastMacByte});
    return with(payload, 232, Frame(userName.begin(), userName.end()));
}
