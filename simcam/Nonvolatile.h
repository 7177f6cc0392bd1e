// What the camera keeps without power: its name, its persistent address, whether that is switched on, and the
// user sets (GigE Vision 1.2, chapter 27; all other registers start as they were made). As text it is one
// line for each register, "NAME = BYTES" in hexadecimal, the registers of a user set as "UserSet1/NAME". One
// thread at a time.
#pragma once

#include "simcam/RegisterModel.h"

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace simcam {

class UserSetModel;

class Nonvolatile : public RegisterModel {
public:
    using Contents = std::map<std::string, Bytes, std::less<>>; // bytes of all elements by the name

    // The user sets may be null.
    Nonvolatile(Registers& registers, UserSetModel* userSets)
        : m_registers(registers), m_userSets(userSets) {}

    Contents save() const;
    // Takes over what fits this camera.
    void restore(const Contents& contents);

    void refresh(Time) override {}
    void written(Reg reg, std::uint32_t index, Time now) override;
    // Whether something was written since the last call.
    bool takeChanged() { return std::exchange(m_changed, false); }

private:
    Registers& m_registers;
    UserSetModel* m_userSets;
    bool m_changed = false;
};

std::string nonvolatileText(const Nonvolatile::Contents& contents);
// None with a one-line `error`, which names the line, when something in it is not as above: a name, the
// number of bytes, a value that the register does not take.
std::optional<Nonvolatile::Contents> parseNonvolatile(std::string_view text, std::string& error);

} // namespace simcam
