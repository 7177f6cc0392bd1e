#include "settings/load.h"

#include "settings/Catalogue.h"
#include "settings/SelectorStack.h"
#include "settings/value_text.h"
#include "settings/words.h"
#include "util/status.h"

#include <algorithm>
#include <map>
#include <optional>
#include <vector>

namespace settings {
namespace {

using tavo::GenICamNode;
using AccessMode = tavo::GenICamTypes::GenICamAccessModeType;

// Features whose values exclude each other would be set for ever. A chain of dependent limits takes a pass
// for each of its features; real ones have two or three.
constexpr unsigned kMaxPasses = 20;

// One value of the text, and what has come of it.
struct Target {
    const Statement* statement = nullptr;
    GenICamNode* node = nullptr; // null: no such feature, or a value that it cannot have
    Place place;
    bool isChanged = false;
    std::optional<std::string> before;   // where it differed
    std::optional<std::string> accepted; // what the camera made of the value
    std::optional<Refusal> refusal;      // of the last attempt

    const std::string& wanted() const { return statement->value; }
    bool isLeft() const { return refusal && statement->ifUnlocked && refusal->code() == status::Locked; }
};

// ---- From the text to targets ----------------------------------------------------------------------------

// Files of other tools give a selector's position as a value, which holds for the lines below.
using Running = std::map<std::string, std::string>;

Place placeOf(
    const Statement& statement, const std::vector<GenICamNode*>& selectors, const Running& running) {
    Place place;
    for (GenICamNode* const selector : selectors) {
        const std::string& name = selector->getName();
        const auto isIt = [&](const Position& position) { return position.selector == name; };
        const auto found = running.find(name);
        if (found != running.end() && std::ranges::none_of(*statement.place, isIt)) {
            place.push_back({name, found->second});
        }
    }
    place.insert(place.end(), statement.place->begin(), statement.place->end());
    return place;
}

void resolve(Target& target, const tavo::GenICamCamera& device) {
    try {
        target.node = device.getNodeByName(target.statement->name);
        if (target.node == nullptr) {
            throw Refusal(status::IllegalNode, "the camera has no such feature");
        }
        checkText(*target.node, target.wanted());
    } catch (const Refusal& refusal) {
        target.refusal = refusal;
        target.node = nullptr;
    }
}

// What the text gives again for the same place replaces what stands above.
std::vector<Target> targetsOf(tavo::GenICamCamera& device, const Document& document) {
    const Catalogue catalogue(device);
    std::vector<Target> targets;
    std::map<std::string, std::size_t> known;
    Running running;
    for (const Statement& statement : document) {
        Target target;
        target.statement = &statement;
        target.place = *statement.place;
        resolve(target, device);
        if (target.node != nullptr) {
            target.place = placeOf(statement, catalogue.selectorsOf(target.node), running);
            if (catalogue.isSelector(target.node) && statement.place->empty()) {
                running[statement.name] = statement.value;
            }
        }
        const auto [place, isNew] =
            known.try_emplace(statement.name + placeText(target.place), targets.size());
        if (isNew) {
            targets.push_back(std::move(target));
        } else {
            targets[place->second] = std::move(target);
        }
    }
    return targets;
}

// ---- From targets to the camera --------------------------------------------------------------------------

class Loader {
public:
    Loader(tavo::GenICamCamera& device, std::vector<Target>& targets, NodeAccess& access)
        : m_device(device), m_targets(targets), m_access(access), m_selectors(device) {}

    // Throws the Refusal that says that the camera is lost.
    void run(Mode mode) {
        forgetAll();
        m_checks = mode == Mode::Look || !m_device.isCheckingEnabled();
        bool again = true;
        for (unsigned pass = 0; again && pass < kMaxPasses; ++pass) {
            again = false;
            for (Target& target : m_targets) {
                again = attempt(target, mode) || again;
            }
        }
        m_selectors.putBack();
        // Values that still change one another: what they are in the end, nobody has seen.
        if (mode == Mode::SetAndVerify || again) {
            verify();
        }
    }

private:
    // Nothing is known of the camera then but what stands in no selector.
    void forgetAll() {
        m_device.invalidateAllNodes();
        std::vector<GenICamNode*> nodes;
        for (const Target& target : m_targets) {
            if (target.node != nullptr && target.place.empty()) {
                nodes.push_back(target.node);
            }
        }
        m_access.readAhead(nodes);
        m_place = {};
    }

    // To its place, where the targets that follow it in the same one are read ahead.
    void moveTo(const Target& target) {
        m_selectors.moveTo(target.place);
        if (target.place == m_place) {
            return;
        }
        m_place = target.place;
        const auto first = m_targets.begin() + (&target - m_targets.data());
        const auto end =
            std::find_if(first, m_targets.end(), [&](const Target& other) { return other.place != m_place; });
        std::vector<GenICamNode*> nodes;
        std::for_each(first, end, [&](const Target& other) {
            if (other.node != nullptr) {
                nodes.push_back(other.node);
            }
        });
        m_access.readAhead(nodes);
    }

    // Whether the feature has another value now. What the camera has made another value of is tried again in
    // the next pass: a limit may have moved.
    bool attempt(Target& target, Mode mode) {
        if (target.node == nullptr) {
            return false;
        }
        target.refusal.reset();
        try {
            moveTo(target);
            return refusing([&] { return set(target, mode); });
        } catch (const Refusal& refusal) {
            remember(target, refusal);
            return false;
        }
    }

    // Where the device checks accesses itself, it also tells why it refuses them.
    bool set(Target& target, Mode mode) const {
        GenICamNode& node = *target.node;
        if (m_checks) {
            m_access.requirePresence(node);
        }
        const bool canRead = node.getAccessMode() != AccessMode::WO;
        const std::string current = canRead ? readText(node) : "";
        if (canRead ? sameValue(node, current, target.wanted()) : target.accepted.has_value()) {
            target.accepted = target.wanted();
            return false;
        }
        target.before = target.before.value_or(current);
        if (m_checks) {
            m_access.requireWritability(node);
        }
        target.isChanged = true;
        if (mode == Mode::Look) {
            return false;
        }
        writeText(node, target.wanted());
        target.accepted = canRead ? readText(node) : target.wanted();
        return canRead && !sameValue(node, *target.accepted, current);
    }

    static void remember(Target& target, const Refusal& refusal) {
        target.refusal = refusal;
        if (refusal.code() == status::Connection) {
            throw Refusal(refusal);
        }
    }

    // What the camera itself holds in the end.
    void verify() {
        forgetAll();
        for (Target& target : m_targets) {
            if (target.node == nullptr || target.refusal || target.node->getAccessMode() == AccessMode::WO) {
                continue;
            }
            try {
                moveTo(target);
                target.accepted = readText(*target.node);
            } catch (const Refusal& refusal) {
                remember(target, refusal);
            }
        }
        m_selectors.putBack();
    }

    tavo::GenICamCamera& m_device;
    std::vector<Target>& m_targets;
    NodeAccess& m_access;
    SelectorStack m_selectors;
    Place m_place;        // whose targets were read ahead
    bool m_checks = true; // of access and locks, here
};

// ---- What has come of it ---------------------------------------------------------------------------------

std::string shown(const std::string& value) {
    constexpr std::size_t kShown = 60;
    return quotedIfNeeded(value.size() <= kShown ? value : value.substr(0, kShown) + "...");
}

// Empty for a value that is as the text says. Counts it.
std::string remark(const Target& target, Mode mode, Loaded& counts) {
    if (target.isLeft()) {
        ++counts.left;
        return "is locked, as it was when the file was saved; left as it is";
    }
    if (target.refusal && (mode != Mode::Look || target.node == nullptr)) {
        ++counts.refused;
        return target.refusal->what();
    }
    if (mode == Mode::Look && (target.isChanged || target.refusal)) {
        ++counts.changed;
        return (target.before ? shown(*target.before) + " would become " : "would become ") +
               shown(target.wanted()) +
               (target.refusal ? std::string("; now: ") + target.refusal->what() : "");
    }
    ++(target.isChanged ? counts.changed : counts.same);
    if (!target.accepted || nearlySameValue(*target.node, *target.accepted, target.wanted())) {
        return {};
    }
    ++counts.different;
    return "is " + shown(*target.accepted) + ", not " + shown(target.wanted());
}

} // namespace

Loaded load(tavo::GenICamCamera& device, const Document& document, Mode mode, NodeAccess& access) {
    std::vector<Target> targets = targetsOf(device, document);
    Loaded loaded;
    try {
        Loader(device, targets, access).run(mode);
    } catch (const Refusal& lost) {
        loaded.status = lost.code();
    }
    loaded.values = static_cast<unsigned>(targets.size());
    std::ranges::stable_sort(targets, {}, [](const Target& target) { return target.statement->line; });
    for (const Target& target : targets) {
        if (const std::string text = remark(target, mode, loaded); !text.empty()) {
            loaded.report += "line " + std::to_string(target.statement->line) + ": " +
                             target.statement->name + placeText(target.place) + ": " + text + '\n';
        }
    }
    return loaded;
}

} // namespace settings
