#include "Selectors.h"

#include "Failure.h"
#include "features.h"

#include "liomol/features.h"

#include <algorithm>

namespace gbe {
namespace {

constexpr long long kMostPositions =
    256; // of a selector that is a number: an index into a table may have more

} // namespace

std::string placeText(const Place& place) {
    std::string text;
    for (const auto& [selector, value] : place) {
        text.append(text.empty() ? "[" : ", ").append(selector).append("=").append(value);
    }
    return text.empty() ? text : text + "]";
}

Selectors::~Selectors() {
    std::reverse(m_before.begin(), m_before.end());
    for (const auto& [selector, value] : m_before) {
        set(selector, value);
    }
}

void Selectors::each(
    const std::vector<std::string>& selectors, const std::function<void(const Place&)>& visit) {
    Place place;
    move(selectors, place, visit);
}

std::vector<std::string> Selectors::of(const std::string& feature) const {
    std::vector<std::string> order{feature};
    for (std::size_t i = 0; i < order.size(); ++i) {
        for (const std::string& selector : featureList(m_camera, order[i], GBE_LIST_SELECTING)) {
            const auto known = std::find(order.begin() + 1, order.end(), selector);
            if (selector != feature && known == order.end()) {
                order.push_back(selector);
            }
        }
    }
    return {order.rbegin(), order.rend() - 1};
}

std::vector<std::string> Selectors::positionsOf(const std::string& selector) const {
    if (featureKind(m_camera, selector) == GBE_KIND_ENUMERATION) {
        return featureList(m_camera, selector, GBE_LIST_AVAILABLE_ENTRIES);
    }
    long long min = 0;
    long long max = 0;
    long long increment = 1;
    std::vector<std::string> positions;
    if (Gbe_getIntegerLimits(m_camera, selector.c_str(), &min, &max, &increment) == GBE_SUCCESS &&
        increment > 0) {
        for (long long i = 0; i < kMostPositions && i <= (max - min) / increment; ++i) {
            positions.push_back(std::to_string(min + i * increment));
        }
    }
    return positions;
}

bool Selectors::set(const std::string& selector, const std::string& value) {
    try {
        if (readText(m_camera, selector) != value) {
            writeText(m_camera, selector, value);
        }
        return true;
    } catch (const Failure&) {
        return false;
    }
}

void Selectors::move(
    const std::vector<std::string>& selectors, Place& place, const std::function<void(const Place&)>& visit) {
    if (place.size() == selectors.size()) {
        visit(place);
        return;
    }
    const std::string& selector = selectors[place.size()];
    const auto isIt = [&](const auto& each) { return each.first == selector; };
    if (std::none_of(m_before.begin(), m_before.end(), isIt)) {
        m_before.emplace_back(selector, readText(m_camera, selector));
    }
    for (const std::string& position : positionsOf(selector)) {
        if (set(selector, position)) {
            place.emplace_back(selector, position);
            move(selectors, place, visit);
            place.pop_back();
        }
    }
}

} // namespace gbe
