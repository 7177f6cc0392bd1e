#include "settings/save.h"

#include "settings/Catalogue.h"
#include "settings/Document.h"
#include "settings/SelectorStack.h"
#include "settings/value_text.h"
#include "settings/words.h"
#include "util/status.h"

#include <algorithm>
#include <vector>

namespace settings {
namespace {

using tavo::GenICamNode;

constexpr std::int64_t kMaxPositions = 4096; // of one selector
constexpr std::int64_t kMaxPlaces = 16384;   // of all selectors of a group

// Features of one category that the same selectors stand around.
struct Group {
    GenICamNode* category = nullptr;
    std::vector<GenICamNode*> selectors;
    std::vector<GenICamNode*> features;
};

bool belongsIntoFile(GenICamNode& node) {
    return node.isStreamable() && hasValue(node) &&
           node.getAccessMode() == tavo::GenICamTypes::GenICamAccessModeType::RW;
}

// In the order of the first feature of each.
std::vector<Group> groupsOf(const Catalogue& catalogue) {
    std::vector<Group> groups;
    for (const Feature& feature : catalogue.features()) {
        if (!belongsIntoFile(*feature.node)) {
            continue;
        }
        const std::vector<GenICamNode*> selectors = catalogue.selectorsOf(feature.node);
        const auto found = std::ranges::find_if(groups, [&](const Group& group) {
            return group.category == feature.category && group.selectors == selectors;
        });
        if (found != groups.end()) {
            found->features.push_back(feature.node);
        } else {
            groups.push_back({feature.category, selectors, {feature.node}});
        }
    }
    // The groups of a category behind each other: one of its features may stand in a category below it.
    std::vector<Group> sorted;
    for (const Group& first : groups) {
        const auto isOfIt = [&](const Group& group) { return group.category == first.category; };
        if (std::ranges::none_of(sorted, isOfIt)) {
            std::ranges::copy_if(groups, std::back_inserter(sorted), isOfIt);
        }
    }
    return sorted;
}

// What stands in no selector, and the selectors.
std::vector<GenICamNode*> unselectedOf(const std::vector<Group>& groups) {
    std::vector<GenICamNode*> nodes;
    for (const Group& group : groups) {
        const std::vector<GenICamNode*>& of = group.selectors.empty() ? group.features : group.selectors;
        nodes.insert(nodes.end(), of.begin(), of.end());
    }
    return nodes;
}

bool isThere(GenICamNode& node) {
    return refusing([&] { return node.isImplemented() && node.isAvailable(); });
}

std::vector<std::string> entriesNow(const tavo::GenICamEnumerationInterface& selector) {
    std::vector<std::string> names;
    for (tavo::GenICamEnumEntry* const entry : selector.getEntries()) {
        if (entry->isImplemented() && entry->isAvailable()) {
            names.push_back(entry->getSymbol());
        }
    }
    return names;
}

std::vector<std::string> numbersNow(tavo::GenICamIntegerInterface& selector) {
    const std::int64_t min = selector.getMin();
    const std::int64_t max = selector.getMax();
    const auto step = static_cast<std::uint64_t>(std::max<std::int64_t>(selector.getInc(), 1));
    const std::uint64_t last =
        max >= min ? (static_cast<std::uint64_t>(max) - static_cast<std::uint64_t>(min)) / step : 0;
    if (max < min || last >= static_cast<std::uint64_t>(kMaxPositions)) {
        throw Refusal(status::IllegalValue, "has more positions than are kept");
    }
    std::vector<std::string> numbers;
    for (std::uint64_t i = 0; i <= last; ++i) {
        numbers.push_back(std::to_string(min + static_cast<std::int64_t>(i * step)));
    }
    return numbers;
}

// Where a selector can go, as the selectors around it stand.
std::vector<std::string> positionsNow(GenICamNode& selector) {
    return refusing([&] {
        return selector.asEnumeration() != nullptr ? entriesNow(*selector.asEnumeration())
                                                   : numbersNow(*selector.asInteger());
    });
}

class Saver {
public:
    Saver(tavo::GenICamCamera& device, NodeAccess& access)
        : m_device(device), m_access(access), m_selectors(device) {}

    std::string save(const std::string& camera) {
        addHeading(camera);
        const std::vector<Group> groups = groupsOf(Catalogue(m_device));
        m_access.readAhead(unselectedOf(groups));
        for (const Group& group : groups) {
            addCategory(group);
            addGroup(group);
        }
        m_selectors.putBack();
        return std::move(m_text);
    }

private:
    void addHeading(const std::string& camera) {
        const auto number = [](std::int64_t part) { return std::to_string(part); };
        m_text = std::string(kHeading) + std::string(kVersion) + "\n# Camera: " + camera +
                 "\n# Description: " + m_device.getVendorName() + ' ' + m_device.getModelName() +
                 ", version " + number(m_device.getMajorVersion()) + '.' +
                 number(m_device.getMinorVersion()) + '.' + number(m_device.getSubMinorVersion()) + '\n';
        std::ranges::replace(m_text, '\r', ' ');
    }

    void addCategory(const Group& group) {
        if (group.category != m_category || m_isFirst) {
            m_text += group.category != nullptr ? "\n# " + group.category->getName() + '\n' : "\n";
        }
        m_category = group.category;
        m_isFirst = false;
    }

    void addGroup(const Group& group) {
        m_leaves = 0;
        try {
            addPositions(group, 0, {});
        } catch (const Refusal& refusal) {
            addProblem("what its selectors select is left out", refusal);
        }
    }

    // The group's features in all positions of its selectors from `level` on; those before it are in `place`.
    void addPositions(const Group& group, std::size_t level, const Place& place) {
        m_selectors.moveTo(place);
        if (level == group.selectors.size()) {
            addFeatures(group, place);
        } else if (GenICamNode& selector = *group.selectors[level]; isThere(selector)) {
            addPositionsOf(selector, group, level, place);
        } else {
            addPositions(group, level + 1, place);
        }
    }

    // A selector that cannot be moved, as when the camera is only looked at, stays where it is.
    void addPositionsOf(GenICamNode& selector, const Group& group, std::size_t level, const Place& place) {
        const std::string present = readText(selector);
        bool isPresentDone = false;
        const auto addPosition = [&](const std::string& position) {
            Place inner = place;
            inner.push_back({selector.getName(), position});
            addPositions(group, level + 1, inner);
            isPresentDone = isPresentDone || position == present;
        };
        try {
            for (const std::string& position : positionsNow(selector)) {
                addPosition(position);
            }
        } catch (const Refusal& refusal) {
            addProblem("not all positions of " + selector.getName() + " are kept", refusal);
            if (!isPresentDone) {
                addPosition(present);
            }
        }
    }

    void addFeatures(const Group& group, const Place& place) {
        if (++m_leaves > kMaxPlaces) {
            throw Refusal(status::IllegalValue, "the selectors have more positions than are kept");
        }
        if (!place.empty()) {
            m_access.readAhead(group.features);
        }
        for (GenICamNode* const feature : group.features) {
            try {
                if (isThere(*feature)) {
                    addStatement(*feature, place);
                }
            } catch (const Refusal& refusal) {
                addProblem(feature->getName() + placeText(place), refusal);
            }
        }
    }

    void addStatement(GenICamNode& feature, const Place& place) {
        Statement statement{0, nullptr, feature.getName(), readText(feature), false, false};
        statement.isText = holdsText(feature) && looksLikeNumber(statement.value);
        if (statement.value.size() > kMaxValue) {
            throw Refusal(status::IllegalValue, "its text is too long for a file");
        }
        statement.ifUnlocked = refusing([&] { return feature.isLocked(); });
        if (place != m_place) {
            m_text += placeLine(place) + '\n';
            m_place = place;
        }
        m_text += statementLine(statement) + '\n';
    }

    void addProblem(const std::string& what, const Refusal& refusal) {
        if (refusal.code() == status::Connection) {
            throw Refusal(refusal);
        }
        m_text += kProblem + what + ": " + refusal.what() + '\n';
    }

    tavo::GenICamCamera& m_device;
    NodeAccess& m_access;
    SelectorStack m_selectors;
    std::string m_text;
    GenICamNode* m_category = nullptr;
    bool m_isFirst = true;
    Place m_place;             // that the lines above are meant in
    std::int64_t m_leaves = 0; // places of the present group so far
};

} // namespace

std::string save(tavo::GenICamCamera& device, const std::string& camera, NodeAccess& access) {
    return Saver(device, access).save(camera);
}

} // namespace settings
