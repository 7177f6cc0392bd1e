// Names for pictures that are numbered from 1: "shot.png" becomes "shot-001.png", "shot-002.png"; a place for
// the number may be given as in "shot%d.png" or "shot%04d.png".
#pragma once

#include <string>

namespace gbe {

class PictureNames {
public:
    // Of one picture the name is the pattern itself, when no place is given. Throws Failure: several places,
    // or one that is not understood.
    PictureNames(const std::string& pattern, unsigned count);

    std::string at(unsigned number) const;

private:
    std::string m_before;
    std::string m_behind;
    unsigned m_digits = 0; // at least
    bool m_numbered = false;
};

} // namespace gbe
