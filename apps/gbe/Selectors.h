// The positions of selectors that stand around a feature: moved to each of them, and put back.
#pragma once

#include "liomol/gige.h"

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace gbe {

// Selectors with their values, the outermost first.
using Place = std::vector<std::pair<std::string, std::string>>;

// "[GainSelector=Red, ...]"; empty without selectors.
std::string placeText(const Place& place);

class Selectors {
public:
    explicit Selectors(CameraHandle* camera) : m_camera(camera) {}
    // Puts them back as they were; what the camera refuses then stays as it is.
    ~Selectors();
    Selectors(const Selectors&) = delete;
    Selectors& operator=(const Selectors&) = delete;

    // The selectors of a feature, also those that select these, which come before them.
    std::vector<std::string> of(const std::string& feature) const;

    // Calls `visit` once in each position of these selectors; once without a place where there are none.
    // Positions that the camera refuses are left out. Throws Failure, and what `visit` throws.
    void each(const std::vector<std::string>& selectors, const std::function<void(const Place&)>& visit);

private:
    void move(
        const std::vector<std::string>& selectors, Place& place,
        const std::function<void(const Place&)>& visit);
    std::vector<std::string> positionsOf(const std::string& selector) const;
    bool set(const std::string& selector, const std::string& value);

    CameraHandle* m_camera;
    Place m_before; // of those that were moved, in that order
};

} // namespace gbe
