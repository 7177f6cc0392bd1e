// The bytes of registers, and of the camera's memory.
#include "api/features.h"
#include "api/results.h"
#include "board/PortBridge.h"
#include "liomol/features.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

namespace {

using tavo::GenICamNode;
using tavo::GenICamRegisterInterface;

// No register that a buffer of the C interface could take is longer.
constexpr std::int64_t kMaxRegister = 1 << 30;

std::int64_t lengthOf(GenICamRegisterInterface& node) {
    const std::int64_t length = node.getLength();
    if (length < 0 || length > kMaxRegister) {
        util::fail<tavo::GicIllegalRegisterLengthException>(
            [&] { return "it has " + std::to_string(length) + " bytes"; });
    }
    return length;
}

bool isRange(unsigned address, const void* buffer, unsigned size) {
    constexpr std::uint64_t kAddressSpace = std::uint64_t{1} << 32;
    return (buffer != nullptr || size == 0) && std::uint64_t{address} + size <= kAddressSpace;
}

int badRange(unsigned address, const void* bytes, const char* name, unsigned size) {
    return bytes == nullptr ? api::nullArgument(name) : api::refused(status::IllegalParameter, [&] {
        return std::to_string(size) + " bytes from " + std::to_string(address) +
               " on leave the 32 bits of an address";
    });
}

// Calls `work` with the port that leads to the camera's memory.
template<typename Work> int withMemory(const CameraHandle* camera, Work&& work) {
    return api::withDevice(camera, [&](tavo::ImplGenICamCamera& device) {
        tavo::GenICamPortInterface* const port = device.getPort(tavo::kDevicePort);
        if (port == nullptr) {
            return api::refused(status::PortNotAvailable, "nothing leads to the camera any more");
        }
        work(*port);
        return status::Success;
    });
}

} // namespace

int Gbe_getRegisterPlace(CameraHandle* camera, const char* name, long long* address, long long* length) {
    return api::withFeature<&GenICamNode::asRegister>(camera, name, [&](auto& node) {
        const long long begin = address != nullptr ? node.getAddress() : 0;
        const long long size = length != nullptr ? node.getLength() : 0;
        api::put(address, begin);
        api::put(length, size);
    });
}

int Gbe_getRegisterBytes(CameraHandle* camera, const char* name, void* buffer, unsigned* size) {
    if (size == nullptr) {
        return api::nullArgument("size");
    }
    return api::withAnyFeature(camera, name, [&](GenICamNode& node) {
        GenICamRegisterInterface* const content = node.asRegister();
        if (content == nullptr) {
            return api::refused(status::IllegalNode, "it is no register");
        }
        std::string bytes(static_cast<std::size_t>(lengthOf(*content)), '\0');
        if (buffer != nullptr && bytes.size() <= *size) {
            content->get(reinterpret_cast<unsigned char*>(bytes.data()), lengthOf(*content));
        }
        return api::copyBytes(bytes, buffer, size);
    });
}

int Gbe_setRegisterBytes(CameraHandle* camera, const char* name, const void* bytes, unsigned size) {
    if (bytes == nullptr) {
        return api::nullArgument("bytes");
    }
    return api::withFeature<&GenICamNode::asRegister>(camera, name, [&](auto& node) {
        if (node.getLength() != std::int64_t{size}) {
            util::fail<tavo::GicIllegalRegisterLengthException>([&] {
                return "it has " + std::to_string(node.getLength()) + " bytes, and " + std::to_string(size) +
                       " were given";
            });
        }
        const auto* const begin = static_cast<const unsigned char*>(bytes);
        std::vector<unsigned char> copy(begin, begin + size); // the node takes bytes that it might change
        node.set(copy.data(), std::int64_t{size});
    });
}

int Gbe_readMemory(CameraHandle* camera, unsigned address, void* buffer, unsigned size) {
    if (!isRange(address, buffer, size)) {
        return badRange(address, buffer, "buffer", size);
    }
    return withMemory(camera, [&](tavo::GenICamPortInterface& port) {
        if (size > 0) {
            port.read(static_cast<unsigned char*>(buffer), address, size);
        }
    });
}

int Gbe_writeMemory(CameraHandle* camera, unsigned address, const void* bytes, unsigned size) {
    if (!isRange(address, bytes, size)) {
        return badRange(address, bytes, "bytes", size);
    }
    return withMemory(camera, [&](tavo::GenICamPortInterface& port) {
        constexpr unsigned kMaxWrite = board::PortBridge::kMaxWrite;
        const auto* const begin = static_cast<const unsigned char*>(bytes);
        std::vector<unsigned char> copy(begin, begin + size); // the port takes bytes that it might change
        for (unsigned done = 0; done < size; done += kMaxWrite) {
            port.write(copy.data() + done, std::int64_t{address} + done, std::min(kMaxWrite, size - done));
        }
    });
}
