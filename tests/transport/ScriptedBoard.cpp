#include "ScriptedBoard.h"

#include <algorithm>
#include <cstring>

namespace {

const std::string& nameOf(const TavoBoard& board, int reg) {
    return board.design->lookedUp.at(static_cast<std::size_t>(reg));
}

bool isPortRegister(const std::string& name, const char* base) {
    return name.rfind(base, 0) == 0 && name.size() == std::strlen(base) + 1;
}

void put16(Frame& frame, std::size_t offset, std::size_t value) {
    frame.at(offset) = static_cast<std::uint8_t>(value >> 8);
    frame.at(offset + 1) = static_cast<std::uint8_t>(value);
}

} // namespace

extern "C" {

int KemUnloadKemFile(fpga_design) {
    return 0;
}

int KemGetRegisterByName(fpga_design design, const char* name) {
    design->lookedUp.emplace_back(name);
    return static_cast<int>(design->lookedUp.size()) - 1;
}

int TavoFreeHW(QLdevice board) {
    return ++board->freed == 1 ? 0 : -1;
}

int TavoGetBoardInfoInt(QLdevice, const char* key) {
    return std::strcmp(key, "board/serial") == 0 ? 0x12307 : 0;
}

int TavoRegisterRead(QLdevice board, int reg, std::uint64_t* value) {
    const std::string& name = nameOf(*board, reg);
    if (name == "MdioReadReg" && board->onMdioRead) {
        board->onMdioRead(board->values["GigE_MdioRegAddr"]);
    }
    *value = board->values[name];
    return board->broken.count(name) != 0 ? kRegisterError : 0;
}

int TavoRegisterWrite(QLdevice board, int reg, std::uint64_t value) {
    const std::string& name = nameOf(*board, reg);
    const auto port = static_cast<std::size_t>(name.back() - '0');
    board->values[name] = value;
    if (isPortRegister(name, "GigeWriteData")) {
        board->loaded[port].push_back(static_cast<std::uint8_t>(value));
        board->loaded[port].push_back(static_cast<std::uint8_t>(value >> 8));
        return 0;
    }
    board->writes.emplace_back(name, value);
    if (isPortRegister(name, "GigeBufferReset")) {
        board->loaded[port].clear();
    } else if (isPortRegister(name, "GigeWriteComplete")) {
        board->sent[port].push_back(board->loaded[port]);
        if (board->onSent) {
            board->onSent(static_cast<int>(port), Frame(board->loaded[port]));
        }
    }
    return board->broken.count(name) != 0 ? kRegisterError : 0;
}

int TavoDataQueueReadBufferLong(QLdevice board, unsigned channel, void* buffer, unsigned bytes, int) {
    std::deque<std::uint32_t>& queue = board->queues.at(channel);
    if (queue.empty()) {
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
    }
}

void ScriptedBoard::arrive(int port, const Frame& frame) {
    std::deque<std::uint32_t>& queue = board.queues.at(static_cast<std::size_t>(port));
    queue.push_back(static_cast<std::uint32_t>(frame.size()));
    for (std::size_t i = 0; i + 1 < frame.size(); i += 2) {
        queue.push_back(frame[i] | (static_cast<std::uint32_t>(frame[i + 1]) << 8));
    }
    queue.back() |= 0x10000;
}

void ScriptedBoard::answer(std::function<std::vector<Frame>(const Frame& command)> script) {
    board.onSent = [this, script = std::move(script)](int port, const Frame& frame) {
        for (const Frame& ack : script(frame)) {
            arrive(port, ack);
        }
    };
}

Frame ackTo(const Frame& command, const Frame& payload, std::uint16_t status) {
    Frame ack(50);
    std::copy_n(command.begin() + 6, 6, ack.begin());
    std::copy_n(command.begin(), 6, ack.begin() + 6);
    put16(ack, 12, 0x0800);
    ack[14] = 0x45;
    put16(ack, 16, 36 + payload.size());
    ack[23] = 17;
    put16(ack, 34, 3956);
    put16(ack, 36, 3015);
    put16(ack, 38, 16 + payload.size());
    put16(ack, 42, status);
    put16(ack, 44, (command[44] << 8 | command[45]) + 1U);
    put16(ack, 46, payload.size());
    std::copy_n(command.begin() + 48, 2, ack.begin() + 48);
    ack.insert(ack.end(), payload.begin(), payload.end());
    ack.resize(std::max<std::size_t>(ack.size(), 60));
    return ack;
}

Frame withId(Frame ack, std::uint16_t id) {
    put16(ack, 48, id);
    return ack;
}

std::uint16_t idOf(const Frame& frame) {
    return static_cast<std::uint16_t>(frame.at(48) << 8 | frame.at(49));
}

std::uint32_t addressOf(const Frame& frame) {
    return static_cast<std::uint32_t>(frame.at(50)) << 24 | frame.at(51) << 16 | frame.at(52) << 8 |
           frame.at(53);
}

std::uint16_t countOf(const Frame& readMemory) {
    return static_cast<std::uint16_t>(readMemory.at(56) << 8 | readMemory.at(57));
}

Frame bigEndian(std::uint32_t value) {
    Frame bytes(4);
    put16(bytes, 0, value >> 16);
    put16(bytes, 2, value & 0xFFFF);
    return bytes;
}

Frame discoveryPayload(std::uint8_t lastMacByte, const std::string& userName) {
    Frame payload(248);
    const std::uint8_t mac[] = {0x02, 0x11, 0x22, 0x33, 0x44, lastMacByte};
    const std::uint8_t ip[] = {169, 254, 7, 100};
    std::copy_n(mac, 6, payload.begin() + 10);
    std::copy_n(ip, 4, payload.begin() + 36);
    const std::pair<std::size_t, std::string> texts[] = {{72, "maker"},    {104, "model"},
                                                         {136, "version"}, {168, "info"},
                                                         {216, "serial"},  {232, userName.substr(0, 16)}};
    for (const auto& [offset, text] : texts) {
        std::copy(text.begin(), text.end(), payload.begin() + static_cast<std::ptrdiff_t>(offset));
    }
    return payload;
}
