// A device with memory behind it: its nodes come from a description or are made by hand, and scripts of named
// steps read, write and count what reaches the port.
#pragma once

#include "genicam/description/GenICamParser.h"
#include "genicam/description/GenICamTreeBuilder.h"
#include "genicam/device/ImplGenICamCamera.h"
#include "genicam/nodes/ImplGenICamBoolean.h"
#include "genicam/nodes/ImplGenICamCategory.h"
#include "genicam/nodes/ImplGenICamCommand.h"
#include "genicam/nodes/ImplGenICamEnumeration.h"
#include "genicam/nodes/ImplGenICamFloat.h"
#include "genicam/nodes/ImplGenICamInteger.h"
#include "genicam/nodes/ImplGenICamRegister.h"
#include "genicam/nodes/Prefetch.h"
#include "support/memory_port.h"
#include "util/status.h"

#include <gtest/gtest.h>

#include <QtCore/QByteArray>

#include <functional>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace test_support {

using Types = tavo::GenICamTypes;
using Access = Types::GenICamAccessModeType;
using Cache = Types::GenICamCacheModeType;
using Endian = Types::GenICamEndianessType;
using Sign = Types::GenICamSignType;

constexpr auto kLowest = std::numeric_limits<std::int64_t>::min();
constexpr auto kHighest = std::numeric_limits<std::int64_t>::max();

inline std::string inRoot(const std::string& inner) {
    return "<RegisterDescription><Port Name='Device'/>" + inner + "</RegisterDescription>";
}

// A text as a device takes it over for its description.
inline char* ownedText(const std::string& text) {
    char* const copy = new char[text.size() + 1];
    std::copy_n(text.c_str(), text.size() + 1, copy);
    return copy;
}

// A readable and writable register of the camera, little-endian unless `more` says otherwise.
inline std::string
reg(const std::string& name, std::int64_t address, std::int64_t length, std::string more = "",
    const std::string& kind = "IntReg") {
    if (more.find("Endianess") == std::string::npos) {
        more += "<Endianess>LittleEndian</Endianess>";
    }
    return "<" + kind + " Name='" + name + "'><Address>" + std::to_string(address) + "</Address><Length>" +
           std::to_string(length) + "</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>" + more +
           "</" + kind + ">";
}

inline std::string integer(const std::string& name, const std::string& inner = {}) {
    return "<Integer Name='" + name + "'>" + inner + "</Integer>";
}

inline std::string real(const std::string& name, const std::string& inner = {}) {
    return "<Float Name='" + name + "'>" + inner + "</Float>";
}

inline std::string below(const std::string& name) {
    return "<pValue>" + name + "</pValue>";
}

// A node that computes; each variable is "NAME node", or one word for both.
inline std::string computed(
    const std::string& kind, const std::string& name, const std::string& formula,
    const std::vector<std::string>& variables, const std::string& more = {}) {
    std::string text = "<" + kind + " Name='" + name + "'>" + more;
    if (!formula.empty()) {
        text += "<Formula>" + formula + "</Formula>";
    }
    for (const std::string& variable : variables) {
        const std::size_t node = variable.find(' ') + 1;
        text += "<pVariable Name='" + variable.substr(0, node - 1) + "'>" + variable.substr(node) +
                "</pVariable>";
    }
    return text + "</" + kind + ">";
}

inline std::string knife(
    const std::string& name, const std::string& formula, const std::vector<std::string>& variables,
    const std::string& more = {}) {
    return computed("IntSwissKnife", name, formula, variables, more);
}

inline std::string converter(
    const std::string& kind, const std::string& name, const std::string& to, const std::string& from,
    const std::string& node, const std::string& more = {}) {
    return computed(
        kind, name, "", {},
        "<FormulaTo>" + to + "</FormulaTo><FormulaFrom>" + from + "</FormulaFrom>" + below(node) + more);
}

// What tells a register how to cache; the polling time is in milliseconds.
inline std::string caching(const std::string& mode, std::int64_t pollingTime = 3600 * 1000) {
    return "<Cachable>" + mode + "</Cachable><PollingTime>" + std::to_string(pollingTime) + "</PollingTime>";
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

// What a code gives in a script: the text of a failure.
inline std::string shown(int code) {
    return code == 0 ? "0" : status::description(code);
}

inline void readAhead(tavo::NodeHost& host, const std::vector<tavo::ImplGenICamNode*>& nodes) {
    tavo::Prefetch prefetch(host);
    for (tavo::ImplGenICamNode* const node : nodes) {
        prefetch.add(*node);
    }
    prefetch.run();
}

// Steps of a script are separated by "; ". Each may say after " -> " what it gives, which is 0 otherwise:
//   Name         reads the node: its value as text, or the text of the failure
//   Name=value   writes the node, or executes it when it is a command
//   #step        does the step, and gives the port's reads and writes meanwhile, as "1r 0w"
//   @8+2         the hexadecimal bytes of the camera's memory there; @8=0A FF puts them there
//   !ahead       reads all named nodes ahead
//   !stale       makes all that is cached stale; !fail and !heal break and mend the port; !check has accesses
//                checked
// A result may tell both what this system has and what the standard has, as in "Text -> default | standard".
struct Device {
    Device() { camera.setPort(&port, "Device"); }
    // The description's stages run on the calling thread.
    explicit Device(std::string xml, bool standard = false) : Device() {
        camera.enableStandardBehaviour(standard);
        const auto root = tavo::GenICamParser(camera.quirks()).parseMemory(xml.data());
        if (root == nullptr) {
            throw std::runtime_error("no tree");
        }
        using Builder = tavo::GenICamTreeBuilder;
        for (const auto stage : {Builder::CreateNodes, Builder::ResolveReferences, Builder::ReleaseTree}) {
            root->propagateInitStage(stage, &camera.tree());
        }
        EXPECT_TRUE(root->getAllObjects().empty());
    }

    tavo::ImplGenICamNode& node(const std::string& name) const {
        if (auto* const found = camera.tree().findNode(name)) {
            return *found;
        }
        throw std::runtime_error("no node " + name);
    }
    template<class Kind> Kind& as(const std::string& name) const { return dynamic_cast<Kind&>(node(name)); }

    template<class Node> Node& add(const std::string& name = {}) {
        auto owned = std::make_unique<Node>();
        Node& node = *owned;
        camera.tree().adoptNode(std::move(owned));
        if (!name.empty()) {
            node.setName(name);
            camera.tree().registerNode(node);
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

    std::string get(const std::string& name) {
        std::string value;
        const int code = codeOf([&] { value = node(name).getValueAsString(); });
        return code == 0 ? value : shown(code);
    }

    int set(const std::string& name, const std::string& value) {
        return codeOf([&] {
            auto& target = node(name);
            if (auto* const integer = target.asInteger()) {
                integer->setValue(std::stoll(value, nullptr, 0));
            } else if (auto* const real = target.asFloat()) {
                real->setValue(std::stod(value));
            } else if (auto* const boolean = target.asBoolean()) {
                boolean->setValue(value == "true");
            } else if (auto* const enumeration = target.asEnumeration()) {
                enumeration->setStringValue(value);
            } else if (auto* const command = target.asCommand()) {
                command->execute();
            } else {
                dynamic_cast<tavo::GenICamStringInterface&>(target).setValue(value);
            }
        });
    }

    std::string run(const std::string& step) {
        const std::size_t sign = step.find('=');
        if (step[0] == '#') {
            const int reads = port.reads;
            const int writes = port.writes;
            run(step.substr(1));
            return std::to_string(port.reads - reads) + "r " + std::to_string(port.writes - writes) + "w";
        }
        if (step[0] == '@') {
            return memory(std::stoll(step.substr(1)), step.substr(step.find_first_of("+=")));
        }
        if (step[0] == '!') {
            port.failing = step == "!fail";
            if (step == "!stale") {
                camera.invalidateAllNodes();
            }
            if (step == "!ahead") {
                readAhead(camera.tree(), camera.tree().nodes().byName());
            }
            if (step == "!check") {
                camera.enableChecking(true);
            }
            return "0";
        }
        return sign == std::string::npos ? get(step)
                                         : shown(set(step.substr(0, sign), step.substr(sign + 1)));
    }

    void expect(const std::string& script) {
        for (std::size_t begin = 0, end = 0; end != std::string::npos; begin = end + 2) {
            end = script.find("; ", begin);
            const std::string step = script.substr(begin, end == std::string::npos ? end : end - begin);
            const std::size_t arrow = step.find(" -> ");
            std::string gives = arrow == std::string::npos ? "0" : step.substr(arrow + 4);
            if (const std::size_t bar = gives.find(" | "); bar != std::string::npos) {
                gives = isStandard() ? gives.substr(bar + 3) : gives.substr(0, bar);
            }
            EXPECT_EQ(run(step.substr(0, arrow)), gives) << "in step " << step;
        }
    }

    bool isStandard() const { return !(camera.quirks() == tavo::Quirks()); }

    tavo::ImplGenICamCamera camera;
    MemoryPort port;

private:
    // `what` is "=" and bytes to put there, or "+" and how many to show.
    std::string memory(long long address, const std::string& what) {
        const auto place = port.memory.begin() + address;
        if (what[0] == '=') {
            const QByteArray bytes = QByteArray::fromHex(what.c_str() + 1);
            std::copy(bytes.begin(), bytes.end(), place);
            return "0";
        }
        return QByteArray(reinterpret_cast<const char*>(&*place), std::stoi(what))
            .toHex(' ')
            .toUpper()
            .toStdString();
    }
};

// A fresh device for a description, and what is to be done to it.
struct Script {
    std::string name;
    std::string nodes;
    std::string steps;
};

inline void runScripts(const std::vector<Script>& scripts, bool standard = false) {
    for (const Script& script : scripts) {
        SCOPED_TRACE(script.name);
        Device(inRoot(script.nodes), standard).expect(script.steps);
    }
}

inline void runScriptsBothWays(const std::vector<Script>& scripts) {
    for (const bool standard : {false, true}) {
        SCOPED_TRACE(standard ? "standard" : "default");
        runScripts(scripts, standard);
    }
}

} // namespace test_support
