// What makes the camera's registers behave: computed contents, limits that depend on other registers, and the
// consequences of a write. Several models share the registers; each minds its own and ignores the others.
#pragma once

#include "protocol/gvcp.h"
#include "simcam/Registers.h"
#include "simcam/limits.h"

namespace simcam {

// A value that an application wants to write into one element of a register.
struct Candidate {
    Reg reg;
    std::uint32_t index;
    std::int64_t integer; // sign-extended for Signed, the bits for Float
    double real;          // the value for Float, else the integer's
};

class RegisterModel {
public:
    virtual ~RegisterModel() = default;

    // Brings computed registers up to `now`. Called before every access.
    virtual void refresh(Time now) = 0;
    // Whether the value may be written; the limits of the register's row have been checked.
    virtual gvcp::Status check(const Candidate&) const { return gvcp::Status::Success; }
    // The element holds its new value.
    virtual void written(Reg, std::uint32_t /*index*/, Time) {}
    // The application that held control is gone.
    virtual void controlLost(Time) {}
};

} // namespace simcam
