// A device whose nodes a test makes by hand, with memory behind them.
#pragma once

#include "genicam/ImplGenICamCamera.h"
#include "genicam/ImplGenICamRegister.h"
#include "genicam/ImplGenICamValues.h"
#include "support/memory_port.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <ostream>
#include <string>

namespace test_support {

using Types = tavo::GenICamTypes;
using Access = Types::GenICamAccessModeType;
using Cache = Types::GenICamCacheModeType;
using Endian = Types::GenICamEndianessType;
using Sign = Types::GenICamSignType;

struct Device {
    tavo::ImplGenICamCamera camera;
    MemoryPort port;

    template<class Node> Node& add(const std::string& name = {}) {
        auto owned = std::make_unique<Node>();
        Node& node = *owned;
        camera.adoptNode(std::move(owned));
        if (!name.empty()) {
            node.setName(name);
            camera.registerNode(node);
        }
        return node;
    }

    // A readable and writable register of a kind.
    template<class Register>
    Register& addRegister(std::int64_t address, std::int64_t length, Cache cache = Cache::WriteThrough) {
        Register& node = add<Register>();
        node.setAccessMode(Access::RW);
        node.setCacheMode(cache);
        node.setAddress(address);
        node.setLength(length);
        node.setPort(&port);
        return node;
    }

    // Port reads and writes that `action` makes.
    struct Traffic {
        int reads;
        int writes;
        bool operator==(const Traffic&) const = default;
    };
    Traffic during(const std::function<void()>& action) {
        const Traffic before{port.reads, port.writes};
        action();
        return {port.reads - before.reads, port.writes - before.writes};
    }
};

inline std::ostream& operator<<(std::ostream& stream, const Device::Traffic& traffic) {
    return stream << traffic.reads << " reads, " << traffic.writes << " writes";
}

// The status code that `action` ends in; 0 when it does not throw.
inline int codeOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const tavo::GenICamException& failure) {
        return failure.getErrno();
    } catch (const tavo::CoreException& failure) {
        return failure.getErrno();
    }
    return 0;
}

} // namespace test_support
