// A device with caches cannot be told from one without by its values: random descriptions, random accesses.
//
//   genicam_property_test --steps=1000000 --seed=1
#include "genicam/nodes/GenICamScopedReadWriteLock.h"
#include "genicam/random_description.h"
#include "liomol/signals.h"

#include <QtCore/QCoreApplication>

#include <iostream>
#include <map>
#include <thread>

namespace test_support {
namespace {

using Failure = ChangingCamera::Failure;
using IntegerSignals = tavo::ImplGenICamIntegerInterfaceSignals;

unsigned long long argument(const std::string& name, unsigned long long missing) {
    for (const QString& given : QCoreApplication::arguments()) {
        if (given.startsWith(QString::fromStdString("--" + name + "="))) {
            return given.mid(static_cast<int>(name.size()) + 3).toULongLong();
        }
    }
    return missing;
}

std::string valueOf(tavo::GenICamNode& node) {
    std::string text;
    const int code = codeOf([&] {
        text = node.getValueAsString();
        if (auto* const integer = node.asInteger()) {
            text += " [" + std::to_string(integer->getMin()) + ", " + std::to_string(integer->getMax()) + "]";
        }
    });
    return code == 0 ? text : "! " + shown(code);
}

int write(tavo::GenICamNode& node, std::int64_t value) {
    return codeOf([&] {
        if (auto* const integer = node.asInteger()) {
            integer->setValue(value);
        } else if (auto* const real = node.asFloat()) {
            real->setValue(static_cast<double>(value));
        } else if (auto* const enumeration = node.asEnumeration()) {
            enumeration->setIntValue(value % 2);
        } else if (auto* const command = node.asCommand()) {
            command->execute();
        } else if (auto* const string = node.asString()) {
            string->setValue(std::to_string(value));
        } else if (auto* const raw = node.asRegister()) {
            auto byte = static_cast<unsigned char>(value);
            raw->set(&byte, 1);
        }
    });
}

// What users ask of a node besides.
void inspect(tavo::ImplGenICamNode& node) {
    codeOf([&] { node.isLocked(); });
    codeOf([&] { node.getAccessMode(); });
    codeOf([&] { node.isAvailable(); });
    if (auto* const real = node.asFloat()) {
        codeOf([&] { real->getMin(); });
        codeOf([&] { real->getMax(); });
    } else if (auto* const string = node.asString()) {
        codeOf([&] { string->getMaxLength(); });
    }
}

// The two devices of one description, each with its own camera.
class Pair {
public:
    Pair(unsigned long long seed, bool standard, bool signalling)
        : m_isAllCached(seed % 5 == 0), m_plan(seed, standard, standard || !signalling),
          m_signalling(signalling) {
        if (m_isAllCached) {
            m_plan.cacheAll();
        }
        const std::string texts[] = {m_plan.text, m_plan.uncached()};
        for (int i = 0; i < 2; ++i) {
            m_cameras[i].extents = m_plan.extents;
            m_devices[i].setPort(&m_cameras[i], "Device");
            m_devices[i].enableStandardBehaviour(standard);
            m_devices[i].enableChecking(seed % 2 != 0);
            m_devices[i].retrieveRegisterDescriptionFromMemory(ownedText(texts[i]));
            EXPECT_EQ(m_devices[i].waitForConnection(), 1);
        }
        if (signalling) {
            listen();
        }
    }

    // What differs after a random step; empty for nothing.
    std::string step() {
        const std::string& name = m_plan.any(m_plan.nodes);
        const int kind = m_plan.pick(20);
        m_written.clear();
        if (m_signalling) { // what the last comparison read is told before anything else happens
            settle();
            for (auto& [heardOf, heard] : m_heard) {
                heard.times = 0;
            }
        }
        std::string found;
        if (kind < 10 || kind >= 18) {
            found = writeBoth(
                name, kind == 18   ? Failure::WritesBefore
                      : kind == 19 ? Failure::WritesAfter
                                   : Failure::None);
        } else if (kind == 10) {
            found = m_isAllCached ? readTwice() : pokeVolatile();
        } else if (kind > 14) {
            found = prefetch(kind == 15 ? 2 + m_plan.pick(2) : 0);
        } else if (kind < 13 && !m_signalling) {
            found = kind == 11 ? readFailing(name) : writeWithFailingReads(name);
        }
        if (found.empty() && m_signalling) {
            found = compareHeard();
        }
        return found.empty() ? compare(m_plan.pick(4) == 0 ? 100 : 30) : found;
    }

    // For whoever looks into a difference.
    std::string story() const { return m_steps + "\n" + m_plan.text; }

private:
    tavo::ImplGenICamNode& node(int device, const std::string& name) {
        auto* const found = m_devices[device].tree().findNode(name);
        return found != nullptr ? *found : throw std::runtime_error("no node " + name);
    }

    std::string writeBoth(const std::string& name, Failure failure) {
        const std::int64_t value = m_plan.chance(70) ? m_plan.pick(6) : m_plan.pick(70000);
        int codes[2];
        for (int i = 0; i < 2; ++i) {
            m_cameras[i].failure = failure;
            codes[i] = write(node(i, name), value);
            m_cameras[i].failure = Failure::None;
        }
        m_written = codes[0] == 0 ? name : "";
        const std::string what = name + "=" + std::to_string(value) + (failure == Failure::None ? "" : "!");
        m_steps += what + "; ";
        return codes[0] == codes[1]
                   ? ""
                   : what + " -> " + std::to_string(codes[0]) + ", uncached " + std::to_string(codes[1]);
    }

    // With nothing written in between, the second time asks nobody.
    std::string readTwice() {
        int reads = 0;
        for (int round = 0; round < 3; ++round) { // the first one may find what a failed write left
            reads = m_cameras[0].reads;
            for (const std::string& name : m_plan.nodes) {
                valueOf(node(0, name));
            }
        }
        m_steps += "all twice; ";
        reads = m_cameras[0].reads - reads;
        return reads == 0 ? "" : std::to_string(reads) + " reads that brought nothing";
    }

    // Touches nothing that reading one by one would not touch, and leaves nothing to be read by the nodes
    // that keep what they read.
    std::string prefetch(int leavesOut) {
        std::vector<tavo::ImplGenICamNode*> nodes;
        for (const std::string& name : m_plan.nodes) {
            if (m_plan.chance(60)) {
                nodes.push_back(&node(0, name));
            }
        }
        m_steps += "ahead; ";
        if (m_signalling) { // another thread reads, too
            readAhead(m_devices[0].tree(), nodes);
            return {};
        }
        m_cameras[0].leavesOut = leavesOut;
        m_cameras[0].placesRead.clear();
        m_cameras[1].placesRead.clear();
        readAhead(m_devices[0].tree(), nodes);
        const ChangingCamera::Places ahead = m_cameras[0].placesRead;
        readAhead(m_devices[0].tree(), nodes); // what the first one's news made due
        const int reads = m_cameras[0].reads;
        for (tavo::ImplGenICamNode* const node : nodes) {
            valueOf(*node);
            inspect(*node);
            valueOf(this->node(1, node->getName()));
            inspect(this->node(1, node->getName()));
        }
        if (!std::ranges::includes(m_cameras[1].placesRead, ahead)) {
            return "more was read ahead than anybody reads";
        }
        return m_isAllCached && leavesOut == 0 && m_cameras[0].reads != reads ? "not all was read ahead" : "";
    }

    std::string pokeVolatile() {
        const tavo::DeviceLockScope scope(&m_devices[0].tree());
        const int byte = RandomDescription::kVolatileBegin + m_plan.pick(8);
        const auto content = static_cast<unsigned char>(m_plan.pick(256));
        for (ChangingCamera& camera : m_cameras) {
            camera.memory[static_cast<std::size_t>(byte)] = content;
        }
        return {};
    }

    // A failure, or the value: never what a broken transport left.
    std::string readFailing(const std::string& name) {
        m_cameras[0].failure = Failure::Reads;
        const std::string got = valueOf(node(0, name));
        m_cameras[0].failure = Failure::None;
        const std::string right = valueOf(node(1, name));
        m_steps += name + "?!; ";
        return got == right || got.starts_with("! ") ? "" : name + " -> " + got + ", uncached " + right;
    }

    // How far it gets depends on what is cached; what it did to the camera is told to the other one. What it
    // did to values that are no camera's, and failed for a copy of them, cannot be told.
    std::string writeWithFailingReads(const std::string& name) {
        if (m_plan.text.find("<pValueCopy>") != std::string::npos) {
            return {};
        }
        m_cameras[0].failure = Failure::Reads;
        const int code = write(node(0, name), 1);
        m_cameras[0].failure = Failure::None;
        m_steps += name + "=1?!; ";
        const bool failed = code == 0 && write(node(1, name), 1) != 0;
        m_cameras[1].memory = m_cameras[0].memory;
        return failed ? name + " was written" : "";
    }

    std::string compare(int percent) {
        if (m_cameras[0].memory != m_cameras[1].memory) {
            return "the memories differ";
        }
        for (const std::string& name : m_plan.nodes) {
            if (m_plan.chance(percent)) {
                const std::string got = valueOf(node(0, name));
                const std::string right = valueOf(node(1, name));
                m_steps += name + "; ";
                if (got != right) {
                    return name + " -> " + got + ", uncached " + right;
                }
            }
        }
        return {};
    }

    void listen() {
        for (const std::string& name : m_plan.nodes) {
            auto* const integer = dynamic_cast<tavo::ImplGenICamIntegerInterface*>(&node(0, name));
            if (integer != nullptr) {
                QObject::connect(
                    integer->getIntegerSignals(), &IntegerSignals::signal_ValueChanged,
                    [heard = &m_heard[name]](auto*, std::int64_t value) {
                        heard->value = value;
                        ++heard->times;
                    });
                m_devices[0].notifyNodeHasBeenInvalidated(integer, true);
            }
        }
        QObject::connect(
            dynamic_cast<tavo::ImplGenICamIntegerInterface&>(node(0, "Sentinel")).getIntegerSignals(),
            &IntegerSignals::signal_ValueChanged, [this] { m_rounds.fetch_add(1); });
        m_devices[0].enableSignalling(true);
        settle();
    }

    void settle() {
        const int before = m_rounds;
        m_devices[0].notifyNodeHasBeenInvalidated(&node(0, "Sentinel"), true);
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (m_rounds == before && std::chrono::steady_clock::now() < deadline) {
            std::this_thread::yield();
        }
        ASSERT_NE(m_rounds, before);
    }

    // Listeners know the values of all that does not change by itself, and of what was written; they have
    // heard of each change once.
    std::string compareHeard() {
        settle();
        for (auto& [name, heard] : m_heard) {
            std::int64_t value = 0;
            auto& right = node(1, name);
            const bool isTold = name == m_written || !node(0, name).isVolatile();
            if (isTold && codeOf([&] { value = right.asInteger()->getValue(); }) == 0 &&
                heard.value != value) {
                return name + " was heard as " + std::to_string(heard.value) + ", is " +
                       std::to_string(value);
            }
            if (heard.times > 1) {
                return name + " was heard " + std::to_string(heard.times) + " times";
            }
        }
        return {};
    }

    const bool m_isAllCached;
    RandomDescription m_plan;
    const bool m_signalling;
    struct Heard {
        std::atomic<std::int64_t> value;
        std::atomic<int> times;
    };
    std::map<std::string, Heard> m_heard;
    std::atomic<int> m_rounds = 0;
    std::string m_written; // by the latest step
    std::string m_steps;
    ChangingCamera m_cameras[2]; // of the device with caches, and of the one without
    tavo::ImplGenICamCamera m_devices[2];
};

TEST(CachedDevice, CannotBeToldFromOneWithoutCaches) {
    constexpr unsigned long long kStepsOfOne = 60;
    const unsigned long long steps = argument("steps", 5000);
    const unsigned long long first = argument("seed", 1);
    std::cout << "seeds from " << first << ", " << steps << " steps" << std::endl;
    int differences = 0;
    int pairs = 0;
    for (unsigned long long done = 0, seed = first; done < steps; done += kStepsOfOne, ++seed, ++pairs) {
        Pair pair(seed, seed / 2 % 2 != 0, seed % 16 < 3);
        for (unsigned long long step = 0; step < kStepsOfOne; ++step) {
            if (const std::string found = pair.step(); !found.empty()) {
                if (++differences <= 3) {
                    ADD_FAILURE() << "seed " << seed << ", step " << step << ": " << found << "\n"
                                  << pair.story();
                }
                break;
            }
        }
    }
    EXPECT_EQ(differences, 0) << "of " << pairs << " descriptions";
}

} // namespace
} // namespace test_support
